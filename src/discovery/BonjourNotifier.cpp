#include "discovery/BonjourNotifier.h"

#include <arpa/inet.h>
#include <dns_sd.h>

namespace {
// Success is known from the registration's return code, so replies need no
// handling.
void DNSSD_API RegisterReplyCallback(DNSServiceRef, DNSServiceFlags, DNSServiceErrorType,
                                     const char*, const char*, const char*, void*) {}
}  // namespace

uint16_t BonjourNotifier::networkPort(int port) {
  return htons(static_cast<uint16_t>(port & 0xFFFF));
}

int BonjourNotifier::pubishService(int port) {
  DNSServiceRef ref = nullptr;
  // A null name lets the daemon use the computer's name and rename the
  // service on a conflict.
  const DNSServiceErrorType err =
      DNSServiceRegister(&ref, 0, 0, nullptr, "_veloraplayer._tcp.", "local.", nullptr,
                         networkPort(port), 0, nullptr, RegisterReplyCallback, this);
  if (err != kDNSServiceErr_NoError) return err;
  listeners_.stable_fire(&IServiceNotifierListener::onServicePublishSuccess);
  return 0;
}

int BonjourNotifier::registerForNotification(IServiceNotifierListener* listener) {
  return listeners_.subscribe(listener);
}

int BonjourNotifier::unregisterFromNotification(IServiceNotifierListener* listener) {
  return listeners_.cancel_subscription(listener);
}
