#include "service/VeloraRestService.h"

using web::http::http_request;
using web::http::status_codes;

namespace {
constexpr auto kPollWindow = std::chrono::seconds(1);

}  // namespace

// The long poll. The request does not hold a worker thread while it waits:
// it is parked in the change feed and answered from there.
void VeloraRestService::routeStatus(RouteRequest& r) {
  const auto deadline = ChangeFeed::Clock::now() + kPollWindow;
  http_request request = r.http;
  if (closing_) {
    send(request, status_codes::NotModified);
    return;
  }
  feed_.wait(deadline, [this, request, deadline](bool signalled) {
    answerStatus(request, deadline, signalled);
  });
}

void VeloraRestService::answerStatus(http_request request, ChangeFeed::Clock::time_point deadline,
                                     bool signalled) {
  // Serialising a large library takes a while; keep it off the feed's thread.
  pplx::create_task([this, request, deadline, signalled]() {
    http_request client = request;
    try {
      answerStatusNow(client, deadline, signalled);
    } catch (...) {
      send(client, status_codes::InternalError);
    }
  });
}

void VeloraRestService::answerStatusNow(http_request& client,
                                        ChangeFeed::Clock::time_point deadline, bool signalled) {
  std::optional<ChangeDelivery> delivery;
  if (signalled || feed_.raised()) {
    delivery = deliverChanges(cache_, feed_, ZIP_THRESHOLD);
  }
  if (!delivery) {
    // Woken, but another poll took the burst: wait out the second
    // (unless the service is closing).
    if (signalled && !closing_ && ChangeFeed::Clock::now() < deadline) {
      feed_.wait(deadline,
                 [this, client, deadline](bool again) { answerStatus(client, deadline, again); });
      return;
    }
    send(client, status_codes::NotModified);
    return;
  }
  web::http::http_response response(status_codes::OK);
  if (delivery->compressed) {
    response.set_body(std::vector<unsigned char>(delivery->body.begin(), delivery->body.end()));
    response.headers().set_content_type("application/octet-stream");
  } else {
    response.set_body(std::move(delivery->body), "application/json");
  }
  send(client, response);
}
