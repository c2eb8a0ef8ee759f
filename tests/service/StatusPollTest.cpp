#include <zlib.h>

#include <chrono>
#include <future>
#include <thread>

#include <gtest/gtest.h>

#include "support/RoutedService.h"

using namespace velora_test;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

class StatusPollTest : public RoutedService {
 protected:
  void SetUp() override {
    RoutedService::SetUp();
    s.Init();
  }
  void TearDown() override { ZIP_THRESHOLD = 104857600; }

  std::future<std::pair<HttpReply, double>> poll() {
    return std::async(std::launch::async, [this] {
      const auto start = Clock::now();
      HttpReply reply = get("/status", 5000);
      return std::make_pair(reply, std::chrono::duration<double>(Clock::now() - start).count());
    });
  }
};

TEST_F(StatusPollTest, NothingChangedAnswers304AfterASecond) {
  const auto [reply, seconds] = poll().get();
  EXPECT_EQ(304, reply.status);
  EXPECT_EQ("", reply.body);
  EXPECT_GE(seconds, 0.95);
  EXPECT_LT(seconds, 1.5);
}

TEST_F(StatusPollTest, AChangeEndsTheWaitAndIsDeliveredOnce) {
  auto waiting = poll();
  std::this_thread::sleep_for(200ms);
  s.setVolumeLevel(55);
  const auto [reply, seconds] = waiting.get();
  EXPECT_EQ(200, reply.status);
  EXPECT_LT(seconds, 0.9);
  EXPECT_EQ(R"({"equalizer":{},"irc":{},"ac":{},"ooyh":{},"playback":{"volumelevel":55},)"
            R"("library":{},"disconnect":{},"settings":{},"updated":{}})",
            reply.body);
  EXPECT_EQ(304, poll().get().first.status);
}

TEST_F(StatusPollTest, OneChangeWakesOnePollerAndTheOthersTimeOut) {
  std::vector<std::future<std::pair<HttpReply, double>>> pollers;
  for (int i = 0; i < 8; ++i) pollers.push_back(poll());
  std::this_thread::sleep_for(300ms);
  s.setMuteState(true);
  int delivered = 0;
  int notModified = 0;
  for (auto& p : pollers) {
    const auto [reply, seconds] = p.get();
    if (reply.status == 200) {
      ++delivered;
      EXPECT_LT(seconds, 0.9);
    } else {
      EXPECT_EQ(304, reply.status);
      EXPECT_GE(seconds, 0.95);
      EXPECT_LT(seconds, 1.5);
      ++notModified;
    }
  }
  EXPECT_EQ(1, delivered);
  EXPECT_EQ(7, notModified);
}

TEST_F(StatusPollTest, ShutdownEndsAWaitingPollAtOnce) {
  auto waiting = poll();
  std::this_thread::sleep_for(200ms);
  const auto start = Clock::now();
  s.shutdown();
  EXPECT_LT(Clock::now() - start, 900ms);
  const auto [reply, seconds] = waiting.get();
  EXPECT_LT(seconds, 0.9);
}

TEST_F(StatusPollTest, LargeDeliveriesAreCompressed) {
  ZIP_THRESHOLD = 50;
  std::vector<const char*> names(50, "Output device with a long name");
  s.setOutputDeviceList(names, "Output device with a long name");
  HttpReply reply;
  const std::string log = captureStdout([&] { reply = poll().get().first; });
  EXPECT_EQ(200, reply.status);
  EXPECT_EQ(0u, log.find("Responded zip. gain % ")) << log;
  EXPECT_EQ("application/octet-stream", reply.header("Content-Type"));
  std::vector<unsigned char> out(1 << 20);
  uLongf outLen = out.size();
  ASSERT_EQ(Z_OK, uncompress(out.data(), &outLen, reinterpret_cast<const Bytef*>(reply.body.data()),
                             reply.body.size()));
  const auto body = web::json::value::parse(std::string(out.begin(), out.begin() + outLen));
  EXPECT_EQ(50u, body.at("settings").at("outputdevices").at("list").size());
}

}  // namespace
