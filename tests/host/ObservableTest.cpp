#include <gtest/gtest.h>

#include "support/ServiceFixture.h"

using namespace velora_test;

namespace {

struct Hook {
  virtual void ping(int& calls) = 0;
};

// A listener whose callback can run an arbitrary action on its registry.
struct Probe : Hook {
  std::function<void()> action;
  int seen = 0;
  void ping(int& calls) override {
    ++seen;
    ++calls;
    if (action) action();
  }
};

TEST(Observable, SubscribingTwiceKeepsOneEntry) {
  detail::ObservableBase<Hook> registry;
  Probe a;
  EXPECT_EQ(4, registry.subscribe(&a));
  EXPECT_EQ(2, registry.subscribe(&a));
  int calls = 0;
  registry.stable_fire(&Hook::ping, calls);
  EXPECT_EQ(1, calls);
  EXPECT_EQ(4, registry.cancel_subscription(&a));
  EXPECT_EQ(1, registry.cancel_subscription(&a));
  registry.stable_fire(&Hook::ping, calls);
  EXPECT_EQ(1, calls);
}

TEST(Observable, ListenersMayChangeTheRegistryWhileItFires) {
  detail::ObservableBase<Hook> registry;
  Probe first, second, third, late;
  first.action = [&] { registry.cancel_subscription(&first); };   // leaves itself
  second.action = [&] { registry.cancel_subscription(&third); };  // removes a later one
  third.action = [] {};
  registry.subscribe(&first);
  registry.subscribe(&second);
  registry.subscribe(&third);
  second.action = [&] {
    registry.cancel_subscription(&third);
    registry.subscribe(&late);  // joins for the next firing only
  };

  int calls = 0;
  registry.stable_fire(&Hook::ping, calls);
  EXPECT_EQ(1, first.seen);
  EXPECT_EQ(1, second.seen);
  EXPECT_EQ(0, third.seen);
  EXPECT_EQ(0, late.seen);

  second.action = nullptr;
  registry.stable_fire(&Hook::ping, calls);
  EXPECT_EQ(1, first.seen);
  EXPECT_EQ(2, second.seen);
  EXPECT_EQ(1, late.seen);
}

TEST(Observable, FiringNobodyLeavesTheStatusAlone) {
  detail::ObservableBase<Hook> registry;
  int status = 0;
  registry.stable_fire(&Hook::ping, status);
  EXPECT_EQ(0, status);
}

TEST(ObservableDeathTest, NullListenerStopsTheProgram) {
  detail::ObservableBase<Hook> registry;
  EXPECT_DEATH(registry.subscribe(nullptr), "p != nullptr");
  EXPECT_DEATH(registry.cancel_subscription(nullptr), "p != nullptr");
}

// Every listener kind of the service reports the same result codes.
TEST(ServiceRegistries, EveryKindReportsAddedAlreadyRemovedAndUnknown) {
  ServiceUnderTest sut;
  VeloraRestService& s = *sut.service;
  NullVeloraRemoteServiceListener remote;
  NullVeloraLibraryServiceListener library;
  NullVeloraPlaybackServiceListener playback;
  NullVeloraEqualizerServiceListener eq;
  NullVeloraIRCServiceListener irc;
  NullVeloraACServiceListener ac;
  NullVeloraHPServiceListener hp;
  NullVeloraSettingsServiceListener settings;

  auto check = [](auto* service, auto* listener) {
    EXPECT_EQ(4, service->registerForNotification(listener));
    EXPECT_EQ(2, service->registerForNotification(listener));
    EXPECT_EQ(4, service->unregisterFromNotification(listener));
    EXPECT_EQ(1, service->unregisterFromNotification(listener));
  };
  check(static_cast<IVeloraRemoteCoordinator*>(&s), &remote);
  check(s.getLibraryService(), &library);
  check(s.getPlaybackService(), &playback);
  check(s.getEqualizerService(), &eq);
  check(s.getIRCService(), &irc);
  check(s.getACService(), &ac);
  check(s.getHPService(), &hp);
  check(s.getSettingsService(), &settings);
}

// A host may unsubscribe from inside its own publication callback.
TEST(ServiceRegistries, RemoteListenerMayLeaveDuringItsCallback) {
  ServiceUnderTest sut;
  struct Leaver : RecordingRemoteListener {
    VeloraRestService* service = nullptr;
    void onServicePublished(int& port) override {
      RecordingRemoteListener::onServicePublished(port);
      service->unregisterFromNotification(static_cast<IVeloraRemoteServiceListener*>(this));
    }
  } leaver;
  RecordingRemoteListener stayer;
  leaver.service = sut.service.get();
  sut.service->registerForNotification(&leaver);
  sut.service->registerForNotification(&stayer);
  sut.start();
  sut.start();
  EXPECT_EQ(1u, leaver.publishedPorts().size());
  EXPECT_EQ(2u, stayer.publishedPorts().size());
}

}  // namespace
