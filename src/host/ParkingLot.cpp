#include "host/ParkingLot.h"

#include <algorithm>

ParkingLot::ParkingLot() : thread_([this] { run(); }) {}

ParkingLot::~ParkingLot() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
  }
  wakeup_.notify_all();
  thread_.join();
}

void ParkingLot::park(std::string key, Clock::time_point deadline, Wake wake) {
  {
    std::unique_lock<std::mutex> lock(mutex_);
    if (stopping_) {
      lock.unlock();
      wake(false);
      return;
    }
    parked_.emplace(next_++, Waiter{std::move(key), deadline, std::move(wake)});
  }
  wakeup_.notify_all();
}

void ParkingLot::wakeNow(Wake wake, bool signalled) {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    ready_.emplace_back(std::move(wake), signalled);
  }
  wakeup_.notify_all();
}

void ParkingLot::ready(std::map<uint64_t, Waiter>::iterator it, bool signalled) {
  ready_.emplace_back(std::move(it->second.wake), signalled);
  parked_.erase(it);
}

void ParkingLot::wakeOldest() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    if (parked_.empty()) return;
    ready(parked_.begin(), true);
  }
  wakeup_.notify_all();
}

void ParkingLot::wakeKey(const std::string& key) {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    for (auto it = parked_.begin(); it != parked_.end();) {
      auto here = it++;
      if (key.empty() || here->second.key == key) ready(here, true);
    }
  }
  wakeup_.notify_all();
}

void ParkingLot::releaseAll() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    while (!parked_.empty()) ready(parked_.begin(), false);
  }
  wakeup_.notify_all();
}

size_t ParkingLot::size() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return parked_.size();
}

void ParkingLot::run() {
  std::unique_lock<std::mutex> lock(mutex_);
  for (;;) {
    // Move expired waiters to the ready list, then call everything ready
    // without the lock.
    const auto now = Clock::now();
    auto next = Clock::time_point::max();
    for (auto it = parked_.begin(); it != parked_.end();) {
      auto here = it++;
      if (here->second.deadline <= now) {
        ready(here, false);
      } else {
        next = std::min(next, here->second.deadline);
      }
    }
    if (!ready_.empty()) {
      auto batch = std::move(ready_);
      ready_.clear();
      lock.unlock();
      for (auto& [wake, signalled] : batch) wake(signalled);
      lock.lock();
      continue;
    }
    if (stopping_) break;
    if (next == Clock::time_point::max()) {
      wakeup_.wait(lock);
    } else {
      wakeup_.wait_until(lock, next);
    }
  }
}
