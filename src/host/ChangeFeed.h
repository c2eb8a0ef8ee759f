#pragma once

#include <mutex>

#include "host/ParkingLot.h"

// The change flag of the state documents and the "status" polls waiting
// for it. raise() sets the flag and wakes the longest-waiting poll; a poll
// whose deadline passes first is woken with `signalled` false. Polls wait in
// a ParkingLot, so they hold no thread and are called back on its thread.
class ChangeFeed {
 public:
  using Clock = ParkingLot::Clock;
  using Waiter = ParkingLot::Wake;

  ChangeFeed() = default;
  // Whoever still waits hears that nothing came.
  ~ChangeFeed() { lot_.releaseAll(); }
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
  void releaseAll() { lot_.releaseAll(); }

  size_t waiting() const { return lot_.size(); }

 private:
  mutable std::mutex mutex_;
  bool raised_ = false;
  ParkingLot lot_;
};
