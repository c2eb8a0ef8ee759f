#include "listeners/LibraryListener.h"

#include <limits.h>
#include <stdlib.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <functional>
#include <sstream>

#include "listeners/Items.h"
#include "listeners/Json.h"

namespace refhost {

using Library = IVeloraLibraryService;

namespace {

constexpr int kOk = 0;
constexpr int kFailed = 1;
// The local-library list answers "not modified" with this status.
constexpr int kNotModified = 8;

const char* downloadStateName(DownloadState state) {
  switch (state) {
    case DownloadState::Idle:
      return "idle";
    case DownloadState::Downloading:
      return "downloading";
    case DownloadState::Paused:
      return "paused";
    case DownloadState::Done:
      return "done";
  }
  return "idle";
}

const char* transportName(Transport t) {
  switch (t) {
    case Transport::Playing:
      return "playing";
    case Transport::Paused:
      return "paused";
    case Transport::Stopped:
      return "stopped";
  }
  return "stopped";
}

std::string stashItemJson(const StashItem& item) {
  return JsonObject()
      .add("sku", item.sku)
      .add("title", item.title)
      .add("url", item.url)
      .add("mediaId", item.mediaId)
      .add("trackCount", static_cast<int>(item.trackIds.size()))
      .add("state", downloadStateName(item.state))
      .add("progress", item.progress)
      .str();
}

// The words clients use for the four kinds of list, singular or plural.
enum class Kind { Tracks, Albums, Artists, Playlists, Unknown };

Kind kindOf(const std::string& which) {
  if (which == "track" || which == "tracks" || which.empty()) return Kind::Tracks;
  if (which == "album" || which == "albums") return Kind::Albums;
  if (which == "artist" || which == "artists") return Kind::Artists;
  if (which == "playlist" || which == "playlists") return Kind::Playlists;
  return Kind::Unknown;
}

std::string folded(std::string s) {
  std::transform(s.begin(), s.end(), s.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return s;
}

// Sorts a list by one of a few keys; the key functions return the texts or
// numbers to compare.
template <typename T>
void sortItems(std::vector<const T*>& items, const std::function<std::string(const T&)>& key,
               bool reverse) {
  std::stable_sort(items.begin(), items.end(),
                   [&](const T* a, const T* b) { return folded(key(*a)) < folded(key(*b)); });
  if (reverse) std::reverse(items.begin(), items.end());
}

// The status of a request that found its item: the item goes to `answer`.
template <typename Item, typename Answer>
int answerWith(Item* item, Answer answer) {
  if (item == nullptr) return kFailed;
  answer(item);
  return kOk;
}

// The status of a request that asked the player for a change: `then`
// publishes the change when the player made it.
template <typename Then>
int ifDone(bool done, Then then) {
  if (!done) return kFailed;
  then();
  return kOk;
}

// Where the transport is, as the player application's endpoints tell it.
JsonObject transportJson(const TransportSnapshot& s) {
  return JsonObject()
      .add("state", transportName(s.transport))
      .add("trackId", s.trackId)
      .add("elapsed", s.elapsed)
      .add("duration", s.duration);
}

// Playlists whose names hold `term`, whatever the case.
std::vector<const CatalogPlaylist*> playlistsNamed(const Catalog& catalog,
                                                   const std::string& term) {
  std::vector<const CatalogPlaylist*> out;
  const std::string lowered = folded(term);
  for (const CatalogPlaylist* p : catalog.playlists()) {
    if (folded(p->name).find(lowered) != std::string::npos) out.push_back(p);
  }
  return out;
}

constexpr const char* kReadOnly = "library items are read-only in this host; nothing deleted";

std::string padded(int n) {
  std::string s = std::to_string(n);
  return std::string(s.size() < 8 ? 8 - s.size() : 0, '0') + s;
}

std::string canonical(const std::string& path) {
  char resolved[PATH_MAX];
  if (::realpath(path.c_str(), resolved) == nullptr) return {};
  return resolved;
}

}  // namespace

std::string decoded(const char* value) {
  const std::string t = text(value);
  std::string out;
  for (std::size_t i = 0; i < t.size(); ++i) {
    if (t[i] == '%' && i + 2 < t.size() && std::isxdigit(static_cast<unsigned char>(t[i + 1])) &&
        std::isxdigit(static_cast<unsigned char>(t[i + 2]))) {
      out += static_cast<char>(std::stoi(t.substr(i + 1, 2), nullptr, 16));
      i += 2;
    } else {
      out += t[i];
    }
  }
  return out;
}

int number(const char* value, int fallback) {
  const std::string t = text(value);
  if (t.empty()) return fallback;
  char* end = nullptr;
  const long v = std::strtol(t.c_str(), &end, 10);
  return *end == '\0' ? static_cast<int>(v) : fallback;
}

// ------------------------------------------------------------------ browsing

void LibraryListener::onRequestAlbums(int& index, int& count, VeloraLibraryItemSource& source) {
  host_.console.call("onRequestAlbums", index, count, source);
  LibraryItems items(host_.player);
  library().setAlbumList(items.list(&Catalog::albums, index, count), std::max(index, 0));
}

void LibraryListener::onRequestTracks(int& index, int& count, VeloraLibraryItemSource& source) {
  host_.console.call("onRequestTracks", index, count, source);
  LibraryItems items(host_.player);
  library().setTrackList(items.list(&Catalog::tracks, index, count), std::max(index, 0));
}

void LibraryListener::onRequestArtists(int& index, int& count, VeloraLibraryItemSource& source) {
  host_.console.call("onRequestArtists", index, count, source);
  LibraryItems items(host_.player);
  library().setArtistList(items.list(&Catalog::artists, index, count), std::max(index, 0));
}

void LibraryListener::onRequestMoods() {
  host_.console.call("onRequestMoods");
  LibraryItems items(host_.player);
  library().setMoodList(items.list(&Catalog::moods));
}

void LibraryListener::onRequestMood(const char*& id) {
  host_.console.call("onRequestMood", id);
  LibraryItems items(host_.player);
  if (Playlist* mood = items.mood(text(id))) library().setPlaylist(mood);
}

void LibraryListener::onRequestTrack(const char*& id) {
  host_.console.call("onRequestTrack", id);
  LibraryItems items(host_.player);
  if (Track* track = items.track(text(id))) library().setTrackInfo(track);
}

void LibraryListener::onRequestPlaynext() {
  host_.console.call("onRequestPlaynext");
  host_.publish.queue();
}

void LibraryListener::onRequestGenres() {
  host_.console.call("onRequestGenres");
  LibraryItems items(host_.player);
  // Each genre with its albums, so that a client can show their covers.
  library().setGenreList(items.read([](const LibraryView& lib, ItemPool& pool) {
    std::vector<Genre*> genres;
    for (const CatalogGenre* g : lib.catalog.genres()) genres.push_back(pool.genre(lib, *g, true));
    return genres;
  }));
}

void LibraryListener::onRequestGenre(int& index, int& count, const char*& id) {
  host_.console.call("onRequestGenre", index, count, id);
  LibraryItems items(host_.player);
  if (Genre* genre = items.genre(text(id), index, count)) library().setGenre(genre);
}

void LibraryListener::onRequestPlaylists(int& index, int& count, VeloraLibraryItemSource& source) {
  host_.console.call("onRequestPlaylists", index, count, source);
  LibraryItems items(host_.player);
  library().setPlaylistList(items.list(&Catalog::playlists, index, count));
}

void LibraryListener::onRequestPlaylist(const char*& id) {
  host_.console.call("onRequestPlaylist", id);
  LibraryItems items(host_.player);
  Playlist* playlist = items.playlist(text(id));
  // Moods open like playlists.
  if (playlist == nullptr) playlist = items.mood(text(id));
  if (playlist != nullptr) library().setPlaylist(playlist);
}

void LibraryListener::onRequestAlbum(const char*& id) {
  host_.console.call("onRequestAlbum", id);
  LibraryItems items(host_.player);
  if (Album* album = items.album(text(id))) library().setAlbum(album);
}

void LibraryListener::onRequestArtist(const char*& id) {
  host_.console.call("onRequestArtist", id);
  LibraryItems items(host_.player);
  if (Artist* artist = items.artist(text(id))) library().setArtist(artist);
}

// "My music" is the host's favourites playlist; the four kinds of item
// (track, album, artist, playlist) all add their tracks to it.
void LibraryListener::addToMyMusic(int type, const std::string& id) {
  static const char* kFavouritesName = "My Music";
  std::string favourites = host_.player.withLibrary([&](const LibraryView& lib) {
    for (const CatalogPlaylist* p : lib.catalog.playlists()) {
      if (p->name == kFavouritesName) return p->id;
    }
    return std::string();
  });
  if (favourites.empty()) favourites = host_.player.createPlaylist(kFavouritesName);
  if (host_.player.addToPlaylist(favourites, id)) {
    publishPlaylist(favourites);
  } else {
    host_.console.say("nothing to add to My Music for " + id + " (type " + std::to_string(type) +
                      ")");
  }
}

void LibraryListener::onAddToMyMusic0(const char*& id) {
  host_.console.call("onAddToMyMusic0", id);
  addToMyMusic(0, text(id));
}
void LibraryListener::onAddToMyMusic1(const char*& id) {
  host_.console.call("onAddToMyMusic1", id);
  addToMyMusic(1, text(id));
}
void LibraryListener::onAddToMyMusic2(const char*& id) {
  host_.console.call("onAddToMyMusic2", id);
  addToMyMusic(2, text(id));
}
void LibraryListener::onAddToMyMusic3(const char*& id) {
  host_.console.call("onAddToMyMusic3", id);
  addToMyMusic(3, text(id));
}

void LibraryListener::onRequestAddToPlaylist(const char*& id, const char*& playlistId) {
  host_.console.call("onRequestAddToPlaylist", id, playlistId);
  if (host_.player.addToPlaylist(text(playlistId), text(id))) publishPlaylist(text(playlistId));
}

void LibraryListener::publishPlaylist(const std::string& id) {
  LibraryItems items(host_.player);
  if (Playlist* playlist = items.playlist(id)) library().setPlaylist(playlist);
  publishPlaylists();
}

void LibraryListener::publishPlaylists() {
  LibraryItems items(host_.player);
  library().setPlaylistList(items.list(&Catalog::playlists));
  host_.publish.libraryChanged();
}

void LibraryListener::onRequestCreatePlaylist(const char*& name) {
  host_.console.call("onRequestCreatePlaylist", name);
  const std::string id = host_.player.createPlaylist(text(name));
  if (!id.empty()) publishPlaylist(id);
}

void LibraryListener::onRequestLibrary(const char*& id) {
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

void LibraryListener::onRequestSearch(const char*& term) {
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

void LibraryListener::onReservedSlot21() { host_.console.call("onReservedSlot21"); }

// The library's albums and tracks are the host's own files; a remote client
// may take them out of playlists but not delete them from the computer.
void LibraryListener::onRequestDeleteTrack(const char*& id) {
  host_.console.call("onRequestDeleteTrack", id);
  host_.console.say(kReadOnly);
}
void LibraryListener::onRequestDeleteArtist(const char*& id) {
  host_.console.call("onRequestDeleteArtist", id);
  host_.console.say(kReadOnly);
}
void LibraryListener::onRequestDeleteAlbum(const char*& id) {
  host_.console.call("onRequestDeleteAlbum", id);
  host_.console.say(kReadOnly);
}

void LibraryListener::onRequestArtwork(const char*& id) {
  host_.console.call("onRequestArtwork", id);
  const std::string key = text(id);
  const std::string cover =
      host_.player.withLibrary([&](const LibraryView& lib) { return coverOf(lib, key); });
  library().setArtworkData(cover.c_str(), key.c_str());
}

// Only the cover images are handed out by path: anything else on this
// computer stays private, whatever path a client makes up.
void LibraryListener::onPageServed(const char*& path, bool& allow) {
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

// ------------------------------------------------------------------- account

void LibraryListener::onLogin(const char*& username, const char*& password, const char*& which,
                              int& status) {
  // Passwords are not echoed to the console.
  host_.console.call("onLogin", username, "(password hidden)", which);
  const std::string token = host_.player.login(text(username), text(password));
  status = ifDone(!token.empty(), [&] { library().setLoginResponse(token.c_str()); });
}

void LibraryListener::onGetLogin(const char*& which, int& status) {
  host_.console.call("onGetLogin", which);
  const std::string user = host_.player.user();
  const std::string token = host_.player.userToken();
  library().setGetLoginResponse(user.c_str(), "", token.c_str(), user.c_str(), "",
                                text(which).empty() ? "tidal" : which);
  status = kOk;
}

void LibraryListener::onLogout(const char*& which, int& status) {
  host_.console.call("onLogout", which);
  host_.player.logout();
  library().setLoginResponse("");
  status = kOk;
}

void LibraryListener::onPairing(int& status) {
  host_.console.call("onPairing");
  status = kOk;
}

void LibraryListener::onSave(int& status) {
  host_.console.call("onSave");
  status = kOk;
}

// -------------------------------------------------------- stash and downloads

void LibraryListener::onGetUserStash(int& status) {
  host_.console.call("onGetUserStash");
  if (host_.player.user().empty()) {
    status = kFailed;
    return;
  }
  std::vector<std::string> items;
  for (const StashItem& item : host_.player.stash()) items.push_back(stashItemJson(item));
  const std::string json =
      JsonObject().add("user", host_.player.user()).raw("items", jsonArray(items)).str();
  status = answer(&Library::setGetUserStashResponse, json);
}

void LibraryListener::onAddStashItem(const char*& sku, const char*& url, const char*& title,
                                     const char*& mediaId, int& status) {
  host_.console.call("onAddStashItem", sku, url, title, mediaId);
  StashItem item;
  item.sku = text(sku);
  item.url = decoded(url);
  item.title = decoded(title);
  item.mediaId = text(mediaId);
  status = !host_.player.user().empty() && host_.player.addStashItem(item) ? kOk : kFailed;
}

void LibraryListener::onGetItemsForSkuId(const char*& sku, int& status) {
  host_.console.call("onGetItemsForSkuId", sku);
  StashItem item;
  if (!host_.player.findStashItem(text(sku), item)) {
    status = kFailed;
    return;
  }
  const std::string items = host_.player.withLibrary([&](const LibraryView& lib) {
    std::vector<std::string> out;
    for (const std::string& id : item.trackIds) {
      const CatalogTrack* t = lib.track(id);
      if (t == nullptr) continue;
      const CatalogArtist* artist = lib.catalog.artist(t->artistId);
      out.push_back(JsonObject()
                        .add("id", t->id)
                        .add("title", t->title)
                        .add("artist", artist ? artist->name : std::string())
                        .add("duration", t->duration)
                        .add("fileType", t->fileType)
                        .str());
    }
    return jsonArray(out);
  });
  const std::string json = JsonObject().add("sku", item.sku).raw("items", items).str();
  status = answer(&Library::setGetItemsForSkuIdResponse, json);
}

void LibraryListener::onRemoveStashItem(const char*& sku, int& status) {
  host_.console.call("onRemoveStashItem", sku);
  status = host_.player.removeStashItem(text(sku)) ? kOk : kFailed;
}

void LibraryListener::onStartDownload(const char*& sku, int& status) {
  host_.console.call("onStartDownload", sku);
  status = host_.player.startDownload(text(sku)) ? kOk : kFailed;
}

void LibraryListener::onCancelDownload(const char*& sku, int& status) {
  host_.console.call("onCancelDownload", sku);
  status = host_.player.cancelDownload(text(sku)) ? kOk : kFailed;
}

void LibraryListener::onPauseDownload(const char*& sku, int& status) {
  host_.console.call("onPauseDownload", sku);
  status = host_.player.pauseDownload(text(sku)) ? kOk : kFailed;
}

void LibraryListener::onResumeDownload(const char*& sku, int& status) {
  host_.console.call("onResumeDownload", sku);
  status = host_.player.resumeDownload(text(sku)) ? kOk : kFailed;
}

void LibraryListener::onGetDownloadStatus(const char*& sku, int& status) {
  host_.console.call("onGetDownloadStatus", sku);
  std::vector<std::string> downloads;
  for (const StashItem& item : host_.player.stash()) {
    if (item.state != DownloadState::Idle) downloads.push_back(stashItemJson(item));
  }
  const std::string json = JsonObject().raw("downloads", jsonArray(downloads)).str();
  status = answer(&Library::setGetDownloadStatusResponse, json);
}

// ------------------------------------------------------------------- scanning

void LibraryListener::onScanFiles(const char*& which, int& status) {
  host_.console.call("onScanFiles", which);
  status = host_.player.startScan(text(which)) ? kOk : kFailed;
}

void LibraryListener::onScanCancel(const char*& which, int& status) {
  host_.console.call("onScanCancel", which);
  status = host_.player.cancelScan() ? kOk : kFailed;
}

void LibraryListener::onScanGetProgress(const char*& which, int& status) {
  host_.console.call("onScanGetProgress", which);
  const ScanStatus scan = host_.player.scan();
  library().setScanProgressResponse(static_cast<float>(scan.percent), scan.message.c_str());
  status = kOk;
}

void LibraryListener::onClearLocalCache(const char*& which, int& status) {
  host_.console.call("onClearLocalCache", which);
  // The only cache this host keeps for a client is the play history.
  host_.player.clearHistory();
  status = kOk;
}

void LibraryListener::onGetLocalLibrary(const char*& id, const char*& index, const char*& count,
                                        const char*& sortBy, const char*& reverseSort,
                                        const char*& etag, const char*& filter, int& status) {
  host_.console.call("onGetLocalLibrary", id, index, count, sortBy, reverseSort, etag, filter);
  const Kind kind = kindOf(text(id));
  if (kind == Kind::Unknown || text(id).empty()) {
    status = 3;  // not a list this host has
    return;
  }
  const std::string tag = "rev" + std::to_string(host_.player.libraryRevision()) + "-" + text(id);
  if (text(etag) == tag) {
    status = kNotModified;
    return;
  }
  const int from = number(index, -1);
  const int n = number(count, -1);
  const int sort = number(sortBy, 1);
  const bool reverse = flag(reverseSort);
  // This host has only local files: a filter without "local" lists nothing.
  const bool local = text(filter).empty() || text(filter).find("local") != std::string::npos;

  LibraryItems items(host_.player);
  IVeloraLibraryService& service = library();
  items.read([&](const LibraryView& lib, ItemPool& pool) {
    const Catalog& c = lib.catalog;
    // One page of the sorted list, with the length of the whole list.
    auto answerPage = [&](const auto& all, auto setter) {
      const auto shown = pool.listItems(lib, all, from, n);
      (service.*setter)(shown, tag.c_str(), static_cast<int>(shown.size()),
                        static_cast<int>(all.size()));
    };
    switch (kind) {
      case Kind::Tracks: {
        auto all = local ? c.tracks() : std::vector<const CatalogTrack*>{};
        sortItems<CatalogTrack>(
            all,
            [&](const CatalogTrack& t) -> std::string {
              if (sort == 0) return t.title;
              if (sort == 2) return padded(t.duration);
              const CatalogArtist* a = c.artist(t.artistId);
              const CatalogAlbum* al = c.album(t.albumId);
              return (a ? a->name : "") + "\t" + (al ? al->title : "") + "\t" + padded(t.number);
            },
            reverse);
        return answerPage(all, &Library::setGetLocalLibraryTracks);
      }
      case Kind::Albums: {
        auto all = local ? c.albums() : std::vector<const CatalogAlbum*>{};
        sortItems<CatalogAlbum>(
            all,
            [&](const CatalogAlbum& a) -> std::string {
              if (sort == 0) return a.title;
              if (sort == 2) return padded(a.year) + a.title;
              const CatalogArtist* ar = c.artist(a.artistId);
              return (ar ? ar->name : "") + "\t" + a.title;
            },
            reverse);
        return answerPage(all, &Library::setGetLocalLibraryAlbums);
      }
      case Kind::Artists: {
        auto all = local ? c.artists() : std::vector<const CatalogArtist*>{};
        sortItems<CatalogArtist>(
            all, [](const CatalogArtist& a) { return a.name; }, reverse);
        return answerPage(all, &Library::setGetLocalLibraryArtists);
      }
      case Kind::Playlists: {
        auto all = local ? c.playlists() : std::vector<const CatalogPlaylist*>{};
        if (sort == 0) {
          sortItems<CatalogPlaylist>(
              all, [](const CatalogPlaylist& p) { return p.name; }, reverse);
        } else if (reverse) {
          std::reverse(all.begin(), all.end());
        }
        return answerPage(all, &Library::setGetLocalLibraryPlaylists);
      }
      case Kind::Unknown:
        break;
    }
  });
  status = kOk;
}

void LibraryListener::onGetArtist(const char*& id, const char*& index, const char*& count,
                                  const char*& sortBy, const char*& reverseSort,
                                  const char*& reserved, int& status) {
  host_.console.call("onGetArtist", id, index, count, sortBy, reverseSort, reserved);
  LibraryItems items(host_.player);
  std::vector<Album*> albums;
  int total = 0;
  const bool found = items.read([&](const LibraryView& lib, ItemPool& pool) {
    const CatalogArtist* artist = lib.catalog.artist(text(id));
    if (artist == nullptr) return false;
    std::vector<const CatalogAlbum*> all;
    for (const std::string& albumId : artist->albumIds) {
      if (const CatalogAlbum* a = lib.catalog.album(albumId)) all.push_back(a);
    }
    // By year unless the client asks for titles.
    const int sort = number(sortBy, 1);
    sortItems<CatalogAlbum>(
        all, [&](const CatalogAlbum& a) { return sort == 0 ? a.title : padded(a.year) + a.title; },
        flag(reverseSort));
    total = static_cast<int>(all.size());
    albums = pool.listItems(lib, all, number(index, -1), number(count, -1));
    return true;
  });
  status = ifDone(found, [&] { library().setGetArtistResponse(albums, total); });
}

void LibraryListener::onGetAlbum(const char*& id, const char*& index, const char*& count,
                                 const char*& sortBy, const char*& reverseSort, int& status) {
  host_.console.call("onGetAlbum", id, index, count, sortBy, reverseSort);
  LibraryItems items(host_.player);
  status = answerWith(items.album(text(id)), [&](Album* album) { library().setAlbum(album); });
}

void LibraryListener::onGetArtistInfo(const char*& id, int& status) {
  host_.console.call("onGetArtistInfo", id);
  LibraryItems items(host_.player);
  status = answerWith(items.artist(text(id)), [&](Artist* artist) {
    library().setGetArtistResponse(std::vector<Artist*>{artist}, 1);
  });
}

void LibraryListener::onGetAlbumInfo(const char*& id, int& status) {
  host_.console.call("onGetAlbumInfo", id);
  LibraryItems items(host_.player);
  status = answerWith(items.album(text(id)), [&](Album* album) {
    library().setGetAlbumResponse(std::vector<Album*>{album}, 1);
  });
}

void LibraryListener::onGetPlaylistInfo(const char*& id, int& status) {
  host_.console.call("onGetPlaylistInfo", id);
  LibraryItems items(host_.player);
  status = answerWith(items.playlist(text(id)), [&](Playlist* playlist) {
    library().setGetPlaylistResponse(std::vector<Playlist*>{playlist}, 1);
  });
}

void LibraryListener::onSetPlaylistInfo(const char*& id, const char*& info, const char*& name,
                                        const char*& artwork, const char*& artist, int& status) {
  host_.console.call("onSetPlaylistInfo", id, info, name, artwork, artist);
  const std::string playlist = text(id);
  status = ifDone(host_.player.setPlaylistInfo(playlist, decoded(name), decoded(info)),
                  [&] { publishPlaylist(playlist); });
}

// --------------------------------------------------- devices and options

void LibraryListener::onGetDevices(int& status) {
  host_.console.call("onGetDevices");
  const std::string current = host_.player.currentDevice();
  std::vector<std::string> devices;
  for (const OutputDevice& d : host_.player.devices()) {
    std::vector<std::string> rates, buffers;
    for (int r : d.sampleRates) rates.push_back(std::to_string(r));
    for (int b : d.bufferSizes) buffers.push_back(std::to_string(b));
    devices.push_back(JsonObject()
                          .add("name", d.name)
                          .add("channels", d.channels)
                          .raw("sampleRates", jsonArray(rates))
                          .raw("bufferSizes", jsonArray(buffers))
                          .add("sampleRate", d.sampleRate)
                          .add("bufferSize", d.bufferSize)
                          .add("current", d.name == current)
                          .str());
  }
  const std::string json =
      JsonObject().add("currentDevice", current).raw("devices", jsonArray(devices)).str();
  status = answer(&Library::setGetDevicesResponse, json);
}

void LibraryListener::onSetDevice(const char*& device, const char*& channels,
                                  const char*& sampleRate, const char*& bufferSize, int& status) {
  host_.console.call("onSetDevice", device, channels, sampleRate, bufferSize);
  status = ifDone(host_.player.selectDevice(decoded(device), text(channels), text(sampleRate),
                                            text(bufferSize)),
                  [&] { host_.publish.outputDevices(); });
}

namespace {
std::string optionsJson(const std::map<std::string, std::string>& options) {
  JsonObject o;
  for (const auto& [key, value] : options) {
    if (value == "true" || value == "false") {
      o.add(key, value == "true");
    } else if (!value.empty() && value.find_first_not_of("-0123456789") == std::string::npos) {
      o.add(key, std::atoi(value.c_str()));
    } else {
      o.add(key, value);
    }
  }
  return o.str();
}
}  // namespace

void LibraryListener::onGetOptions(int& status) {
  host_.console.call("onGetOptions");
  status = answer(&Library::setGetOptionsResponse, optionsJson(host_.player.options()));
}

void LibraryListener::onSetOptions(const char*& checkForUpdates, const char*& maxDownloads,
                                   const char*& addToITunes, const char*& createITunesPlaylist,
                                   const char*& retryTime, const char*& retryCount,
                                   const char*& dsdEnabled, const char*& dsdFilterEnabled,
                                   const char*& dsdGain, const char*& tidalQuality,
                                   const char*& upSample, const char*& scanLevel,
                                   const char*& bypassMode, const char*& artCache, const char*& mqa,
                                   int& status) {
  host_.console.call("onSetOptions", checkForUpdates, maxDownloads, addToITunes,
                     createITunesPlaylist, retryTime, retryCount, dsdEnabled, dsdFilterEnabled,
                     dsdGain, tidalQuality, upSample, scanLevel, bypassMode, artCache, mqa);
  const std::map<std::string, std::string> values = {
      {"checkForUpdates", text(checkForUpdates)},
      {"maxDownloads", text(maxDownloads)},
      {"addToITunes", text(addToITunes)},
      {"createITunesPlaylist", text(createITunesPlaylist)},
      {"retryTime", text(retryTime)},
      {"retryCount", text(retryCount)},
      {"dsdEnabled", text(dsdEnabled)},
      {"dsdFilterEnabled", text(dsdFilterEnabled)},
      {"dsdGain", text(dsdGain)},
      {"tidalQuality", text(tidalQuality)},
      {"upSample", text(upSample)},
      {"scanLevel", text(scanLevel)},
      {"bypassMode", text(bypassMode)},
      {"artCache", text(artCache)},
      {"mqa", text(mqa)},
  };
  // Two of the options are the settings switches as well.
  status = ifDone(host_.player.setOptions(values), [&] { host_.publish.settingsValues(); });
}

void LibraryListener::onGetAppConfig(int& status) {
  host_.console.call("onGetAppConfig");
  const std::size_t tracks =
      host_.player.withLibrary([](const LibraryView& lib) { return lib.catalog.trackCount(); });
  const std::string json = JsonObject()
                               .add("application", "velora-host")
                               .add("version", getSDKVersionStr())
                               .add("sdkVersion", getSDKVersionInt())
                               .add("platform", "linux")
                               .add("instance", host_.instance)
                               .add("downloadLocation", host_.player.downloadFolder())
                               .add("artworkLocation", host_.player.artworkFolder())
                               .add("libraryTracks", static_cast<int>(tracks))
                               .add("loggedIn", !host_.player.user().empty())
                               .raw("options", optionsJson(host_.player.options()))
                               .str();
  status = answer(&Library::setGetAppConfigResponse, json);
}

int LibraryListener::answer(void (IVeloraLibraryService::*setter)(const char*),
                            const std::string& json) {
  (library().*setter)(json.c_str());
  return kOk;
}

void LibraryListener::answerDownloadLocation() {
  const std::string json = JsonObject().add("location", host_.player.downloadFolder()).str();
  library().setGetLocalDownloadLocationResponse(json.c_str());
}

void LibraryListener::answerArtworkLocation(const std::string& id) {
  const std::string json =
      JsonObject().add("id", id).add("location", host_.player.artworkFolder()).str();
  library().setGetArtworkLocationResponse(json.c_str());
}

// There is no folder dialog to show on a console: choosing a folder keeps
// the current one and says which it is.
void LibraryListener::onSelectLocalDownloadLocation(int& status) {
  host_.console.call("onSelectLocalDownloadLocation");
  answerDownloadLocation();
  status = kOk;
}

void LibraryListener::onGetLocalDownloadLocation(int& status) {
  host_.console.call("onGetLocalDownloadLocation");
  answerDownloadLocation();
  status = kOk;
}

void LibraryListener::onSelectLocalArtworkLocation(const char*& id, int& status) {
  host_.console.call("onSelectLocalArtworkLocation", id);
  answerArtworkLocation(text(id));
  status = kOk;
}

void LibraryListener::onGetLocalArtworkLocation(const char*& id, int& status) {
  host_.console.call("onGetLocalArtworkLocation", id);
  answerArtworkLocation(text(id));
  status = kOk;
}

// A downloaded stash item joins the library: its tracks go to My Music. The
// reply names the folder the files went to.
void LibraryListener::onAddToLibrary(const char*& id, int& status) {
  host_.console.call("onAddToLibrary", id);
  StashItem item;
  const std::string key = text(id);
  const std::string mediaId = host_.player.findStashItem(key, item) ? item.mediaId : key;
  status = ifDone(!host_.player.tracksOf(mediaId).empty(), [&] {
    addToMyMusic(1, mediaId);
    answerDownloadLocation();
  });
}

// ------------------------------------------------- the player application

void LibraryListener::onSetPlayState(const char*& state, int& status) {
  host_.console.call("onSetPlayState", state);
  const std::string s = text(state);
  bool ok = true;
  bool moved = false;
  if (s == "play") {
    ok = host_.player.play();
  } else if (s == "pause") {
    host_.player.pause();
  } else if (s == "stop") {
    host_.player.stop();
  } else if (s == "toggle" || s == "playpause") {
    ok = host_.player.togglePlayPause();
  } else if (s == "next") {
    ok = moved = host_.player.next();
  } else if (s == "previous") {
    ok = moved = host_.player.previous();
  } else {
    ok = false;
  }
  status = ok ? kOk : kFailed;
  if (ok) host_.publish.transport(moved);
}

void LibraryListener::onGetPlayState(int& status) {
  host_.console.call("onGetPlayState");
  const TransportSnapshot s = host_.player.transport();
  const std::string json = transportJson(s)
                               .add("volume", s.volume)
                               .add("muted", s.muted)
                               .add("mode", static_cast<int>(s.mode))
                               .str();
  status = answer(&Library::setGetPlayStateResponse, json);
}

void LibraryListener::onSetPlaybackItem(const char*& uuid, const char*& play, const char*& sortBy,
                                        const char*& reverseSort, const char*& parentuuid,
                                        int& status) {
  host_.console.call("onSetPlaybackItem", uuid, play, sortBy, reverseSort, parentuuid);
  const std::string item = text(uuid);
  const std::string parent = text(parentuuid);
  const bool start = flag(play);
  bool ok = false;
  if (!parent.empty()) {
    // A track played from the list it was shown in.
    ok = host_.player.playList(parent, 0, item, start);
  }
  if (!ok) {
    CatalogTrack track;
    ok = host_.player.findTrack(item, track) ? host_.player.playTrack(item, start)
                                             : host_.player.playList(item, 0, "", start);
  }
  status = ok ? kOk : kFailed;
  if (ok) {
    host_.publish.transport(true);
    host_.publish.queue();
  }
}

void LibraryListener::onShowTrackFile(const char*& uuid, int& status) {
  host_.console.call("onShowTrackFile", uuid);
  CatalogTrack track;
  status = ifDone(host_.player.findTrack(text(uuid), track), [&] {
    host_.console.say("track file: " + (track.path.empty() ? "(generated, no file)" : track.path));
  });
}

void LibraryListener::onGetAvailableYearsForArtist(const char*& uuid, int& status) {
  host_.console.call("onGetAvailableYearsForArtist", uuid);
  const bool known = host_.player.withLibrary(
      [&](const LibraryView& lib) { return lib.catalog.artist(text(uuid)) != nullptr; });
  if (!known) {
    status = kFailed;
    return;
  }
  std::vector<std::string> years;
  for (int y : host_.player.yearsOf(text(uuid))) years.push_back(std::to_string(y));
  const std::string json = JsonObject().add("id", text(uuid)).raw("years", jsonArray(years)).str();
  status = answer(&Library::setGetAvailableYearsForArtistResponse, json);
}

void LibraryListener::onGetNowPlaying(int& status) {
  host_.console.call("onGetNowPlaying");
  const std::vector<std::string> ids = host_.player.queue();
  LibraryItems items(host_.player);
  library().setGetNowPlayingResponse(
      items.read([&](const LibraryView& lib, ItemPool& pool) { return pool.tracks(lib, ids); }));
  status = kOk;
}

// A client reports what it played as "key=value," pairs; the track's id
// comes under one of a few names.
void LibraryListener::onSetHistory(const char*& history, int& status) {
  host_.console.call("onSetHistory", history);
  std::istringstream pairs(decoded(history));
  std::string pair;
  std::string trackId;
  while (std::getline(pairs, pair, ',')) {
    const auto eq = pair.find('=');
    if (eq == std::string::npos) continue;
    const std::string key = pair.substr(0, eq);
    if (key == "trackid" || key == "trackId" || key == "id" || key == "uuid") {
      trackId = pair.substr(eq + 1);
    }
  }
  CatalogTrack track;
  if (trackId.empty() || !host_.player.findTrack(trackId, track)) {
    status = kFailed;
    return;
  }
  host_.player.addHistory(trackId);
  status = kOk;
}

void LibraryListener::onGetHistory(int& status) {
  host_.console.call("onGetHistory");
  const std::vector<HistoryEntry> history = host_.player.history();
  const double now = history.empty() ? 0 : history.back().at;
  const std::string items = host_.player.withLibrary([&](const LibraryView& lib) {
    std::vector<std::string> out;
    // Most recent first.
    for (auto it = history.rbegin(); it != history.rend(); ++it) {
      const CatalogTrack* t = lib.track(it->trackId);
      if (t == nullptr) continue;
      const CatalogArtist* artist = lib.catalog.artist(t->artistId);
      const CatalogAlbum* album = lib.catalog.album(t->albumId);
      out.push_back(JsonObject()
                        .add("trackid", t->id)
                        .add("title", t->title)
                        .add("artist", artist ? artist->name : t->artistId)
                        .add("album", album ? album->title : t->albumId)
                        .add("secondsBeforeLast", now - it->at)
                        .str());
    }
    return jsonArray(out);
  });
  status = answer(&Library::setGetHistoryResponse, JsonObject().raw("history", items).str());
}

bool LibraryListener::answerSearch(const std::string& which, const std::string& term, int index,
                                   int count, bool streaming) {
  const Kind kind = kindOf(which);
  if (kind == Kind::Unknown) return false;
  LibraryItems items(host_.player);
  IVeloraLibraryService& service = library();
  items.read([&](const LibraryView& lib, ItemPool& pool) {
    const Catalog::SearchResult found = lib.catalog.search(term);
    switch (kind) {
      case Kind::Tracks:
        return service.setSearchResponse(pool.listItems(lib, found.tracks, index, count));
      case Kind::Albums:
        return service.setSearchResponse(pool.listItems(lib, found.albums, index, count));
      case Kind::Artists:
        return service.setSearchResponse(pool.listItems(lib, found.artists, index, count));
      case Kind::Playlists:
        return service.setSearchResponse(
            pool.listItems(lib, playlistsNamed(lib.catalog, term), index, count));
      case Kind::Unknown:
        break;
    }
  });
  (void)streaming;
  return true;
}

void LibraryListener::onSearch(const char*& which, const char*& searchTerm, const char*& index,
                               const char*& count, int& status) {
  host_.console.call("onSearch", which, searchTerm, index, count);
  status =
      answerSearch(text(which), decoded(searchTerm), number(index, -1), number(count, -1), false)
          ? kOk
          : kFailed;
}

// The streaming catalogue of the demo account is the local library again;
// without a signed-in account there is nothing to search.
void LibraryListener::onSearchTidal(const char*& which, const char*& searchTerm, const char*& index,
                                    const char*& count, int& status) {
  host_.console.call("onSearchTidal", which, searchTerm, index, count);
  if (host_.player.user().empty()) {
    status = kFailed;
    return;
  }
  status =
      answerSearch(text(which), decoded(searchTerm), number(index, -1), number(count, -1), true)
          ? kOk
          : kFailed;
}

// ------------------------------------------------------------------ playlists

void LibraryListener::onDeleteItem(const char*& uuid, const char*& id,
                                   const char*& removeFromComputer, int& status) {
  host_.console.call("onDeleteItem", uuid, id, removeFromComputer);
  // Items leave playlists; files never leave the computer from a remote.
  const std::string playlist = text(uuid);
  status = ifDone(host_.player.removeFromPlaylist(playlist, text(id)),
                  [&] { publishPlaylist(playlist); });
}

void LibraryListener::onCreatePlaylist(const char*& name, int& status) {
  host_.console.call("onCreatePlaylist", name);
  const std::string id = host_.player.createPlaylist(decoded(name));
  status = ifDone(!id.empty(), [&] {
    LibraryItems items(host_.player);
    library().setCreatePlaylistResponse(std::vector<Playlist*>{items.playlist(id)});
    publishPlaylist(id);
  });
}

void LibraryListener::onDeletePlaylist(const char*& uuid, int& status) {
  host_.console.call("onDeletePlaylist", uuid);
  status = ifDone(host_.player.deletePlaylist(text(uuid)), [&] { publishPlaylists(); });
}

void LibraryListener::onAddItemToPlaylist(const char*& playlistUuid, const char*& itemUuid,
                                          int& status) {
  host_.console.call("onAddItemToPlaylist", playlistUuid, itemUuid);
  const std::string playlist = text(playlistUuid);
  status = ifDone(host_.player.addToPlaylist(playlist, text(itemUuid)),
                  [&] { publishPlaylist(playlist); });
}

void LibraryListener::onRemoveItemFromPlaylist(const char*& playlistUuid, const char*& itemUuid,
                                               const char*& removeFromComputer, int& status) {
  host_.console.call("onRemoveItemFromPlaylist", playlistUuid, itemUuid, removeFromComputer);
  const std::string playlist = text(playlistUuid);
  status = ifDone(host_.player.removeFromPlaylist(playlist, text(itemUuid)),
                  [&] { publishPlaylist(playlist); });
}

void LibraryListener::onMoveItemInPlaylist(const char*& playlistUuid, const char*& itemUuid,
                                           const char*& toPosition, int& status) {
  host_.console.call("onMoveItemInPlaylist", playlistUuid, itemUuid, toPosition);
  const std::string playlist = text(playlistUuid);
  status = ifDone(host_.player.moveInPlaylist(playlist, text(itemUuid), number(toPosition, -1)),
                  [&] { publishPlaylist(playlist); });
}

// ------------------------------------------------------------ client control

void LibraryListener::onGetHeartbeat(int& status) {
  host_.console.call("onGetHeartbeat");
  const TransportSnapshot s = host_.player.transport();
  const std::string json = JsonObject()
                               .add("alive", true)
                               .add("application", "velora-host")
                               .add("instance", host_.instance)
                               .add("state", transportName(s.transport))
                               .str();
  status = answer(&Library::setGetHeartbeatResponse, json);
}

void LibraryListener::onInputMode(const char*& enabled, const char*& source, int& status) {
  host_.console.call("onInputMode", enabled, source);
  host_.player.setInputMode(flag(enabled), text(source));
  status = kOk;
}

void LibraryListener::onDeviceWindow(int& status) {
  host_.console.call("onDeviceWindow");
  host_.console.say("(a desktop player would open its output device window here)");
  status = kOk;
}

void LibraryListener::onNavigation(const char*& which, int& status) {
  host_.console.call("onNavigation", which);
  status = text(which).empty() ? kFailed : kOk;
}

// A remote client may ask the player to quit; the reference host stays up
// and leaves stopping to its own console.
void LibraryListener::onQuit(int& status) {
  host_.console.call("onQuit");
  host_.console.say("a remote client asked to quit; press Ctrl-C here to stop the host");
  status = kOk;
}

void LibraryListener::onPing(int& status) {
  host_.console.call("onPing");
  status = kOk;
}

// ---------------------------------------------------- the embedded player

void LibraryListener::answerPlayer() {
  library().setPlayerResponse(transportJson(host_.player.transport()).str().c_str());
}

void LibraryListener::onPlayerSetItem(const char*& streamLink, const char*& trackId,
                                      const char*& isNext, const char*& artistName,
                                      const char*& recordingTitle, const char*& itemTitle,
                                      const char*& reserved, int& status) {
  host_.console.call("onPlayerSetItem", streamLink, trackId, isNext, artistName, recordingTitle,
                     itemTitle, reserved);
  if (text(trackId).empty() && text(streamLink).empty()) {
    status = kFailed;
    return;
  }
  const std::string title = text(itemTitle).empty() ? text(recordingTitle) : text(itemTitle);
  const bool next = flag(isNext);
  host_.player.addStreamTrack(text(trackId), title, text(artistName), text(recordingTitle), next);
  host_.publish.queue();
  if (!next) host_.publish.transport(true);
  status = kOk;
}

void LibraryListener::onPlayerPing(int& status) {
  host_.console.call("onPlayerPing");
  answerPlayer();
  status = kOk;
}

void LibraryListener::onPlayerPlay(const char*& playState, const char*& itemID, int& status) {
  host_.console.call("onPlayerPlay", playState, itemID);
  const std::string state = text(playState);
  const std::string item = text(itemID);
  bool ok = true;
  bool moved = false;
  if (!item.empty()) {
    CatalogTrack track;
    const std::string id = host_.player.findTrack(item, track) ? item : "stream-" + item;
    ok = moved = host_.player.playTrack(id, state != "pause");
  } else if (state == "pause") {
    host_.player.pause();
  } else {
    ok = host_.player.play();
  }
  if (!ok) {
    status = kFailed;
    return;
  }
  host_.publish.transport(moved);
  answerPlayer();
  status = kOk;
}

void LibraryListener::onPlayerPause(int& status) {
  host_.console.call("onPlayerPause");
  host_.player.pause();
  host_.publish.transport(false);
  answerPlayer();
  status = kOk;
}

void LibraryListener::onPlayerHeartbeat(int& status) {
  host_.console.call("onPlayerHeartbeat");
  answerPlayer();
  status = kOk;
}

}  // namespace refhost
