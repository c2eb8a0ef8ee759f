#include <cstring>

#include "service/VeloraRestService.h"

using web::http::status_codes;
using web::json::value;

namespace {
// Copies a text into one of the record's 40-byte fields, cut to fit.
template <size_t N>
void copyField(char (&field)[N], const std::string& text) {
  const size_t n = std::min(text.size(), N - 1);
  std::memcpy(field, text.data(), n);
  field[n] = '\0';
}
}  // namespace

std::shared_ptr<ConnectionDataEx> VeloraRestService::createConnection(int code, std::string name,
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
  connections_.push_back(connection);
  return connection;
}

std::shared_ptr<ConnectionDataEx> VeloraRestService::getConnection(int code) {
  for (const auto& c : connections_) {
    if (c->code == code) return c;
  }
  return nullptr;
}

std::shared_ptr<ConnectionDataEx> VeloraRestService::getConnection(std::string token) {
  for (const auto& c : connections_) {
    if (token == c->token) return c;
  }
  return nullptr;
}

bool VeloraRestService::isPaired(const std::string& token) {
  std::lock_guard<std::mutex> lock(connectionMutex_);
  auto connection = getConnection(token);
  return connection && connection->authstatus && !connection->disconnected;
}

bool VeloraRestService::hasConnection(std::string token) {
  std::lock_guard<std::mutex> lock(connectionMutex_);
  return getConnection(std::move(token)) != nullptr;
}

// A client pairs by calling this repeatedly with its code: the first call
// registers it and tells the host, later calls return the same token and,
// once the host has approved it, who this computer is.
void VeloraRestService::routeAuthenticate(RouteRequest& r) {
  if (!r.has("code")) {
    returnFailure(r.http, "Missing code", status_codes::BadRequest);
    return;
  }
  const int code = r.number("code");
  ConnectionData created{};
  bool isNew = false;
  ConnectionData snapshot{};
  {
    std::lock_guard<std::mutex> lock(connectionMutex_);
    auto connection = getConnection(code);
    if (connection && !(connection->authstatus && !connection->disconnected)) {
      // Pending again, whether it was waiting or had been disconnected.
      connection->authstatus = false;
      connection->disconnected = false;
      std::lock_guard<std::mutex> stateLock(cache_.stateMutex);
      cache_.docs.disconnect = value::object(true);
    } else if (!connection) {
      connection =
          createConnection(code, r.decoded("name"), r.has("version") ? r.number("version") : 0);
      created = connection->data();
      isNew = true;
    }
    snapshot = connection->data();
  }
  if (isNew)
    remoteListeners_.stable_fire(&IVeloraRemoteServiceListener::onRemoteConnected, created);

  std::vector<std::pair<utility::string_t, value>> fields{
      {"token", value::string(snapshot.token)},
      {"authstatus", value::boolean(snapshot.authstatus)},
      {"disconnected", value::boolean(snapshot.disconnected)}};
  if (snapshot.authstatus) {
    fields.emplace_back("name", value::string(getHostName()));
    fields.emplace_back("product", value::string(snapshot.product));
    fields.emplace_back("capabilities", value::number(snapshot.capabilities));
  }
  web::http::http_response response(status_codes::OK);
  response.set_body(value::object(std::move(fields), true));
  send(r.http, response);
}

void VeloraRestService::authenticate(int code, const char* product, Capabilities& capabilities) {
  int version = 0;
  bool found = false;
  {
    std::lock_guard<std::mutex> lock(connectionMutex_);
    if (auto connection = getConnection(code)) {
      copyField(connection->product, utility::conversions::to_string_t(product));
      connection->authstatus = true;
      connection->capabilities = capabilities.value;
      version = connection->version;
      found = true;
      // Approved again after a disconnect: the old note would end the new
      // session of a client that resumes the feed from before it.
      changes_.forgetDisconnect(connection->token);
    }
  }
  remoteListeners_.stable_fire(&IVeloraRemoteServiceListener::onRemoteAuthenticated, code, found,
                               version);
}

void VeloraRestService::routeDisconnect(RouteRequest& r) {
  if (r.has("code")) disconnect(r.number("code"), true);
}

void VeloraRestService::disconnect(int code, bool fromRemote) {
  log_str("Calling disconnect for", code);
  bool wasApproved = false;
  {
    std::lock_guard<std::mutex> lock(connectionMutex_);
    auto connection = getConnection(code);
    if (!connection) return;
    wasApproved = connection->authstatus;
    // disconnect(code) ends the same client once for every approved one;
    // its feed needs to hear it once.
    const bool news = !connection->disconnected;
    connection->disconnected = true;
    connection->authstatus = false;
    value note = value::object(
        std::vector<std::pair<utility::string_t, value>>{
            {"token", value::string(connection->token)},
            {"fromremote", value::boolean(fromRemote)}},
        true);
    std::lock_guard<std::mutex> stateLock(cache_.stateMutex);
    if (news) changes_.recordDisconnect(connection->token, note.serialize());
    cache_.docs.disconnect = std::move(note);
    feed_.raise();
  }
  if (wasApproved) {
    remoteListeners_.stable_fire(&IVeloraRemoteServiceListener::onRemoteDisconnected, code);
  }
}

void VeloraRestService::disconnect(int code) {
  // Code 0 ends every approved client; any other code ends that client, as
  // long as some client is approved at all.
  std::vector<std::shared_ptr<ConnectionDataEx>> snapshot;
  {
    std::lock_guard<std::mutex> lock(connectionMutex_);
    snapshot = connections_;
  }
  for (const auto& c : snapshot) {
    bool approved;
    int own;
    {
      std::lock_guard<std::mutex> lock(connectionMutex_);
      approved = c->authstatus;
      own = c->code;
    }
    if (approved) disconnect(code != 0 ? code : own, false);
  }
}

void VeloraRestService::printStatus() {
  std::lock_guard<std::mutex> lock(connectionMutex_);
  for (const auto& c : connections_) {
    std::cout << "Auth code: " << c->code << " Status: " << c->authstatus
              << " Capabilities: " << c->capabilities << " Token: " << c->token << "\n";
  }
  std::cout.flush();
}

// Client control: each asks the host and answers by its status.

void VeloraRestService::handlePairing(RouteRequest& r) {
  exchange(r, {"Ping FAILED"}, &IVeloraLibraryServiceListener::onPairing);
}

void VeloraRestService::handleSave(RouteRequest& r) {
  exchange(r, {"Save FAILED"}, &IVeloraLibraryServiceListener::onSave);
}

void VeloraRestService::handleQuit(RouteRequest& r) {
  exchange(r, {"Quit FAILED"}, &IVeloraLibraryServiceListener::onQuit);
}

void VeloraRestService::handlePing(RouteRequest& r) {
  exchange(r, {"Ping FAILED"}, &IVeloraLibraryServiceListener::onPing);
}

void VeloraRestService::handleGetHeartbeat(RouteRequest& r) {
  exchange(r, {"GetHeartbeat FAILED", 401, SuccessReply::fromPlayer(&PlayerSlots::heartbeat, true)},
           &IVeloraLibraryServiceListener::onGetHeartbeat);
}

void VeloraRestService::handlePlayerPing(RouteRequest& r) {
  exchange(r,
           {"handlePlayerPing FAILED", 401, SuccessReply::fromPlayer(&PlayerSlots::player, true)},
           &IVeloraLibraryServiceListener::onPlayerPing);
}

void VeloraRestService::handlePlayerHeartbeat(RouteRequest& r) {
  exchange(
      r,
      {"handlePlayerHeartBeat FAILED", 401, SuccessReply::fromPlayer(&PlayerSlots::player, true)},
      &IVeloraLibraryServiceListener::onPlayerHeartbeat);
}
