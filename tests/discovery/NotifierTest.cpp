#include <cstring>

#include <gtest/gtest.h>

#include "discovery/BonjourNotifier.h"

// What the DNS-SD publisher does before it talks to a daemon.

namespace {

struct Listener : IServiceNotifierListener {
  void onServicePublishSuccess() override {}
  void onServicePublishError() override {}
};

TEST(NotifierPort, KeepsTheLow16BitsInNetworkByteOrder) {
  // The daemon reads two bytes, most significant first, on any machine.
  const std::pair<int, int> ports[] = {
      {0x1234, 0x1234}, {65535, 0xffff}, {65536 + 0x8b73, 0x8b73}, {65536, 0}};
  for (const auto& [port, expected] : ports) {
    const uint16_t wire = BonjourNotifier::networkPort(port);
    unsigned char bytes[2];
    std::memcpy(bytes, &wire, 2);
    EXPECT_EQ(expected, bytes[0] << 8 | bytes[1]) << port;
  }
}

TEST(NotifierRegistry, ReportsWhatEachSubscriptionChangeDid) {
  BonjourNotifier notifier;
  Listener a, b;
  EXPECT_EQ(4, notifier.registerForNotification(&a));
  EXPECT_EQ(2, notifier.registerForNotification(&a));
  EXPECT_EQ(1, notifier.unregisterFromNotification(&b));
  EXPECT_EQ(4, notifier.unregisterFromNotification(&a));
  EXPECT_EQ(4, notifier.registerForNotification(&a));
}

TEST(NotifierRegistryDeathTest, NullListenerIsAProgrammingError) {
  BonjourNotifier notifier;
  EXPECT_DEATH(notifier.registerForNotification(nullptr), "Assertion failed");
  EXPECT_DEATH(notifier.unregisterFromNotification(nullptr), "Assertion failed");
}

}  // namespace
