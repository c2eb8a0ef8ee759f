#include "service/ServiceRoutes.h"

// Pairing, and client control: each asks the host and answers by its status.

namespace {
using L = IVeloraLibraryServiceListener;
using web::http::status_codes;
using web::json::value;

// A client pairs by calling this repeatedly with its code: the first call
// registers it and tells the host, later calls return the same token and,
// once the host has approved it, who this computer is. In strict mode the
// later calls must carry the token, and a client whose session ended pairs
// again under a new one.
Answer routeAuthenticate(Call& c) {
  RouteRequest& r = c.r;
  if (!r.has("code")) return Replies::text(status_codes::BadRequest, "Missing code");
  const int code = r.number("code");
  const std::string name = r.decoded("name");
  const int version = r.has("version") ? r.number("version") : 0;
  ConnectionData client{};
  if (c.u.strict.enabled()) {
    auto claimed = c.u.connections.claim(code, name, version, r.credential());
    if (!claimed) return Replies::text(status_codes::Unauthorized, "Unauthorized");
    client = *claimed;
  } else {
    client = c.u.connections.pair(code, name, version);
  }
  std::vector<std::pair<utility::string_t, value>> fields{
      {"token", value::string(client.token)},
      {"authstatus", value::boolean(client.authstatus)},
      {"disconnected", value::boolean(client.disconnected)}};
  if (client.authstatus) {
    fields.emplace_back("name", value::string(getHostName()));
    fields.emplace_back("product", value::string(client.product));
    fields.emplace_back("capabilities", value::number(client.capabilities));
  }
  web::http::http_response response(status_codes::OK);
  response.set_body(value::object(std::move(fields), true));
  return response;
}

// In strict mode a client ends only its own session.
Answer routeDisconnect(Call& c) {
  if (c.u.strict.enabled() &&
      !(c.r.has("code") && c.u.connections.owns(c.r.number("code"), c.r.credential()))) {
    return Replies::text(status_codes::Unauthorized, "Unauthorized");
  }
  if (c.r.has("code")) c.u.connections.disconnect(c.r.number("code"), true);
  return Replies::text(status_codes::OK, "");
}

// "log" carries a "message" for debugging clients; nothing is done with it.
Answer routeNothing(Call&) { return Replies::text(status_codes::OK, ""); }
}  // namespace

const RouteList& serviceRoutes() {
  static const RouteList routes = {
      {"GET", "authenticate", "routeAuthenticate", routeAuthenticate},
      {"GET", "disconnect", "routeDisconnect", routeDisconnect},
      {"GET", "status", "routeStatus", routeStatus},
      {"GET", "changes", "routeChanges", routeChanges},
      {"GET", "getHeartbeat", "handleGetHeartbeat",
       ask(&L::onGetHeartbeat,
           {"GetHeartbeat FAILED", 401, SuccessReply::fromPlayer(&PlayerSlots::heartbeat, true)})},
      {"GET", "quit", "handleQuit", ask(&L::onQuit, {"Quit FAILED"})},
      {"GET", "ping", "handlePing", ask(&L::onPing, {"Ping FAILED"})},
      {"GET", "pairing", "handlePairing", ask(&L::onPairing, {"Ping FAILED"})},
      {"GET", "save", "handleSave", ask(&L::onSave, {"Save FAILED"})},
      {"GET", "log", "routeNothing", routeNothing},
      {"GET", "debug", "routeNothing", routeNothing},
  };
  return routes;
}
