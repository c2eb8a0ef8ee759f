#pragma once

// Helpers of the load and fault tests: what a route may answer, a tally of
// the replies that fit none of it, and the process's resident memory.

#include <cstdlib>
#include <fstream>
#include <mutex>
#include <string>
#include <vector>

#include <cpprest/json.h>

#include "support/TestHttp.h"

namespace velora_test {

// Sanitizers keep freed memory in quarantine: resident memory says nothing.
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr bool kSanitized = true;
#elif defined(__has_feature)
constexpr bool kSanitized = __has_feature(thread_sanitizer) || __has_feature(address_sanitizer);
#else
constexpr bool kSanitized = false;
#endif

constexpr const char* kPreset =
    R"({"name":"Warm","id":3,"paramset":[{"order":1,"fband":100,"bband":2,"qband":0.5,"filter":1}]})";

// VmRSS of this process in kB (the service runs inside it).
inline long residentKb() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind("VmRSS:", 0) == 0) return std::atol(line.c_str() + 6);
  }
  return 0;
}

// Body shapes, of a body that parses.
inline bool isText(const web::json::value& v) { return v.is_string(); }
inline bool isJson(const web::json::value&) { return true; }
inline bool isPairing(const web::json::value& v) {
  return v.is_object() && v.has_string_field("token") && v.at("token").as_string().size() == 36 &&
         v.has_boolean_field("authstatus") && v.has_boolean_field("disconnected");
}
// A "status" delivery: the nine state documents.
inline bool isDelivery(const web::json::value& v) {
  if (!v.is_object() || v.size() != 9) return false;
  for (const char* key : {"equalizer", "irc", "ac", "ooyh", "playback", "library", "disconnect",
                          "settings", "updated"}) {
    if (!v.has_field(key)) return false;
  }
  return true;
}

// A reply a route may give: its status and its body, or a body of `shape`.
struct Allowed {
  int status;
  std::string body;
  bool (*shape)(const web::json::value&) = nullptr;
  bool fits(const HttpReply& r) const {
    if (r.status != status) return false;
    if (shape == nullptr) return r.body == body;
    try {
      return !r.body.empty() && shape(web::json::value::parse(r.body));
    } catch (const std::exception&) {
      return false;
    }
  }
};

// The volume the next "status" delivery carries (throws when none does).
inline int volumeDelivered(int port) {
  return web::json::value::parse(httpGet(port, "/status").body)["playback"]["volumelevel"]
      .as_integer();
}

// Counts replies from any thread, keeping the first few that fit no allowed
// answer (no reply: status 0). Read the fields once the clients are done.
class Tally {
 public:
  void check(const std::string& request, const std::vector<Allowed>& allowed,
             const HttpReply& reply) {
    bool fits = false;
    for (const Allowed& a : allowed) fits = fits || a.fits(reply);
    std::lock_guard<std::mutex> lock(mutex_);
    ++total;
    if (fits || ++faults > 12) return;
    samples +=
        request + " -> " + std::to_string(reply.status) + " " + reply.body.substr(0, 160) + "\n";
  }
  long total = 0;
  long faults = 0;
  std::string samples;

 private:
  std::mutex mutex_;
};

}  // namespace velora_test
