#include <charconv>

#include "service/ServiceRoutes.h"

using web::http::http_request;
using web::http::status_codes;

namespace {
constexpr int kDefaultWait = 25;
constexpr int kLongestWait = 60;
// Smaller replies go out as they are: compressing them costs more than it
// saves on a local network.
constexpr size_t kGzipAbove = 64 * 1024;

// A decimal number with nothing around it; false for anything else,
// including a value past `unsigned long long`.
bool parseCount(const std::string& text, unsigned long long& out) {
  if (text.empty()) return false;
  const char* end = text.data() + text.size();
  auto [ptr, ec] = std::from_chars(text.data(), end, out);
  return ec == std::errc() && ptr == end;
}

bool acceptsGzip(const http_request& request) {
  const auto& headers = request.headers();
  auto it = headers.find("Accept-Encoding");
  return it != headers.end() && it->second.find("gzip") != std::string::npos;
}
web::http::http_response changesReply(const http_request& request, std::string body) {
  web::http::http_response response(status_codes::OK);
  Replies::addResponseHeaders(response);
  if (body.size() > kGzipAbove && acceptsGzip(request)) {
    std::string zipped = gzipString(body);
    if (!zipped.empty()) {
      body = std::move(zipped);
      response.headers()["Content-Encoding"] = "gzip";
    }
  }
  response.set_body(std::move(body), "application/json");
  return response;
}
}  // namespace

// The feed in which every paired client sees every change: an answer at
// once when something is new for the client's cursor, otherwise a parked
// request (no worker thread held) woken by the next change it may see.
Answer routeChanges(Call& c) {
  RouteRequest& r = c.r;
  ChangeStore::Cursor cursor;
  cursor.token = r.text("token");
  if (!c.u.connections.isPaired(cursor.token)) {
    return Replies::text(status_codes::Unauthorized, "Not paired");
  }
  unsigned long long since = 0;
  if (r.has("since") && !parseCount(r.text("since"), since)) {
    return Replies::text(status_codes::BadRequest, "Bad since");
  }
  cursor.since = since;
  cursor.epoch = r.decoded("epoch");
  unsigned long long wait = kDefaultWait;
  if (r.has("wait")) {
    const std::string text = r.text("wait");
    // All digits but too long for a number is still just "very long".
    if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos) {
      return Replies::text(status_codes::BadRequest, "Bad wait");
    }
    if (!parseCount(text, wait)) wait = kLongestWait;
    wait = std::min<unsigned long long>(wait, kLongestWait);
  }

  // A client that will not wait, or a service closing, is answered now.
  ChangeStore& changes = c.u.state.changes;
  std::string body = changes.collect(cursor, wait == 0 || c.u.closing);
  if (!body.empty()) return changesReply(r.http, std::move(body));
  Units& u = c.u;
  http_request request = r.http;
  changes.park(cursor, ChangeStore::Clock::now() + std::chrono::seconds(static_cast<long>(wait)),
               [&u, request, cursor] {
                 // Off the store's thread: it wakes every client of a change.
                 pplx::create_task([&u, request, cursor] {
                   http_request client = request;
                   try {
                     u.replies.send(client,
                                    changesReply(client, u.state.changes.collect(cursor, true)));
                   } catch (...) {
                     u.replies.send(client, status_codes::InternalError);
                   }
                 });
               });
  // A shutdown that released the parked clients just before this one parked
  // must not leave it waiting out its time.
  if (u.closing) changes.releaseAll();
  return std::nullopt;
}
