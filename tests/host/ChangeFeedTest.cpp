#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include "support/ServiceFixture.h"

using namespace velora_test;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

TEST(ChangeFeedUnit, WaitersWakeOneAtATimeInArrivalOrder) {
  ChangeFeed feed;
  std::mutex m;
  std::vector<std::pair<int, bool>> woken;
  std::condition_variable cv;
  const auto deadline = Clock::now() + 300ms;
  for (int i = 0; i < 3; ++i) {
    feed.wait(deadline, [&, i](bool signalled) {
      std::lock_guard<std::mutex> lock(m);
      woken.emplace_back(i, signalled);
      cv.notify_all();
    });
  }
  EXPECT_EQ(3u, feed.waiting());
  feed.raise();
  {
    std::unique_lock<std::mutex> lock(m);
    ASSERT_TRUE(cv.wait_for(lock, 2s, [&] { return woken.size() == 1; }));
    EXPECT_EQ(std::make_pair(0, true), woken[0]);
  }
  // The others wait out their deadline.
  std::unique_lock<std::mutex> lock(m);
  ASSERT_TRUE(cv.wait_for(lock, 3s, [&] { return woken.size() == 3; }));
  EXPECT_FALSE(woken[1].second);
  EXPECT_FALSE(woken[2].second);
  EXPECT_GE(Clock::now(), deadline);
}

TEST(ChangeFeedUnit, RaisedFlagWakesANewWaiterAtOnce) {
  ChangeFeed feed;
  feed.raise();
  const auto start = Clock::now();
  EXPECT_TRUE(feed.waitUntil(start + 5s));
  EXPECT_LT(Clock::now() - start, 1s);
  feed.clear();
  EXPECT_FALSE(feed.waitUntil(Clock::now() + 50ms));
}

TEST(ChangeFeedUnit, DestroyingTheFeedReleasesItsWaiters) {
  std::atomic<int> released{0};
  {
    ChangeFeed feed;
    feed.wait(Clock::now() + 1h, [&](bool signalled) { released += signalled ? 100 : 1; });
  }
  EXPECT_EQ(1, released.load());
}

// Host threads push state while a client keeps collecting it: nothing is
// left behind once the pushing stops, and nothing is delivered twice.
TEST(ChangeFeedDelivery, ConcurrentSettersAreNeverLost) {
  ServiceUnderTest sut;
  VeloraRestService& s = *sut.service;
  s.Init();
  const int port = sut.start();
  std::atomic<bool> done{false};
  std::atomic<int> deliveredVolumes{0};
  std::thread collector([&] {
    while (!done) {
      if (httpGet(port, "/status").body.find("volumelevel") != std::string::npos)
        ++deliveredVolumes;
    }
  });
  std::vector<std::thread> hosts;
  for (int t = 0; t < 4; ++t) {
    hosts.emplace_back([&, t] {
      for (int i = 0; i < 500; ++i) {
        s.setVolumeLevel(t * 500 + i);
        if (i % 50 == 0) s.setGetDevicesResponse("[]");
      }
    });
  }
  for (auto& h : hosts) h.join();
  done = true;
  collector.join();
  const HttpReply rest = httpGet(port, "/status");
  if (rest.body.find("volumelevel") != std::string::npos) ++deliveredVolumes;
  EXPECT_GE(deliveredVolumes.load(), 1);
  EXPECT_EQ(304, httpGet(port, "/status").status);
  s.shutdown();
}

}  // namespace
