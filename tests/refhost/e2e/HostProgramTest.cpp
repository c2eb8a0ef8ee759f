#include <gtest/gtest.h>

#include <random>
#include <regex>
#include <thread>
#include <utility>
#include <vector>

#include "HostProcess.h"
#include "support/TestHttp.h"

// The reference host as a newcomer runs it: the real program with the
// sample library, driven over loopback HTTP the way the web remote drives it.
// One host serves the whole suite; the tests follow one listening session.

using refhost_test::HostProcess;
using refhost_test::jsonValue;
using velora_test::httpGet;

namespace {

// Every {"id":..,"name":..} object of a JSON text, in order: the tracks of
// an album, the albums of a list (nested artwork objects have no name).
std::vector<std::pair<std::string, std::string>> idsAndNames(const std::string& json) {
  static const std::regex item(R"re(\{"id":"([^"]+)","(?:source":\d+,")?name":"([^"]*)")re");
  std::vector<std::pair<std::string, std::string>> out;
  for (auto it = std::sregex_iterator(json.begin(), json.end(), item); it != std::sregex_iterator();
       ++it) {
    out.emplace_back((*it)[1], (*it)[2]);
  }
  return out;
}

double elapsedIn(const std::string& status) {
  const std::string value = jsonValue(status, "elapsed");
  return value.empty() ? -1 : std::stod(value);
}

// Collects "status" deliveries until everything that `wanted` looks for has
// arrived: one change may reach a poll in pieces, document by document.
template <typename Pred>
std::string collectStatus(int port, Pred wanted, int timeoutMs = 15000) {
  std::string seen;
  const std::string last = refhost_test::pollStatus(
      port,
      [&](const std::string& body) {
        seen += body;
        return wanted(seen);
      },
      timeoutMs);
  return last.empty() ? std::string() : seen;
}

class HostProgram : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    base_ = velora_test::findFreePortBlock(12);
    host_ = new HostProcess({"--port", std::to_string(base_)});
    port_ = host_->waitForPort();
  }

  static void TearDownTestSuite() {
    if (port_ != 0) {
      EXPECT_EQ(host_->interrupt(), 0) << host_->output();
    }
    delete host_;
    host_ = nullptr;
  }

  void SetUp() override {
    ASSERT_NE(port_, 0) << "the host printed no address:\n" << host_->output();
    // Deliveries left over from an earlier test are not this test's news.
    for (int i = 0; i < 5 && httpGet(port_, "/status", 3000).status == 200; ++i) {
    }
  }

  // Pairs like the web remote: the same code until the host approves.
  std::string pair(const std::string& name) {
    const int code = std::uniform_int_distribution<int>(1000, 999999)(rng_);
    for (int attempt = 0; attempt < 50; ++attempt) {
      const auto reply = httpGet(
          port_, "/authenticate?name=" + name + "&code=" + std::to_string(code) + "&version=1");
      if (reply.status == 200 && jsonValue(reply.body, "authstatus") == "true") {
        return jsonValue(reply.body, "token");
      }
    }
    return {};
  }

  // The first album of the library and its tracks, as a client sees them.
  struct Album {
    std::string id;
    std::vector<std::pair<std::string, std::string>> tracks;
  };
  Album firstAlbum() {
    const auto list = httpGet(port_, "/library/albums?index=0&count=1");
    Album album;
    album.id = jsonValue(jsonValue(list.body, "albums"), "id");
    const auto opened = httpGet(port_, "/library/album?id=" + album.id);
    album.tracks = idsAndNames(jsonValue(jsonValue(opened.body, "album"), "tracks"));
    return album;
  }

  static int base_;
  static int port_;
  static HostProcess* host_;
  std::mt19937 rng_{std::random_device{}()};
};

int HostProgram::base_ = 0;
int HostProgram::port_ = 0;
HostProcess* HostProgram::host_ = nullptr;

}  // namespace

TEST_F(HostProgram, PairsAndBrowsesTheSampleLibraryWithCovers) {
  EXPECT_NE(host_->output().find("sample library: 20 albums"), std::string::npos)
      << host_->output();
  EXPECT_FALSE(pair("Browser%20test").empty());

  // A page of albums, each with its generated cover inline and by path.
  const auto page = httpGet(port_, "/library/albums?index=2&count=5");
  ASSERT_EQ(page.status, 200);
  const std::string albums = jsonValue(page.body, "albums");
  const auto listed = idsAndNames(albums);
  ASSERT_EQ(listed.size(), 5u) << albums.substr(0, 400);
  const std::string cover = jsonValue(albums, "artwork");
  ASSERT_EQ(cover.rfind(host_->cacheFolder(), 0), 0u) << cover;
  EXPECT_EQ(jsonValue(albums, "imagedata").rfind("iVBORw0KGgo", 0), 0u);  // a PNG

  // The cover file itself may be fetched by path; other files may not.
  const auto image = httpGet(port_, cover);
  EXPECT_EQ(image.status, 200);
  EXPECT_EQ(image.header("content-type"), "image/png");
  EXPECT_EQ(image.body.compare(1, 3, "PNG"), 0);
  EXPECT_EQ(httpGet(port_, "/etc/hostname").status, 403);
  EXPECT_EQ(httpGet(port_, host_->cacheFolder() + "/../console.log").status, 403);

  // Opening an album lists its tracks in order.
  const auto opened = httpGet(port_, "/library/album?id=" + listed[0].first);
  ASSERT_EQ(opened.status, 200);
  const std::string album = jsonValue(opened.body, "album");
  EXPECT_EQ(jsonValue(album, "name"), listed[0].second);
  const auto tracks = idsAndNames(jsonValue(album, "tracks"));
  EXPECT_EQ(std::to_string(tracks.size()), jsonValue(album, "trackcount"));
  EXPECT_GT(tracks.size(), 1u);
  EXPECT_EQ(httpGet(port_, "/library/album?id=no-such-album").status, 404);

  // An artist's albums, and a search that finds the album by a word of it.
  const auto artist = httpGet(port_, "/library/artist?id=" + jsonValue(album, "artistid"));
  ASSERT_EQ(artist.status, 200);
  EXPECT_NE(artist.body.find("\"id\":\"" + listed[0].first + "\""), std::string::npos);
  const std::string word = listed[0].second.substr(listed[0].second.rfind(' ') + 1);
  const auto found = httpGet(port_, "/library/search?param=" + word);
  EXPECT_NE(jsonValue(jsonValue(found.body, "search"), "albums").find(listed[0].first),
            std::string::npos);
}

TEST_F(HostProgram, PlaysAnAlbumAndTheStatusPollFollowsTheTransport) {
  const std::string token = pair("Transport%20test");
  const Album album = firstAlbum();
  ASSERT_GE(album.tracks.size(), 2u);
  const std::string first = album.tracks[0].first;
  const std::string second = album.tracks[1].first;

  ASSERT_EQ(httpGet(port_, "/playback/play?itemid=" + album.id + "&item=0&token=" + token).body,
            "\"SUCCESS\"");
  const std::string playing = refhost_test::pollStatus(port_, [&](const std::string& s) {
    return s.find("\"trackid\":\"" + first + "\"") != std::string::npos &&
           jsonValue(s, "state") == "1";
  });
  ASSERT_FALSE(playing.empty()) << "no playing state for " << first;

  // The ticker pushes the position about once a second while playing.
  const double start = elapsedIn(playing);
  const std::string later = refhost_test::pollStatus(
      port_, [&](const std::string& s) { return elapsedIn(s) >= start + 1.0; }, 6000);
  ASSERT_FALSE(later.empty()) << "elapsed stayed at " << start;
  EXPECT_EQ(jsonValue(later, "trackid"), first);

  // "next" brings the album's second track: its id in the transport and its
  // title in the now-playing track, cover included.
  ASSERT_EQ(httpGet(port_, "/playback/next").body, "\"SUCCESS\"");
  const std::string moved = collectStatus(port_, [&](const std::string& seen) {
    return seen.find("\"trackid\":\"" + second + "\"") != std::string::npos &&
           seen.find("\"track\":{\"id\":\"" + second + "\"") != std::string::npos;
  });
  ASSERT_FALSE(moved.empty());
  const std::string track = jsonValue(moved, "track", moved.find("\"track\":{\"id\":\"" + second));
  EXPECT_EQ(jsonValue(track, "name"), album.tracks[1].second);
  EXPECT_FALSE(jsonValue(track, "imagedata").empty());

  // The queue is the album, as the queue screen asks for it.
  const auto queue = httpGet(port_, "/getNowPlaying");
  ASSERT_EQ(queue.status, 200);
  EXPECT_EQ(idsAndNames(queue.body).size(), album.tracks.size());

  // Pause holds the position.
  ASSERT_EQ(httpGet(port_, "/playback/pause").status, 200);
  const std::string paused = refhost_test::pollStatus(
      port_, [](const std::string& s) { return jsonValue(s, "state") == "2"; });
  ASSERT_FALSE(paused.empty());
  const auto state1 = httpGet(port_, "/playback/getplayerstate");
  std::this_thread::sleep_for(std::chrono::milliseconds(1200));
  const auto state2 = httpGet(port_, "/playback/getplayerstate");
  EXPECT_EQ(elapsedIn(state1.body), elapsedIn(state2.body));
}

TEST_F(HostProgram, VolumeAndEqualizerPresetChangesReachTheStatusDocuments) {
  const std::string token = pair("Sound%20test");
  ASSERT_EQ(httpGet(port_, "/playback?volume=37&token=" + token).status, 200);
  EXPECT_FALSE(refhost_test::pollStatus(port_, [](const std::string& s) {
                 return jsonValue(s, "volumelevel") == "37";
               }).empty());
  EXPECT_EQ(jsonValue(httpGet(port_, "/playback/getvolume").body, "volumelevel"), "37");
  ASSERT_EQ(httpGet(port_, "/playback?volume=250").status, 200);
  EXPECT_EQ(jsonValue(httpGet(port_, "/playback/getvolume").body, "volumelevel"), "100");

  // The remote learns the presets from the list, then picks the last one.
  ASSERT_EQ(httpGet(port_, "/equalizer/list").status, 200);
  const std::string listed = collectStatus(
      port_, [](const std::string& seen) { return !jsonValue(seen, "presetlist").empty(); });
  static const std::regex preset(R"re("name":"([^"]+)","id":(\d+))re");
  std::string name, id;
  const std::string list = jsonValue(listed, "presetlist");
  for (auto it = std::sregex_iterator(list.begin(), list.end(), preset);
       it != std::sregex_iterator(); ++it) {
    name = (*it)[1];
    id = (*it)[2];
  }
  ASSERT_FALSE(id.empty()) << list;

  ASSERT_EQ(httpGet(port_, "/setEQ?enable=1&preset=" + id + "&token=" + token).body, "\"SUCCESS\"");
  const std::string chosen = collectStatus(port_, [&](const std::string& seen) {
    return seen.find("\"preset\":{\"name\":\"" + name + "\",\"id\":" + id) != std::string::npos;
  });
  EXPECT_FALSE(chosen.empty()) << "the equalizer document never named " << name;
  const auto current = httpGet(port_, "/getEQ");
  EXPECT_EQ(jsonValue(current.body, "id"), id);
  EXPECT_EQ(jsonValue(current.body, "name"), name);

  // A preset the host does not have is refused and changes nothing.
  const auto refused = httpGet(port_, "/setEQ?enable=1&preset=9999&token=" + token);
  EXPECT_EQ(refused.status, 400);
  EXPECT_EQ(jsonValue(httpGet(port_, "/getEQ").body, "id"), id);

  // The AC stage answers through the headphone stage's slot, with its own list.
  const auto ac = httpGet(port_, "/getACPresetList");
  EXPECT_NE(ac.body.find("Concert hall"), std::string::npos) << ac.body;
}

TEST_F(HostProgram, AccountPlaylistsDevicesAndLibraryListsAnswerAsARemoteExpects) {
  EXPECT_EQ(httpGet(port_, "/login?username=demo&password=nope&which=tidal").status, 401);
  EXPECT_EQ(httpGet(port_, "/getStash").status, 401);  // nobody signed in
  const auto login = httpGet(port_, "/login?username=demo&password=demo&which=tidal");
  ASSERT_EQ(login.status, 200);
  EXPECT_FALSE(jsonValue(login.body, "userToken").empty());
  EXPECT_NE(httpGet(port_, "/getStash").body.find("\"sku\""), std::string::npos);

  // A playlist is created, filled with an album and renamed.
  const Album album = firstAlbum();
  const auto created = httpGet(port_, "/createPlaylist?name=Road%20trip");
  ASSERT_EQ(created.status, 200);
  EXPECT_EQ(jsonValue(created.body, "name"), "Road trip");
  const std::string playlist = jsonValue(created.body, "id");
  ASSERT_FALSE(playlist.empty());
  EXPECT_EQ(httpGet(port_, "/addItemToPlaylist?playlistUuid=" + playlist + "&itemUuid=" + album.id)
                .status,
            200);
  EXPECT_EQ(
      httpGet(port_, "/addItemToPlaylist?playlistUuid=" + playlist + "&itemUuid=nothing").status,
      401);
  const auto info = httpGet(port_, "/library/playlistInfo?id=" + playlist);
  EXPECT_EQ(jsonValue(info.body, "trackcount"), std::to_string(album.tracks.size()));
  EXPECT_EQ(httpGet(port_, "/deletePlaylist?uuid=" + playlist).status, 200);
  EXPECT_EQ(httpGet(port_, "/library/playlistInfo?id=" + playlist).status, 404);

  // Output devices: switch, and refuse a sample rate the device lacks.
  const auto devices = httpGet(port_, "/getDevices");
  ASSERT_EQ(devices.status, 200);
  EXPECT_NE(devices.body.find("Built-in Output"), std::string::npos);
  EXPECT_EQ(httpGet(port_,
                    "/setDevice?currentDevice=Built-in%20Output&currentChannels=2"
                    "&currentSampleRate=7&currentBufferSize=512")
                .status,
            401);
  EXPECT_EQ(httpGet(port_,
                    "/setDevice?currentDevice=Built-in%20Output&currentChannels=2"
                    "&currentSampleRate=96000&currentBufferSize=512")
                .status,
            200);
  EXPECT_EQ(jsonValue(httpGet(port_, "/getDevices").body, "currentDevice"), "Built-in Output");

  // The local library pages with a version tag; an unchanged list is not sent again.
  const std::string query = "/getLocalLibrary?id=albums&index=0&count=4&sortBy=0&reverseSort=0";
  const auto first = httpGet(port_, query + "&etag=");
  ASSERT_EQ(first.status, 200);
  EXPECT_EQ(jsonValue(first.body, "itemCount"), "4");
  EXPECT_EQ(jsonValue(first.body, "totalCount"), "20");
  const std::string etag = jsonValue(first.body, "etag");
  EXPECT_EQ(httpGet(port_, query + "&etag=" + etag).status, 304);

  // A scan runs in the background and reports its progress.
  ASSERT_EQ(httpGet(port_, "/scan?which=local").status, 200);
  std::this_thread::sleep_for(std::chrono::milliseconds(1500));
  const auto progress = httpGet(port_, "/scanGetProgress?which=local");
  ASSERT_EQ(progress.status, 200);
  const double percent = std::stod(jsonValue(progress.body, "percentComplete"));
  EXPECT_GT(percent, 0);
  EXPECT_EQ(httpGet(port_, "/scanCancel?which=local").body, "\"CANCELLED\"");
  ASSERT_EQ(httpGet(port_, "/logout?which=tidal").status, 200);
  EXPECT_EQ(httpGet(port_, "/getStash").status, 401);
}

// A second host started on the same ports takes the next free one, says so,
// and stops cleanly on Ctrl-C.
TEST_F(HostProgram, ASecondHostFindsItsOwnPortAndStopsOnInterrupt) {
  HostProcess second({"--port", std::to_string(base_), "--quiet"});
  const int port = second.waitForPort();
  ASSERT_NE(port, 0) << second.output();
  EXPECT_NE(port, port_);
  EXPECT_GT(port, base_);
  EXPECT_LT(port, base_ + 10);
  EXPECT_NE(second.output().find("DNS-SD"), std::string::npos) << second.output();
  EXPECT_EQ(httpGet(port, "/ping").status, 200);
  EXPECT_EQ(second.output().find("onPing"), std::string::npos);  // --quiet

  EXPECT_EQ(second.interrupt(), 0) << second.output();
  EXPECT_NE(second.output().find("stopped"), std::string::npos);
  EXPECT_EQ(httpGet(port, "/getHeartbeat", 1000).status, 0);  // nobody listens any more
  // The first host serves on.
  EXPECT_EQ(httpGet(port_, "/getHeartbeat").status, 200);
}

TEST_F(HostProgram, TheQueueAndThePlayModeFollowARemotesEdits) {
  const std::string token = pair("Queue%20test");
  const Album album = firstAlbum();
  ASSERT_GE(album.tracks.size(), 3u);
  // Start at the third track: the queue is the whole album.
  ASSERT_EQ(httpGet(port_, "/playback/play?itemid=" + album.id + "&item=2&token=" + token).status,
            200);
  EXPECT_EQ(jsonValue(httpGet(port_, "/getPlayState").body, "trackId"), album.tracks[2].first);

  // Moving the last track to the front keeps the current one playing.
  const std::string last = album.tracks.back().first;
  ASSERT_EQ(httpGet(port_, "/playback/move?trackid=" + last + "&position=0&token=" + token).status,
            200);
  const auto queue = idsAndNames(httpGet(port_, "/getNowPlaying").body);
  ASSERT_EQ(queue.size(), album.tracks.size());
  EXPECT_EQ(queue.front().first, last);
  EXPECT_EQ(queue[1].first, album.tracks[0].first);
  EXPECT_EQ(jsonValue(httpGet(port_, "/getPlayState").body, "trackId"), album.tracks[2].first);

  // Repeat-all wraps "previous" from the head of the queue to its end.
  ASSERT_EQ(httpGet(port_, "/playback/mode?mode=1").status, 200);
  EXPECT_EQ(jsonValue(httpGet(port_, "/playback/getmode").body, "playbackmode"), "1");
  ASSERT_EQ(httpGet(port_, "/playback/play?itemid=" + last + "&item=0&token=" + token).status, 200);
  ASSERT_EQ(httpGet(port_, "/playback/previous").status, 200);
  EXPECT_EQ(jsonValue(httpGet(port_, "/getPlayState").body, "trackId"), queue.back().first);

  // Play from a playlist the remote is showing, by track and parent list.
  const auto created = httpGet(port_, "/createPlaylist?name=Queue%20test");
  const std::string playlist = jsonValue(created.body, "id");
  ASSERT_EQ(httpGet(port_, "/addItemToPlaylist?playlistUuid=" + playlist +
                               "&itemUuid=" + album.tracks[1].first)
                .status,
            200);
  ASSERT_EQ(httpGet(port_, "/addItemToPlaylist?playlistUuid=" + playlist +
                               "&itemUuid=" + album.tracks[0].first)
                .status,
            200);
  ASSERT_EQ(httpGet(port_, "/setPlaybackItem?uuid=" + album.tracks[0].first +
                               "&play=true&sortBy=0&reverseSort=0&parentuuid=" + playlist)
                .status,
            200);
  const auto listQueue = idsAndNames(httpGet(port_, "/getNowPlaying").body);
  ASSERT_EQ(listQueue.size(), 2u);
  EXPECT_EQ(listQueue[0].first, album.tracks[1].first);
  const auto state = httpGet(port_, "/getPlayState").body;
  EXPECT_EQ(jsonValue(state, "trackId"), album.tracks[0].first);
  EXPECT_EQ(jsonValue(state, "state"), "playing");
  ASSERT_EQ(httpGet(port_, "/playback/pause").status, 200);
  ASSERT_EQ(httpGet(port_, "/playback/mode?mode=0").status, 200);
}

TEST_F(HostProgram, StashDownloadsProgressWhileTheRemoteWatches) {
  ASSERT_EQ(httpGet(port_, "/login?username=demo&password=demo&which=tidal").status, 200);
  const std::string sku = jsonValue(httpGet(port_, "/getStash").body, "sku");
  ASSERT_FALSE(sku.empty());
  EXPECT_NE(httpGet(port_, "/getItemsForSkuId?sku=" + sku).body.find("\"duration\""),
            std::string::npos);
  EXPECT_EQ(httpGet(port_, "/pauseDownload?sku=" + sku).status, 401);  // nothing runs yet

  ASSERT_EQ(httpGet(port_, "/startDownload?sku=" + sku).status, 200);
  auto progressOf = [&] {
    const std::string status = httpGet(port_, "/getDownloadStatus").body;
    const std::string value = jsonValue(status, "progress", status.find(sku));
    return value.empty() ? -1.0 : std::stod(value);
  };
  std::this_thread::sleep_for(std::chrono::milliseconds(700));
  const double early = progressOf();
  EXPECT_GT(early, 0);
  EXPECT_LT(early, 100);
  ASSERT_EQ(httpGet(port_, "/pauseDownload?sku=" + sku).status, 200);
  const double paused = progressOf();
  std::this_thread::sleep_for(std::chrono::milliseconds(600));
  EXPECT_EQ(progressOf(), paused);
  ASSERT_EQ(httpGet(port_, "/resumeDownload?sku=" + sku).status, 200);
  double done = 0;
  for (int i = 0; i < 50 && done < 100; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    done = progressOf();
  }
  EXPECT_EQ(done, 100);
  const std::string status = httpGet(port_, "/getDownloadStatus").body;
  EXPECT_EQ(jsonValue(status, "state", status.find(sku)), "done");
  ASSERT_EQ(httpGet(port_, "/logout?which=tidal").status, 200);
}
