#include <zlib.h>

#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include "support/ServiceFixture.h"

using namespace velora_test;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

constexpr long long kNoZip = 104857600;

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

class DeliveryTest : public ::testing::Test {
 protected:
  void SetUp() override { s.Init(); }
  ServiceUnderTest sut;
  VeloraRestService& s = *sut.service;
};

TEST_F(DeliveryTest, NothingToDeliverWithoutAChange) {
  s.setGetDevicesResponse("[1]");  // answers do not count as changes
  EXPECT_FALSE(deliverChanges(s.cache(), s.changeFeed(), kNoZip).has_value());
  EXPECT_EQ("[1]", s.cache().slots.devices.serialize());
}

TEST_F(DeliveryTest, OneBurstIsDeliveredOnceAndEmptiesTheCache) {
  s.setVolumeLevel(40);
  s.setMuteState(true);
  s.setGetDevicesResponse("[1]");
  const auto delivery = deliverChanges(s.cache(), s.changeFeed(), kNoZip);
  ASSERT_TRUE(delivery.has_value());
  EXPECT_FALSE(delivery->compressed);
  EXPECT_EQ(R"({"equalizer":{},"irc":{},"ac":{},"ooyh":{},)"
            R"("playback":{"volumelevel":40,"mutestate":true},"library":{},"disconnect":{},)"
            R"("settings":{},"updated":{}})",
            delivery->body);
  EXPECT_FALSE(s.changeFlag());
  EXPECT_EQ("{}", s.cache().docs.playback.serialize());
  EXPECT_EQ("{}", s.cache().slots.devices.serialize());
  EXPECT_FALSE(deliverChanges(s.cache(), s.changeFeed(), kNoZip).has_value());
}

TEST_F(DeliveryTest, LargeDeliveryIsCompressedAndInflatesToTheSameText) {
  s.setGetDevicesResponse("[]");
  std::vector<const char*> names(200, "A rather long output device name");
  s.setOutputDeviceList(names, "A rather long output device name");
  // The same burst, delivered once plainly for reference...
  std::string plain;
  {
    std::lock_guard<std::mutex> lock(s.cache().stateMutex);
    plain = s.cache().docs.settings.serialize();
  }
  std::optional<ChangeDelivery> zipped;
  const std::string log =
      captureStdout([&] { zipped = deliverChanges(s.cache(), s.changeFeed(), 100); });
  ASSERT_TRUE(zipped.has_value());
  ASSERT_TRUE(zipped->compressed);
  std::vector<unsigned char> out(1 << 20);
  uLongf outLen = out.size();
  ASSERT_EQ(Z_OK,
            uncompress(out.data(), &outLen, reinterpret_cast<const Bytef*>(zipped->body.data()),
                       zipped->body.size()));
  const std::string inflated(out.begin(), out.begin() + static_cast<long>(outLen));
  EXPECT_NE(std::string::npos, inflated.find("\"settings\":" + plain));
  const int gain = static_cast<int>(100.0f - static_cast<float>(zipped->body.size()) * 100.0f /
                                                 static_cast<float>(inflated.size()));
  EXPECT_EQ("Responded zip. gain % " + std::to_string(gain) + "\n", log);
}

// Host threads push state while a client keeps collecting it: every value
// arrives in exactly one delivery, or is still waiting in the cache.
TEST_F(DeliveryTest, ConcurrentSettersAreNeverLost) {
  constexpr int kThreads = 4;
  constexpr int kPerThread = 500;
  std::atomic<bool> done{false};
  std::atomic<int> deliveredVolumes{0};
  std::thread collector([&] {
    while (!done) {
      if (s.changeFeed().waitUntil(Clock::now() + 20ms)) {
        if (auto d = deliverChanges(s.cache(), s.changeFeed(), kNoZip)) {
          if (d->body.find("volumelevel") != std::string::npos) ++deliveredVolumes;
        }
      }
    }
  });
  std::vector<std::thread> hosts;
  for (int t = 0; t < kThreads; ++t) {
    hosts.emplace_back([&, t] {
      for (int i = 0; i < kPerThread; ++i) {
        s.setVolumeLevel(t * kPerThread + i);
        if (i % 50 == 0) s.setGetDevicesResponse("[]");
      }
    });
  }
  for (auto& h : hosts) h.join();
  done = true;
  collector.join();
  if (auto rest = deliverChanges(s.cache(), s.changeFeed(), kNoZip)) {
    if (rest->body.find("volumelevel") != std::string::npos) ++deliveredVolumes;
  }
  EXPECT_GE(deliveredVolumes.load(), 1);
  EXPECT_FALSE(s.changeFlag());
  EXPECT_EQ("{}", s.cache().docs.playback.serialize());
}

}  // namespace
