#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

// The change flag of the state documents and the clients waiting for it.
//
// A waiter is a callback, not a blocked thread: a "status" poll registers
// one with a deadline and returns its worker thread to the pool. raise() sets
// the flag and wakes the longest-waiting waiter; a waiter whose deadline
// passes first is woken with `signalled` false. Callbacks run on the feed's
// own thread, never on the thread that raised the flag (a host setter that may
// hold locks of its own), and never with the feed's lock held.
class ChangeFeed {
 public:
  using Clock = std::chrono::steady_clock;
  using Waiter = std::function<void(bool signalled)>;

  ChangeFeed();
  ~ChangeFeed();
  ChangeFeed(const ChangeFeed&) = delete;
  ChangeFeed& operator=(const ChangeFeed&) = delete;

  // Sets the flag and wakes one waiter, if any waits.
  void raise();
  bool raised() const;
  void clear();

  // Registers `waiter` until `deadline`. When the flag is already raised it
  // is woken at once (so a raise just before the registration is not lost).
  void wait(Clock::time_point deadline, Waiter waiter);

  // Wakes every waiter at once, without a signal (when the service closes).
  void releaseAll();

  // Waits on the calling thread; true when woken by a raise().
  bool waitUntil(Clock::time_point deadline);

  size_t waiting() const;

 private:
  struct Entry {
    Clock::time_point deadline;
    Waiter waiter;
  };
  void run();

  mutable std::mutex mutex_;
  std::condition_variable wakeup_;
  bool raised_ = false;
  bool stopping_ = false;
  uint64_t nextId_ = 0;
  std::map<uint64_t, Entry> waiting_;  // by arrival: the oldest first
  std::vector<std::pair<Waiter, bool>> ready_;
  std::thread thread_;
};
