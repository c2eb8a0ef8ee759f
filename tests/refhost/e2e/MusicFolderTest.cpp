// The reference host run on a music folder, seen from a remote client: the
// test writes a folder of small tagged audio files, starts the real
// velora-host on it, pairs over HTTP the way the web remote does, and checks
// that titles, durations and covers arrive through the library routes.

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "refhost/MusicFixtures.h"
#include "refhost/e2e/HostProcess.h"
#include "support/TestHttp.h"

namespace {

namespace fs = std::filesystem;
using refhost_test::jsonElements;
using refhost_test::jsonValue;
using namespace std::chrono_literals;

// A key of an album itself rather than of one of its nested tracks.
std::string albumValue(std::string album, const std::string& key) {
  const std::string tracks = jsonValue(album, "tracks");
  if (!tracks.empty()) album.replace(album.find(tracks), tracks.size(), "[]");
  return jsonValue(album, key);
}

std::string fromBase64(const std::string& text) {
  static const std::string alphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  unsigned buffer = 0;
  int bits = 0;
  for (const char c : text) {
    if (c == '=') break;
    const auto index = alphabet.find(c);
    if (index == std::string::npos) throw std::runtime_error("not base64");
    buffer = (buffer << 6) | static_cast<unsigned>(index);
    bits += 6;
    if (bits >= 8) {
      bits -= 8;
      out += static_cast<char>((buffer >> bits) & 0xff);
    }
  }
  return out;
}

// ---------------------------------------------------------------- the test

class MusicFolderTest : public ::testing::Test {
 protected:
  void SetUp() override {
    music.writeInto(musicDir());
    host = std::make_unique<refhost_test::HostProcess>(std::vector<std::string>{
        "--port", std::to_string(velora_test::findFreePortBlock(10)), "--music", musicDir(),
        "--cache", cacheDir(), "--approve", "auto"});
    port = host->waitForPort();
    ASSERT_NE(port, 0) << "the host printed no address:\n" << host->output();
  }

  std::string musicDir() const { return dir.path() + "/My Music"; }
  std::string cacheDir() const { return dir.path() + "/cache"; }

  // Pairs as the web remote does: asks until the host approves.
  std::string pair() {
    const auto deadline = std::chrono::steady_clock::now() + 15s;
    while (std::chrono::steady_clock::now() < deadline) {
      const auto reply = velora_test::httpGet(
          port, "/authenticate?name=Music%20folder%20test&code=731905&version=1");
      if (reply.status == 200 && jsonValue(reply.body, "authstatus") == "true" &&
          jsonValue(reply.body, "disconnected") == "false") {
        return jsonValue(reply.body, "token");
      }
      std::this_thread::sleep_for(200ms);
    }
    return "";
  }

  // A library view, asked without the token so that the reply carries it.
  std::string library(const std::string& target) {
    const auto reply = velora_test::httpGet(port, "/library/" + target, 10000);
    EXPECT_EQ(reply.status, 200) << target << ": " << reply.body;
    return reply.body;
  }

  // What a client shows for an item's cover: the picture sent inline, or
  // the file the path names when the service sent only the path.
  std::string coverOf(const std::string& album) {
    const std::string data = albumValue(album, "imagedata");
    if (!data.empty()) return fromBase64(data);
    const std::string path = albumValue(album, "artwork");
    return path.empty() ? "" : refhost_test::readFile(path);
  }

  velora_test::TempDir dir;
  refhost_test::MusicFolder music;
  std::unique_ptr<refhost_test::HostProcess> host;
  int port = 0;
};

TEST_F(MusicFolderTest, TitlesDurationsAndCoversReachARemoteClient) {
  ASSERT_FALSE(pair().empty()) << host->output();
  // The indexer's warnings reach the console, and the host still runs.
  const std::string console = host->output();
  EXPECT_NE(console.find("notes.txt"), std::string::npos) << console;
  EXPECT_NE(console.find("broken.flac"), std::string::npos) << console;

  const std::string list = jsonValue(library("albums?index=0&count=-1"), "albums");
  std::map<std::string, std::string> byName;
  for (const auto& album : jsonElements(list)) byName[albumValue(album, "name")] = album;
  ASSERT_EQ(byName.size(), 4u) << list.substr(0, 2000);
  ASSERT_TRUE(byName.count("Harbour Lights") && byName.count("Field Recordings") &&
              byName.count("Twin Album") && byName.count("Unknown Album"));

  // Covers: embedded PNG, a JPEG beside the files, a Folder.PNG; each one
  // reaches the client as the same bytes and lives in the host's cache.
  const std::map<std::string, std::string> covers = {
      {"Harbour Lights", music.harbourPicture},
      {"Twin Album", music.harbourPicture},
      {"Field Recordings", music.fieldCover},
      {"Unknown Album", music.looseCover},
  };
  for (const auto& [name, picture] : covers) {
    SCOPED_TRACE(name);
    const std::string& album = byName[name];
    EXPECT_EQ(coverOf(album), picture);
    const std::string path = albumValue(album, "artwork");
    EXPECT_EQ(path.rfind(cacheDir(), 0), 0u) << path;
    EXPECT_TRUE(fs::is_regular_file(path)) << path;
  }
  EXPECT_EQ(albumValue(byName["Field Recordings"], "artistname"), "Test Artist B");

  struct Expected {
    const char* title;
    int duration;
    int sampleRate;
    const char* fileType;
  };
  const std::map<std::string, std::vector<Expected>> tracks = {
      {"Harbour Lights",
       {{"Opening Tide", 200, 96000, "FLAC"}, {"Second Wave", 96, 44100, "FLAC"}}},
      {"Field Recordings", {{"Wind", 2, 22050, "WAV"}, {"Rain on Tin", 3, 8000, "WAV"}}},
      {"Twin Album", {{"Twin \xc3\x89toile", 61, 192000, "FLAC"}}},
      {"Unknown Album", {{"untagged song", 1, 11025, "WAV"}}},
  };
  for (const auto& [name, expected] : tracks) {
    SCOPED_TRACE(name);
    const std::string album =
        jsonValue(library("album?id=" + albumValue(byName[name], "id")), "album");
    EXPECT_EQ(albumValue(album, "name"), name);
    const auto list = jsonElements(jsonValue(album, "tracks"));
    ASSERT_EQ(list.size(), expected.size());
    int total = 0;
    for (std::size_t i = 0; i < expected.size(); ++i) {
      const std::string& track = list[i];
      EXPECT_EQ(jsonValue(track, "name"), expected[i].title);
      EXPECT_EQ(jsonValue(track, "duration"), std::to_string(expected[i].duration));
      EXPECT_EQ(jsonValue(track, "sampleRate"), std::to_string(expected[i].sampleRate));
      EXPECT_EQ(jsonValue(track, "fileType"), expected[i].fileType);
      EXPECT_EQ(jsonValue(track, "albumname"), name);
      total += expected[i].duration;
    }
    EXPECT_EQ(albumValue(album, "duration"), std::to_string(total));
    EXPECT_EQ(coverOf(album), covers.at(name));
  }

  // A search finds an indexed track by a word of its title.
  const auto found =
      jsonElements(jsonValue(jsonValue(library("search?param=opening"), "search"), "tracks"));
  ASSERT_EQ(found.size(), 1u) << host->output();
  EXPECT_EQ(jsonValue(found[0], "name"), "Opening Tide");
  EXPECT_EQ(jsonValue(found[0], "duration"), "200");

  EXPECT_EQ(host->interrupt(), 0) << host->output();
}

TEST(MusicFolderHost, AMissingMusicFolderIsNamedOnTheConsole) {
  velora_test::TempDir dir;
  refhost_test::HostProcess host({"--port", std::to_string(velora_test::findFreePortBlock(10)),
                                  "--music", dir.path() + "/nowhere"});
  // Whether it then stops or serves an empty library, the user is told why.
  host.waitForPort(5000);
  host.interrupt();
  EXPECT_NE(host.output().find(dir.path() + "/nowhere"), std::string::npos) << host.output();
}

}  // namespace
