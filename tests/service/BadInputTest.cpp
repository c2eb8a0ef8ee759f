#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include "support/RoutedService.h"

using namespace velora_test;

namespace {

class BadInputTest : public RoutedService {};

// Whatever arrives, the service answers, fires nothing for what it rejects,
// and serves the next request normally.
TEST_F(BadInputTest, HostileRequestsAreAnsweredAndForgotten) {
  const std::string longPath(64 * 1024, 'p');
  const std::string longQuery = "/playback?volume=" + std::string(20000, '9');
  const char* targets[] = {
      "/irc",                         // missing sub-route
      "/settings",                    //
      "/playback?volume=",            // empty number
      "/playback?volume=-",           //
      "/irc?gain=2147483648",         // out of range
      "/authenticate?code=",          //
      "/disconnect?code=x",           //
      "/%zz",                         // broken escapes
      "/ping%",                       //
      "/playback/move?position=%41",  //
      "/status%00",                   //
  };
  for (const char* target : targets) {
    EXPECT_GE(get(target).status, 400) << target;
  }
  EXPECT_NE(0, get("/" + longPath).status);
  EXPECT_GE(get(longQuery).status, 400);
  EXPECT_TRUE(host.calls().empty());
  // A number is read from its leading digits, as decimal conversion does.
  EXPECT_EQ(200, get("/playback?volume=12abc").status);
  EXPECT_EQ(std::vector<std::string>{"onSetVolume 12"}, host.calls());
  EXPECT_EQ("\"SUCCESS\"", get("/ping").body);
}

TEST_F(BadInputTest, RawGarbageOnTheSocketDoesNotStopTheService) {
  for (const char* method : {"BREW", "GET /../../etc/passwd", "\x01\x02\x03"}) {
    httpRequest(port, method, "/ping", "", 1000);
  }
  EXPECT_EQ(200, get("/ping").status);
}

// Polls parked when the host shuts down are all answered before the
// listener closes, and the service can be started again.
TEST_F(BadInputTest, RequestsInFlightAtShutdownAreAnswered) {
  std::vector<std::thread> clients;
  std::atomic<int> answered{0};
  for (int i = 0; i < 6; ++i) {
    clients.emplace_back([&] {
      if (httpGet(port, "/status", 3000).status != 0) ++answered;
    });
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  const auto start = std::chrono::steady_clock::now();
  s.shutdown();
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(900));
  for (auto& c : clients) c.join();
  EXPECT_EQ(6, answered.load());
  captureStdout([&] { s.startListening(); });
  EXPECT_EQ("\"SUCCESS\"", get("/ping").body);
}

}  // namespace
