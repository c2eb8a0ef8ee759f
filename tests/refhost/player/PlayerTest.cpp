#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <set>
#include <thread>

#include "player/Player.h"

using namespace refhost;

namespace {

// Two albums by one artist with short tracks of known lengths, a genre, a
// mood and a playlist: small enough to reason about every second.
Catalog smallCatalog() {
  Catalog c;
  c.addArtist(CatalogArtist{"ar1", "The Testers", "", {}});
  c.addGenre(CatalogGenre{"g1", "Jazz", {}});
  CatalogAlbum a{"alA", "First", "ar1", "g1", "", "", 2001, {}};
  CatalogAlbum b{"alB", "Second", "ar1", "g1", "", "", 2005, {}};
  c.addAlbum(a);
  c.addAlbum(b);
  auto track = [&](const std::string& id, const std::string& album, int number, int seconds) {
    CatalogTrack t;
    t.id = id;
    t.title = "Title " + id;
    t.artistId = "ar1";
    t.albumId = album;
    t.number = number;
    t.duration = seconds;
    c.addTrack(t);
  };
  track("a1", "alA", 1, 10);
  track("a2", "alA", 2, 20);
  track("a3", "alA", 3, 30);
  track("b1", "alB", 1, 15);
  track("b2", "alB", 2, 25);
  c.addMood(CatalogMood{"m1", "Calm", "", {"b2", "a1"}});
  c.addPlaylist(CatalogPlaylist{"p1", "Mix", "", {"a2", "b1"}});
  return c;
}

// A player whose clock moves only when the test says so.
struct Fixture : ::testing::Test {
  double now = 100;
  Player player{smallCatalog(), [this] { return now; }};

  void advance(double seconds) {
    now += seconds;
    player.tick();
  }
  std::string current() const { return player.transport().trackId; }
};

using TransportClock = Fixture;
using Queue = Fixture;
using Playlists = Fixture;
using Background = Fixture;

}  // namespace

TEST_F(TransportClock, ElapsedFollowsTheClockOnlyWhilePlaying) {
  ASSERT_TRUE(player.playList("alA", 0));
  advance(4);
  EXPECT_DOUBLE_EQ(player.transport().elapsed, 4);
  player.pause();
  advance(30);
  EXPECT_DOUBLE_EQ(player.transport().elapsed, 4);
  EXPECT_EQ(player.transport().transport, Transport::Paused);
  ASSERT_TRUE(player.play());
  advance(3);
  EXPECT_DOUBLE_EQ(player.transport().elapsed, 7);
  EXPECT_EQ(current(), "a1");
  // Even between ticks the position is read from the clock.
  now += 1.5;
  EXPECT_DOUBLE_EQ(player.transport().elapsed, 8.5);
}

TEST_F(TransportClock, AnEndingTrackMovesOnAndCarriesTheRemainder) {
  ASSERT_TRUE(player.playList("alA", 0));
  now += 12;  // 2 s into the second track
  const TickResult r = player.tick();
  EXPECT_TRUE(r.trackChanged);
  EXPECT_EQ(current(), "a2");
  EXPECT_DOUBLE_EQ(player.transport().elapsed, 2);
  EXPECT_EQ(player.queueIndex(), 1);
  // One long gap runs through the rest of the album and stops at its end.
  advance(100);
  EXPECT_EQ(player.transport().transport, Transport::Stopped);
  EXPECT_EQ(current(), "a3");
  EXPECT_DOUBLE_EQ(player.transport().elapsed, 0);
}

TEST_F(TransportClock, RepeatModesDecideWhatFollowsTheEnd) {
  ASSERT_TRUE(player.playList("alA", 2));
  player.setMode(PlayMode::RepeatAll);
  advance(31);
  EXPECT_EQ(current(), "a1");
  EXPECT_EQ(player.transport().transport, Transport::Playing);

  player.setMode(PlayMode::RepeatOne);
  advance(10.5);
  EXPECT_EQ(current(), "a1");
  EXPECT_NEAR(player.transport().elapsed, 1.5, 1e-9);
  // A manual "next" still moves on in repeat-one.
  ASSERT_TRUE(player.next());
  EXPECT_EQ(current(), "a2");

  player.setMode(PlayMode::Normal);
  ASSERT_TRUE(player.next());
  EXPECT_FALSE(player.next());  // the end of the queue: nothing follows
  EXPECT_EQ(current(), "a3");
}

TEST_F(TransportClock, ShuffleStaysInTheQueueAndNeverRepeatsATrackAtOnce) {
  ASSERT_TRUE(player.playList("ar1", 0));  // all five tracks of the artist
  player.setMode(PlayMode::Shuffle);
  const std::vector<std::string> queue = player.queue();
  std::set<std::string> seen;
  std::string last = current();
  for (int i = 0; i < 50; ++i) {
    ASSERT_TRUE(player.next());
    const std::string now = current();
    EXPECT_NE(now, last);
    EXPECT_NE(std::find(queue.begin(), queue.end(), now), queue.end());
    seen.insert(now);
    last = now;
  }
  EXPECT_EQ(seen.size(), queue.size());
}

TEST_F(TransportClock, PreviousRestartsAPlayedTrackAndOtherwiseGoesBack) {
  ASSERT_TRUE(player.playList("alA", 1));
  advance(5);
  ASSERT_TRUE(player.previous());
  EXPECT_EQ(current(), "a2");
  EXPECT_DOUBLE_EQ(player.transport().elapsed, 0);
  advance(1);
  ASSERT_TRUE(player.previous());
  EXPECT_EQ(current(), "a1");
  // At the start of the queue, previous only rewinds.
  ASSERT_TRUE(player.previous());
  EXPECT_EQ(current(), "a1");
}

TEST_F(Queue, PlayNextTracksComeFirstThenTheQueueGoesOn) {
  ASSERT_TRUE(player.playList("alA", 0));
  player.addPlayNext("b2");
  player.addPlayNext("unknown");  // ignored
  EXPECT_EQ(player.playNext(), std::vector<std::string>{"b2"});
  advance(10);
  EXPECT_EQ(current(), "b2");
  EXPECT_TRUE(player.playNext().empty());
  EXPECT_EQ(player.queueIndex(), 0);  // the queue waits where it was
  advance(25);
  EXPECT_EQ(current(), "a2");
  EXPECT_EQ(player.queueIndex(), 1);
}

TEST_F(Queue, MovingTracksKeepsTheCurrentOnePlaying) {
  ASSERT_TRUE(player.playList("alA", 1));
  ASSERT_TRUE(player.moveInQueue("a3", 0));
  EXPECT_EQ(player.queue(), (std::vector<std::string>{"a3", "a1", "a2"}));
  EXPECT_EQ(player.queueIndex(), 2);
  EXPECT_EQ(current(), "a2");
  // An empty id moves the current track.
  ASSERT_TRUE(player.moveInQueue("", 0));
  EXPECT_EQ(player.queue(), (std::vector<std::string>{"a2", "a3", "a1"}));
  EXPECT_EQ(player.queueIndex(), 0);
  EXPECT_FALSE(player.moveInQueue("a1", 3));
  EXPECT_FALSE(player.moveInQueue("b1", 0));
  ASSERT_TRUE(player.next());
  EXPECT_EQ(current(), "a3");
}

TEST_F(Playlists, CreatedPlaylistsAreEditedThroughTheCatalog) {
  const int revision = player.libraryRevision();
  const std::string id = player.createPlaylist("Road trip");
  ASSERT_FALSE(id.empty());
  EXPECT_GT(player.libraryRevision(), revision);
  EXPECT_TRUE(player.createPlaylist("").empty());

  ASSERT_TRUE(player.addToPlaylist(id, "alB"));  // an album adds all its tracks
  ASSERT_TRUE(player.addToPlaylist(id, "a1"));
  EXPECT_EQ(player.tracksOf(id), (std::vector<std::string>{"b1", "b2", "a1"}));
  ASSERT_TRUE(player.moveInPlaylist(id, "a1", 0));
  ASSERT_TRUE(player.removeFromPlaylist(id, "b2"));
  EXPECT_EQ(player.tracksOf(id), (std::vector<std::string>{"a1", "b1"}));
  ASSERT_TRUE(player.setPlaylistInfo(id, "Road trip 2", "for the drive"));
  player.withLibrary([&](const LibraryView& lib) {
    EXPECT_EQ(lib.catalog.playlist(id)->name, "Road trip 2");
    EXPECT_EQ(lib.catalog.playlist(id)->info, "for the drive");
  });

  EXPECT_FALSE(player.addToPlaylist(id, "nope"));
  EXPECT_FALSE(player.addToPlaylist("nope", "a1"));
  EXPECT_FALSE(player.removeFromPlaylist(id, "a3"));
  EXPECT_FALSE(player.moveInPlaylist(id, "a1", 5));
  EXPECT_EQ(player.tracksOf(id), (std::vector<std::string>{"a1", "b1"}));

  // A playlist can be played, and deleting it leaves the queue alone.
  ASSERT_TRUE(player.playList(id, 0));
  ASSERT_TRUE(player.deletePlaylist(id));
  EXPECT_FALSE(player.deletePlaylist(id));
  EXPECT_TRUE(player.tracksOf(id).empty());
  EXPECT_EQ(player.queue(), (std::vector<std::string>{"a1", "b1"}));
}

TEST_F(Background, DownloadsProgressPauseResumeAndFinish) {
  StashItem item;
  item.sku = "S1";
  item.title = "Second";
  item.mediaId = "alB";
  ASSERT_TRUE(player.addStashItem(item));
  EXPECT_FALSE(player.addStashItem(item));  // one entry per SKU
  StashItem got;
  ASSERT_TRUE(player.findStashItem("S1", got));
  EXPECT_EQ(got.trackIds, (std::vector<std::string>{"b1", "b2"}));

  EXPECT_FALSE(player.pauseDownload("S1"));  // not running yet
  ASSERT_TRUE(player.startDownload("S1"));
  advance(1);
  ASSERT_TRUE(player.findStashItem("S1", got));
  EXPECT_EQ(got.state, DownloadState::Downloading);
  EXPECT_GT(got.progress, 0);
  EXPECT_LT(got.progress, 100);
  const double paused = got.progress;
  ASSERT_TRUE(player.pauseDownload("S1"));
  advance(3);
  ASSERT_TRUE(player.findStashItem("S1", got));
  EXPECT_DOUBLE_EQ(got.progress, paused);
  ASSERT_TRUE(player.resumeDownload("S1"));
  for (int i = 0; i < 20; ++i) advance(1);
  ASSERT_TRUE(player.findStashItem("S1", got));
  EXPECT_EQ(got.state, DownloadState::Done);
  EXPECT_DOUBLE_EQ(got.progress, 100);
  EXPECT_FALSE(player.cancelDownload("S1"));  // nothing to cancel any more

  ASSERT_TRUE(player.startDownload("S1"));
  advance(1);
  ASSERT_TRUE(player.cancelDownload("S1"));
  ASSERT_TRUE(player.findStashItem("S1", got));
  EXPECT_EQ(got.state, DownloadState::Idle);
  EXPECT_DOUBLE_EQ(got.progress, 0);
  EXPECT_FALSE(player.startDownload("nope"));
  ASSERT_TRUE(player.removeStashItem("S1"));
  EXPECT_FALSE(player.findStashItem("S1", got));
}

// Service worker threads and the ticker call in together; the queue and the
// position must stay consistent whatever the interleaving.
TEST(PlayerThreads, ConcurrentCallsKeepTheQueueConsistent) {
  Player player(smallCatalog());
  ASSERT_TRUE(player.playList("ar1", 0));
  player.setMode(PlayMode::RepeatAll);
  std::atomic<bool> stop{false};
  std::thread ticker([&] {
    while (!stop) player.tick();
  });
  std::vector<std::thread> workers;
  for (int w = 0; w < 4; ++w) {
    workers.emplace_back([&, w] {
      for (int i = 0; i < 500; ++i) {
        switch ((i + w) % 5) {
          case 0:
            player.next();
            break;
          case 1:
            player.previous();
            break;
          case 2:
            player.moveInQueue("", i % 5);
            break;
          case 3:
            player.addPlayNext("a2");
            break;
          default:
            player.setVolume(i % 101);
            break;
        }
        const int index = player.queueIndex();
        EXPECT_GE(index, 0);
        EXPECT_LT(index, 5);
      }
    });
  }
  for (auto& t : workers) t.join();
  stop = true;
  ticker.join();
  EXPECT_EQ(player.queue().size(), 5u);
  std::vector<std::string> sorted = player.queue();
  std::sort(sorted.begin(), sorted.end());
  EXPECT_EQ(sorted, (std::vector<std::string>{"a1", "a2", "a3", "b1", "b2"}));
}
