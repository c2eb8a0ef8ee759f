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
  // A null the compiler cannot see, as a host's pointer would be.
  T* volatile item = nullptr;
  item->Release();
}

TEST(LibraryItems, FactoriesFixTheSource) {
  Track* t = Track::getTrack("t1");
  auto* impl = dynamic_cast<TrackImpl*>(t);
  ASSERT_NE(nullptr, impl);
  EXPECT_EQ(VeloraSourceLocal, impl->source);
  EXPECT_EQ("t1", impl->ID);
  EXPECT_FALSE(impl->getAvailable());
  EXPECT_EQ(0, impl->getSampleRate());
  t->Release();

  EXPECT_EQ(4, TrackImpl().source);

  Mood* m = Mood::getMood("m1");
  EXPECT_EQ(3, dynamic_cast<MoodImpl*>(m)->source);
  m->Release();

  Album* a = Album::getAlbum(static_cast<VeloraLibraryItemSource>(123456), "a1");
  EXPECT_EQ(123456, dynamic_cast<AlbumImpl*>(a)->source);
  a->Release();
}

TEST(LibraryItems, TextsAreCopiedAndReplaced) {
  char buffer[16];
  std::strcpy(buffer, "First");
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
  Track* t1 = Track::getTrack("t1");
  Track* t2 = Track::getTrack("t2");
  Album* album = Album::getAlbum(VeloraSourceLocal, "a1");
  std::vector<Track*> tracks{t1, t2};
  album->setTracks(tracks);
  album->setTracks(dynamic_cast<AlbumImpl*>(album)->getTracks());  // to itself: unchanged
  EXPECT_EQ(tracks, dynamic_cast<AlbumImpl*>(album)->getTracks());
  album->Release();
  t1->setTrackName("still alive");
  EXPECT_EQ("still alive", dynamic_cast<TrackImpl*>(t1)->getTrackName());
  t1->Release();
  t2->Release();
}

TEST(LibraryItems, ReleaseOnNullDoesNothing) {
  releaseThroughNull<Track>();
  releaseThroughNull<Album>();
  releaseThroughNull<Artist>();
  releaseThroughNull<Genre>();
  releaseThroughNull<Playlist>();
  releaseThroughNull<Mood>();
  Playlist* p = Playlist::getPlaylist(VeloraSourceLocal, "p1");
  EXPECT_EQ(0, dynamic_cast<PlaylistImpl*>(p)->getTrackCount());
  p->Release();
}

}  // namespace
