#include <dns_sd.h>

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "discovery/BonjourNotifier.h"
#include "support/ServiceFixture.h"

// No DNS-SD daemon in reach (the system bus points nowhere): publication
// fails, and the service must still serve phones that know its address.

using namespace velora_test;

namespace {

struct CountingListener : IServiceNotifierListener {
  void onServicePublishSuccess() override { ++calls; }
  void onServicePublishError() override { ++calls; }
  int calls = 0;
};

TEST(PublicationWithoutDaemon, NotifierReturnsTheErrorAndCallsNoListener) {
  BonjourNotifier notifier;
  CountingListener listener;
  notifier.registerForNotification(&listener);
  const int port = findFreePortBlock(1);
  EXPECT_EQ(kDNSServiceErr_Unknown, notifier.pubishService(port));
  // A failed attempt leaves nothing behind that breaks the next one.
  EXPECT_EQ(kDNSServiceErr_Unknown, notifier.pubishService(port));
  EXPECT_EQ(0, listener.calls);
}

TEST(PublicationWithoutDaemon, ServiceKeepsServingAndTellsTheHostNothing) {
  TempDir pages;
  // No publisher given: the service makes its own DNS-SD one, as in a host.
  VeloraRestService service(VeloraRestService::Options{nullptr, pages.path()});
  RecordingRemoteListener host;
  service.registerForNotification(&host);
  const int base = findFreePortBlock();
  mServicePort = base;
  const std::string log = captureStdout([&] { service.startListening(); });

  EXPECT_EQ(base, service.currentPort());
  EXPECT_NE(std::string::npos,
            log.find("Service published on port" + std::to_string(base) + " with status -65537\n"))
      << log;
  const int status = httpGet(base, "/nothing").status;
  EXPECT_TRUE(status >= 100 && status < 600) << "no HTTP answer on port " << base;
  // The return code and the console line are the only report of the failure.
  EXPECT_TRUE(host.publishedPorts().empty());
  EXPECT_EQ(0, host.failures());
  service.shutdown();
  service.unregisterFromNotification(&host);
}

}  // namespace

int main(int argc, char** argv) {
  // Before the first DNS-SD call: the bus address is read once per process.
  setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent", 1);
  setenv("AVAHI_COMPAT_NOWARN", "1", 1);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
