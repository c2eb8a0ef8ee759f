#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "host/ListenerHub.h"
#include "host/StateStore.h"
#include "host/StrictMode.h"

// A remote client as the service keeps it. The host is shown the
// ConnectionData part; `authstatus` is whether the host approved it.
struct ConnectionDataEx : ConnectionData {
  ConnectionData data() const { return *this; }
  // When it last began to wait for the host: the longest waiting go first
  // when too many wait.
  std::uint64_t pendingSince = 0;
};

// The remote clients: a client pairs with its code, gets a random token and
// becomes usable once the host approves it; either side may end it.
class Connections {
 public:
  Connections(ListenerHub& hub, StateStore& state, const StrictMode& strict)
      : hub_(hub), state_(state), strict_(strict) {}

  // Records waiting for the host at most, by mode. The default bound is far
  // beyond any real use: it only stops a flood of codes from growing memory
  // without end.
  static constexpr size_t kPendingLimit = 1024;
  static constexpr size_t kStrictPendingLimit = 32;

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
  // pair() for strict mode: a known code is answered only to the holder of
  // its `token` (empty when refused), and a holder whose session ended
  // pairs again under a new token, announced to the host as a new client.
  std::optional<ConnectionData> claim(int code, const std::string& name, int version,
                                      const std::string& token);
  // Whether `token` is the token of the client with `code`.
  bool owns(int code, const std::string& token);
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
  // The caller holds `mutex`. Drops the longest waiting records until one
  // more may wait.
  void makeRoomForPending();
  // The caller holds `mutex`. `connection` waits for the host from now on.
  void setPending(ConnectionDataEx& connection);
  // The caller holds `mutex`. A known client asks again: it waits for the
  // host (unless it already does), and the last disconnect note is cleared.
  void waitAgain(ConnectionDataEx& connection);

  ListenerHub& hub_;
  StateStore& state_;
  const StrictMode& strict_;
  std::vector<std::shared_ptr<ConnectionDataEx>> list_;
  std::uint64_t pendingSeq_ = 0;
};
