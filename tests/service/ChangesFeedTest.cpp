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
  std::string token;
  std::string epoch;
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
    if (reply.status == 200) apply(value::parse(reply.body));
    return reply;
  }
  void apply(const value& body) {
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
  void waitParked(size_t n) {
    for (int i = 0; i < 200 && s.changeStore().parked() < n; ++i) std::this_thread::sleep_for(5ms);
    ASSERT_EQ(n, s.changeStore().parked());
  }
};

TEST_F(ChangesFeedTest, OnlyApprovedClientsAreServedAndBadCursorsAreRefused) {
  const std::string token = pair(11);
  get("/authenticate?code=12&name=Pending");  // asked, never approved
  const std::string pending = value::parse(get("/authenticate?code=12").body)["token"].as_string();
  const std::string gone = pair(13);
  s.disconnect(13);
  const std::string notPaired = "\"Not paired\"";
  for (const std::string& target : std::vector<std::string>{
           "/changes", "/changes?token=", "/changes?token=nobody", "/changes?token=" + pending,
           "/changes?token=" + gone, "/Changes?token=" + token}) {
    const HttpReply reply = get(target);
    if (target.rfind("/Changes", 0) == 0) {
      EXPECT_EQ(400, reply.status) << "routes compare the segment exactly";
      continue;
    }
    EXPECT_EQ(401, reply.status) << target;
    EXPECT_EQ(notPaired, reply.body) << target;
  }
  const std::pair<const char*, const char*> bad[] = {
      {"since=abc", "Bad since"}, {"since=-1", "Bad since"},
      {"since=", "Bad since"},    {"since=99999999999999999999999", "Bad since"},
      {"since=1x", "Bad since"},  {"wait=soon", "Bad wait"},
      {"wait=-2", "Bad wait"},    {"wait=", "Bad wait"}};
  for (const auto& [query, text] : bad) {
    const HttpReply reply = get("/changes?token=" + token + "&" + query);
    EXPECT_EQ(400, reply.status) << query;
    EXPECT_EQ(std::string("\"") + text + "\"", reply.body) << query;
  }
  EXPECT_EQ(0u, s.changeStore().parked());
  // A huge wait is only a long one; a cursor from the future starts over.
  s.setVolumeLevel(3);
  EXPECT_EQ(200, get("/changes?token=" + token + "&wait=99999999999999999999999").status);
  const HttpReply future = get("/changes?token=" + token +
                               "&since=123456789&epoch=" + s.changeStore().epoch() + "&wait=0");
  EXPECT_TRUE(value::parse(future.body).at("full").as_bool());
}

TEST_F(ChangesFeedTest, StartsFromTheWholeStateThenSendsOnlyWhatChanged) {
  s.setVolumeLevel(40);
  s.setMuteState(false);
  s.setEQState(true);
  s.setSettingsValues(true, false, true);
  s.setMyLibraryItemDirty();  // an event: not part of the whole state
  FeedClient c = client(21);
  ASSERT_EQ(200, c.poll().status);
  const HttpReply again = get("/changes?token=" + c.token + "&wait=0");
  const std::string body = again.body;
  EXPECT_EQ(0u, body.find("{\"epoch\":\"" + c.epoch + "\",\"seq\":" + std::to_string(c.seq) +
                          ",\"full\":true,\"changes\":{\"settings\":{\"values\":"))
      << body;
  EXPECT_NE(std::string::npos, body.find("\"playback\":{\"volumelevel\":40,\"mutestate\":false}"));
  EXPECT_EQ("]}", body.substr(body.size() - 2));
  EXPECT_NE(std::string::npos, body.find("\"events\":[]"));

  // Only the key that changed; the same value again is no change at all.
  s.setVolumeLevel(41);
  s.setMuteState(false);
  const uint64_t before = c.seq;
  EXPECT_EQ("{\"epoch\":\"" + c.epoch + "\",\"seq\":" + std::to_string(before + 1) +
                ",\"full\":false,\"changes\":{\"playback\":{\"volumelevel\":41}},\"events\":[]}",
            c.poll(0).body);

  // Nothing new: the request waits for the next change and ends with it.
  auto parked = pollLater(c);
  waitParked(1);
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
  EXPECT_EQ(0u, s.changeStore().parked());
}

TEST_F(ChangesFeedTest, EventsAreKeptApartAndAnOldCursorStartsOver) {
  FeedClient c = client(31);
  c.poll(0);
  s.setMyLibraryItemDirty();
  s.setMyLibraryItemDirty();
  httpRequest(port, "POST", "/artwork/cachedata?token=" + c.token,
              R"({"id":"a7","imagedata":"QQ"})");
  for (int i = 0; i < 100 && s.changeStore().seq() < c.seq + 3; ++i)
    std::this_thread::sleep_for(5ms);
  c.poll(0);
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
  const std::string big = "\"" + std::string(ChangeStore::kEventBytes / 3, 'x') + "\"";
  for (int i = 0; i < 3; ++i) s.changeStore().record("library", {{"search", big}});
  c.poll(0);
  EXPECT_EQ(3, c.fullReplies);
}

TEST_F(ChangesFeedTest, DisconnectReachesOnlyItsClientWhichIsThenRefused) {
  FeedClient a = client(41), b = client(42);
  a.poll(0);
  b.poll(0);
  auto parkedA = pollLater(a);
  auto parkedB = pollLater(b, 2);
  waitParked(2);
  const FeedClient beforeDisconnect = a;
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

TEST_F(ChangesFeedTest, ShutdownAnswersParkedClientsAndARestartIsANewEpoch) {
  FeedClient c = client(51);
  s.setVolumeLevel(7);
  c.poll(0);
  const std::string firstEpoch = c.epoch;
  std::vector<FeedClient> clients(3, c);
  std::vector<std::future<HttpReply>> parked;
  for (auto& k : clients) parked.push_back(pollLater(k, 30));
  // A client that goes away while parked holds up no one.
  abandonRequest(port, c.target(30), 300, true);
  waitParked(4);
  const auto start = Clock::now();
  s.shutdown();
  EXPECT_LT(Clock::now() - start, 1s);
  for (auto& p : parked) {
    const HttpReply reply = p.get();
    EXPECT_EQ(200, reply.status);
    EXPECT_NE(std::string::npos, reply.body.find("\"changes\":{},\"events\":[]"));
  }
  captureStdout([&] { s.startListening(); });
  c.port = s.currentPort();
  ASSERT_EQ(200, c.poll(0).status);
  EXPECT_NE(firstEpoch, c.epoch);
  EXPECT_EQ(2, c.fullReplies);
  EXPECT_EQ("7", c.state["playback/volumelevel"]);
}

TEST_F(ChangesFeedTest, LargeRepliesAreGzippedForClientsThatAcceptIt) {
  std::vector<const char*> names(3000, "An output device with a rather long name");
  s.setOutputDeviceList(names, "An output device with a rather long name");
  const std::string token = pair(61);
  const HttpReply plain = get("/changes?token=" + token);
  const HttpReply zipped = httpRequest(port, "GET", "/changes?token=" + token, "", 5000,
                                       "Accept-Encoding: gzip, deflate\r\n");
  EXPECT_EQ("", plain.header("Content-Encoding"));
  ASSERT_EQ("gzip", zipped.header("Content-Encoding"));
  std::string out(plain.body.size() + 1, '\0');
  z_stream z{};
  ASSERT_EQ(Z_OK, inflateInit2(&z, 15 + 16));
  z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(zipped.body.data()));
  z.avail_in = static_cast<uInt>(zipped.body.size());
  z.next_out = reinterpret_cast<Bytef*>(&out[0]);
  z.avail_out = static_cast<uInt>(out.size());
  EXPECT_EQ(Z_STREAM_END, inflate(&z, Z_FINISH));
  out.resize(z.total_out);
  inflateEnd(&z);
  EXPECT_EQ(plain.body, out);
  EXPECT_LT(zipped.body.size(), plain.body.size() / 10);
}

// Clients of the feed and a legacy "status" poller side by side while a host
// thread keeps changing state: every feed client ends with the last value of
// every key and every event, and "status" still delivers each change once.
TEST_F(ChangesFeedTest, EveryClientSeesEveryChangeBesideALegacyPoller) {
  constexpr int kClients = 4;
  constexpr int kChanges = 300;
  std::vector<FeedClient> clients;
  for (int i = 0; i < kClients; ++i) clients.push_back(client(70 + i));
  std::atomic<bool> done{false};
  std::atomic<int> statusDeliveries{0};
  std::thread legacy([&] {
    while (!done) {
      if (get("/status", 3000).status == 200) ++statusDeliveries;
    }
  });
  std::vector<std::thread> readers;
  for (auto& c : clients) {
    readers.emplace_back([&c, &done] {
      c.poll(0);
      while (!done) c.poll(1);
      c.poll(0);
    });
  }
  for (int i = 1; i <= kChanges; ++i) {
    s.setVolumeLevel(i);
    if (i % 10 == 0) s.setMyLibraryItemDirty();
    if (i % 3 == 0) s.setEQState(i % 2 == 0);
    std::this_thread::sleep_for(1ms);
  }
  std::this_thread::sleep_for(200ms);
  done = true;
  for (auto& r : readers) r.join();
  legacy.join();
  for (const auto& c : clients) {
    EXPECT_EQ(std::to_string(kChanges), c.state.at("playback/volumelevel"));
    EXPECT_EQ("true", c.state.at("equalizer/enabled"));
    EXPECT_EQ(static_cast<size_t>(kChanges / 10), c.events.size());
    EXPECT_EQ(1, c.fullReplies);
  }
  EXPECT_GE(statusDeliveries.load(), 1);
  EXPECT_EQ(0u, s.changeStore().parked());
}

}  // namespace
