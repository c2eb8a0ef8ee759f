#pragma once

// The service's view of DNS-SD publication: a publisher it can ask to publish
// a port, and the two notifications it receives back.

class IServiceNotifierListener {
 public:
  virtual void onServicePublishSuccess() = 0;
  virtual void onServicePublishError() = 0;
};

class IServiceNotifier {
 public:
  // Returns 0 on success or the DNS-SD error code. (The name is part of the
  // publisher's established interface and is kept as it is.)
  virtual int pubishService(int port) = 0;
  virtual int registerForNotification(IServiceNotifierListener* listener) = 0;
  virtual int unregisterFromNotification(IServiceNotifierListener* listener) = 0;
  virtual ~IServiceNotifier() = default;
};
