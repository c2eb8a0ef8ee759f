#pragma once

#include <map>
#include <string>
#include <vector>

#include <cpprest/http_msg.h>

// One GET request taken apart: path segments, query pairs (sorted by key, as
// the HTTP library splits them) and the decoded path. Handlers read their
// keys through the helpers so that the rules live in one place:
//  - segment(i) and number(key) throw on a missing segment or a value that is
//    not a decimal number; the router turns that into a 500 reply;
//  - optional(key, n, fallback) reads `key` only when the query holds at least
//    `n` pairs in all: clients send every key up to the last one they set.
class RouteRequest {
 public:
  explicit RouteRequest(web::http::http_request& request);

  web::http::http_request& http;
  std::vector<std::string> segments;
  std::map<std::string, std::string> query;
  std::string decodedPath;

  const std::string& segment(size_t index) const { return segments.at(index); }
  bool has(const std::string& key) const { return query.count(key) != 0; }
  size_t count() const { return query.size(); }

  // The value as it arrived, or `fallback` when absent.
  std::string text(const std::string& key, const std::string& fallback = "") const;
  // The value percent-decoded.
  std::string decoded(const std::string& key, const std::string& fallback = "") const;
  int number(const std::string& key) const;
  std::string optional(const std::string& key, size_t minCount, const std::string& fallback) const;
  // The client's token: the query's "token", or when the query has none,
  // that of an "Authorization: Bearer" header ("" when neither).
  std::string credential() const;
};

// The HTTP library's uri::split_path and uri::split_query, to the letter,
// without the string stream and locale the first builds for every request:
// segments skip empty ones; pairs split on '&' (on ';' only where no '&'
// follows), a pair without '=' is dropped, and a later key wins.
std::vector<std::string> splitPath(const std::string& path);
std::map<std::string, std::string> splitQuery(const std::string& query);

// A text handed to a listener as `const char*&`. It must stay where it was
// made (the pointer refers into it), so it can be neither copied nor moved.
class CText {
 public:
  CText(std::string text) : text_(std::move(text)), ptr_(text_.c_str()) {}  // NOLINT: implicit
  CText(const char* text) : CText(std::string(text)) {}                     // NOLINT: implicit
  CText(const CText&) = delete;
  CText& operator=(const CText&) = delete;
  operator const char*&() { return ptr_; }  // NOLINT: implicit by design

 private:
  std::string text_;
  const char* ptr_;
};
