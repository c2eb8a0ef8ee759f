// The real velora-host on a folder of small tagged files, driven over HTTP as the web remote does.

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <regex>
#include <thread>

#include "refhost/MusicFixtures.h"
#include "support/TestHttp.h"

namespace {

using namespace std::chrono_literals;
using refhost_test::readFile;

// The values of the space-separated keys of the object that `at` opens or
// is in, as written and space-separated: an object's own keys come before
// those of anything nested in it.
std::string fields(const std::string& json, const std::string& at, const std::string& keys) {
  const std::size_t found = json.find(at);
  if (found == std::string::npos) return "no " + at;
  std::istringstream in(keys);
  std::string key, out;
  const auto start = json.begin() + json.rfind('{', found + at.size() - 1);
  for (std::smatch match; in >> key; out += (out.empty() ? "" : " ") + match[1].str()) {
    std::regex_search(start, json.end(), match, std::regex("\"" + key + "\":\"?([^\",}]*)"));
  }
  return out;
}

TEST(MusicFolderHost, TitlesDurationsAndCoversReachARemoteClient) {
  velora_test::TempDir dir;
  const std::string folder = dir.path() + "/My Music", cache = dir.path() + "/cache";
  const std::string log = dir.path() + "/console.log";
  refhost_test::writeMusicFolder(folder);
  const int port = velora_test::findFreePortBlock(10);
  const pid_t pid = ::fork();
  if (pid == 0) {
    std::freopen(log.c_str(), "w", stdout);
    ::dup2(STDOUT_FILENO, STDERR_FILENO);
    // --open: the library is read below without a token, as a second client would.
    ::execl(VELORA_HOST_EXE, VELORA_HOST_EXE, "--port", std::to_string(port).c_str(), "--music",
            folder.c_str(), "--cache", cache.c_str(), "--approve", "auto", "--open", nullptr);
    ::_exit(127);
  }
  const std::shared_ptr<void> reaper(nullptr, [pid](void*) {
    if (::kill(pid, SIGKILL) == 0) ::waitpid(pid, nullptr, 0);
  });
  // Indexing comes first, and sanitizers make it slow.
  std::string paired;
  for (int i = 0; i < 600 && paired != "true"; ++i, std::this_thread::sleep_for(100ms)) {
    paired = fields(velora_test::httpGet(port, "/authenticate?name=e2e&code=731905&version=1").body,
                    "{", "authstatus");
  }
  ASSERT_EQ(paired, "true") << readFile(log);
  // The indexer's warnings reach the console, and the host still runs.
  EXPECT_NE(readFile(log).find("broken.flac"), std::string::npos) << readFile(log);
  const auto library = [&](const std::string& target) {
    return velora_test::httpGet(port, "/library/" + target, 10000).body;
  };

  // Covers, embedded or beside the files, reach the client as files of the
  // host's cache with the same bytes.
  const std::string albums = library("albums?index=0&count=-1");
  for (const auto& [name, picture] : {std::pair{"Harbour Lights", refhost_test::picture(true, 'H')},
                                      {"Field Recordings", refhost_test::picture(false, 'F')}}) {
    const std::string path = fields(albums, std::string("\"name\":\"") + name, "artwork");
    EXPECT_EQ(path.rfind(cache, 0), 0u) << name << ": " << path;
    EXPECT_EQ(readFile(path), picture) << name;
  }
  const std::string album =
      library("album?id=" + fields(albums, "\"name\":\"Field Recordings", "id"));
  EXPECT_EQ(fields(album, "\"album\":{", "name duration artistname"),
            "Field Recordings 5 Test Artist B");
  EXPECT_EQ(fields(album, "\"tracks\":[{", "name duration sampleRate fileType"),
            "Wind 2 22050 WAV");
  const std::string found = library("search?param=opening");
  EXPECT_EQ(fields(found, "\"search\":{", "name"), "Opening Tide");
  EXPECT_EQ(found.find("\"name\":", found.find("Opening Tide")), std::string::npos) << found;

  // The host registers its queue extension through the library's exported entry point.
  EXPECT_EQ(velora_test::httpGet(port, "/queue").body, "\"SUCCESS\"");

  // Ctrl-C ends it cleanly.
  ::kill(pid, SIGINT);
  int status = -1;
  for (int i = 0; i < 300 && ::waitpid(pid, &status, WNOHANG) == 0; ++i) {
    std::this_thread::sleep_for(50ms);
  }
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << readFile(log);
}

}  // namespace
