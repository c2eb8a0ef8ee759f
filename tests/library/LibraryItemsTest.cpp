#include <cstring>

#include <gtest/gtest.h>

#include "library/LibraryItemsImpl.h"

namespace {

// Hosts call Release() on whatever pointer they hold, null included.
template <typename T>
#if defined(__clang__) || defined(__GNUC__)
__attribute__((no_sanitize_undefined))
#endif
void releaseThroughNull() {
  T* volatile item = nullptr;  // a null the compiler cannot see
  item->Release();
}

TEST(LibraryItems, TextsAreCopiedAndReplaced) {
  char buffer[16] = "First";
  Artist* artist = Artist::getArtist(VeloraSourceLocal, "ar1");
  artist->setArtistName(buffer);
  std::strcpy(buffer, "Second");
  EXPECT_EQ("First", dynamic_cast<ArtistImpl*>(artist)->getArtistName());
  artist->setArtistName(buffer);
  std::memset(buffer, 'x', sizeof buffer - 1);
  EXPECT_EQ("Second", dynamic_cast<ArtistImpl*>(artist)->getArtistName());
  artist->setInfo(nullptr);  // tolerated: reads as empty
  EXPECT_EQ("", dynamic_cast<ArtistImpl*>(artist)->info);
  artist->Release();
}

TEST(LibraryItems, ReleasingAContainerLeavesItsChildren) {
  std::vector<Track*> tracks{Track::getTrack("t1"), Track::getTrack("t2")};
  Album* album = Album::getAlbum(VeloraSourceLocal, "a1");
  album->setTracks(tracks);
  album->setTracks(dynamic_cast<AlbumImpl*>(album)->getTracks());  // to itself: unchanged
  EXPECT_EQ(tracks, dynamic_cast<AlbumImpl*>(album)->getTracks());
  album->Release();
  tracks[0]->setTrackName("still alive");
  EXPECT_EQ("still alive", dynamic_cast<TrackImpl*>(tracks[0])->getTrackName());
  for (Track* t : tracks) t->Release();
}

TEST(LibraryItems, ReleaseOnNullDoesNothing) {
  releaseThroughNull<Track>();
  releaseThroughNull<Album>();
  releaseThroughNull<Artist>();
  releaseThroughNull<Genre>();
  releaseThroughNull<Playlist>();
  releaseThroughNull<Mood>();
}

}  // namespace
