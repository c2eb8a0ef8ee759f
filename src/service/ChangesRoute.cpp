#include <charconv>

#include "service/VeloraRestService.h"

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
}  // namespace

// The feed in which every paired client sees every change: an answer at
// once when something is new for the client's cursor, otherwise a parked
// request (no worker thread held) woken by the next change it may see.
void VeloraRestService::routeChanges(RouteRequest& r) {
  ChangeStore::Cursor cursor;
  cursor.token = r.text("token");
  if (!isPaired(cursor.token)) {
    returnFailure(r.http, "Not paired", status_codes::Unauthorized);
    return;
  }
  unsigned long long since = 0;
  if (r.has("since") && !parseCount(r.text("since"), since)) {
    returnFailure(r.http, "Bad since", status_codes::BadRequest);
    return;
  }
  cursor.since = since;
  cursor.epoch = r.decoded("epoch");
  unsigned long long wait = kDefaultWait;
  if (r.has("wait")) {
    const std::string text = r.text("wait");
    // All digits but too long for a number is still just "very long".
    if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos) {
      returnFailure(r.http, "Bad wait", status_codes::BadRequest);
      return;
    }
    if (!parseCount(text, wait)) wait = kLongestWait;
    wait = std::min<unsigned long long>(wait, kLongestWait);
  }

  // A client that will not wait, or a service closing, is answered now.
  std::string body = changes_.collect(cursor, wait == 0 || closing_);
  if (!body.empty()) {
    sendChanges(r.http, std::move(body));
    return;
  }
  http_request request = r.http;
  changes_.park(cursor, ChangeStore::Clock::now() + std::chrono::seconds(static_cast<long>(wait)),
                [this, request, cursor] {
                  // Off the store's thread: it wakes every client of a change.
                  pplx::create_task([this, request, cursor] {
                    http_request client = request;
                    try {
                      sendChanges(client, changes_.collect(cursor, true));
                    } catch (...) {
                      send(client, status_codes::InternalError);
                    }
                  });
                });
  // A shutdown that released the parked clients just before this one parked
  // must not leave it waiting out its time.
  if (closing_) changes_.releaseAll();
}

void VeloraRestService::sendChanges(http_request& request, std::string body) {
  web::http::http_response response(status_codes::OK);
  addResponseHeaders(response);
  if (body.size() > kGzipAbove && acceptsGzip(request)) {
    std::string zipped = gzipString(body);
    if (!zipped.empty()) {
      body = std::move(zipped);
      response.headers()["Content-Encoding"] = "gzip";
    }
  }
  response.set_body(std::move(body), "application/json");
  send(request, response);
}
