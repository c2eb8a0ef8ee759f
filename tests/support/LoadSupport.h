#pragma once

// Helpers of the load and fault tests: a gate that starts and pauses client
// threads together, a tally that classifies each reply against what its
// route may answer, and the process's resident memory.

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <cpprest/json.h>

#include "support/TestHttp.h"

namespace velora_test {

#if defined(__has_feature)
#if __has_feature(thread_sanitizer) || __has_feature(address_sanitizer)
#define VELORA_TEST_SANITIZED 1
#endif
#endif
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__) || defined(VELORA_TEST_SANITIZED)
// Sanitizers keep freed memory in quarantine and shadow every byte, so
// resident memory says nothing about the service there.
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

// Seconds the load runs: VELORA_LOAD_SECONDS, 30 when unset.
inline int loadSeconds() {
  const char* text = std::getenv("VELORA_LOAD_SECONDS");
  const int seconds = text != nullptr ? std::atoi(text) : 0;
  return seconds > 0 ? seconds : 30;
}

// VmRSS of this process in kB (the service runs inside it).
inline long residentKb() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.rfind("VmRSS:", 0) == 0) return std::atol(line.c_str() + 6);
  }
  return 0;
}

// Threads run while the gate is open. close() waits until every thread is
// between two steps; finish() lets them all end.
class Gate {
 public:
  // Blocks while closed; false once finished. A true return must be
  // followed by leave().
  bool enter() {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return open_ || finished_; });
    if (finished_) return false;
    ++inside_;
    return true;
  }
  void leave() {
    std::lock_guard<std::mutex> lock(mutex_);
    --inside_;
    changed_.notify_all();
  }
  void open() { set(true, false); }
  void close() { set(false, false); }
  void finish() { set(false, true); }

 private:
  void set(bool open, bool finished) {
    std::unique_lock<std::mutex> lock(mutex_);
    open_ = open;
    finished_ = finished;
    changed_.notify_all();
    if (!open) changed_.wait(lock, [this] { return inside_ == 0; });
  }
  std::mutex mutex_;
  std::condition_variable changed_;
  bool open_ = false;
  bool finished_ = false;
  int inside_ = 0;
};

// The form a reply's body must have.
enum class Body {
  Text,         // the JSON string `text`
  AnyText,      // any JSON string
  Json,         // any JSON
  JsonOrEmpty,  // any JSON, or nothing (a null slot)
  Empty,        // nothing
  Token,        // the pairing answer
  Changes,      // the nine state documents of a status delivery
  Page,         // the page file
};

struct Allowed {
  int status;
  Body body;
  std::string text;
};

inline bool parses(const std::string& body, web::json::value* out = nullptr) {
  try {
    web::json::value v = web::json::value::parse(body);
    if (out != nullptr) *out = std::move(v);
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

inline bool bodyFits(const Allowed& a, const std::string& body, const std::string& page) {
  web::json::value v;
  switch (a.body) {
    case Body::Text:
      return body == "\"" + a.text + "\"";
    case Body::AnyText:
      return parses(body, &v) && v.is_string();
    case Body::Json:
      return !body.empty() && parses(body);
    case Body::JsonOrEmpty:
      return body.empty() || parses(body);
    case Body::Empty:
      return body.empty();
    case Body::Token:
      return parses(body, &v) && v.is_object() && v.has_string_field("token") &&
             v.at("token").as_string().size() == 36 && v.has_boolean_field("authstatus") &&
             v.has_boolean_field("disconnected");
    case Body::Changes: {
      if (!parses(body, &v) || !v.is_object() || v.size() != 9) return false;
      for (const char* key : {"equalizer", "irc", "ac", "ooyh", "playback", "library", "disconnect",
                              "settings", "updated"}) {
        if (!v.has_field(key)) return false;
      }
      return true;
    }
    case Body::Page:
      return body == page;
  }
  return false;
}

// Replies counted by route family and status. Status 0 counts requests that
// got no reply (or, for the family "abandoned", were not meant to).
class Tally {
 public:
  void count(const std::string& family, int status) { ++counts_[family][status]; }

  void check(const std::string& family, const std::string& request,
             const std::vector<Allowed>& allowed, const HttpReply& reply, const std::string& page) {
    count(family, reply.status);
    if (reply.status == 0) {
      ++missing_;
      note("no reply: " + request);
      return;
    }
    for (const Allowed& a : allowed) {
      if (a.status == reply.status && bodyFits(a, reply.body, page)) return;
    }
    ++unexpected_;
    note(request + " -> " + std::to_string(reply.status) + " " + reply.body.substr(0, 160));
  }

  void merge(const Tally& other) {
    for (const auto& [family, byStatus] : other.counts_) {
      for (const auto& [status, n] : byStatus) counts_[family][status] += n;
    }
    unexpected_ += other.unexpected_;
    missing_ += other.missing_;
    for (const auto& s : other.samples_) {
      if (samples_.size() < 12) samples_.push_back(s);
    }
  }

  long total() const {
    long n = 0;
    for (const auto& [family, byStatus] : counts_) {
      for (const auto& [status, count] : byStatus) n += count;
    }
    return n;
  }
  long unexpected() const { return unexpected_; }
  long missing() const { return missing_; }

  // "by status: 200=.. 304=..; by family: status=.. ping=.." (0 = no reply
  // or abandoned).
  std::string summary() const {
    std::map<int, long> byStatus;
    std::ostringstream out;
    for (const auto& [family, counts] : counts_) {
      for (const auto& [status, n] : counts) byStatus[status] += n;
    }
    out << "by status:";
    for (const auto& [status, n] : byStatus) out << " " << status << "=" << n;
    out << "; by family:";
    for (const auto& [family, counts] : counts_) {
      long n = 0;
      for (const auto& entry : counts) n += entry.second;
      out << " " << family << "=" << n;
    }
    out << "; unexpected=" << unexpected_ << " missing=" << missing_;
    return out.str();
  }
  std::string samples() const {
    std::string text;
    for (const auto& s : samples_) text += s + "\n";
    return text;
  }

 private:
  void note(std::string sample) {
    if (samples_.size() < 12) samples_.push_back(std::move(sample));
  }
  std::map<std::string, std::map<int, long>> counts_;
  long unexpected_ = 0;
  long missing_ = 0;
  std::vector<std::string> samples_;
};

// Polls "status" until a delivery satisfies `wanted` (deliveries taken by
// other pollers are skipped); false after `timeoutMs`.
inline bool pollUntil(int port, const std::function<bool(const web::json::value&)>& wanted,
                      int timeoutMs = 10000) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
  while (std::chrono::steady_clock::now() < deadline) {
    const HttpReply reply = httpGet(port, "/status", 3000);
    web::json::value v;
    if (reply.status == 200 && parses(reply.body, &v) && v.is_object()) {
      try {
        if (wanted(v)) return true;
      } catch (const std::exception&) {
      }
    }
  }
  return false;
}

}  // namespace velora_test
