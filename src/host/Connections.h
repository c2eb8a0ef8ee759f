#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "host/ListenerHub.h"
#include "host/StateStore.h"

// A remote client as the service keeps it. The host is shown the
// ConnectionData part; `authstatus` is whether the host approved it.
struct ConnectionDataEx : ConnectionData {
  ConnectionData data() const { return *this; }
};

// The remote clients: a client pairs with its code, gets a random token and
// becomes usable once the host approves it; either side may end it.
class Connections {
 public:
  Connections(ListenerHub& hub, StateStore& state) : hub_(hub), state_(state) {}

  // The caller holds `mutex`.
  std::shared_ptr<ConnectionDataEx> createConnection(int code, std::string name, int version);
  std::shared_ptr<ConnectionDataEx> getConnection(int code);
  std::shared_ptr<ConnectionDataEx> getConnection(const std::string& token);

  bool hasConnection(const std::string& token);
  // Approved by the host and not disconnected since.
  bool isPaired(const std::string& token);

  // A client asks to pair (again): the record as it now stands. A new
  // client is announced to the host.
  ConnectionData pair(int code, const std::string& name, int version);
  // The host approves a client.
  void approve(int code, const char* product, Capabilities& capabilities);
  // Ends a client's session; `fromRemote` tells the client which side ended it.
  void disconnect(int code, bool fromRemote);
  // The host ends one client (or, with 0, every approved one).
  void disconnectByHost(int code);
  // One console line per known client.
  void printStatus();

  std::mutex mutex;

 private:
  ListenerHub& hub_;
  StateStore& state_;
  std::vector<std::shared_ptr<ConnectionDataEx>> list_;
};
