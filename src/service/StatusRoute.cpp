#include "service/VeloraRestService.h"

using web::http::http_request;
using web::http::status_codes;

namespace {
constexpr auto kPollWindow = std::chrono::seconds(1);

// Replies whose client may be gone (the listener closed, the client gave
// up): a failure to send is nobody's error.
void sendQuietly(http_request& request, const web::http::http_response& response) {
  try {
    request.reply(response).then([](pplx::task<void> sent) {
      try {
        sent.get();
      } catch (...) {
      }
    });
  } catch (...) {
  }
}
}  // namespace

// The long poll. The request does not hold a worker thread while it waits:
// it is parked in the change feed and answered from there.
void VeloraRestService::routeStatus(RouteRequest& r) {
  const auto deadline = ChangeFeed::Clock::now() + kPollWindow;
  http_request request = r.http;
  feed_.wait(deadline, [this, request, deadline](bool signalled) {
    answerStatus(request, deadline, signalled);
  });
}

void VeloraRestService::answerStatus(http_request request, ChangeFeed::Clock::time_point deadline,
                                     bool signalled) {
  // Serialising a large library takes a while; keep it off the feed's thread.
  pplx::create_task([this, request, deadline, signalled]() {
    http_request client = request;
    std::optional<ChangeDelivery> delivery;
    if (signalled || feed_.raised()) {
      delivery = deliverChanges(cache_, feed_, ZIP_THRESHOLD);
    }
    if (!delivery) {
      // Woken, but another poll took the burst: wait out the second.
      if (signalled && ChangeFeed::Clock::now() < deadline) {
        feed_.wait(deadline, [this, request, deadline](bool again) {
          answerStatus(request, deadline, again);
        });
        return;
      }
      sendQuietly(client, web::http::http_response(status_codes::NotModified));
      return;
    }
    web::http::http_response response(status_codes::OK);
    if (delivery->compressed) {
      response.set_body(std::vector<unsigned char>(delivery->body.begin(), delivery->body.end()));
      response.headers().set_content_type("application/octet-stream");
    } else {
      response.set_body(std::move(delivery->body), "application/json");
    }
    sendQuietly(client, response);
  });
}
