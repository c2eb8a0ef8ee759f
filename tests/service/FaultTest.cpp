#include <atomic>
#include <chrono>
#include <functional>
#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>

#include "support/LoadSupport.h"
#include "support/RoutedService.h"

using namespace velora_test;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

class FaultTest : public RoutedService {
 protected:
  void SetUp() override {
    RoutedService::SetUp();
    s.Init();
  }
  std::string tokenOf(const HttpReply& reply) {
    return web::json::value::parse(reply.body).at("token").as_string();
  }
  // shutdown() waits for every reply still counted in flight, so a request
  // never answered (or answered twice) shows in how long it takes.
  Clock::duration timedShutdown() {
    const auto start = Clock::now();
    s.shutdown();
    return Clock::now() - start;
  }
};

// A host whose callbacks fail: by a standard exception, by anything else.
class ThrowingHost : public NullVeloraRemoteServiceListener,
                     public NullVeloraLibraryServiceListener,
                     public NullVeloraEqualizerServiceListener {
 public:
  void onPing(int&) override { throw std::runtime_error("player gone"); }
  void onPairing(int&) override { throw 42; }
  void onRemoteConnected(ConnectionData&) override { throw std::runtime_error("no console"); }
  void onApplyEQPreset(EQPreset&) override { throw std::runtime_error("no equalizer"); }
  void onSetEQState(bool&) override { throw std::logic_error("no equalizer"); }
};

TEST_F(FaultTest, AThrowingListenerCostsItsOwnRequestAnErrorAndNothingElse) {
  ThrowingHost thrower;
  s.registerForNotification(static_cast<IVeloraRemoteServiceListener*>(&thrower));
  s.getLibraryService()->registerForNotification(&thrower);
  s.getEqualizerService()->registerForNotification(&thrower);
  s.setVolumeLevel(33);

  EXPECT_EQ(500, get("/ping").status);
  EXPECT_EQ(500, get("/pairing").status);
  EXPECT_EQ(500, get("/equalizer?enable=1").status);
  EXPECT_EQ(1, host.count("onPing"));  // the listener before the thrower was asked

  // The failed first call has registered the client: the retry gets its
  // token and the host can still approve it.
  EXPECT_EQ(500, get("/authenticate?code=5&name=Phone").status);
  const HttpReply retry = get("/authenticate?code=5&name=Phone");
  ASSERT_EQ(200, retry.status);
  const std::string token = tokenOf(retry);
  EXPECT_EQ(1, host.count("onRemoteConnected"));
  Capabilities caps{3};
  s.authenticate(5, "Velora Test", caps);
  const auto approved = web::json::value::parse(get("/authenticate?code=5").body);
  EXPECT_EQ(token, approved.at("token").as_string());
  EXPECT_TRUE(approved.at("authstatus").as_bool());

  // A posted body is applied after the reply; the thrower stops nothing.
  const std::string preset = "/equalizer/setpreset?token=" + token;
  EXPECT_EQ(200, httpRequest(port, "POST", preset, kPreset).status);
  EXPECT_EQ(200, httpRequest(port, "POST", preset, kPreset).status);
  EXPECT_TRUE(host.waitFor("onApplyEQPreset", 2));

  std::vector<std::thread> clients;
  std::atomic<int> errors{0};
  for (int i = 0; i < 8; ++i) {
    clients.emplace_back([&] {
      for (int n = 0; n < 25; ++n) errors += get("/ping").status == 500 ? 1 : 0;
    });
  }
  for (auto& c : clients) c.join();
  EXPECT_EQ(200, errors.load());
  s.setGetDevicesResponse(R"(["Speakers"])");
  EXPECT_EQ(R"(["Speakers"])", get("/getDevices").body);
  EXPECT_EQ(33, volumeDelivered(port));
  s.getLibraryService()->unregisterFromNotification(&thrower);
  EXPECT_EQ("\"SUCCESS\"", get("/ping").body);
  EXPECT_LT(timedShutdown(), 1s);
  s.unregisterFromNotification(static_cast<IVeloraRemoteServiceListener*>(&thrower));
  s.getEqualizerService()->unregisterFromNotification(&thrower);
}

// A library listener that counts its pings and runs `action` inside each.
struct Probe : NullVeloraLibraryServiceListener {
  void onPing(int&) override {
    ++pings;
    if (action) action();
  }
  std::function<void()> action;
  std::atomic<int> pings{0};
};

TEST_F(FaultTest, ListenersLeavingWhileFiredKeepTheRegistryWhole) {
  IVeloraLibraryService& library = *s.getLibraryService();
  Probe leaver, counter, late;
  const std::vector<IVeloraLibraryServiceListener*> all{&leaver, &counter, &host, &late};
  // The leaver takes itself and the listeners before and after it away, and
  // brings in one that must wait for the next firing.
  leaver.action = [&] {
    for (auto* l : {all[0], all[1], all[2]}) library.unregisterFromNotification(l);
    library.registerForNotification(&late);
  };
  ASSERT_EQ(4, library.registerForNotification(&leaver));
  ASSERT_EQ(4, library.registerForNotification(&counter));
  EXPECT_EQ("\"SUCCESS\"", get("/ping").body);
  EXPECT_EQ(1, host.count("onPing"));
  EXPECT_EQ(1, leaver.pings.load());
  EXPECT_EQ(0, counter.pings.load());
  EXPECT_EQ(0, late.pings.load());
  EXPECT_EQ("\"SUCCESS\"", get("/ping").body);
  EXPECT_EQ(1, late.pings.load());
  EXPECT_EQ(1, leaver.pings.load());
  for (auto* l : all) EXPECT_EQ(l == &late ? 4 : 1, library.unregisterFromNotification(l));
  EXPECT_EQ("\"SUCCESS\"", get("/ping").body);  // no host: the status stays 0

  // The same while clients fire and the listeners keep coming back.
  std::atomic<bool> stop{false};
  std::atomic<int> answered{0}, wrong{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&] {
      while (!stop) (get("/ping").body == "\"SUCCESS\"" ? answered : wrong)++;
    });
  }
  threads.emplace_back([&] {
    while (!stop) {
      for (auto* l : all) {
        const int result = library.registerForNotification(l);
        if (result != 2 && result != 4) ++wrong;
      }
      std::this_thread::sleep_for(500us);
    }
  });
  std::this_thread::sleep_for(kSanitized ? 3s : 1500ms);
  stop = true;
  for (auto& t : threads) t.join();
  EXPECT_EQ(0, wrong.load());
  EXPECT_GT(answered.load(), 50);
  EXPECT_GT(leaver.pings.load(), 1);

  // Each listener is in the registry at most once: one removal succeeds or
  // finds it gone, a second always finds it gone.
  for (auto* l : all) {
    const int first = library.unregisterFromNotification(l);
    EXPECT_TRUE(first == 1 || first == 4) << first;
    EXPECT_EQ(1, library.unregisterFromNotification(l));
  }
}

// Clients that go away before their reply: parked polls, requests whose host
// callback takes a while, orderly closes and resets.
TEST_F(FaultTest, ClientsLeavingBeforeTheirReplyCostNothing) {
  const std::string token = pair(21);
  host.onCall("onGetDevices", [this] {
    std::this_thread::sleep_for(200ms);
    s.setGetDevicesResponse(R"(["Speakers"])");
  });
  std::vector<std::thread> leaving;
  for (int i = 0; i < 48; ++i) {
    leaving.emplace_back([&, i] {
      abandonRequest(port, i % 3 == 2 ? "/getDevices" : "/status", 20 + i % 5 * 10, i % 2 == 0);
    });
  }
  for (auto& t : leaving) t.join();

  // The service answers at once while the abandoned work is still pending.
  const auto start = Clock::now();
  EXPECT_EQ("\"SUCCESS\"", get("/ping").body);
  EXPECT_LT(Clock::now() - start, kSanitized ? 3s : 1s);

  // Once the abandoned polls have had their second, a change goes to the
  // next live poll, and the client that left mid-pairing keeps its token.
  std::this_thread::sleep_for(1500ms);
  s.setVolumeLevel(12);
  EXPECT_EQ(12, volumeDelivered(port));
  abandonRequest(port, "/authenticate?code=21", 0, true);
  EXPECT_EQ(token, tokenOf(get("/authenticate?code=21")));
  EXPECT_EQ(16, host.count("onGetDevices"));
  EXPECT_EQ(R"(["Speakers"])", get("/getDevices").body);
  EXPECT_LT(timedShutdown(), 1s);
}

class BadInputTest : public FaultTest {};

// Whatever arrives, the service answers, fires nothing for what it rejects,
// and serves the next request normally.
TEST_F(BadInputTest, HostileRequestsAreAnsweredAndForgotten) {
  // Missing sub-routes, numbers empty or out of range, broken escapes.
  for (const std::string& target :
       std::vector<std::string>{"/irc", "/settings", "/playback?volume=", "/playback?volume=-",
                                "/irc?gain=2147483648", "/authenticate?code=", "/disconnect?code=x",
                                "/%zz", "/ping%", "/playback/move?position=%41", "/status%00",
                                "/playback?volume=" + std::string(20000, '9')}) {
    EXPECT_GE(get(target).status, 400) << target;
  }
  EXPECT_NE(0, get("/" + std::string(64 * 1024, 'p')).status);
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

}  // namespace
