#include <arpa/inet.h>
#include <dns_sd.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "PlayerProcess.h"
#include "discovery/BonjourNotifier.h"
#include "service/VeloraRestService.h"
#include "support/ServiceFixture.h"
#include "support/TestHttp.h"

// Publication against a real mDNS responder: a player process publishes its
// port as a host would make it, and the test, playing the phone, browses for
// it and connects to what it found. Needs a DNS-SD daemon (ctest starts one
// through scripts/avahi-test-env.sh); without one these tests fail.

using namespace velora_test;
using namespace std::chrono_literals;

namespace {

constexpr auto kReportLimit = 30s;
// A new registration shows up in a browse once the daemon has probed its
// name, about a second after the call.
constexpr auto kBrowseLimit = 15s;
// How long a name taken by another process may keep us from publishing.
constexpr auto kNameConflictLimit = 40s;

// ---- Player side ------------------------------------------------------------

// A host with the publisher the service makes for itself.
void servingPlayer(int base, PlayerReport& report, const std::function<void()>& handOver) {
  TempDir pages;
  VeloraRestService service(VeloraRestService::Options{nullptr, pages.path()});
  RecordingRemoteListener host;
  service.registerForNotification(&host);
  mServicePort = base;
  service.startListening();

  report["bound"] = std::to_string(service.currentPort());
  report["published"] = joinInts(host.publishedPorts());
  report["failures"] = std::to_string(host.failures());
  handOver();

  service.shutdown();
  service.unregisterFromNotification(&host);
}

// ---- Phone side -------------------------------------------------------------

// Keeps a TCP port busy (bound and listening on all interfaces) while alive.
class BusyPort {
 public:
  explicit BusyPort(int port) : fd_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_ANY);
    addr.sin_port = htons(static_cast<uint16_t>(port));
    bound_ =
        ::bind(fd_, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0 && ::listen(fd_, 4) == 0;
  }
  ~BusyPort() { ::close(fd_); }
  bool bound() const { return bound_; }

 private:
  int fd_;
  bool bound_ = false;
};

// Starts a player and waits for its report. The daemon refuses a second
// service of our type under the same name, and every player on this machine
// gets the machine's name: a player of another test run (or a host someone
// started) makes ours fail with a name conflict. Its publication ends with
// its process, so wait for that and start over.
std::unique_ptr<PlayerProcess> startPlayer(const std::string& scenario, int base) {
  const auto deadline = std::chrono::steady_clock::now() + kNameConflictLimit;
  for (;;) {
    auto player = std::make_unique<PlayerProcess>(scenario, base);
    if (!player->waitForReport(kReportLimit)) return player;
    const auto line = findPublicationLine(player->output());
    if (!line || line->status != kDNSServiceErr_NameConflict ||
        std::chrono::steady_clock::now() > deadline) {
      return player;
    }
    std::cerr << "the service name is taken by another process; trying again\n";
    player->stop();
    std::this_thread::sleep_for(1s);
  }
}

// The player's console says it published `port`, successfully.
void expectPublished(PlayerProcess& player, int port) {
  const std::string output = player.output();
  const auto line = findPublicationLine(output);
  ASSERT_TRUE(line) << "the player never tried to publish; its output:\n" << output;
  EXPECT_EQ(port, line->port);
  ASSERT_NE(kDNSServiceErr_Unknown, line->status)
      << "no DNS-SD daemon answered: run scripts/avahi-test-env.sh start (ctest runs it as the "
         "discovery.avahi_env_start fixture)";
  ASSERT_NE(kDNSServiceErr_NameConflict, line->status)
      << "another process on this machine kept a player published under the machine's name "
         "for too long (timeout 10 avahi-browse -rpt _veloraplayer._tcp shows it)";
  ASSERT_EQ(0, line->status) << output;
}

void expectAnswersHttp(int port) {
  const HttpReply reply = httpGet(port, "/nothing");
  EXPECT_GE(reply.status, 100) << "no HTTP answer on port " << port;
  EXPECT_LT(reply.status, 600);
}

TEST(PublicationWithDaemon, PhoneFindsThePlayerAndTheHostHearsTheBasePort) {
  const int base = findFreePortBlock();
  auto player = startPlayer("serving", base);
  ASSERT_TRUE(player->waitForReport(0ms)) << "no report; player output:\n" << player->output();
  EXPECT_EQ(std::to_string(base), player->value("bound"));
  ASSERT_NO_FATAL_FAILURE(expectPublished(*player, base));
  EXPECT_EQ(std::to_string(base), player->value("published"));
  EXPECT_EQ("0", player->value("failures"));

  std::string browse;
  const auto found =
      waitForPlayer([&](const BrowsedService& s) { return s.port == base; }, kBrowseLimit, &browse);
  ASSERT_TRUE(found) << "no browse showed port " << base << "; the last one:\n" << browse;
  // The phone connects to what it found.
  expectAnswersHttp(found->port);

  // Nothing withdraws a publication but the end of its process; then it must
  // go, or phones would keep offering a player that is not there.
  player->stop();
  const auto deadline = std::chrono::steady_clock::now() + kBrowseLimit;
  bool gone = false;
  for (;;) {
    const auto services = browsePlayers(&browse);
    gone = std::none_of(services.begin(), services.end(), [&](const BrowsedService& s) {
      return s.port == base && s.name == found->name;
    });
    if (gone || std::chrono::steady_clock::now() > deadline) break;
    std::this_thread::sleep_for(250ms);
  }
  EXPECT_TRUE(gone) << "the publication outlived its player:\n" << browse;
}

TEST(PublicationWithDaemon, BusyBasePortPublishesTheServedPortButHostHearsTheBase) {
  const int base = findFreePortBlock();
  BusyPort busy(base);
  ASSERT_TRUE(busy.bound()) << "port " << base << " was taken before the test could hold it";

  auto player = startPlayer("serving", base);
  ASSERT_TRUE(player->waitForReport(0ms)) << "no report; player output:\n" << player->output();
  EXPECT_EQ(std::to_string(base + 1), player->value("bound"));
  // Phones must be sent to the port really served...
  ASSERT_NO_FATAL_FAILURE(expectPublished(*player, base + 1));
  // ...while the host is told the configured one.
  EXPECT_EQ(std::to_string(base), player->value("published"));

  std::string browse;
  const auto found = waitForPlayer([&](const BrowsedService& s) { return s.port == base + 1; },
                                   kBrowseLimit, &browse);
  ASSERT_TRUE(found) << "no browse showed port " << base + 1 << "; the last one:\n" << browse;
  for (const auto& s : browsePlayers(&browse)) {
    if (s.name == found->name) {
      EXPECT_NE(base, s.port) << browse;
    }
  }
  expectAnswersHttp(found->port);
}

}  // namespace

int main(int argc, char** argv) {
  setenv("AVAHI_COMPAT_NOWARN", "1", 1);
  int exitCode = 0;
  if (runPlayerIfAsked(argc, argv, {{"serving", servingPlayer}}, exitCode)) {
    return exitCode;
  }
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
