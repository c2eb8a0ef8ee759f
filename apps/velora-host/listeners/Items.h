#pragma once

#include <string>
#include <vector>

#include <velora/VeloraRemoteSDK.h>

#include "player/Player.h"

// Turns catalog records into the service's library items. Every item made
// through a pool is released with the pool, so a listener makes a pool, fills
// it under the player's lock, hands the items to a setter and lets the pool
// go when the callback returns.
namespace refhost {

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

 private:
  std::vector<Track*> tracks_;
  std::vector<Album*> albums_;
  std::vector<Artist*> artists_;
  std::vector<Genre*> genres_;
  std::vector<Playlist*> playlists_;
  std::vector<Mood*> moods_;
};

// The cover that stands for any item: its own, its album's, or the first
// album's of an artist, genre or list.
std::string coverOf(const LibraryView& lib, const std::string& id);

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

}  // namespace refhost
