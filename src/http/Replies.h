#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>

#include <cpprest/http_msg.h>
#include <cpprest/json.h>

#include "host/StateCache.h"
#include "host/StrictMode.h"

// Sets "artworkdata" to null in every object of `v`, at any depth, so that a
// reply carries no embedded pictures.
void deleteARD(web::json::value& v);

// The replies the service gives, and the count of requests not yet answered.
// Every JSON reply carries the three cross-origin headers; in strict mode
// send() narrows them to the request's origin when the host allows it, and
// drops them otherwise. Every reply leaves through send(), so that closing
// can wait for replies still being written: the HTTP library cannot close
// under one.
class Replies {
 public:
  Replies(StateCache& cache, const StrictMode& strict) : cache_(cache), strict_(strict) {}

  static void addResponseHeaders(web::http::http_response& response);
  // A reply whose whole body is one JSON string.
  static web::http::http_response text(unsigned short status, std::string text);
  // A JSON value; with `omitNull`, a null value gives an empty body.
  static web::http::http_response json(const web::json::value& value, bool omitNull);
  // A value from the cache; the caller holds the lock of its slot. A value
  // equal to the local-library page loses its pictures first, for good.
  web::http::http_response fromCache(web::json::value& value, bool omitNull);
  // The library document, or, to a client with a token (which receives
  // library data through "status"), an empty reply.
  web::http::http_response library(bool hasToken);
  static std::string getContentType(std::string path);

  // A request comes in; it counts until send() has written its reply.
  void admit();
  void send(web::http::http_request& request, const web::http::http_response& response);
  void send(web::http::http_request& request, web::http::status_code status) {
    send(request, web::http::http_response(status));
  }
  // Waits up to `limit` for every admitted request to be answered.
  void drain(std::chrono::milliseconds limit);

 private:
  StateCache& cache_;
  const StrictMode& strict_;
  std::mutex inflightMutex_;
  std::condition_variable drained_;
  int inflight_ = 0;
};
