// The reference host run on a music folder, seen from a remote client: the
// test writes a folder of small tagged audio files, starts the real
// velora-host on it, pairs over HTTP the way the web remote does, and checks
// that titles, durations and covers arrive through the library routes.

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <regex>
#include <thread>

#include "refhost/MusicFixtures.h"
#include "support/TestHttp.h"

namespace {

using namespace std::chrono_literals;
using velora_test::httpGet;

// The raw text of the first "key": a string without its quotes, or a
// number, an object or an array as written.
std::string jsonValue(const std::string& json, const std::string& key) {
  std::size_t i = json.find("\"" + key + "\":");
  if (i == std::string::npos) return {};
  i += key.size() + 3;
  if (json[i] == '"') return json.substr(i + 1, json.find('"', i + 1) - i - 1);
  if (json[i] != '{' && json[i] != '[') return json.substr(i, json.find_first_of(",}]", i) - i);
  int depth = 0;
  bool quoted = false;
  for (std::size_t end = i; end < json.size(); ++end) {
    const char c = json[end];
    if (quoted) {
      end += c == '\\';
      quoted = c != '"';
    } else if (c == '"') {
      quoted = true;
    } else if ((c == '{' || c == '[' ? ++depth : c == '}' || c == ']' ? --depth : 1) == 0) {
      return json.substr(i, end - i + 1);
    }
  }
  return {};
}

// The objects of a JSON array, each as its own text.
std::vector<std::string> elements(const std::string& array) {
  std::vector<std::string> out;
  for (std::size_t at = array.find('{', 1); at != std::string::npos;
       at = array.find('{', at + out.back().size())) {
    out.push_back(jsonValue("\"x\":" + array.substr(at), "x"));
  }
  return out;
}

// A key of an album itself rather than of one of its nested tracks.
std::string albumValue(std::string album, const std::string& key) {
  const std::string tracks = jsonValue(album, "tracks");
  if (!tracks.empty()) album.replace(album.find(tracks), tracks.size(), "[]");
  return jsonValue(album, key);
}

class MusicFolderHost : public ::testing::Test {
 protected:
  void SetUp() override {
    music.writeInto(dir.path() + "/My Music");
    const std::string base = std::to_string(velora_test::findFreePortBlock(10));
    pid = ::fork();
    if (pid == 0) {
      std::FILE* out = std::fopen(console().c_str(), "w");
      ::dup2(::fileno(out), STDOUT_FILENO);
      ::dup2(::fileno(out), STDERR_FILENO);
      const std::string folder = dir.path() + "/My Music", cache = cacheDir();
      ::execl(VELORA_HOST_EXE, VELORA_HOST_EXE, "--port", base.c_str(), "--music", folder.c_str(),
              "--cache", cache.c_str(), "--approve", "auto", nullptr);
      ::_exit(127);
    }
    static const std::regex address(R"(web remote: http://[^:/\s]+:(\d+)/)");
    std::smatch match;
    for (int i = 0; i < 1200 && port == 0; ++i, std::this_thread::sleep_for(50ms)) {
      const std::string text = output();
      if (std::regex_search(text, match, address)) port = std::stoi(match[1]);
    }
    ASSERT_NE(port, 0) << "the host printed no address:\n" << output();
  }
  void TearDown() override {
    if (pid > 0) interrupt();
  }
  // Sends Ctrl-C; the exit status, or -1 when it had to be killed.
  int interrupt() {
    ::kill(pid, SIGINT);
    int status = 0;
    bool ended = false;
    for (int i = 0; i < 300 && !ended; ++i, std::this_thread::sleep_for(50ms)) {
      ended = ::waitpid(pid, &status, WNOHANG) == pid;
    }
    if (!ended) {
      ::kill(pid, SIGKILL);
      ::waitpid(pid, &status, 0);
    }
    pid = -1;
    return ended && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  std::string console() const { return dir.path() + "/console.log"; }
  std::string cacheDir() const { return dir.path() + "/cache"; }
  std::string output() const { return refhost_test::readFile(console()); }
  // A library view, asked without the token so that the reply carries it.
  std::string library(const std::string& target) {
    const auto reply = httpGet(port, "/library/" + target, 10000);
    EXPECT_EQ(reply.status, 200) << target << ": " << reply.body;
    return reply.body;
  }

  velora_test::TempDir dir;
  refhost_test::MusicFolder music;
  int pid = -1;
  int port = 0;
};

TEST_F(MusicFolderHost, TitlesDurationsAndCoversReachARemoteClient) {
  std::string token;
  for (int i = 0; i < 75 && token.empty(); ++i, std::this_thread::sleep_for(200ms)) {
    const auto reply = httpGet(port, "/authenticate?name=Music%20folder&code=731905&version=1");
    if (jsonValue(reply.body, "authstatus") == "true") token = jsonValue(reply.body, "token");
  }
  ASSERT_FALSE(token.empty()) << output();
  // The indexer's warnings reach the console, and the host still runs.
  EXPECT_NE(output().find("broken.flac"), std::string::npos) << output();

  std::map<std::string, std::string> byName;
  for (const auto& album : elements(jsonValue(library("albums?index=0&count=-1"), "albums"))) {
    byName[albumValue(album, "name")] = album;
  }
  ASSERT_EQ(byName.size(), 4u);
  // Each cover reaches the client as a file of the host's cache with the
  // same bytes: embedded, beside the files, or a Folder.PNG.
  const std::map<std::string, std::string> covers = {
      {"Harbour Lights", music.harbourPicture},
      {"Twin Album", music.harbourPicture},
      {"Field Recordings", music.fieldCover},
      {"Unknown Album", music.looseCover},
  };
  for (const auto& [name, picture] : covers) {
    const std::string path = albumValue(byName[name], "artwork");
    EXPECT_EQ(path.rfind(cacheDir(), 0), 0u) << name << ": " << path;
    EXPECT_EQ(refhost_test::readFile(path), picture) << name;
  }
  const std::string album =
      jsonValue(library("album?id=" + albumValue(byName["Field Recordings"], "id")), "album");
  const auto tracks = elements(jsonValue(album, "tracks"));
  ASSERT_EQ(tracks.size(), 2u) << album;
  EXPECT_EQ(jsonValue(tracks[0], "name") + " " + jsonValue(tracks[0], "duration") + " " +
                jsonValue(tracks[0], "sampleRate") + " " + jsonValue(tracks[0], "fileType"),
            "Wind 2 22050 WAV");
  EXPECT_EQ(albumValue(album, "duration"), "5");
  EXPECT_EQ(albumValue(album, "artistname"), "Test Artist B");

  const std::string search = jsonValue(library("search?param=opening"), "search");
  const auto found = elements(jsonValue(search, "tracks"));
  ASSERT_EQ(found.size(), 1u) << search;
  EXPECT_EQ(jsonValue(found[0], "name"), "Opening Tide");
  EXPECT_EQ(interrupt(), 0) << output();
}

}  // namespace
