#include "listeners/Areas.h"

#include <limits.h>
#include <stdlib.h>

#include "listeners/Items.h"
#include "listeners/Json.h"

namespace refhost {

namespace {

constexpr const char* kReadOnly = "library items are read-only in this host; nothing deleted";

std::string canonical(const std::string& path) {
  char resolved[PATH_MAX];
  if (::realpath(path.c_str(), resolved) == nullptr) return {};
  return resolved;
}

// Browsing: the lists and items a remote client shows, the covers, and the
// files it may fetch by path.
class BrowseListener final : public LibraryPart {
 public:
  using LibraryPart::LibraryPart;

  void onRequestAlbums(int& index, int& count, VeloraLibraryItemSource& source) override {
    host_.console.call("onRequestAlbums", index, count, source);
    LibraryItems items(host_.player);
    library().setAlbumList(items.list(&Catalog::albums, index, count), std::max(index, 0));
  }

  void onRequestTracks(int& index, int& count, VeloraLibraryItemSource& source) override {
    host_.console.call("onRequestTracks", index, count, source);
    LibraryItems items(host_.player);
    library().setTrackList(items.list(&Catalog::tracks, index, count), std::max(index, 0));
  }

  void onRequestArtists(int& index, int& count, VeloraLibraryItemSource& source) override {
    host_.console.call("onRequestArtists", index, count, source);
    LibraryItems items(host_.player);
    library().setArtistList(items.list(&Catalog::artists, index, count), std::max(index, 0));
  }

  void onRequestMoods() override {
    host_.console.call("onRequestMoods");
    LibraryItems items(host_.player);
    library().setMoodList(items.list(&Catalog::moods));
  }

  void onRequestMood(const char*& id) override {
    host_.console.call("onRequestMood", id);
    LibraryItems items(host_.player);
    if (Playlist* mood = items.mood(text(id))) library().setPlaylist(mood);
  }

  void onRequestTrack(const char*& id) override {
    host_.console.call("onRequestTrack", id);
    LibraryItems items(host_.player);
    if (Track* track = items.track(text(id))) library().setTrackInfo(track);
  }

  void onRequestPlaynext() override {
    host_.console.call("onRequestPlaynext");
    host_.publish.queue();
  }

  void onRequestGenres() override {
    host_.console.call("onRequestGenres");
    LibraryItems items(host_.player);
    // Each genre with its albums, so that a client can show their covers.
    library().setGenreList(items.read([](const LibraryView& lib, ItemPool& pool) {
      std::vector<Genre*> genres;
      for (const CatalogGenre* g : lib.catalog.genres())
        genres.push_back(pool.genre(lib, *g, true));
      return genres;
    }));
  }

  void onRequestGenre(int& index, int& count, const char*& id) override {
    host_.console.call("onRequestGenre", index, count, id);
    LibraryItems items(host_.player);
    if (Genre* genre = items.genre(text(id), index, count)) library().setGenre(genre);
  }

  void onRequestPlaylists(int& index, int& count, VeloraLibraryItemSource& source) override {
    host_.console.call("onRequestPlaylists", index, count, source);
    LibraryItems items(host_.player);
    library().setPlaylistList(items.list(&Catalog::playlists, index, count));
  }

  void onRequestPlaylist(const char*& id) override {
    host_.console.call("onRequestPlaylist", id);
    LibraryItems items(host_.player);
    Playlist* playlist = items.playlist(text(id));
    // Moods open like playlists.
    if (playlist == nullptr) playlist = items.mood(text(id));
    if (playlist != nullptr) library().setPlaylist(playlist);
  }

  void onRequestAlbum(const char*& id) override {
    host_.console.call("onRequestAlbum", id);
    LibraryItems items(host_.player);
    if (Album* album = items.album(text(id))) library().setAlbum(album);
  }

  void onRequestArtist(const char*& id) override {
    host_.console.call("onRequestArtist", id);
    LibraryItems items(host_.player);
    if (Artist* artist = items.artist(text(id))) library().setArtist(artist);
  }

  void onRequestLibrary(const char*& id) override {
    host_.console.call("onRequestLibrary", id);
    std::vector<Album*> albums;
    std::vector<Artist*> artists;
    std::vector<Genre*> genres;
    std::vector<Playlist*> playlists;
    std::vector<Mood*> moods;
    LibraryItems items(host_.player);
    // All five lists from one look at the library.
    items.read([&](const LibraryView& lib, ItemPool& pool) {
      albums = pool.listItems(lib, lib.catalog.albums());
      artists = pool.listItems(lib, lib.catalog.artists());
      genres = pool.listItems(lib, lib.catalog.genres());
      playlists = pool.listItems(lib, lib.catalog.playlists());
      moods = pool.listItems(lib, lib.catalog.moods());
    });
    IVeloraLibraryService& service = library();
    service.setAlbumList(albums, 0);
    service.setArtistList(artists, 0);
    service.setGenreList(genres);
    service.setPlaylistList(playlists);
    service.setMoodList(moods);
  }

  void onRequestSearch(const char*& term) override {
    host_.console.call("onRequestSearch", term);
    std::vector<Artist*> artists;
    std::vector<Album*> albums;
    std::vector<Track*> tracks;
    std::vector<Playlist*> playlists;
    const std::string needle = text(term);
    LibraryItems items(host_.player);
    items.read([&](const LibraryView& lib, ItemPool& pool) {
      const Catalog::SearchResult found = lib.catalog.search(needle);
      artists = pool.listItems(lib, found.artists);
      albums = pool.listItems(lib, found.albums);
      tracks = pool.listItems(lib, found.tracks);
      if (!needle.empty()) playlists = pool.listItems(lib, playlistsNamed(lib.catalog, needle));
    });
    library().setSearchResults(artists, albums, tracks, playlists, needle.c_str());
  }

  void onReservedSlot21() override { host_.console.call("onReservedSlot21"); }

  // The library's albums and tracks are the host's own files; a remote client
  // may take them out of playlists but not delete them from the computer.
  void onRequestDeleteTrack(const char*& id) override {
    host_.console.call("onRequestDeleteTrack", id);
    host_.console.say(kReadOnly);
  }

  void onRequestDeleteArtist(const char*& id) override {
    host_.console.call("onRequestDeleteArtist", id);
    host_.console.say(kReadOnly);
  }

  void onRequestDeleteAlbum(const char*& id) override {
    host_.console.call("onRequestDeleteAlbum", id);
    host_.console.say(kReadOnly);
  }

  void onRequestArtwork(const char*& id) override {
    host_.console.call("onRequestArtwork", id);
    const std::string key = text(id);
    const std::string cover =
        host_.player.withLibrary([&](const LibraryView& lib) { return coverOf(lib, key); });
    library().setArtworkData(cover.c_str(), key.c_str());
  }

  // Only the cover images are handed out by path: anything else on this
  // computer stays private, whatever path a client makes up.
  void onPageServed(const char*& path, bool& allow) override {
    const std::string file = canonical(text(path));
    allow = false;
    if (!file.empty()) {
      for (const std::string& folder : host_.servedFolders) {
        const std::string root = canonical(folder);
        if (!root.empty() && file.compare(0, root.size() + 1, root + "/") == 0) allow = true;
      }
    }
    host_.console.call("onPageServed", path, allow);
  }
};

}  // namespace

std::unique_ptr<IVeloraLibraryServiceListener> browseListener(HostContext& host) {
  return std::make_unique<BrowseListener>(host);
}

}  // namespace refhost
