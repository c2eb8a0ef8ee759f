#pragma once

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <velora/VeloraRemoteSDK.h>

#include "player/Player.h"

// Turns catalog records into the service's library items. Every item made
// through a pool is released with the pool, so a listener makes a pool, fills
// it under the player's lock, hands the items to a setter and lets the pool
// go when the callback returns.
namespace refhost {

// One page of a list: index -1 means from the start, count -1 means all.
template <typename T>
std::vector<T> page(const std::vector<T>& all, int index, int count) {
  const std::size_t from = index < 0 ? 0 : static_cast<std::size_t>(index);
  if (from >= all.size()) return {};
  const std::size_t n =
      count < 0 ? all.size() - from : std::min(all.size() - from, static_cast<std::size_t>(count));
  return std::vector<T>(all.begin() + static_cast<long>(from),
                        all.begin() + static_cast<long>(from + n));
}

class ItemPool {
 public:
  ItemPool() = default;
  ~ItemPool();
  ItemPool(const ItemPool&) = delete;
  ItemPool& operator=(const ItemPool&) = delete;

  // Tracks nested in lists carry no artwork path: every one of them would
  // otherwise carry its album's whole picture. The playing track carries it.
  Track* track(const LibraryView& lib, const CatalogTrack& t, bool withArtwork = false);
  std::vector<Track*> tracks(const LibraryView& lib, const std::vector<std::string>& ids,
                             bool withArtwork = false);
  Album* album(const LibraryView& lib, const CatalogAlbum& a, bool withTracks);
  Artist* artist(const LibraryView& lib, const CatalogArtist& a, bool withAlbums);
  Genre* genre(const LibraryView& lib, const CatalogGenre& g, bool withAlbums, int index = 0,
               int count = -1);
  Playlist* playlist(const LibraryView& lib, const CatalogPlaylist& p, bool withTracks);
  // Moods have no item with tracks of their own: a mood's tracks travel as a
  // playlist with the mood's id.
  Playlist* moodPlaylist(const LibraryView& lib, const CatalogMood& m);
  Mood* mood(const LibraryView& lib, const CatalogMood& m);

  // The short form a record takes in lists and search results.
  Track* listItem(const LibraryView& lib, const CatalogTrack& t) { return track(lib, t); }
  Album* listItem(const LibraryView& lib, const CatalogAlbum& a) { return album(lib, a, false); }
  Artist* listItem(const LibraryView& lib, const CatalogArtist& a) { return artist(lib, a, false); }
  Genre* listItem(const LibraryView& lib, const CatalogGenre& g) { return genre(lib, g, false); }
  Playlist* listItem(const LibraryView& lib, const CatalogPlaylist& p) {
    return playlist(lib, p, false);
  }
  Mood* listItem(const LibraryView& lib, const CatalogMood& m) { return mood(lib, m); }
  // One page of `records` in their short form.
  template <typename Record>
  auto listItems(const LibraryView& lib, const std::vector<const Record*>& records, int index = -1,
                 int count = -1) {
    std::vector<decltype(listItem(lib, std::declval<const Record&>()))> out;
    for (const Record* r : page(records, index, count)) out.push_back(listItem(lib, *r));
    return out;
  }

 private:
  // The albums among `ids` in their short form.
  std::vector<Album*> albums(const LibraryView& lib, const std::vector<std::string>& ids);

  std::vector<Track*> tracks_;
  std::vector<Album*> albums_;
  std::vector<Artist*> artists_;
  std::vector<Genre*> genres_;
  std::vector<Playlist*> playlists_;
  std::vector<Mood*> moods_;
};

// Items looked up in the player's library, each under the player's lock, and
// released with this object: what one callback hands to its answer setters.
class LibraryItems {
 public:
  explicit LibraryItems(const Player& player) : player_(player) {}

  // The full form of one record, found by id; null when the library has none.
  Track* track(const std::string& id);                        // with its cover; streamed tracks too
  Album* album(const std::string& id);                        // with its tracks
  Artist* artist(const std::string& id);                      // with its albums
  Playlist* playlist(const std::string& id);                  // with its tracks
  Playlist* mood(const std::string& id);                      // a mood's tracks, as a playlist
  Genre* genre(const std::string& id, int index, int count);  // with a page of its albums

  // One page of one of the catalog's lists in their short form, e.g.
  // list(&Catalog::albums, 0, 20).
  template <typename Record>
  auto list(std::vector<const Record*> (Catalog::*all)() const, int index = -1, int count = -1) {
    return read([&](const LibraryView& lib, ItemPool& pool) {
      return pool.listItems(lib, (lib.catalog.*all)(), index, count);
    });
  }

  // Any other reading that makes items: `reading(lib, pool)` runs under the lock.
  template <typename F>
  auto read(F&& reading) {
    return player_.withLibrary([&](const LibraryView& lib) { return reading(lib, pool_); });
  }

 private:
  // The item `make` builds from the record `find` picks; null when it picks none.
  template <typename Find, typename Make>
  auto found(Find find, Make make) {
    return read(
        [&](const LibraryView& lib, ItemPool& pool) -> decltype(make(lib, pool, *find(lib))) {
          const auto* record = find(lib);
          return record ? make(lib, pool, *record) : nullptr;
        });
  }

  const Player& player_;
  ItemPool pool_;
};

// The cover that stands for any item: its own, its album's, or the first
// album's of an artist, genre or list.
std::string coverOf(const LibraryView& lib, const std::string& id);

}  // namespace refhost
