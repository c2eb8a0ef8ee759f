#include "catalog/Catalog.h"

#include <algorithm>
#include <cctype>
#include <tuple>

namespace refhost {

namespace {

std::string folded(const std::string& text) {
  std::string out(text);
  std::transform(out.begin(), out.end(), out.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return out;
}

template <typename T>
const T* find(const std::map<std::string, T>& items, const std::string& id) {
  const auto it = items.find(id);
  return it == items.end() ? nullptr : &it->second;
}

template <typename T>
void appendOnce(std::vector<T>& list, const T& value) {
  if (std::find(list.begin(), list.end(), value) == list.end()) list.push_back(value);
}

template <typename T>
void addInOrder(std::map<std::string, T>& items, std::vector<std::string>& order, T item) {
  const std::string id = item.id;
  if (items.count(id) == 0) order.push_back(id);
  items[id] = std::move(item);
}

template <typename T>
std::vector<const T*> inOrder(const std::map<std::string, T>& items,
                              const std::vector<std::string>& order) {
  std::vector<const T*> out;
  out.reserve(order.size());
  for (const auto& id : order) {
    if (const T* item = find(items, id)) out.push_back(item);
  }
  return out;
}

}  // namespace

void Catalog::addArtist(CatalogArtist artist) {
  const std::string id = artist.id;
  artists_[id] = std::move(artist);
}

void Catalog::addGenre(CatalogGenre genre) { addInOrder(genres_, genreOrder_, std::move(genre)); }

void Catalog::addAlbum(CatalogAlbum album) {
  if (auto it = artists_.find(album.artistId); it != artists_.end()) {
    appendOnce(it->second.albumIds, album.id);
  }
  if (auto it = genres_.find(album.genreId); it != genres_.end()) {
    appendOnce(it->second.albumIds, album.id);
  }
  const std::string id = album.id;
  albums_[id] = std::move(album);
}

void Catalog::addTrack(CatalogTrack track) {
  if (auto it = albums_.find(track.albumId); it != albums_.end()) {
    auto& ids = it->second.trackIds;
    appendOnce(ids, track.id);
    // Keep the album in track-number order whatever order files were found in.
    std::stable_sort(ids.begin(), ids.end(), [&](const std::string& a, const std::string& b) {
      return numberOf(a, track) < numberOf(b, track);
    });
  }
  const std::string id = track.id;
  tracks_[id] = std::move(track);
}

int Catalog::numberOf(const std::string& id, const CatalogTrack& incoming) const {
  if (id == incoming.id) return incoming.number;
  const CatalogTrack* known = track(id);
  return known == nullptr ? 0 : known->number;
}

void Catalog::addMood(CatalogMood mood) { addInOrder(moods_, moodOrder_, std::move(mood)); }

void Catalog::addPlaylist(CatalogPlaylist playlist) {
  addInOrder(playlists_, playlistOrder_, std::move(playlist));
}

bool Catalog::removePlaylist(const std::string& id) {
  if (playlists_.erase(id) == 0) return false;
  playlistOrder_.erase(std::remove(playlistOrder_.begin(), playlistOrder_.end(), id),
                       playlistOrder_.end());
  return true;
}

const CatalogTrack* Catalog::track(const std::string& id) const { return find(tracks_, id); }
const CatalogAlbum* Catalog::album(const std::string& id) const { return find(albums_, id); }
const CatalogArtist* Catalog::artist(const std::string& id) const { return find(artists_, id); }
const CatalogGenre* Catalog::genre(const std::string& id) const { return find(genres_, id); }
const CatalogMood* Catalog::mood(const std::string& id) const { return find(moods_, id); }
const CatalogPlaylist* Catalog::playlist(const std::string& id) const {
  return find(playlists_, id);
}
CatalogPlaylist* Catalog::playlist(const std::string& id) {
  const auto it = playlists_.find(id);
  return it == playlists_.end() ? nullptr : &it->second;
}

std::vector<const CatalogTrack*> Catalog::tracks() const {
  std::vector<const CatalogTrack*> out;
  out.reserve(tracks_.size());
  for (const CatalogAlbum* album : albums()) {
    for (const auto& id : album->trackIds) {
      if (const CatalogTrack* t = track(id)) out.push_back(t);
    }
  }
  // Tracks whose album is unknown still belong to the library.
  for (const auto& [id, t] : tracks_) {
    if (albums_.count(t.albumId) == 0) out.push_back(&t);
  }
  return out;
}

std::vector<const CatalogAlbum*> Catalog::albums() const {
  std::vector<const CatalogAlbum*> out;
  out.reserve(albums_.size());
  for (const auto& [id, album] : albums_) out.push_back(&album);
  std::stable_sort(out.begin(), out.end(), [](const CatalogAlbum* a, const CatalogAlbum* b) {
    return std::make_tuple(folded(a->title), a->id) < std::make_tuple(folded(b->title), b->id);
  });
  return out;
}

std::vector<const CatalogArtist*> Catalog::artists() const {
  std::vector<const CatalogArtist*> out;
  out.reserve(artists_.size());
  for (const auto& [id, artist] : artists_) out.push_back(&artist);
  std::stable_sort(out.begin(), out.end(), [](const CatalogArtist* a, const CatalogArtist* b) {
    return std::make_tuple(folded(a->name), a->id) < std::make_tuple(folded(b->name), b->id);
  });
  return out;
}

std::vector<const CatalogGenre*> Catalog::genres() const { return inOrder(genres_, genreOrder_); }
std::vector<const CatalogMood*> Catalog::moods() const { return inOrder(moods_, moodOrder_); }
std::vector<const CatalogPlaylist*> Catalog::playlists() const {
  return inOrder(playlists_, playlistOrder_);
}

int Catalog::albumDuration(const CatalogAlbum& album) const {
  int total = 0;
  for (const auto& id : album.trackIds) {
    if (const CatalogTrack* t = track(id)) total += t->duration;
  }
  return total;
}

std::vector<const CatalogTrack*> Catalog::artistTracks(const std::string& artistId) const {
  std::vector<const CatalogTrack*> out;
  const CatalogArtist* a = artist(artistId);
  if (a == nullptr) return out;
  for (const auto& albumId : a->albumIds) {
    const CatalogAlbum* al = album(albumId);
    if (al == nullptr) continue;
    for (const auto& id : al->trackIds) {
      if (const CatalogTrack* t = track(id)) out.push_back(t);
    }
  }
  return out;
}

Catalog::SearchResult Catalog::search(const std::string& term) const {
  SearchResult result;
  const std::string needle = folded(term);
  if (needle.empty()) return result;
  const auto matches = [&](const std::string& text) {
    return folded(text).find(needle) != std::string::npos;
  };
  for (const CatalogArtist* a : artists()) {
    if (matches(a->name)) result.artists.push_back(a);
  }
  for (const CatalogAlbum* a : albums()) {
    if (matches(a->title)) result.albums.push_back(a);
  }
  for (const CatalogTrack* t : tracks()) {
    if (matches(t->title)) result.tracks.push_back(t);
  }
  return result;
}

}  // namespace refhost
