#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <thread>

#include "player/Player.h"

using namespace refhost;

namespace {

// Two albums by one artist with short tracks of known lengths: a1 10 s,
// a2 20 s, a3 30 s on alA; b1 15 s, b2 25 s on alB.
Catalog smallCatalog() {
  Catalog c;
  c.addArtist({"ar1", "The Testers", "", {}});
  c.addGenre({"g1", "Jazz", {}});
  c.addAlbum({"alA", "First", "ar1", "g1", "", "", 2001, {}});
  c.addAlbum({"alB", "Second", "ar1", "g1", "", "", 2005, {}});
  for (const auto& [id, seconds] :
       {std::pair{"a1", 10}, {"a2", 20}, {"a3", 30}, {"b1", 15}, {"b2", 25}}) {
    c.addTrack({id, id, "ar1", id[0] == 'a' ? "alA" : "alB", "", "", id[1] - '0', seconds, 44100,
                16, false});
  }
  return c;
}

// A player whose clock moves only when the test says so.
struct PlayerTest : ::testing::Test {
  double now = 100;
  Player player{smallCatalog(), [this] { return now; }};
  std::string current() const { return player.transport().trackId; }
};

// Steps are "operation: track elapsed transport @queue-index +play-next"; "!"
// marks an operation that must be refused, "-" the current track, mode 1 is
// repeat all and 2 repeat one. The clock is read between ticks, an ending
// track carries the remainder over, and play-next tracks come first.
TEST_F(PlayerTest, TransportClockRepeatModesPreviousPlayNextAndMovesFollowTheScript) {
  const char* const script[] = {
      "list alA 0: a1 0 play @0",  "tick 4: a1 4 play @0",      "pause: a1 4 pause @0",
      "tick 30: a1 4 pause @0",    "play: a1 4 play @0",        "tick 3: a1 7 play @0",
      "clock 1.5: a1 8.5 play @0", "tick 3.5: a2 2 play @1",    "tick 3: a2 5 play @1",
      "previous: a2 0 play @1",    "tick 1: a2 1 play @1",      "previous: a1 0 play @0",
      "previous: a1 0 play @0",    "next: a2 0 play @1",        "next: a3 0 play @2",
      "!next: a3 0 play @2",       "mode 1: a3 0 play @2",      "tick 31: a1 1 play @0",
      "mode 2: a1 1 play @0",      "tick 10.5: a1 1.5 play @0", "next: a2 0 play @1",
      "mode 0: a2 0 play @1",      "tick 100: a3 0 stop @2",    "list alA 0: a1 0 play @0",
      "add b2: a1 0 play @0 +b2",  "!add x: a1 0 play @0 +b2",  "tick 10: b2 0 play @0",
      "tick 25: a2 0 play @1",     "move a3 0: a2 0 play @2",   "move - 0: a2 0 play @0",
      "!move a1 3: a2 0 play @0",  "!move b1 0: a2 0 play @0",  "next: a3 0 play @1"};
  static const char* const transports[] = {"stop", "play", "pause"};
  for (const std::string step : script) {
    const std::size_t refused = step[0] == '!', colon = step.find(':');
    std::istringstream in(step.substr(refused, colon - refused));
    std::string op, arg;
    int n = 0;
    in >> op >> arg >> n;
    bool ok = true;
    const std::string before = current();
    if (op == "tick" || op == "clock") now += std::stod(arg);
    if (op == "tick") ok = player.tick().trackChanged || current() == before;  // reported
    if (op == "pause") player.pause();
    if (op == "play") ok = player.play();
    if (op == "next") ok = player.next();
    if (op == "previous") ok = player.previous();
    if (op == "mode") player.setMode(static_cast<PlayMode>(std::stoi(arg)));
    if (op == "add") ok = player.addPlayNext(arg);
    if (op == "list") ok = player.playList(arg, n);
    if (op == "move") ok = player.moveInQueue(arg == "-" ? "" : arg, n);
    EXPECT_EQ(ok, !refused) << step;
    const TransportSnapshot t = player.transport();
    std::ostringstream state;
    state << t.trackId << " " << t.elapsed << " " << transports[int(t.transport)] << " @"
          << player.queueIndex();
    for (const auto& id : player.playNext()) state << " +" << id;
    EXPECT_EQ(state.str(), step.substr(colon + 2)) << step;
  }
  EXPECT_EQ(player.queue(), (std::vector<std::string>{"a2", "a3", "a1"}));
}

TEST_F(PlayerTest, ShuffleStaysInTheQueueAndNeverRepeatsATrackAtOnce) {
  ASSERT_TRUE(player.playList("ar1", 0));  // all five tracks of the artist
  player.setMode(PlayMode::Shuffle);
  std::set<std::string> seen;
  for (int i = 0; i < 50; ++i) {
    const std::string last = current();
    ASSERT_TRUE(player.next());
    EXPECT_NE(current(), last);
    seen.insert(current());
  }
  EXPECT_EQ(seen, (std::set<std::string>{"a1", "a2", "a3", "b1", "b2"})) << "the queue, all of it";
}

// The web remote's queue edits: the current track keeps playing through
// edits around it, and leaving the queue moves on to what follows or stops.
TEST_F(PlayerTest, SeekAppendRemoveAndClearKeepTheCurrentTrackInStep) {
  ASSERT_TRUE(player.playList("alA", 1));  // a1 [a2] a3
  EXPECT_TRUE(player.seek(12.5) && player.transport().elapsed == 12.5);
  EXPECT_TRUE(player.seek(99) && player.transport().elapsed == 20) << "clamped to the track";
  EXPECT_TRUE(player.appendToQueue("b1") && !player.appendToQueue("nope"));
  EXPECT_TRUE(player.removeFromQueue(0) && current() == "a2" && player.queueIndex() == 0);
  EXPECT_TRUE(player.removeFromQueue(0) && current() == "a3" && player.transport().elapsed == 0);
  EXPECT_FALSE(player.removeFromQueue(2) || player.removeFromQueue(-1));
  EXPECT_TRUE(player.removeFromQueue(1) && current() == "a3") << "b1 is not playing";
  EXPECT_TRUE(player.removeFromQueue(0) && current().empty() && player.queueIndex() == -1);
  EXPECT_EQ(player.transport().transport, Transport::Stopped) << "the queue ran out";
  ASSERT_TRUE(player.playList("alB", 0) && player.appendToQueue("a1"));
  EXPECT_TRUE(player.addPlayNext("a3") && player.addPlayNext("b2") && !player.addPlayNext("nope"));
  EXPECT_EQ(player.playNext(), (std::vector<std::string>{"b2", "a3"})) << "the latest pick first";
  player.clearQueue();
  EXPECT_TRUE(player.queue().empty() && current().empty() && !player.seek(1));
  EXPECT_EQ(player.transport().transport, Transport::Stopped);
  EXPECT_TRUE(player.addPlayNext("a2") && player.play() && current() == "a2") << "nothing loaded";
}

TEST_F(PlayerTest, CreatedPlaylistsAreEditedThroughTheCatalog) {
  const int revision = player.libraryRevision();
  const std::string id = player.createPlaylist("Road trip");
  ASSERT_FALSE(id.empty());
  EXPECT_GT(player.libraryRevision(), revision) << "clients would not see the change";
  EXPECT_TRUE(player.createPlaylist("").empty());
  // An album adds all its tracks.
  ASSERT_TRUE(player.addToPlaylist(id, "alB") && player.addToPlaylist(id, "a1"));
  EXPECT_EQ(player.tracksOf(id), (std::vector<std::string>{"b1", "b2", "a1"}));
  ASSERT_TRUE(player.moveInPlaylist(id, "a1", 0) && player.removeFromPlaylist(id, "b2"));
  EXPECT_FALSE(player.addToPlaylist(id, "nope") || player.addToPlaylist("nope", "a1") ||
               player.removeFromPlaylist(id, "a3") || player.moveInPlaylist(id, "a1", 5));
  EXPECT_EQ(player.tracksOf(id), (std::vector<std::string>{"a1", "b1"}));
  ASSERT_TRUE(player.setPlaylistInfo(id, "Road trip 2", "for the drive"));
  const auto named = [&](const LibraryView& lib) {
    return lib.catalog.playlist(id)->name + ": " + lib.catalog.playlist(id)->info;
  };
  EXPECT_EQ(player.withLibrary(named), "Road trip 2: for the drive");
  // Deleting a playlist that is playing leaves the queue alone.
  ASSERT_TRUE(player.playList(id, 0) && player.deletePlaylist(id));
  EXPECT_TRUE(player.tracksOf(id).empty() && !player.deletePlaylist(id));
  EXPECT_EQ(player.queue(), (std::vector<std::string>{"a1", "b1"}));
}

TEST_F(PlayerTest, DownloadsProgressPauseResumeFinishAndCancel) {
  StashItem item;
  item.sku = "S1";
  ASSERT_TRUE(player.addStashItem(item) && player.startDownload("S1"));
  const auto after = [&](double seconds) {
    now += seconds;
    player.tick();
    return player.findStashItem("S1", item) ? item.progress : -1;
  };
  const double progress = after(1);
  EXPECT_TRUE(progress > 0 && progress < 100) << progress;
  EXPECT_TRUE(player.pauseDownload("S1") && after(3) == progress) << "a paused one holds";
  EXPECT_TRUE(player.resumeDownload("S1") && after(20) == 100 && item.state == DownloadState::Done);
  EXPECT_TRUE(player.startDownload("S1") && after(1) > 0 && player.cancelDownload("S1"));
  EXPECT_TRUE(after(0) == 0 && item.state == DownloadState::Idle);
}

// Service worker threads and the ticker call in together; the queue and the
// position must stay consistent whatever the interleaving.
TEST(PlayerThreads, ConcurrentCallsKeepTheQueueConsistent) {
  Player player(smallCatalog());
  ASSERT_TRUE(player.playList("ar1", 0));
  player.setMode(PlayMode::RepeatAll);
  std::vector<std::thread> workers;
  for (int w = 0; w < 4; ++w) {
    workers.emplace_back([&] {
      for (int i = 0; i < 1000; ++i) {
        player.tick();
        player.next();
        player.previous();
        player.moveInQueue("", i % 5);
        player.addPlayNext("a2");
        player.setVolume(i);
        EXPECT_LT(static_cast<unsigned>(player.queueIndex()), 5u);
      }
    });
  }
  for (auto& t : workers) t.join();
  const std::vector<std::string> queue = player.queue();
  EXPECT_EQ(std::multiset<std::string>(queue.begin(), queue.end()),
            (std::multiset<std::string>{"a1", "a2", "a3", "b1", "b2"}));
}

}  // namespace
