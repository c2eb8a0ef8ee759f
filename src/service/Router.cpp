#include "service/Router.h"

#include "endpoints/EndpointRoutes.h"
#include "library/LibraryRoutes.h"
#include "playback/PlaybackRoutes.h"
#include "service/ServiceRoutes.h"

using web::http::http_request;
using web::http::http_response;
using web::http::methods;
using web::http::status_codes;

namespace {
http_response methodNotAllowed() {
  http_response response(status_codes::MethodNotAllowed);
  response.headers().add("Allow", "GET, POST, PUT, DELETE");
  return response;
}
}  // namespace

const RouteList& Router::routes() {
  static const RouteList all = [] {
    RouteList rows;
    for (const RouteList* area :
         {&serviceRoutes(), &transportRoutes(), &presetRoutes(), &queueRoutes(), &libraryRoutes(),
          &accountRoutes(), &optionsRoutes(), &stashRoutes(), &scanRoutes(), &playlistRoutes()}) {
      rows.insert(rows.end(), area->begin(), area->end());
    }
    return rows;
  }();
  return all;
}

Router::Router(Units& units, StaticPages& pages) : units_(units), pages_(pages) {
  for (const Route& row : routes()) {
    const std::string key = std::string(row.method) + " " + row.path;
    (row.lowerCase ? lower_[utility::conversions::str_tolower(key)] : exact_[key]).push_back(&row);
  }
}

void Router::handle(http_request request) {
  units_.replies.admit();
  try {
    const auto& method = request.method();
    if (method == methods::GET) {
      handle_get(request);
    } else if (method == methods::POST) {
      handle_post(request);
    } else if (method == methods::PUT) {
      handle_put(request);
    } else if (method == methods::DEL) {
      handle_delete(request);
    } else if (method == methods::HEAD) {
      handle_head(request);
    } else {
      send(request, methodNotAllowed());
    }
  } catch (...) {
    units_.replies.send(request, status_codes::InternalError);
  }
}

bool Router::refused(http_request& request, const RouteRequest& r) {
  if (!units_.strict.enabled() || units_.connections.isPaired(r.credential())) return false;
  send(request, Replies::text(status_codes::Unauthorized, "Unauthorized"));
  return true;
}

void Router::handle_get(http_request& request) {
  RouteRequest r(request);
  if (pages_.serveStaticPage(request, r.decodedPath, Replies::getContentType(r.decodedPath))) {
    return;
  }
  const Route* route = find("GET", r);
  if (route == nullptr)
    return send(request, Replies::text(status_codes::BadRequest, r.decodedPath));
  // Pairing is how a client gets a token, so it cannot need one.
  if (route->path != "authenticate" && refused(request, r)) return;
  Call call{r, units_};
  send(request, route->run(call));
}

void Router::handle_head(http_request& request) {
  RouteRequest r(request);
  if (pages_.serveStaticPage(request, r.decodedPath, Replies::getContentType(r.decodedPath))) {
    return;
  }
  // A route's answer may ask the host to act: HEAD must never do that.
  send(request, methodNotAllowed());
}

void Router::handle_post(http_request& request) {
  RouteRequest r(request);
  if (units_.strict.enabled()) {
    // Past the gate the client is a paired one, whichever way its token came.
    if (refused(request, r)) return;
  } else {
    auto token = r.query.find("token");
    if (token == r.query.end()) return send(request, http_response(status_codes::Forbidden));
    // An unknown token is accepted and ignored on purpose.
    if (!units_.connections.hasConnection(token->second)) {
      return send(request, http_response(status_codes::OK));
    }
  }
  const Route* route = find("POST", r);
  if (route == nullptr) return send(request, http_response(status_codes::OK));
  Call call{r, units_};
  send(request, route->run(call));
}

void Router::handle_put(http_request& request) {
  if (units_.strict.enabled() && refused(request, RouteRequest(request))) return;
  send(request, http_response(status_codes::OK));
}

void Router::handle_delete(http_request& request) {
  if (units_.strict.enabled() && refused(request, RouteRequest(request))) return;
  send(request, http_response(status_codes::OK));
}

// The first row that matches, trying in turn: an area's rows that a query
// key selects, rows of three segments, of two, and of the first alone. Among
// rows of one path, the earlier row wins; a row that ignores case competes
// with one that does not by its place in the table.
const Route* Router::find(const char* method, const RouteRequest& r) const {
  const std::string prefix = std::string(method) + " ";
  const std::string first = prefix + path(r.segments, 0, false);
  auto pick = [&](const std::string& key, bool keyed, bool plain) -> const Route* {
    const Route* best = nullptr;
    auto consider = [&](const auto& index, const std::string& k) {
      auto it = index.find(k);
      if (it == index.end()) return;
      for (const Route* row : it->second) {
        if (row->when.empty() ? !plain : !keyed) continue;
        bool all = true;
        for (const char* q : row->when) all = all && r.has(q);
        if (all && (best == nullptr || row < best)) best = row;
        if (all) break;
      }
    };
    consider(exact_, key);
    consider(lower_, utility::conversions::str_tolower(key));
    return best;
  };
  if (const Route* area = pick(first, true, false)) return area;
  if (r.segments.size() >= 3) {
    const std::string three = first + "/" + r.segments[1] + "/" + r.segments[2];
    if (const Route* row = pick(three, true, true)) return row;
  }
  if (r.segments.size() >= 2) {
    if (const Route* row = pick(first + "/" + r.segments[1], true, true)) return row;
  }
  return pick(first, false, true);
}

void Router::send(http_request& request, Answer answer) {
  if (answer) units_.replies.send(request, *answer);
}
