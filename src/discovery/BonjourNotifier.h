#pragma once

#include <cstdint>

#include "discovery/ServiceNotifier.h"
#include "host/Observable.h"

// Publishes the service's port through DNS-SD as "_veloraplayer._tcp." in
// "local.". The registration lasts as long as the process's connection to the
// DNS-SD daemon; nothing withdraws it.
class BonjourNotifier : public IServiceNotifier {
 public:
  int pubishService(int port) override;
  int registerForNotification(IServiceNotifierListener* listener) override;
  int unregisterFromNotification(IServiceNotifierListener* listener) override;

  // The port as DNS-SD wants it: the low 16 bits, in network byte order.
  static uint16_t networkPort(int port);

 private:
  detail::ObservableBase<IServiceNotifierListener> listeners_;
};
