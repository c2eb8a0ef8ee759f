#pragma once

// Routes as rows. A row names a method and a path, the handler's name, and
// what it runs; most rows run the one exchange with the host: read the
// arguments from the query, fire one listener callback, answer by the
// status the host set. A handler returns the reply for the router to send,
// or nothing when it answers later by itself (long polls, files, work done
// after the reply).

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <cpprest/http_msg.h>
#include <cpprest/json.h>

#include "host/Connections.h"
#include "host/ListenerHub.h"
#include "host/StateStore.h"
#include "host/StrictMode.h"
#include "http/Replies.h"
#include "http/RouteRequest.h"
#include "util/Support.h"

// The units a route may use.
struct Units {
  ListenerHub& hub;
  StateStore& state;
  Replies& replies;
  Connections& connections;
  const std::atomic<bool>& closing;
  const StrictMode& strict;
};

struct Call {
  RouteRequest& r;
  Units& u;
};

// The reply to send now; empty when the handler has taken the request and
// answers it later.
using Answer = std::optional<web::http::http_response>;
using Handler = std::function<Answer(Call&)>;

struct Route {
  const char* method;  // "GET", "POST", "PUT" or "DELETE"
  // One to three path segments: "getStash", "library/album", "library/album/delete".
  std::string path;
  const char* name;  // the handler's name, as logs and readers know it
  Handler run;
  // The row matches only when the query has every one of these keys. In an
  // area (a path of one segment that also has longer rows), such a row wins
  // over the area's other rows, whatever the second segment says.
  std::vector<const char*> when = {};
  // The first segment is compared lower-cased.
  bool lowerCase = false;
};
using RouteList = std::vector<Route>;

// What a successful exchange answers with.
struct SuccessReply {
  enum Kind { Text, Slot, Player, Document, Library };
  Kind kind = Text;
  const char* text = "SUCCESS";
  web::json::value ResponseSlots::*slot = nullptr;
  web::json::value PlayerSlots::*player = nullptr;
  web::json::value StateDocuments::*document = nullptr;
  bool omitNull = false;

  static constexpr SuccessReply success(const char* text = "SUCCESS") { return {Text, text}; }
  // A response slot, read under the state mutex.
  static constexpr SuccessReply fromSlot(web::json::value ResponseSlots::*s, bool omitNull) {
    SuccessReply r{Slot};
    r.slot = s;
    r.omitNull = omitNull;
    return r;
  }
  // A player slot, read under the player mutex.
  static constexpr SuccessReply fromPlayer(web::json::value PlayerSlots::*p, bool omitNull) {
    SuccessReply r{Player};
    r.player = p;
    r.omitNull = omitNull;
    return r;
  }
  // A whole state document, read under the state mutex.
  static constexpr SuccessReply fromDocument(web::json::value StateDocuments::*d, bool omitNull) {
    SuccessReply r{Document};
    r.document = d;
    r.omitNull = omitNull;
    return r;
  }
  // The library document to a client without a token; others get it
  // through "status".
  static constexpr SuccessReply library() { return {Library}; }
};

// How an exchange answers: 0 gives the success reply, anything else the
// failure text and status. Where `unreachableIs503`, 7 (the streaming
// server could not be reached) gives 503 "Connection to Tarn Server
// Failed.". A required key that is missing gives `missingText` (or the
// failure text) with `missingStatus` (or the failure status), and the host
// is not asked. Where `unheardIs501`, a callback with no listener to hear it
// gives notImplemented(), whatever the query: an optional listener's routes
// tell clients so.
struct Outcome {
  const char* failure = "";
  unsigned short failureStatus = 401;
  SuccessReply reply = SuccessReply::success();
  bool unreachableIs503 = false;
  unsigned short missingStatus = 0;
  const char* missingText = nullptr;
  bool unheardIs501 = false;
};

constexpr Outcome answering(SuccessReply reply) { return {"", 401, reply}; }

// Where a callback's argument comes from.
struct Arg {
  enum Kind { Text, Decoded, Fixed, After, Number, Count, Bool, One, Whole, Decimal };
  Kind kind;
  const char* key;
  const char* fallback = "";
  size_t minCount = 0;  // After: read only when the query has this many pairs
  int absent = 0;       // Count: the value when the key is absent
  bool required = false;

  std::string text(const RouteRequest& r) const;
  int number(const RouteRequest& r) const;
  float decimal(const RouteRequest& r) const;
  bool flag(const RouteRequest& r) const;
  // Present, and for the strict numbers a number to the last character.
  bool readable(const RouteRequest& r) const;
  // The same, and the route fails without asking the host when it is absent.
  Arg needed() const {
    Arg a = *this;
    a.required = true;
    return a;
  }
};

namespace arg {
// The value as it came ("" or `fallback` when absent).
inline Arg text(const char* key, const char* fallback = "") { return {Arg::Text, key, fallback}; }
inline Arg decoded(const char* key) { return {Arg::Decoded, key}; }
inline Arg fixed(const char* text) { return {Arg::Fixed, text}; }
// Read only when the query has at least `minCount` pairs: clients send every
// key up to the last one they set.
inline Arg after(const char* key, size_t minCount, const char* fallback) {
  return {Arg::After, key, fallback, minCount};
}
// A decimal number; anything else fails the request with 500.
inline Arg number(const char* key) { return {Arg::Number, key}; }
inline Arg count(const char* key, int absent) { return {Arg::Count, key, "", 0, absent}; }
// Strict numbers: a value that is not wholly a number (an int, or a finite
// float in C locale notation) counts as missing, so that a required one is
// refused with the missing text rather than a 500.
inline Arg whole(const char* key) { return {Arg::Whole, key}; }
inline Arg decimal(const char* key) { return {Arg::Decimal, key}; }
inline Arg boolean(const char* key) { return {Arg::Bool, key}; }
// True when the number is 1.
inline Arg one(const char* key) { return {Arg::One, key}; }
}  // namespace arg

namespace route_detail {

// Holds one argument of a callback for the length of the call.
template <typename P>
struct Slot;
template <>
struct Slot<const char*&> {
  Slot(const Arg& a, const RouteRequest& r) : text(a.text(r)) {}
  const char*& get() { return ptr = text.c_str(); }
  std::string text;
  const char* ptr = nullptr;
};
template <>
struct Slot<int&> {
  Slot(const Arg& a, const RouteRequest& r) : v(a.number(r)) {}
  int& get() { return v; }
  int v;
};
template <>
struct Slot<float&> {
  Slot(const Arg& a, const RouteRequest& r) : v(a.decimal(r)) {}
  float& get() { return v; }
  float v;
};
template <>
struct Slot<bool&> {
  Slot(const Arg& a, const RouteRequest& r) : v(a.flag(r)) {}
  bool& get() { return v; }
  bool v;
};
template <>
struct Slot<VeloraLibraryItemSource&> {
  Slot(const Arg& a, const RouteRequest& r)
      : v(static_cast<VeloraLibraryItemSource>(a.number(r))) {}
  VeloraLibraryItemSource& get() { return v; }
  VeloraLibraryItemSource v;
};
template <>
struct Slot<PlaybackMode&> {
  Slot(const Arg& a, const RouteRequest& r) : v{a.number(r)} {}
  PlaybackMode& get() { return v; }
  PlaybackMode v;
};

// Returns how many listeners heard the callback.
template <typename L, typename Callback, typename Params, size_t... I, typename... Extra>
size_t fire(Call& c, Callback cb, const std::vector<Arg>& args, std::index_sequence<I...>,
            Extra&... extra) {
  std::tuple<Slot<std::tuple_element_t<I, Params>>...> slots{
      Slot<std::tuple_element_t<I, Params>>(args[I], c.r)...};
  return c.u.hub.of<L>().stable_fire(cb, std::get<I>(slots).get()..., extra...);
}

// A row whose arguments do not fit its callback is a mistake in the table.
inline void checkArity(size_t args, size_t params) {
  if (args != params) {
    std::fprintf(stderr, "route table: %zu arguments for %zu parameters\n", args, params);
    std::abort();
  }
}

std::optional<web::http::http_response> missing(Call& c, const std::vector<Arg>& args,
                                                const Outcome& outcome);

}  // namespace route_detail

Answer conclude(Call& c, int status, const Outcome& outcome);
Answer reply(Call& c, const SuccessReply& success);
// 501 "Not Implemented": the host registered no listener for the route.
web::http::http_response notImplemented();

// The exchange: a callback whose last argument is the status.
template <typename L, typename... P>
Handler ask(void (L::*callback)(P...), Outcome outcome, std::vector<Arg> args = {}) {
  route_detail::checkArity(args.size(), sizeof...(P) - 1);
  return [=](Call& c) -> Answer {
    // Asked before the keys are read, and again by the call itself: the
    // listener may go between the two.
    if (outcome.unheardIs501 && c.u.hub.of<L>().empty()) return notImplemented();
    if (auto refused = route_detail::missing(c, args, outcome)) return refused;
    int status = 0;
    const size_t heard = route_detail::fire<L, decltype(callback), std::tuple<P...>>(
        c, callback, args, std::make_index_sequence<sizeof...(P) - 1>(), status);
    if (outcome.unheardIs501 && heard == 0) return notImplemented();
    return conclude(c, status, outcome);
  };
}

// A callback without a status: the host is told, and the reply is fixed.
template <typename L, typename... P>
Handler tell(void (L::*callback)(P...), Outcome outcome, std::vector<Arg> args = {}) {
  route_detail::checkArity(args.size(), sizeof...(P));
  return [=](Call& c) -> Answer {
    if (auto refused = route_detail::missing(c, args, outcome)) return refused;
    route_detail::fire<L, decltype(callback), std::tuple<P...>>(
        c, callback, args, std::make_index_sequence<sizeof...(P)>());
    return reply(c, outcome.reply);
  };
}

// A POST whose body is read and applied after the reply; a body that is not
// what the route expects is dropped without a word.
Answer applyBody(Call& c, std::function<void(const web::json::value&)> work);
