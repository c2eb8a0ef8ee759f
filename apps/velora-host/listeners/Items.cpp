#include "listeners/Items.h"

namespace refhost {

namespace {

constexpr const char* kLocation = "local";

template <typename T>
void releaseAll(std::vector<T*>& items) {
  for (T* item : items) item->Release();
  items.clear();
}

std::string artistName(const LibraryView& lib, const std::string& artistId) {
  const CatalogArtist* a = lib.catalog.artist(artistId);
  // Streamed tracks carry the artist's name where library tracks carry an id.
  return a ? a->name : artistId;
}

int durationOf(const LibraryView& lib, const std::vector<std::string>& ids) {
  int total = 0;
  for (const std::string& id : ids) {
    if (const CatalogTrack* t = lib.track(id)) total += t->duration;
  }
  return total;
}

bool anyMqa(const LibraryView& lib, const std::vector<std::string>& ids) {
  for (const std::string& id : ids) {
    const CatalogTrack* t = lib.track(id);
    if (t != nullptr && t->mqa) return true;
  }
  return false;
}

std::string firstCover(const LibraryView& lib, const std::vector<std::string>& trackIds) {
  for (const std::string& id : trackIds) {
    const CatalogTrack* t = lib.track(id);
    const CatalogAlbum* a = t ? lib.catalog.album(t->albumId) : nullptr;
    if (a != nullptr && !a->coverPath.empty()) return a->coverPath;
  }
  return {};
}

std::string firstAlbumCover(const LibraryView& lib, const std::vector<std::string>& albumIds) {
  for (const std::string& id : albumIds) {
    const CatalogAlbum* a = lib.catalog.album(id);
    if (a != nullptr && !a->coverPath.empty()) return a->coverPath;
  }
  return {};
}

}  // namespace

ItemPool::~ItemPool() {
  releaseAll(tracks_);
  releaseAll(albums_);
  releaseAll(artists_);
  releaseAll(genres_);
  releaseAll(playlists_);
  releaseAll(moods_);
}

std::string coverOf(const LibraryView& lib, const std::string& id) {
  const Catalog& c = lib.catalog;
  if (const CatalogAlbum* a = c.album(id)) return a->coverPath;
  if (const CatalogTrack* t = lib.track(id)) {
    const CatalogAlbum* a = c.album(t->albumId);
    return a ? a->coverPath : std::string();
  }
  if (const CatalogArtist* a = c.artist(id)) return firstAlbumCover(lib, a->albumIds);
  if (const CatalogGenre* g = c.genre(id)) return firstAlbumCover(lib, g->albumIds);
  if (const CatalogMood* m = c.mood(id)) {
    return m->coverPath.empty() ? firstCover(lib, m->trackIds) : m->coverPath;
  }
  if (const CatalogPlaylist* p = c.playlist(id)) return firstCover(lib, p->trackIds);
  return {};
}

Track* ItemPool::track(const LibraryView& lib, const CatalogTrack& t, bool withArtwork) {
  const bool streamed = lib.catalog.track(t.id) == nullptr;
  Track* item = Track::getTrack(streamed ? VeloraSourceStreaming : VeloraSourceLocal, t.id.c_str());
  tracks_.push_back(item);
  const CatalogAlbum* album = lib.catalog.album(t.albumId);
  item->setTrackName(t.title.c_str());
  item->setArtistName(artistName(lib, t.artistId).c_str());
  item->setAlbumName(album ? album->title.c_str() : t.albumId.c_str());
  if (withArtwork && album != nullptr) item->setArtworkPath(album->coverPath.c_str());
  item->setArtworkID(t.albumId.c_str());
  item->setArtistID(t.artistId.c_str());
  item->setAlbumID(t.albumId.c_str());
  item->setDuration(t.duration);
  item->setInfo((std::to_string(t.sampleRate / 1000.0).substr(0, 4) + " kHz / " +
                 std::to_string(t.bitDepth) + " bit")
                    .c_str());
  item->setSampleRate(t.sampleRate);
  item->setFileType(t.fileType.c_str());
  item->setAvailable(true);
  item->setLibraryLocation(streamed ? "streaming" : kLocation);
  item->setMQA(t.mqa);
  item->setPath(t.path.c_str());
  return item;
}

std::vector<Track*> ItemPool::tracks(const LibraryView& lib, const std::vector<std::string>& ids,
                                     bool withArtwork) {
  std::vector<Track*> out;
  for (const std::string& id : ids) {
    if (const CatalogTrack* t = lib.track(id)) out.push_back(track(lib, *t, withArtwork));
  }
  return out;
}

std::vector<Album*> ItemPool::albums(const LibraryView& lib, const std::vector<std::string>& ids) {
  std::vector<Album*> out;
  for (const std::string& id : ids) {
    if (const CatalogAlbum* a = lib.catalog.album(id)) out.push_back(album(lib, *a, false));
  }
  return out;
}

Album* ItemPool::album(const LibraryView& lib, const CatalogAlbum& a, bool withTracks) {
  Album* item = Album::getAlbum(VeloraSourceLocal, a.id.c_str());
  albums_.push_back(item);
  item->setAlbumName(a.title.c_str());
  item->setArtistID(a.artistId.c_str());
  item->setArtistName(artistName(lib, a.artistId).c_str());
  if (withTracks) item->setTracks(tracks(lib, a.trackIds));
  item->setArtworkPath(a.coverPath.c_str());
  item->setArtworkID(a.id.c_str());
  item->setInfo(a.info.c_str());
  item->setDuration(durationOf(lib, a.trackIds));
  item->setTrackCount(static_cast<int>(a.trackIds.size()));
  item->setAvailable(true);
  item->setLibraryLocation(kLocation);
  item->setMQA(anyMqa(lib, a.trackIds));
  return item;
}

Artist* ItemPool::artist(const LibraryView& lib, const CatalogArtist& a, bool withAlbums) {
  Artist* item = Artist::getArtist(VeloraSourceLocal, a.id.c_str());
  artists_.push_back(item);
  item->setArtistName(a.name.c_str());
  if (withAlbums) item->setAlbums(albums(lib, a.albumIds));
  item->setArtworkPath(firstAlbumCover(lib, a.albumIds).c_str());
  item->setArtworkID(a.id.c_str());
  item->setInfo(a.info.c_str());
  item->setAlbumCount(static_cast<int>(a.albumIds.size()));
  item->setTrackCount(static_cast<int>(lib.catalog.artistTracks(a.id).size()));
  item->setAvailable(true);
  item->setLibraryLocation(kLocation);
  return item;
}

Genre* ItemPool::genre(const LibraryView& lib, const CatalogGenre& g, bool withAlbums, int index,
                       int count) {
  Genre* item = Genre::getGenre(g.id.c_str());
  genres_.push_back(item);
  item->setGenreName(g.name.c_str());
  if (withAlbums) item->setAlbums(albums(lib, page(g.albumIds, index, count)));
  item->setArtworkPath(firstAlbumCover(lib, g.albumIds).c_str());
  item->setArtworkID(g.id.c_str());
  item->setInfo((std::to_string(g.albumIds.size()) + " albums").c_str());
  item->setLibraryLocation(kLocation);
  return item;
}

Playlist* ItemPool::playlist(const LibraryView& lib, const CatalogPlaylist& p, bool withTracks) {
  Playlist* item = Playlist::getPlaylist(VeloraSourceLocal, p.id.c_str());
  playlists_.push_back(item);
  item->setPlaylistName(p.name.c_str());
  if (withTracks) item->setTracks(tracks(lib, p.trackIds));
  item->setArtworkPath(firstCover(lib, p.trackIds).c_str());
  item->setArtworkID(p.id.c_str());
  item->setInfo(p.info.c_str());
  item->setDuration(durationOf(lib, p.trackIds));
  item->setTrackCount(static_cast<int>(p.trackIds.size()));
  item->setAvailable(true);
  item->setMQA(anyMqa(lib, p.trackIds));
  item->setLibraryLocation(kLocation);
  return item;
}

Playlist* ItemPool::moodPlaylist(const LibraryView& lib, const CatalogMood& m) {
  Playlist* item = Playlist::getPlaylist(VeloraSourceMood, m.id.c_str());
  playlists_.push_back(item);
  item->setPlaylistName(m.name.c_str());
  item->setTracks(tracks(lib, m.trackIds));
  item->setArtworkPath(coverOf(lib, m.id).c_str());
  item->setArtworkID(m.id.c_str());
  item->setDuration(durationOf(lib, m.trackIds));
  item->setTrackCount(static_cast<int>(m.trackIds.size()));
  item->setAvailable(true);
  item->setLibraryLocation(kLocation);
  return item;
}

Mood* ItemPool::mood(const LibraryView& lib, const CatalogMood& m) {
  Mood* item = Mood::getMood(m.id.c_str());
  moods_.push_back(item);
  item->setMoodName(m.name.c_str());
  item->setArtworkPath(coverOf(lib, m.id).c_str());
  item->setArtworkID(m.id.c_str());
  item->setLibraryLocation(kLocation);
  return item;
}

Track* LibraryItems::track(const std::string& id) {
  return found([&](const LibraryView& lib) { return lib.track(id); },
               [](const LibraryView& lib, ItemPool& pool, const CatalogTrack& t) {
                 return pool.track(lib, t, true);
               });
}

Album* LibraryItems::album(const std::string& id) {
  return found([&](const LibraryView& lib) { return lib.catalog.album(id); },
               [](const LibraryView& lib, ItemPool& pool, const CatalogAlbum& a) {
                 return pool.album(lib, a, true);
               });
}

Artist* LibraryItems::artist(const std::string& id) {
  return found([&](const LibraryView& lib) { return lib.catalog.artist(id); },
               [](const LibraryView& lib, ItemPool& pool, const CatalogArtist& a) {
                 return pool.artist(lib, a, true);
               });
}

Playlist* LibraryItems::playlist(const std::string& id) {
  return found([&](const LibraryView& lib) { return lib.catalog.playlist(id); },
               [](const LibraryView& lib, ItemPool& pool, const CatalogPlaylist& p) {
                 return pool.playlist(lib, p, true);
               });
}

Playlist* LibraryItems::mood(const std::string& id) {
  return found([&](const LibraryView& lib) { return lib.catalog.mood(id); },
               [](const LibraryView& lib, ItemPool& pool, const CatalogMood& m) {
                 return pool.moodPlaylist(lib, m);
               });
}

Genre* LibraryItems::genre(const std::string& id, int index, int count) {
  return found([&](const LibraryView& lib) { return lib.catalog.genre(id); },
               [&](const LibraryView& lib, ItemPool& pool, const CatalogGenre& g) {
                 return pool.genre(lib, g, true, index, count);
               });
}

}  // namespace refhost
