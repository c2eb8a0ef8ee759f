#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

// Whether the service runs strict, and the web origins the host lets call it
// from their pages. Either may change while requests are being answered: a
// request reads each once, when it needs it.
class StrictMode {
 public:
  // `allowedOrigins` is a comma-separated list of scheme://host[:port].
  void set(bool enabled, const std::string& allowedOrigins);
  bool enabled() const { return enabled_.load(std::memory_order_acquire); }
  // True when `origin` is one of the allowed origins, ignoring case.
  bool allows(const std::string& origin) const;

 private:
  std::atomic<bool> enabled_{false};
  mutable std::mutex originsMutex_;
  // Lower-cased; replaced whole, never changed in place.
  std::shared_ptr<const std::vector<std::string>> origins_ =
      std::make_shared<const std::vector<std::string>>();
};
