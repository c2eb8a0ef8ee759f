#include "library/LibraryItemsImpl.h"

// The interfaces' destructors live here so that their type information is
// emitted once, by the library, for hosts that derive their own items.
Track::~Track() = default;
Album::~Album() = default;
Artist::~Artist() = default;
Genre::~Genre() = default;
Playlist::~Playlist() = default;
Mood::~Mood() = default;

Track* Track::getTrack(VeloraLibraryItemSource source, char const* id) {
  return new TrackImpl(source, id);
}
Track* Track::getTrack(char const* id) { return new TrackImpl(VeloraSourceLocal, id); }
Album* Album::getAlbum(VeloraLibraryItemSource source, char const* id) {
  return new AlbumImpl(source, id);
}
Artist* Artist::getArtist(VeloraLibraryItemSource source, char const* id) {
  return new ArtistImpl(source, id);
}
Genre* Genre::getGenre(char const* id) { return new GenreImpl(id); }
Mood* Mood::getMood(char const* id) { return new MoodImpl(id); }
Playlist* Playlist::getPlaylist(VeloraLibraryItemSource source, char const* id) {
  return new PlaylistImpl(source, id);
}

namespace {
// Hosts call Release() on null pointers. Inside a member function the
// compiler may assume `this` is not null and drop the test, so the pointer
// is passed through an empty asm statement that it cannot see through.
template <typename T>
void releaseItem(T* self) {
  asm volatile("" : "+r"(self));
  if (self != nullptr) delete self;
}
}  // namespace

void Track::Release() { releaseItem(this); }
void Album::Release() { releaseItem(this); }
void Artist::Release() { releaseItem(this); }
void Genre::Release() { releaseItem(this); }
void Playlist::Release() { releaseItem(this); }
void Mood::Release() { releaseItem(this); }
