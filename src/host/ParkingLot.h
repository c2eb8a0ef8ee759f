#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

// Long-poll requests waiting for a change, as callbacks rather than blocked
// threads: a request parks here with a deadline and gives its worker thread
// back. Each callback is called once, with `signalled` true when a change woke
// it and false when its deadline passed or the lot was released.
//
// Callbacks run on the lot's own thread, never on the thread that woke them
// (a host setter that may hold locks of its own) and never under a lock.
// An owner that decides whether to park under a mutex of its own parks and
// wakes while still holding it, so no change falls between the two; the
// lot's mutex is always taken last.
class ParkingLot {
 public:
  using Clock = std::chrono::steady_clock;
  using Wake = std::function<void(bool signalled)>;

  ParkingLot();
  // Runs what was already woken; waiters still parked are dropped.
  ~ParkingLot();
  ParkingLot(const ParkingLot&) = delete;
  ParkingLot& operator=(const ParkingLot&) = delete;

  // Parks `wake` under `key` until `deadline`.
  void park(std::string key, Clock::time_point deadline, Wake wake);
  // Calls `wake` soon, on the lot's thread.
  void wakeNow(Wake wake, bool signalled);
  // Wakes the longest-parked waiter.
  void wakeOldest();
  // Wakes every waiter parked under `key`, or every waiter when it is empty.
  void wakeKey(const std::string& key);
  // Wakes every waiter without a signal.
  void releaseAll();
  size_t size() const;

 private:
  struct Waiter {
    std::string key;
    Clock::time_point deadline;
    Wake wake;
  };
  void ready(std::map<uint64_t, Waiter>::iterator it, bool signalled);  // lock held
  void run();

  mutable std::mutex mutex_;
  std::condition_variable wakeup_;
  bool stopping_ = false;
  uint64_t next_ = 0;
  std::map<uint64_t, Waiter> parked_;  // by arrival: the oldest first
  std::vector<std::pair<Wake, bool>> ready_;
  std::thread thread_;
};
