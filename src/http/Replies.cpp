#include "http/Replies.h"

#include <map>

using web::http::http_request;
using web::http::http_response;
using web::http::status_codes;
using web::json::value;

void deleteARD(value& v) {
  if (v.is_object()) {
    v["artworkdata"] = value::null();
    for (auto& member : v.as_object()) deleteARD(member.second);
  } else if (v.is_array()) {
    for (auto& element : v.as_array()) deleteARD(element);
  }
}

namespace {
// A browser lets a page on another origin read a reply only when the reply
// names that origin: in strict mode the wildcard of addResponseHeaders()
// becomes the request's origin if the host allows it, and goes otherwise.
// The reply is changed in place: a handle shares its message, and every reply
// is built for one request.
http_response narrowedToOrigin(const http_request& request, http_response narrowed,
                               const StrictMode& strict) {
  auto& headers = narrowed.headers();
  for (const char* name : {"Access-Control-Allow-Origin", "Access-Control-Allow-Methods",
                           "Access-Control-Allow-Headers"}) {
    headers.remove(name);
  }
  const auto origin = request.headers().find("Origin");
  if (origin == request.headers().end() || !strict.allows(origin->second)) return narrowed;
  http_response allowed;
  Replies::addResponseHeaders(allowed);
  for (const auto& header : allowed.headers()) headers[header.first] = header.second;
  headers["Access-Control-Allow-Origin"] = origin->second;
  headers["Vary"] = "Origin";
  return narrowed;
}
}  // namespace

void Replies::addResponseHeaders(http_response& response) {
  // Every reply is built fresh, so its headers start as a copy of a finished
  // map: no name comparisons, and none of the string stream that
  // http_headers::add prints each value through (a tenth of a ping's work).
  static const web::http::http_headers kCors = [] {
    web::http::http_headers cors;
    cors["Access-Control-Allow-Origin"] = "*";
    cors["Access-Control-Allow-Methods"] = "*";
    cors["Access-Control-Allow-Headers"] = "Origin,Content-Type,Accept,X-Requested-With";
    return cors;
  }();
  response.headers() = kCors;
}

http_response Replies::text(unsigned short status, std::string text) {
  http_response response(status);
  addResponseHeaders(response);
  // The JSON text of a string value, written straight into the body rather
  // than through a value made only to be printed.
  std::string body;
  body.reserve(text.size() + 2);
  web::json::details::format_string(text, body);
  response.set_body(std::move(body), "application/json");
  return response;
}

http_response Replies::json(const value& v, bool omitNull) {
  http_response response(status_codes::OK);
  addResponseHeaders(response);
  if (!(omitNull && v.is_null())) response.set_body(v);
  return response;
}

http_response Replies::fromCache(value& v, bool omitNull) {
  // Local-library pages can be large; their embedded artwork is never sent.
  const value& localLibrary = cache_.slots.localLibrary;
  if (localLibrary.is_object() && localLibrary.size() > 0 && v == localLibrary) deleteARD(v);
  return json(v, omitNull);
}

http_response Replies::library(bool hasToken) {
  if (hasToken) return http_response(status_codes::OK);
  std::lock_guard<std::mutex> lock(cache_.stateMutex);
  return json(cache_.docs.library, false);
}

std::string Replies::getContentType(std::string path) {
  static const std::map<std::string, std::string> kTypes = {
      {"js", "application/javascript"},
      {"css", "text/css"},
      {"png", "image/png"},
      {"jpg", "image/jpeg"},
      {"html", "text/html"},
  };
  const auto dot = path.rfind('.');
  if (dot != std::string::npos) {
    auto it = kTypes.find(path.substr(dot + 1));
    if (it != kTypes.end()) return it->second;
  }
  return "text/html";
}

void Replies::admit() {
  std::lock_guard<std::mutex> lock(inflightMutex_);
  ++inflight_;
}

void Replies::send(http_request& request, const http_response& response) {
  auto done = [this] {
    std::lock_guard<std::mutex> lock(inflightMutex_);
    if (--inflight_ == 0) drained_.notify_all();
  };
  try {
    // The client may be gone; a reply that cannot be sent is nobody's error.
    // Counted out on the thread that finishes writing the reply, rather than
    // through one more hop over the worker pool for every request.
    request.reply(strict_.enabled() ? narrowedToOrigin(request, response, strict_) : response)
        ._Then(
            [done](pplx::task<void> sent) {
              try {
                sent.get();
              } catch (...) {
              }
              done();
            },
            nullptr);
  } catch (...) {
    done();
  }
}

void Replies::drain(std::chrono::milliseconds limit) {
  std::unique_lock<std::mutex> lock(inflightMutex_);
  drained_.wait_for(lock, limit, [this] { return inflight_ == 0; });
}
