#include "listeners/Areas.h"

#include <algorithm>
#include <functional>

#include "listeners/Items.h"
#include "listeners/Json.h"

namespace refhost {

namespace {

// The local-library list answers "not modified" with this status.
constexpr int kNotModified = 8;

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

std::string padded(int n) {
  std::string s = std::to_string(n);
  return std::string(s.size() < 8 ? 8 - s.size() : 0, '0') + s;
}

// The local library page by page, sorted, and the info of single items.
class LocalLibraryListener final : public LibraryPart {
 public:
  using LibraryPart::LibraryPart;

  void onGetLocalLibrary(const char*& id, const char*& index, const char*& count,
                         const char*& sortBy, const char*& reverseSort, const char*& etag,
                         const char*& filter, int& status) override {
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

  void onGetArtist(const char*& id, const char*& index, const char*& count, const char*& sortBy,
                   const char*& reverseSort, const char*& reserved, int& status) override {
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
          all,
          [&](const CatalogAlbum& a) { return sort == 0 ? a.title : padded(a.year) + a.title; },
          flag(reverseSort));
      total = static_cast<int>(all.size());
      albums = pool.listItems(lib, all, number(index, -1), number(count, -1));
      return true;
    });
    status = ifDone(found, [&] { library().setGetArtistResponse(albums, total); });
  }

  void onGetAlbum(const char*& id, const char*& index, const char*& count, const char*& sortBy,
                  const char*& reverseSort, int& status) override {
    host_.console.call("onGetAlbum", id, index, count, sortBy, reverseSort);
    LibraryItems items(host_.player);
    status = answerWith(items.album(text(id)), [&](Album* album) { library().setAlbum(album); });
  }

  void onGetArtistInfo(const char*& id, int& status) override {
    host_.console.call("onGetArtistInfo", id);
    LibraryItems items(host_.player);
    status = answerWith(items.artist(text(id)), [&](Artist* artist) {
      library().setGetArtistResponse(std::vector<Artist*>{artist}, 1);
    });
  }

  void onGetAlbumInfo(const char*& id, int& status) override {
    host_.console.call("onGetAlbumInfo", id);
    LibraryItems items(host_.player);
    status = answerWith(items.album(text(id)), [&](Album* album) {
      library().setGetAlbumResponse(std::vector<Album*>{album}, 1);
    });
  }

  void onGetPlaylistInfo(const char*& id, int& status) override {
    host_.console.call("onGetPlaylistInfo", id);
    LibraryItems items(host_.player);
    status = answerWith(items.playlist(text(id)), [&](Playlist* playlist) {
      library().setGetPlaylistResponse(std::vector<Playlist*>{playlist}, 1);
    });
  }
};

}  // namespace

std::unique_ptr<IVeloraLibraryServiceListener> localLibraryListener(HostContext& host) {
  return std::make_unique<LocalLibraryListener>(host);
}

}  // namespace refhost
