#include <dns_sd.h>

#include <cstdlib>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "discovery/BonjourNotifier.h"
#include "service/VeloraRestService.h"
#include "support/NullListeners.h"
#include "support/ServiceFixture.h"
#include "support/TestHttp.h"

// A machine where no DNS-SD daemon can be reached: publication fails, the
// failure is only reported through the return code and the console line, and
// the HTTP service works all the same (phones that know the address can still
// connect). This program points the system bus at a path that does not
// exist, so the result does not depend on what runs on the machine.

using namespace velora_test;

namespace {

constexpr const char* kUnreachableBus = "unix:path=/nonexistent";

class CountingNotifierListener : public IServiceNotifierListener {
 public:
  void onServicePublishSuccess() override { ++successes; }
  void onServicePublishError() override { ++errors; }
  int successes = 0;
  int errors = 0;
};

TEST(PublicationWithoutDaemon, NotifierReturnsTheErrorAndCallsNoListener) {
  BonjourNotifier notifier;
  CountingNotifierListener first, second;
  notifier.registerForNotification(&first);
  notifier.registerForNotification(&second);

  const int port = findFreePortBlock(1);
  EXPECT_EQ(kDNSServiceErr_Unknown, notifier.pubishService(port));
  // A failed attempt leaves the publisher usable: the next one fails the same
  // way instead of crashing on leftovers of the first.
  EXPECT_EQ(kDNSServiceErr_Unknown, notifier.pubishService(port));

  EXPECT_EQ(0, first.successes + first.errors);
  EXPECT_EQ(0, second.successes + second.errors);
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
  EXPECT_NE(std::string::npos, log.find("Service published on port" + std::to_string(base) +
                                        " with status -65537\n"))
      << log;

  const HttpReply reply = httpGet(base, "/nothing");
  EXPECT_GE(reply.status, 100) << "no HTTP answer on port " << base;
  EXPECT_LT(reply.status, 600);

  // The return code is the only report of the failure: the host hears
  // neither a publication nor a publication failure.
  EXPECT_TRUE(host.publishedPorts().empty());
  EXPECT_EQ(0, host.failures());

  service.shutdown();
  service.unregisterFromNotification(&host);
}

}  // namespace

int main(int argc, char** argv) {
  // Before the first DNS-SD call: the bus address is read once per process.
  setenv("DBUS_SYSTEM_BUS_ADDRESS", kUnreachableBus, 1);
  setenv("AVAHI_COMPAT_NOWARN", "1", 1);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
