#pragma once

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <vector>

// Registry of listeners of one interface. Firing works on a snapshot taken
// under the lock and re-checks each listener before calling it, so a callback
// may subscribe or unsubscribe listeners (itself included) or call back into
// the service without deadlock: the lock is never held while a callback runs.

#define VELORA_OBSERVABLE_CHECK(cond)                                            \
  do {                                                                           \
    if (!(cond)) {                                                               \
      std::fprintf(stderr, "Assertion failed: (%s), file %s, line %d.\n", #cond, \
                   "../Common/Observable.h", __LINE__);                          \
      std::abort();                                                              \
    }                                                                            \
  } while (0)

namespace detail {

// Result codes of subscribe / cancel_subscription, as hosts see them.
enum SubscriptionResult : int {
  kNotSubscribed = 1,
  kAlreadySubscribed = 2,
  kSubscriptionChanged = 4,
};

template <typename L, typename P = L*>
class ObservableBase {
 public:
  int subscribe(P p) {
    VELORA_OBSERVABLE_CHECK(p != nullptr);
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    VELORA_OBSERVABLE_CHECK(!m_firing);
    if (std::find(listeners_.begin(), listeners_.end(), p) != listeners_.end()) {
      return kAlreadySubscribed;
    }
    listeners_.push_back(p);
    return kSubscriptionChanged;
  }

  int cancel_subscription(P p) {
    VELORA_OBSERVABLE_CHECK(p != nullptr);
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    VELORA_OBSERVABLE_CHECK(!m_firing);
    auto it = std::find(listeners_.begin(), listeners_.end(), p);
    if (it == listeners_.end()) return kNotSubscribed;
    listeners_.erase(it);
    return kSubscriptionChanged;
  }

  // Makes `p` the only listener, or leaves none for null, in one step: a
  // firing sees the listeners before or after, never a mix or a gap.
  // kNotSubscribed when there was nothing to remove, kAlreadySubscribed when
  // `p` already was the only one.
  int replaceAll(P p) {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    if (p == nullptr ? listeners_.empty() : listeners_ == std::vector<P>{p}) {
      return p == nullptr ? kNotSubscribed : kAlreadySubscribed;
    }
    listeners_.clear();
    if (p != nullptr) listeners_.push_back(p);
    return kSubscriptionChanged;
  }

  bool has(P& p) {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    return std::find(listeners_.begin(), listeners_.end(), p) != listeners_.end();
  }

  // Calls `callback` on every listener registered when the firing started and
  // still registered when its turn comes. Arguments go by reference so that
  // callbacks can write results back to the caller. Returns how many were
  // called, so a caller can tell that nobody heard.
  template <typename... Params, typename... Args>
  size_t stable_fire(void (L::*callback)(Params...), Args&&... args) {
    std::vector<P> snapshot;
    {
      std::lock_guard<std::recursive_mutex> lock(mutex_);
      snapshot = listeners_;
    }
    size_t called = 0;
    for (P& listener : snapshot) {
      if (listener != nullptr && has(listener)) {
        (listener->*callback)(args...);
        ++called;
      }
    }
    return called;
  }

  bool empty() {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    return listeners_.empty();
  }

 private:
  std::vector<P> listeners_;
  std::recursive_mutex mutex_;
  // Never set: subscribing from inside a callback is allowed on purpose.
  bool m_firing = false;
};

}  // namespace detail
