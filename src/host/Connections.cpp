#include <cstring>

#include "host/Connections.h"

#include <iostream>

#include "util/Support.h"

using web::json::value;

namespace {
// Copies a text into one of the record's 40-byte fields, cut to fit.
template <size_t N>
void copyField(char (&field)[N], const std::string& text) {
  const size_t n = std::min(text.size(), N - 1);
  std::memcpy(field, text.data(), n);
  field[n] = '\0';
}

// Compares a presented token with a record's in a time that does not tell
// how much of it was right.
bool sameToken(const std::string& presented, const char* own) {
  const size_t n = std::strlen(own);
  if (presented.empty() || presented.size() != n) return false;
  unsigned char diff = 0;
  for (size_t i = 0; i < n; ++i) diff |= static_cast<unsigned char>(presented[i] ^ own[i]);
  return diff == 0;
}

bool isPending(const ConnectionDataEx& c) { return !c.authstatus && !c.disconnected; }
}  // namespace

std::shared_ptr<ConnectionDataEx> Connections::createConnection(int code, std::string name,
                                                                int version) {
  auto connection = std::make_shared<ConnectionDataEx>();
  connection->code = code;
  copyField(connection->name, name);
  connection->authstatus = false;
  connection->disconnected = false;
  connection->version = version;
  copyField(connection->product, "");
  copyField(connection->token, newUUID());
  connection->capabilities = 0;
  makeRoomForPending();
  setPending(*connection);
  list_.push_back(connection);
  return connection;
}

void Connections::makeRoomForPending() {
  const size_t limit = strict_.enabled() ? kStrictPendingLimit : kPendingLimit;
  for (;;) {
    size_t pending = 0;
    auto oldest = list_.end();
    for (auto it = list_.begin(); it != list_.end(); ++it) {
      if (!isPending(**it)) continue;
      ++pending;
      if (oldest == list_.end() || (*it)->pendingSince < (*oldest)->pendingSince) oldest = it;
    }
    if (pending < limit) return;
    list_.erase(oldest);
  }
}

void Connections::waitAgain(ConnectionDataEx& connection) {
  if (!isPending(connection)) {
    makeRoomForPending();
    setPending(connection);
  }
  std::lock_guard<std::mutex> stateLock(state_.cache.stateMutex);
  state_.cache.docs.disconnect = value::object(true);
}

void Connections::setPending(ConnectionDataEx& connection) {
  connection.authstatus = false;
  connection.disconnected = false;
  connection.pendingSince = ++pendingSeq_;
}

std::shared_ptr<ConnectionDataEx> Connections::getConnection(int code) {
  for (const auto& c : list_) {
    if (c->code == code) return c;
  }
  return nullptr;
}

std::shared_ptr<ConnectionDataEx> Connections::getConnection(const std::string& token) {
  for (const auto& c : list_) {
    if (token == c->token) return c;
  }
  return nullptr;
}

bool Connections::isPaired(const std::string& token) {
  std::lock_guard<std::mutex> lock(mutex);
  auto connection = getConnection(token);
  return connection && connection->authstatus && !connection->disconnected;
}

bool Connections::hasConnection(const std::string& token) {
  std::lock_guard<std::mutex> lock(mutex);
  return getConnection(token) != nullptr;
}

ConnectionData Connections::pair(int code, const std::string& name, int version) {
  ConnectionData snapshot{};
  bool isNew = false;
  {
    std::lock_guard<std::mutex> lock(mutex);
    auto connection = getConnection(code);
    if (connection && !(connection->authstatus && !connection->disconnected)) {
      // Pending again, whether it was waiting or had been disconnected.
      waitAgain(*connection);
    } else if (!connection) {
      connection = createConnection(code, name, version);
      isNew = true;
    }
    snapshot = connection->data();
  }
  if (isNew) {
    ConnectionData created = snapshot;
    hub_.fire(&IVeloraRemoteServiceListener::onRemoteConnected, created);
  }
  return snapshot;
}

std::optional<ConnectionData> Connections::claim(int code, const std::string& name, int version,
                                                 const std::string& token) {
  ConnectionData snapshot{};
  bool announce = false;
  {
    std::lock_guard<std::mutex> lock(mutex);
    auto connection = getConnection(code);
    if (!connection) {
      connection = createConnection(code, name, version);
      announce = true;
    } else if (!sameToken(token, connection->token)) {
      // Codes are short enough to guess; a token is not handed to a guesser.
      return std::nullopt;
    } else if (connection->disconnected) {
      // The old token ended with its session; whoever saw it go by must not
      // be able to use the new one.
      state_.changes.forgetDisconnect(connection->token);
      copyField(connection->token, newUUID());
      waitAgain(*connection);
      announce = true;
    }
    snapshot = connection->data();
  }
  if (announce) {
    ConnectionData created = snapshot;
    hub_.fire(&IVeloraRemoteServiceListener::onRemoteConnected, created);
  }
  return snapshot;
}

bool Connections::owns(int code, const std::string& token) {
  std::lock_guard<std::mutex> lock(mutex);
  auto connection = getConnection(code);
  return connection && sameToken(token, connection->token);
}

void Connections::approve(int code, const char* product, Capabilities& capabilities) {
  int version = 0;
  bool found = false;
  {
    std::lock_guard<std::mutex> lock(mutex);
    if (auto connection = getConnection(code)) {
      copyField(connection->product, utility::conversions::to_string_t(product));
      connection->authstatus = true;
      connection->capabilities = capabilities.value;
      version = connection->version;
      found = true;
      // Approved again after a disconnect: the old note would end the new
      // session of a client that resumes the feed from before it.
      state_.changes.forgetDisconnect(connection->token);
    }
  }
  hub_.fire(&IVeloraRemoteServiceListener::onRemoteAuthenticated, code, found, version);
}

void Connections::disconnect(int code, bool fromRemote) {
  log_str("Calling disconnect for", code);
  bool wasApproved = false;
  {
    std::lock_guard<std::mutex> lock(mutex);
    auto connection = getConnection(code);
    if (!connection) return;
    wasApproved = connection->authstatus;
    // disconnect(code) ends the same client once for every approved one;
    // its feed needs to hear it once.
    const bool news = !connection->disconnected;
    connection->disconnected = true;
    connection->authstatus = false;
    // In strict mode the note names the client by its code: the feed and
    // "status" reach every paired client, and a token is for its holder alone.
    value note = value::object(
        std::vector<std::pair<utility::string_t, value>>{
            strict_.enabled()
                ? std::pair<utility::string_t, value>{"code", value::number(connection->code)}
                : std::pair<utility::string_t, value>{"token", value::string(connection->token)},
            {"fromremote", value::boolean(fromRemote)}},
        true);
    std::lock_guard<std::mutex> stateLock(state_.cache.stateMutex);
    if (news) state_.changes.recordDisconnect(connection->token, note.serialize());
    state_.cache.docs.disconnect = std::move(note);
    state_.feed.raise();
  }
  if (wasApproved) hub_.fire(&IVeloraRemoteServiceListener::onRemoteDisconnected, code);
}

void Connections::disconnectByHost(int code) {
  // Code 0 ends every approved client; any other code ends that client, as
  // long as some client is approved at all.
  std::vector<std::shared_ptr<ConnectionDataEx>> snapshot;
  {
    std::lock_guard<std::mutex> lock(mutex);
    snapshot = list_;
  }
  for (const auto& c : snapshot) {
    bool approved;
    int own;
    {
      std::lock_guard<std::mutex> lock(mutex);
      approved = c->authstatus;
      own = c->code;
    }
    if (approved) disconnect(code != 0 ? code : own, false);
  }
}

void Connections::printStatus() {
  std::lock_guard<std::mutex> lock(mutex);
  for (const auto& c : list_) {
    std::cout << "Auth code: " << c->code << " Status: " << c->authstatus
              << " Capabilities: " << c->capabilities << " Token: " << c->token << "\n";
  }
  std::cout.flush();
}
