#include "service/RouteRequest.h"

#include <cpprest/uri.h>

RouteRequest::RouteRequest(web::http::http_request& request) : http(request) {
  const web::uri& uri = request.relative_uri();
  segments = web::uri::split_path(uri.path());
  query = web::uri::split_query(uri.query());
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
