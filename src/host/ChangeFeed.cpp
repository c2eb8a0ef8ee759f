#include "host/ChangeFeed.h"

void ChangeFeed::raise() {
  std::lock_guard<std::mutex> lock(mutex_);
  raised_ = true;
  lot_.wakeOldest();
}

bool ChangeFeed::raised() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return raised_;
}

void ChangeFeed::clear() {
  std::lock_guard<std::mutex> lock(mutex_);
  raised_ = false;
}

void ChangeFeed::wait(Clock::time_point deadline, Waiter waiter) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (raised_) {
    lot_.wakeNow(std::move(waiter), true);
  } else {
    lot_.park({}, deadline, std::move(waiter));
  }
}
