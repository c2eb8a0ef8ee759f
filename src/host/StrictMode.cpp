#include "host/StrictMode.h"

#include "util/Support.h"

namespace {
// An origin as browsers send it: a scheme, "://", and a host with an
// optional port, nothing after. Anything else (a path, "null", a bare host)
// could never match what a browser sends, or would match what it should not.
bool isOrigin(const std::string& origin) {
  const size_t scheme = origin.find("://");
  if (scheme == std::string::npos || scheme == 0) return false;
  const std::string rest = origin.substr(scheme + 3);
  return !rest.empty() && rest.find_first_of("/?#@ \t") == std::string::npos;
}

std::string trimmed(const std::string& text) {
  const size_t first = text.find_first_not_of(" \t");
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}
}  // namespace

void StrictMode::set(bool enabled, const std::string& allowedOrigins) {
  auto origins = std::make_shared<std::vector<std::string>>();
  size_t start = 0;
  while (start <= allowedOrigins.size()) {
    size_t end = allowedOrigins.find(',', start);
    if (end == std::string::npos) end = allowedOrigins.size();
    std::string origin = trimmed(allowedOrigins.substr(start, end - start));
    // "https://remote.example.org/" is what a host copies from the address bar.
    if (!origin.empty() && origin.back() == '/') origin.pop_back();
    if (isOrigin(origin)) origins->push_back(utility::conversions::str_tolower(origin));
    start = end + 1;
  }
  {
    std::lock_guard<std::mutex> lock(originsMutex_);
    origins_ = std::move(origins);
  }
  enabled_.store(enabled, std::memory_order_release);
}

bool StrictMode::allows(const std::string& origin) const {
  if (origin.empty()) return false;
  std::shared_ptr<const std::vector<std::string>> origins;
  {
    std::lock_guard<std::mutex> lock(originsMutex_);
    origins = origins_;
  }
  const std::string lower = utility::conversions::str_tolower(origin);
  for (const std::string& allowed : *origins) {
    if (allowed == lower) return true;
  }
  return false;
}
