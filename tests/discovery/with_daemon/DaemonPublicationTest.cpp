#include <arpa/inet.h>
#include <dns_sd.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <cstdio>
#include <iostream>
#include <regex>
#include <thread>

#include <gtest/gtest.h>

#include "support/ServiceFixture.h"

// Publication through a real mDNS responder (ctest starts one with
// scripts/avahi-test-env.sh); the test plays the phone.

using namespace velora_test;
using namespace std::chrono;

namespace {

// A registration ends only with its process, so a player is a child process
// (this program in player mode), published until stop(). Its standard output
// is the report; closing its input lets it go.
struct Player {
  Player(int base, const std::string& pages) {
    int report[2], release[2];
    if (::pipe2(report, O_CLOEXEC) != 0 || ::pipe2(release, O_CLOEXEC) != 0) return;
    const std::string port = std::to_string(base);
    // The library's thread pool runs from static initialisation on: exec at once.
    if ((pid = ::fork()) == 0) {
      ::dup2(report[1], STDOUT_FILENO);
      ::dup2(release[0], STDIN_FILENO);
      ::execl("/proc/self/exe", "player", "--player", port.c_str(), pages.c_str(), nullptr);
      ::_exit(127);
    }
    ::close(report[1]);
    ::close(release[0]);
    releaseFd = release[1];
    char buffer[4096];
    for (ssize_t n; (n = ::read(report[0], buffer, sizeof buffer)) > 0;) output.append(buffer, n);
    ::close(report[0]);
    std::smatch m;
    if (std::regex_search(output, m, std::regex("published on port(\\d+) with status (-?\\d+)"))) {
      publishedPort = std::stoi(m[1]);
      status = std::stoi(m[2]);
    }
  }
  ~Player() { stop(); }
  void stop() {
    if (releaseFd >= 0) ::close(releaseFd);
    if (pid > 0) ::waitpid(pid, nullptr, 0);
    releaseFd = pid = -1;
  }

  pid_t pid = -1;
  int releaseFd = -1;
  std::string output;  // the console, then "bound=<port> heard=<ports;> failures=<n>"
  int publishedPort = 0;
  int status = 1;
};

// Every player on this machine takes the machine's name and the daemon
// refuses a second one: wait out one that another test run keeps published.
std::unique_ptr<Player> startPlayer(int base, const std::string& pages) {
  for (const auto deadline = steady_clock::now() + 40s;; std::this_thread::sleep_for(1s)) {
    auto player = std::make_unique<Player>(base, pages);
    if (player->status != kDNSServiceErr_NameConflict || steady_clock::now() > deadline) {
      return player;
    }
  }
}

// Browses until a player shows at `port` (or, unless `shown`, none does); a
// fresh registration shows once the daemon has probed its name.
bool browseUntil(int port, bool shown, std::string& raw) {
  // =;interface;protocol;name;type;domain;host;address;port;txt
  const std::regex resolved("(^|\\n)=;([^;\\n]*;){7}" + std::to_string(port) + ";");
  for (const auto deadline = steady_clock::now() + 15s; steady_clock::now() < deadline;) {
    raw.clear();
    FILE* pipe = ::popen("timeout 10 avahi-browse -rpt _veloraplayer._tcp 2>&1", "r");
    char buffer[4096];
    for (size_t n; pipe && (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
      raw.append(buffer, n);
    if (pipe) ::pclose(pipe);
    if (std::regex_search(raw, resolved) == shown) return true;
    std::this_thread::sleep_for(250ms);
  }
  return false;
}

// Serves from `base`: phones must be sent to `served` and the host hears of
// `base`; the publication must go with the player.
void expectPhoneFindsPlayer(int base, int served) {
  TempDir pages;
  auto player = startPlayer(base, pages.path());
  ASSERT_EQ(0, player->status)
      << "publication failed; is the daemon up (scripts/avahi-test-env.sh)? " << player->output;
  EXPECT_EQ(served, player->publishedPort);
  EXPECT_NE(std::string::npos, player->output.find("bound=" + std::to_string(served) + " heard=" +
                                                   std::to_string(base) + "; failures=0\n"))
      << player->output;

  std::string raw;
  ASSERT_TRUE(browseUntil(served, true, raw)) << "port " << served << " never showed: " << raw;
  EXPECT_TRUE(served == base || browseUntil(base, false, raw)) << "busy base shown: " << raw;
  const int status = httpGet(served, "/nothing").status;
  EXPECT_TRUE(status >= 100 && status < 600) << "no HTTP answer on port " << served;

  // Phones must not keep offering a player that is gone.
  player->stop();
  EXPECT_TRUE(browseUntil(served, false, raw)) << "publication outlived its player: " << raw;
}

TEST(PublicationWithDaemon, PhoneFindsThePlayerAndTheHostHearsTheBasePort) {
  const int base = findFreePortBlock();
  expectPhoneFindsPlayer(base, base);
}

TEST(PublicationWithDaemon, BusyBasePortPublishesTheServedPortButHostHearsTheBase) {
  const int base = findFreePortBlock();
  const int busy = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in addr{};
  addr.sin_family = AF_INET;
  addr.sin_port = htons(static_cast<uint16_t>(base));
  ASSERT_EQ(0, ::bind(busy, reinterpret_cast<sockaddr*>(&addr), sizeof addr)) << base;
  ASSERT_EQ(0, ::listen(busy, 1));
  expectPhoneFindsPlayer(base, base + 1);
  ::close(busy);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 4 && std::strcmp(argv[1], "--player") == 0) {
    ::alarm(90);  // never outlive a stuck test run
    VeloraRestService service(VeloraRestService::Options{nullptr, argv[3]});
    RecordingRemoteListener host;
    service.registerForNotification(&host);
    mServicePort = std::atoi(argv[2]);
    service.startListening();
    std::cout << "bound=" << service.currentPort() << " heard=";
    for (int p : host.publishedPorts()) std::cout << p << ";";
    std::cout << " failures=" << host.failures() << std::endl;
    ::dup2(::open("/dev/null", O_WRONLY), STDOUT_FILENO);  // the report is complete
    for (char c; ::read(STDIN_FILENO, &c, 1) > 0;) {
    }
    service.shutdown();
    std::_Exit(0);
  }
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
