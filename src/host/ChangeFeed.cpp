#include "host/ChangeFeed.h"

#include <future>

ChangeFeed::ChangeFeed() : thread_([this] { run(); }) {}

ChangeFeed::~ChangeFeed() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
  }
  wakeup_.notify_all();
  thread_.join();
}

void ChangeFeed::raise() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    raised_ = true;
    if (!waiting_.empty()) {
      ready_.emplace_back(std::move(waiting_.begin()->second.waiter), true);
      waiting_.erase(waiting_.begin());
    }
  }
  wakeup_.notify_all();
}

void ChangeFeed::releaseAll() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    for (auto& entry : waiting_) ready_.emplace_back(std::move(entry.second.waiter), false);
    waiting_.clear();
  }
  wakeup_.notify_all();
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
  {
    std::unique_lock<std::mutex> lock(mutex_);
    if (stopping_) {
      lock.unlock();
      waiter(false);
      return;
    }
    if (raised_) {
      ready_.emplace_back(std::move(waiter), true);
    } else {
      waiting_.emplace(nextId_++, Entry{deadline, std::move(waiter)});
    }
  }
  wakeup_.notify_all();
}

bool ChangeFeed::waitUntil(Clock::time_point deadline) {
  auto woken = std::make_shared<std::promise<bool>>();
  auto result = woken->get_future();
  wait(deadline, [woken](bool signalled) { woken->set_value(signalled); });
  return result.get();
}

size_t ChangeFeed::waiting() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return waiting_.size();
}

void ChangeFeed::run() {
  std::unique_lock<std::mutex> lock(mutex_);
  for (;;) {
    // Move expired waiters to the ready list, then call everything ready
    // without the lock.
    const auto now = Clock::now();
    auto next = Clock::time_point::max();
    for (auto it = waiting_.begin(); it != waiting_.end();) {
      if (it->second.deadline <= now) {
        ready_.emplace_back(std::move(it->second.waiter), false);
        it = waiting_.erase(it);
      } else {
        next = std::min(next, it->second.deadline);
        ++it;
      }
    }
    if (!ready_.empty()) {
      auto batch = std::move(ready_);
      ready_.clear();
      lock.unlock();
      for (auto& [waiter, signalled] : batch) waiter(signalled);
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
  // Whoever still waits hears that nothing came.
  auto left = std::move(waiting_);
  waiting_.clear();
  lock.unlock();
  for (auto& entry : left) entry.second.waiter(false);
}
