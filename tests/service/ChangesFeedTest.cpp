#include <zlib.h>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>

#include <gtest/gtest.h>

#include "support/RoutedService.h"

using namespace velora_test;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using web::json::value;

namespace {

// A "changes" client as a remote runs it: it keeps its cursor and the state
// it was told, and records every event.
struct FeedClient {
  int port = 0;
  std::string token, epoch;
  uint64_t seq = 0;
  std::map<std::string, std::string> state;  // "document/key" -> JSON text
  std::vector<std::string> events;           // "document:value"
  int fullReplies = 0;

  std::string target(int wait) const {
    std::string t = "/changes?token=" + token + "&wait=" + std::to_string(wait);
    if (seq != 0) t += "&since=" + std::to_string(seq) + "&epoch=" + epoch;
    return t;
  }
  HttpReply poll(int wait = 5) {
    HttpReply reply = httpGet(port, target(wait), (wait + 5) * 1000);
    if (reply.status != 200) return reply;
    const value body = value::parse(reply.body);
    epoch = body.at("epoch").as_string();
    seq = body.at("seq").as_number().to_uint64();
    if (body.at("full").as_bool()) {
      state.clear();
      ++fullReplies;
    }
    for (const auto& [doc, keys] : body.at("changes").as_object()) {
      for (const auto& [key, v] : keys.as_object()) state[doc + "/" + key] = v.serialize();
    }
    for (const auto& e : body.at("events").as_array()) {
      events.push_back(e.at("document").as_string() + ":" + e.at("value").serialize());
    }
    return reply;
  }
};

class ChangesFeedTest : public RoutedService {
 protected:
  void SetUp() override {
    RoutedService::SetUp();
    s.Init();
  }
  FeedClient client(int code) {
    FeedClient c;
    c.port = port;
    c.token = pair(code);
    return c;
  }
  std::future<HttpReply> pollLater(FeedClient& c, int wait = 5) {
    return std::async(std::launch::async, [&c, wait] { return c.poll(wait); });
  }
};

TEST_F(ChangesFeedTest, OnlyApprovedClientsAreServedAndBadCursorsAreRefused) {
  FeedClient c = client(11);
  get("/authenticate?code=12&name=Pending");  // asked, never approved
  const std::string pending = value::parse(get("/authenticate?code=12").body)["token"].as_string();
  const std::string gone = pair(13);
  s.disconnect(13);
  for (const std::string& target :
       std::vector<std::string>{"/changes", "/changes?token=", "/changes?token=nobody",
                                "/changes?token=" + pending, "/changes?token=" + gone}) {
    const HttpReply reply = get(target);
    EXPECT_EQ(401, reply.status) << target;
    EXPECT_EQ("\"Not paired\"", reply.body) << target;
  }
  for (const char* query : {"since=abc", "since=-1", "since=", "since=99999999999999999999999",
                            "since=1x", "wait=soon", "wait=-2", "wait="}) {
    const HttpReply reply = get("/changes?token=" + c.token + "&" + query);
    EXPECT_EQ(400, reply.status) << query;
    EXPECT_EQ(query[0] == 's' ? "\"Bad since\"" : "\"Bad wait\"", reply.body) << query;
  }
  s.setVolumeLevel(3);  // a huge wait is only a long one
  EXPECT_EQ(200, get("/changes?token=" + c.token + "&wait=99999999999999999999999").status);
}

TEST_F(ChangesFeedTest, StartsFromTheWholeStateThenSendsOnlyWhatChanged) {
  s.setVolumeLevel(40);
  s.setMuteState(false);
  s.setEQState(true);
  s.setSettingsValues(true, false, true);
  s.setMyLibraryItemDirty();  // an event: not part of the whole state
  FeedClient c = client(21);
  ASSERT_EQ(200, c.poll().status);
  EXPECT_EQ((std::map<std::string, std::string>{
                {"equalizer/enabled", "true"},
                {"playback/mutestate", "false"},
                {"playback/volumelevel", "40"},
                {"settings/values", R"({"mqa":true,"upsample":false,"dsp":true})"}}),
            c.state);
  EXPECT_TRUE(c.events.empty());

  // Only the key that changed; the same value again is no change at all.
  s.setVolumeLevel(41);
  s.setMuteState(false);
  const uint64_t before = c.seq;
  EXPECT_EQ("{\"epoch\":\"" + c.epoch + "\",\"seq\":" + std::to_string(before + 1) +
                ",\"full\":false,\"changes\":{\"playback\":{\"volumelevel\":41}},\"events\":[]}",
            c.poll(0).body);

  // Nothing new: the request waits for the next change and ends with it.
  auto parked = pollLater(c);
  std::this_thread::sleep_for(300ms);  // parked by then
  const auto start = Clock::now();
  PlaybackMode mode{2};
  s.setPlaybackMode(mode);
  EXPECT_EQ(200, parked.get().status);
  EXPECT_LT(Clock::now() - start, 500ms);
  EXPECT_EQ("2", c.state["playback/playbackmode"]);

  // Or after `wait` seconds with nothing, and the same sequence number.
  const uint64_t seq = c.seq;
  const auto idle = Clock::now();
  const HttpReply quiet = c.poll(1);
  EXPECT_GE(Clock::now() - idle, 950ms);
  EXPECT_EQ(seq, c.seq);
  EXPECT_NE(std::string::npos, quiet.body.find("\"full\":false,\"changes\":{},\"events\":[]"));
}

TEST_F(ChangesFeedTest, EventsAreKeptApartAndAnOldCursorStartsOver) {
  FeedClient c = client(31);
  c.poll(0);
  s.setMyLibraryItemDirty();
  s.setMyLibraryItemDirty();
  httpRequest(port, "POST", "/artwork/cachedata?token=" + c.token,
              R"({"id":"a7","imagedata":"QQ"})");
  for (int i = 0; i < 5 && c.events.size() < 3; ++i) c.poll(1);  // the body is applied later
  EXPECT_EQ((std::vector<std::string>{"updated:{\"all\":true}", "updated:{\"all\":true}",
                                      R"(library:{"artwork":{"id":"a7","imagedata":"QQ"}})"}),
            c.events);

  // Past the ring's reach, the client gets the whole state instead.
  const uint64_t old = c.seq;
  for (size_t i = 0; i <= ChangeStore::kEventLimit; ++i) s.setMyLibraryItemDirty();
  c.poll(0);
  EXPECT_EQ(2, c.fullReplies);
  EXPECT_GT(c.seq, old + ChangeStore::kEventLimit);

  // Large answers are bounded by their size too: a third of the room each.
  const std::string big(ChangeStore::kEventBytes / 3, 'x');
  for (int i = 0; i < 3; ++i) s.setSearchResults({}, {}, {}, {}, big.c_str());
  c.poll(0);
  EXPECT_EQ(3, c.fullReplies);
}

TEST_F(ChangesFeedTest, DisconnectReachesOnlyItsClientWhichIsThenRefused) {
  FeedClient a = client(41), b = client(42);
  a.poll(0);
  b.poll(0);
  const FeedClient beforeDisconnect = a;
  auto parkedA = pollLater(a);
  auto parkedB = pollLater(b, 2);
  std::this_thread::sleep_for(300ms);  // parked by then
  s.disconnect(41);
  ASSERT_EQ(std::future_status::ready, parkedA.wait_for(1s));
  ASSERT_EQ(1u, a.events.size());
  EXPECT_EQ("disconnect:{\"token\":\"" + a.token + "\",\"fromremote\":false}", a.events[0]);
  EXPECT_EQ(401, a.poll(0).status);
  // The other client is not even woken.
  EXPECT_EQ(std::future_status::timeout, parkedB.wait_for(500ms));
  parkedB.get();
  EXPECT_TRUE(b.events.empty());
  // Approved again, the client resumes without its old note.
  pair(41);
  FeedClient resumed = beforeDisconnect;
  EXPECT_EQ(200, resumed.poll(0).status);
  EXPECT_TRUE(resumed.events.empty());
}

// Feed clients and "status" polls parked at shutdown are answered at once,
// not when their wait ends.
TEST_F(ChangesFeedTest, ShutdownAnswersParkedClientsAndARestartIsANewEpoch) {
  FeedClient c = client(51);
  s.setVolumeLevel(7);
  c.poll(0);
  get("/status");
  const std::string firstEpoch = c.epoch;
  std::vector<FeedClient> clients(3, c);
  std::vector<std::future<HttpReply>> parked, legacy;
  const auto sent = Clock::now();
  for (auto& k : clients) parked.push_back(pollLater(k, 30));
  for (int i = 0; i < 3; ++i)
    legacy.push_back(std::async(std::launch::async, [this] { return get("/status"); }));
  // A client that goes away while parked holds up no one.
  abandonRequest(port, c.target(30), 200, true);
  s.shutdown();
  for (auto& p : parked) {
    const HttpReply reply = p.get();
    EXPECT_EQ(200, reply.status);
    EXPECT_NE(std::string::npos, reply.body.find("\"changes\":{},\"events\":[]"));
  }
  for (auto& p : legacy) EXPECT_NE(0, p.get().status);
  EXPECT_LT(Clock::now() - sent, 900ms);
  captureStdout([&] { s.startListening(); });
  c.port = s.currentPort();
  ASSERT_EQ(200, c.poll(0).status);
  EXPECT_NE(firstEpoch, c.epoch);
  EXPECT_EQ(2, c.fullReplies);
  EXPECT_EQ("7", c.state["playback/volumelevel"]);
}

TEST_F(ChangesFeedTest, LargeRepliesAreGzippedForClientsThatAcceptIt) {
  std::vector<const char*> names(3000, "An output device with a rather long name");
  s.setOutputDeviceList(names, names[0]);
  const std::string target = "/changes?token=" + pair(61);
  const HttpReply plain = get(target);
  HttpReply zipped =
      httpRequest(port, "GET", target, "", 5000, "Accept-Encoding: gzip, deflate\r\n");
  EXPECT_EQ("", plain.header("Content-Encoding"));
  ASSERT_EQ("gzip", zipped.header("Content-Encoding"));
  EXPECT_LT(zipped.body.size(), plain.body.size() / 10);
  std::string out(plain.body.size() + 1, '\0');
  z_stream z{};
  z.next_in = reinterpret_cast<Bytef*>(&zipped.body[0]);
  z.avail_in = zipped.body.size();
  z.next_out = reinterpret_cast<Bytef*>(&out[0]);
  z.avail_out = out.size();
  ASSERT_EQ(Z_OK, inflateInit2(&z, 15 + 16));  // 16: a gzip header
  EXPECT_EQ(Z_STREAM_END, inflate(&z, Z_FINISH));
  inflateEnd(&z);
  EXPECT_EQ(plain.body, out.substr(0, z.total_out));
}

// Feed clients and a legacy "status" poller side by side while host threads
// keep changing state: every feed client ends with the last value of every
// key and every event, and the last value "status" delivers is the last set.
TEST_F(ChangesFeedTest, EveryClientSeesEveryChangeBesideALegacyPoller) {
  std::vector<FeedClient> clients;
  for (int i = 0; i < 4; ++i) clients.push_back(client(70 + i));
  std::atomic<bool> done{false};
  std::atomic<int> legacyVolume{-1};
  auto collect = [&] {
    const HttpReply r = get("/status", 3000);
    const value playback = r.status == 200 ? value::parse(r.body).at("playback") : value();
    if (playback.has_field("volumelevel")) legacyVolume = playback.at("volumelevel").as_integer();
  };
  std::thread legacy([&] {
    while (!done) collect();
  });
  std::vector<std::thread> threads;
  for (auto& c : clients) {
    c.poll(0);
    threads.emplace_back([&c, &done] {
      while (!done) c.poll(1);
    });
  }
  std::vector<std::thread> hosts;
  for (int t = 0; t < 4; ++t) {
    hosts.emplace_back([&, t] {
      for (int i = 0; i < 100; ++i) {
        s.setVolumeLevel(t * 1000 + i);
        if (i % 10 == 0) s.setMyLibraryItemDirty();
        if (t == 0 && i % 3 == 0) s.setEQState(i % 2 == 0);
        std::this_thread::sleep_for(1ms);
      }
    });
  }
  for (auto& h : hosts) h.join();
  done = true;
  for (auto& r : threads) r.join();
  legacy.join();
  collect();
  EXPECT_EQ(304, get("/status").status);
  // Each host thread ends on 99 past its base; whichever ran last set the
  // final value.
  EXPECT_EQ(99, legacyVolume.load() % 1000);
  for (auto& c : clients) {
    c.poll(0);
    EXPECT_EQ(std::to_string(legacyVolume.load()), c.state.at("playback/volumelevel"));
    EXPECT_EQ("false", c.state.at("equalizer/enabled"));
    EXPECT_EQ(40u, c.events.size());
    EXPECT_EQ(1, c.fullReplies);
  }
}

// The legacy "status" long poll: one delivery of the changed documents to
// one poll, or 304 after a second.
class StatusPollTest : public ChangesFeedTest {
 protected:
  void TearDown() override { ZIP_THRESHOLD = 104857600; }

  // A "status" poll sent now: its reply and how many seconds it took.
  std::future<std::pair<HttpReply, double>> poll() {
    return std::async(std::launch::async, [this] {
      const auto start = Clock::now();
      HttpReply reply = get("/status", 5000);
      return std::make_pair(reply, std::chrono::duration<double>(Clock::now() - start).count());
    });
  }
  void expectNotModifiedAfterASecond(const std::pair<HttpReply, double>& answer) {
    EXPECT_EQ(304, answer.first.status);
    EXPECT_EQ("", answer.first.body);
    EXPECT_GE(answer.second, 0.95);
    EXPECT_LT(answer.second, 1.5);
  }
};

TEST_F(StatusPollTest, AChangeEndsTheWaitOnceThenNothingAnswers304AfterASecond) {
  auto waiting = poll();
  std::this_thread::sleep_for(200ms);
  s.setVolumeLevel(55);
  const auto [reply, seconds] = waiting.get();
  EXPECT_EQ(200, reply.status);
  EXPECT_LT(seconds, 0.9);
  EXPECT_EQ(R"({"equalizer":{},"irc":{},"ac":{},"ooyh":{},"playback":{"volumelevel":55},)"
            R"("library":{},"disconnect":{},"settings":{},"updated":{}})",
            reply.body);
  expectNotModifiedAfterASecond(poll().get());
  // A change made while nobody polled is delivered to the next poll at once.
  s.setMuteState(true);
  const auto [next, took] = poll().get();
  EXPECT_EQ(200, next.status);
  EXPECT_LT(took, 0.5);
}

// The change goes to the poll that has waited longest.
TEST_F(StatusPollTest, OneChangeWakesOnePollerAndTheOthersTimeOut) {
  std::vector<std::future<std::pair<HttpReply, double>>> pollers;
  for (int i = 0; i < 8; ++i) {
    pollers.push_back(poll());
    std::this_thread::sleep_for(i == 0 ? 100ms : 10ms);
  }
  std::this_thread::sleep_for(200ms);
  s.setMuteState(true);
  for (auto& p : pollers) {
    const auto answer = p.get();
    if (&p == &pollers[0]) {
      EXPECT_EQ(200, answer.first.status);
      EXPECT_LT(answer.second, 0.9);
    } else {
      expectNotModifiedAfterASecond(answer);
    }
  }
}

TEST_F(StatusPollTest, LargeDeliveriesAreCompressed) {
  ZIP_THRESHOLD = 50;
  std::vector<const char*> names(50, "Output device with a long name");
  s.setOutputDeviceList(names, names[0]);
  const HttpReply reply = poll().get().first;
  EXPECT_EQ(200, reply.status);
  EXPECT_EQ("application/octet-stream", reply.header("Content-Type"));
  std::vector<unsigned char> out(1 << 20);
  uLongf outLen = out.size();
  ASSERT_EQ(Z_OK, uncompress(out.data(), &outLen, reinterpret_cast<const Bytef*>(reply.body.data()),
                             reply.body.size()));
  const auto body = web::json::value::parse(std::string(out.begin(), out.begin() + outLen));
  EXPECT_EQ(50u, body.at("settings").at("outputdevices").at("list").size());
}

}  // namespace
