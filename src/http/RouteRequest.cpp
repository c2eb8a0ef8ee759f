#include "http/RouteRequest.h"

#include <strings.h>

#include <cpprest/uri.h>

std::vector<std::string> splitPath(const std::string& path) {
  std::vector<std::string> segments;
  size_t start = 0;
  while (start < path.size()) {
    size_t end = path.find('/', start);
    if (end == std::string::npos) end = path.size();
    if (end > start) segments.emplace_back(path, start, end - start);
    start = end + 1;
  }
  return segments;
}

std::map<std::string, std::string> splitQuery(const std::string& query) {
  std::map<std::string, std::string> pairs;
  size_t start = 0;
  while (start != std::string::npos) {
    size_t end = query.find('&', start);
    if (end == std::string::npos) end = query.find(';', start);
    const size_t length = end == std::string::npos ? query.size() - start : end - start;
    const size_t equals = query.find('=', start);
    if (equals != std::string::npos && equals < start + length) {
      pairs[query.substr(start, equals - start)].assign(query, equals + 1,
                                                        start + length - equals - 1);
    }
    start = end == std::string::npos ? std::string::npos : end + 1;
  }
  return pairs;
}

RouteRequest::RouteRequest(web::http::http_request& request) : http(request) {
  // The listener sits at the root, so the path relative to it is the
  // request's own; reading it there spares building a second URI.
  const web::uri& uri = request.request_uri();
  segments = splitPath(uri.path());
  query = splitQuery(uri.query());
  decodedPath = web::uri::decode(uri.path());
}

std::string RouteRequest::text(const std::string& key, const std::string& fallback) const {
  auto it = query.find(key);
  return it == query.end() ? fallback : it->second;
}

std::string RouteRequest::decoded(const std::string& key, const std::string& fallback) const {
  auto it = query.find(key);
  return it == query.end() ? fallback : web::uri::decode(it->second);
}

int RouteRequest::number(const std::string& key) const { return std::stoi(query.at(key)); }

std::string RouteRequest::optional(const std::string& key, size_t minCount,
                                   const std::string& fallback) const {
  return count() >= minCount ? text(key, fallback) : fallback;
}

std::string RouteRequest::credential() const {
  auto token = query.find("token");
  if (token != query.end()) return token->second;
  const auto& headers = http.headers();
  auto header = headers.find("Authorization");
  if (header == headers.end()) return "";
  const std::string& value = header->second;
  // The scheme's name is not case-sensitive.
  constexpr size_t kScheme = 7;  // "Bearer "
  if (value.size() <= kScheme || ::strncasecmp(value.c_str(), "Bearer ", kScheme) != 0) return "";
  const size_t start = value.find_first_not_of(' ', kScheme);
  const size_t end = value.find_last_not_of(' ');
  return start == std::string::npos ? "" : value.substr(start, end - start + 1);
}
