#include "http/Route.h"

#include "util/Support.h"

#include <algorithm>
#include <charconv>
#include <istream>
#include <streambuf>
#include <cmath>
#include <stdexcept>

using web::http::status_codes;

namespace {

// Bytes read where they lie, as a stream. Bodies were parsed as text, whose
// reader takes a 0xFF byte for the end of its input: so does this stream.
struct InPlace : std::streambuf {
  InPlace(uint8_t* data, size_t size) {
    char* begin = reinterpret_cast<char*>(data);
    setg(begin, begin, std::find(begin, begin + size, '\xff'));
  }
};

// The whole of `text` as a number, or false. from_chars ignores the locale,
// which a host may have set to one with decimal commas.
template <typename T>
bool parseAll(const std::string& text, T& out) {
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, out);
  return error == std::errc() && stop == end && !text.empty();
}

bool parseDecimal(const std::string& text, float& out) {
  return parseAll(text, out) && std::isfinite(out);
}

}  // namespace

std::string Arg::text(const RouteRequest& r) const {
  switch (kind) {
    case Decoded:
      return r.decoded(key);
    case Fixed:
      return key;
    case After:
      return r.optional(key, minCount, fallback);
    default:
      return r.text(key, fallback);
  }
}

int Arg::number(const RouteRequest& r) const {
  if (kind == Count && !r.has(key)) return absent;
  if (kind != Whole) return r.number(key);
  int v = 0;
  if (!parseAll(r.text(key), v)) throw std::invalid_argument(key);
  return v;
}

float Arg::decimal(const RouteRequest& r) const {
  float v = 0;
  if (!parseDecimal(r.text(key), v)) throw std::invalid_argument(key);
  return v;
}

bool Arg::readable(const RouteRequest& r) const {
  if (!r.has(key)) return false;
  int whole = 0;
  float decimal = 0;
  switch (kind) {
    case Whole:
      return parseAll(r.text(key), whole);
    case Decimal:
      return parseDecimal(r.text(key), decimal);
    default:
      return true;
  }
}

bool Arg::flag(const RouteRequest& r) const {
  return kind == One ? r.number(key) == 1 : toBool(r.text(key));
}

std::optional<web::http::http_response> route_detail::missing(Call& c, const std::vector<Arg>& args,
                                                              const Outcome& outcome) {
  for (const Arg& a : args) {
    if (a.required && !a.readable(c.r)) {
      return Replies::text(outcome.missingStatus ? outcome.missingStatus : outcome.failureStatus,
                           outcome.missingText ? outcome.missingText : outcome.failure);
    }
  }
  return std::nullopt;
}

Answer conclude(Call& c, int status, const Outcome& outcome) {
  if (status == 0) return reply(c, outcome.reply);
  if (status == 7 && outcome.unreachableIs503) {
    return Replies::text(status_codes::ServiceUnavailable, "Connection to Tarn Server Failed.");
  }
  return Replies::text(outcome.failureStatus, outcome.failure);
}

web::http::http_response notImplemented() {
  return Replies::text(status_codes::NotImplemented, "Not Implemented");
}

Answer reply(Call& c, const SuccessReply& success) {
  StateCache& cache = c.u.state.cache;
  switch (success.kind) {
    case SuccessReply::Slot: {
      std::lock_guard<std::mutex> lock(cache.stateMutex);
      return c.u.replies.fromCache(cache.slots.*success.slot, success.omitNull);
    }
    case SuccessReply::Document: {
      std::lock_guard<std::mutex> lock(cache.stateMutex);
      return c.u.replies.fromCache(cache.docs.*success.document, success.omitNull);
    }
    case SuccessReply::Player: {
      // The local-library answer lives under the other mutex; a player
      // answer is never a library page, so it goes out as it is.
      std::lock_guard<std::mutex> lock(cache.playerMutex);
      return Replies::json(cache.player.*success.player, success.omitNull);
    }
    case SuccessReply::Library:
      return c.u.replies.library(c.r.has("token"));
    case SuccessReply::Text:
    default:
      return Replies::text(status_codes::OK, success.text);
  }
}

Answer applyBody(Call& c, std::function<void(const web::json::value&)> work) {
  c.r.http.content_ready().then([work](pplx::task<web::http::http_request> ready) {
    size_t size = 0;
    try {
      // The body is parsed where it lies, so that a large one is held once.
      auto body = ready.get().body().streambuf();
      uint8_t* data = nullptr;
      if (!body.acquire(data, size)) return;
      InPlace bytes(data, size);
      std::istream in(&bytes);
      work(web::json::value::parse(in));
    } catch (...) {
    }
    returnFreedMemory(size);
  });
  return web::http::http_response(status_codes::OK);
}
