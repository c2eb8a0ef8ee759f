#include <arpa/inet.h>

#include <cstring>

#include <gtest/gtest.h>

#include "discovery/BonjourNotifier.h"

// What the DNS-SD publisher does before it ever talks to a daemon: the port it
// hands over and the bookkeeping of its listeners. Nothing here needs a
// daemon; the publication itself is proven by the no_daemon and with_daemon
// programs.

namespace {

class CountingListener : public IServiceNotifierListener {
 public:
  void onServicePublishSuccess() override { ++successes; }
  void onServicePublishError() override { ++errors; }
  int successes = 0;
  int errors = 0;
};

TEST(NotifierPort, KeepsTheLow16BitsInNetworkByteOrder) {
  // The daemon reads the port as two bytes, most significant first, whatever
  // the machine's own byte order.
  const uint16_t port = BonjourNotifier::networkPort(0x1234);
  unsigned char bytes[2];
  std::memcpy(bytes, &port, sizeof bytes);
  EXPECT_EQ(0x12, bytes[0]);
  EXPECT_EQ(0x34, bytes[1]);

  EXPECT_EQ(htons(35699), BonjourNotifier::networkPort(35699));
  // An out-of-range port is cut to 16 bits rather than refused.
  EXPECT_EQ(htons(35699), BonjourNotifier::networkPort(65536 + 35699));
  EXPECT_EQ(htons(65535), BonjourNotifier::networkPort(65535));
  EXPECT_EQ(0, BonjourNotifier::networkPort(65536));
}

TEST(NotifierRegistry, ReportsWhatEachSubscriptionChangeDid) {
  BonjourNotifier notifier;
  CountingListener a, b;

  EXPECT_EQ(4, notifier.registerForNotification(&a));
  EXPECT_EQ(2, notifier.registerForNotification(&a));     // already there
  EXPECT_EQ(1, notifier.unregisterFromNotification(&b));  // never registered
  EXPECT_EQ(4, notifier.registerForNotification(&b));
  EXPECT_EQ(4, notifier.unregisterFromNotification(&a));
  EXPECT_EQ(1, notifier.unregisterFromNotification(&a));  // gone already
  EXPECT_EQ(4, notifier.registerForNotification(&a));     // and may come back
  EXPECT_EQ(0, a.successes + a.errors + b.successes + b.errors);
}

TEST(NotifierRegistryDeathTest, NullListenerIsAProgrammingError) {
  BonjourNotifier notifier;
  EXPECT_DEATH(notifier.registerForNotification(nullptr), "Assertion failed");
  EXPECT_DEATH(notifier.unregisterFromNotification(nullptr), "Assertion failed");
}

}  // namespace
