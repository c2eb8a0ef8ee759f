#include "service/ServiceRoutes.h"

using web::http::http_request;
using web::http::status_codes;

// The long poll. The request does not hold a worker thread while it waits:
// it is parked in the change feed and answered from there.

namespace {
constexpr auto kPollWindow = std::chrono::seconds(1);

void answerStatusNow(Units& u, http_request& client, ChangeFeed::Clock::time_point deadline,
                     bool signalled);

void answerStatus(Units& u, http_request request, ChangeFeed::Clock::time_point deadline,
                  bool signalled) {
  // Serialising a large library takes a while; keep it off the feed's thread.
  pplx::create_task([&u, request, deadline, signalled]() {
    http_request client = request;
    try {
      answerStatusNow(u, client, deadline, signalled);
    } catch (...) {
      u.replies.send(client, status_codes::InternalError);
    }
  });
}

void answerStatusNow(Units& u, http_request& client, ChangeFeed::Clock::time_point deadline,
                     bool signalled) {
  std::optional<ChangeDelivery> delivery;
  if (signalled || u.state.feed.raised()) {
    delivery = deliverChanges(u.state.cache, u.state.feed, ZIP_THRESHOLD);
  }
  if (!delivery) {
    // Woken, but another poll took the burst: wait out the second
    // (unless the service is closing).
    if (signalled && !u.closing && ChangeFeed::Clock::now() < deadline) {
      u.state.feed.wait(deadline, [&u, client, deadline](bool again) {
        answerStatus(u, client, deadline, again);
      });
      return;
    }
    u.replies.send(client, status_codes::NotModified);
    return;
  }
  web::http::http_response response(status_codes::OK);
  if (delivery->compressed) {
    response.set_body(std::vector<unsigned char>(delivery->body.begin(), delivery->body.end()));
    response.headers().set_content_type("application/octet-stream");
  } else {
    response.set_body(std::move(delivery->body), "application/json");
  }
  u.replies.send(client, response);
}
}  // namespace

Answer routeStatus(Call& c) {
  if (c.u.closing) return web::http::http_response(status_codes::NotModified);
  const auto deadline = ChangeFeed::Clock::now() + kPollWindow;
  Units& u = c.u;
  http_request request = c.r.http;
  u.state.feed.wait(deadline, [&u, request, deadline](bool signalled) {
    answerStatus(u, request, deadline, signalled);
  });
  return std::nullopt;
}
