#include <algorithm>
#include <cstdint>
#include <iostream>
#include <unordered_map>

#include "playback/Presets.h"
#include "service/VeloraRestService.h"

using web::http::http_request;
using web::http::status_codes;
using web::json::value;

// Every request is counted in until its reply is out, and every failure a
// handler can raise ends here: a missing segment or a malformed number
// answers 500, like any other error, and the service goes on.
template <typename F>
void VeloraRestService::guarded(http_request& request, F&& work) {
  admit();
  try {
    work();
  } catch (...) {
    if (!request.get_response().is_done()) send(request, status_codes::InternalError);
  }
}

namespace {

// The table's rows by the first segment they match: rows that ignore case
// under the lower-cased segment, the others under the segment as it is.
// When a segment matches one row of each kind, the earlier row wins, as in
// a walk down the table.
class RouteIndex {
 public:
  RouteIndex() {
    const auto& table = VeloraRestService::routeTable();
    for (size_t i = 0; i < table.size(); ++i) {
      (table[i].lowerCase ? lower_ : exact_).emplace(table[i].segment, i);
    }
  }

  const VeloraRestService::GetRoute* find(const RouteRequest& r) const {
    size_t best = SIZE_MAX;
    auto exact = exact_.find(path(r.segments, 0, false));
    if (exact != exact_.end()) best = exact->second;
    auto lower = lower_.find(path(r.segments, 0, true));
    if (lower != lower_.end()) best = std::min(best, lower->second);
    return best == SIZE_MAX ? nullptr : &VeloraRestService::routeTable()[best];
  }

 private:
  std::unordered_map<std::string, size_t> exact_;
  std::unordered_map<std::string, size_t> lower_;
};

const VeloraRestService::GetRoute* findRoute(const RouteRequest& r) {
  static const RouteIndex index;
  return index.find(r);
}

}  // namespace

void VeloraRestService::handle_get(http_request request) {
  guarded(request, [&] {
    RouteRequest r(request);
    if (serveStaticPage(request, r.decodedPath, getContentType(r.decodedPath))) return;

    const GetRoute* route = findRoute(r);
    if (route == nullptr) {
      returnFailure(request, r.decodedPath, status_codes::BadRequest);
      return;
    }
    (this->*route->handler)(r);
    if (!route->answersItself) returnSuccessIfNeeded(request);
  });
}

void VeloraRestService::handle_post(http_request request) {
  guarded(request, [&] {
    RouteRequest r(request);
    auto token = r.query.find("token");
    if (token == r.query.end()) {
      send(request, status_codes::Forbidden);
      return;
    }
    // An unknown token is accepted and ignored on purpose.
    if (!hasConnection(token->second)) {
      send(request, status_codes::OK);
      return;
    }

    const std::string area = path(r.segments, 0, false);
    const std::string action = path(r.segments, 1, false);
    std::function<void(const value&)> work;
    if (area == "equalizer" && action == "setpreset") {
      work = [this](const value& body) {
        std::string name;
        EQPreset preset = getEQPreset(body, name);
        equalizerListeners_.stable_fire(&IVeloraEqualizerServiceListener::onApplyEQPreset, preset);
      };
    } else if (area == "irc" && action == "setpreset") {
      work = [this](const value& body) {
        std::string name;
        IRCPreset preset = getIRCPreset(body, name);
        ircListeners_.stable_fire(&IVeloraIRCServiceListener::onApplyIRCPreset, preset);
      };
    } else if (area == "artwork" && action == "cachedata") {
      // A client shares a picture it holds; others collect it with "status".
      work = [this](const value& body) { publishState(&StateDocuments::library, "artwork", body); };
    }

    if (work) {
      // The body is read and applied after the reply; a body that is not
      // what the route expects is dropped without a word.
      request.extract_json(true).then([work](pplx::task<value> body) {
        try {
          work(body.get());
        } catch (...) {
        }
      });
    }
    send(request, status_codes::OK);
  });
}

void VeloraRestService::handle_put(http_request request) {
  guarded(request, [&] { send(request, status_codes::OK); });
}

void VeloraRestService::handle_delete(http_request request) {
  guarded(request, [&] { send(request, status_codes::OK); });
}

void VeloraRestService::conclude(RouteRequest& r, int status, const Outcome& outcome) {
  if (status == 0) {
    reply(r, outcome.reply);
  } else if (status == 7 && outcome.unreachableIs503) {
    returnFailure(r.http, "Connection to Tarn Server Failed.", status_codes::ServiceUnavailable);
  } else {
    returnFailure(r.http, outcome.failure, outcome.failureStatus);
  }
}

bool VeloraRestService::require(RouteRequest& r, std::initializer_list<const char*> keys,
                                const char* failure, unsigned short status) {
  for (const char* key : keys) {
    if (!r.has(key)) {
      returnFailure(r.http, failure, status);
      return false;
    }
  }
  return true;
}

void VeloraRestService::reply(RouteRequest& r, const SuccessReply& success) {
  switch (success.kind) {
    case SuccessReply::Text:
      returnSuccess(r.http, success.text);
      break;
    case SuccessReply::Slot: {
      std::lock_guard<std::mutex> lock(cache_.stateMutex);
      returnValue(r.http, cache_.slots.*success.slot, success.omitNull);
      break;
    }
    case SuccessReply::Document: {
      std::lock_guard<std::mutex> lock(cache_.stateMutex);
      returnValue(r.http, cache_.docs.*success.document, success.omitNull);
      break;
    }
    case SuccessReply::Player: {
      // The local-library answer lives under the other mutex; a player
      // answer is never a library page, so it goes out as it is.
      std::lock_guard<std::mutex> lock(cache_.playerMutex);
      sendValue(r.http, cache_.player.*success.player, success.omitNull);
      break;
    }
  }
}
