#include <atomic>

#include <gtest/gtest.h>

#include "support/ServiceFixture.h"

using namespace velora_test;

namespace {

// Every listener kind of the service reports added (4), already there (2),
// removed (4) and unknown (1).
TEST(ServiceRegistries, EveryKindReportsAddedAlreadyRemovedAndUnknown) {
  ServiceUnderTest sut;
  VeloraRestService& s = *sut.service;
  auto check = [](auto* service, auto listener) {
    EXPECT_EQ(4, service->registerForNotification(&listener));
    EXPECT_EQ(2, service->registerForNotification(&listener));
    EXPECT_EQ(4, service->unregisterFromNotification(&listener));
    EXPECT_EQ(1, service->unregisterFromNotification(&listener));
  };
  check(static_cast<IVeloraRemoteCoordinator*>(&s), NullVeloraRemoteServiceListener());
  check(s.getLibraryService(), NullVeloraLibraryServiceListener());
  check(s.getPlaybackService(), NullVeloraPlaybackServiceListener());
  check(s.getEqualizerService(), NullVeloraEqualizerServiceListener());
  check(s.getIRCService(), NullVeloraIRCServiceListener());
  check(s.getACService(), NullVeloraACServiceListener());
  check(s.getHPService(), NullVeloraHPServiceListener());
  check(s.getSettingsService(), NullVeloraSettingsServiceListener());
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

// A service destroyed with polls still parked must not leave them hanging.
TEST(ChangeFeedUnit, DestroyingTheFeedReleasesItsWaiters) {
  std::atomic<int> released{0};
  {
    ChangeFeed feed;
    feed.wait(ChangeFeed::Clock::now() + std::chrono::hours(1),
              [&](bool signalled) { released += signalled ? 100 : 1; });
  }
  EXPECT_EQ(1, released.load());
}

}  // namespace
