#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "Console.h"
#include "listeners/Publisher.h"
#include "player/Player.h"

namespace refhost {

// Makes time pass for the player: a few times a second it advances playback,
// downloads and scans, and publishes the transport about once a second while
// playing and at once when a track ends.
class Ticker {
 public:
  Ticker(Player& player, Publisher& publish, Console& console,
         std::chrono::milliseconds step = std::chrono::milliseconds(250));
  ~Ticker();  // stops
  Ticker(const Ticker&) = delete;
  Ticker& operator=(const Ticker&) = delete;

  void start();
  void stop();

 private:
  void run();

  Player& player_;
  Publisher& publish_;
  Console& console_;
  const std::chrono::milliseconds step_;
  std::mutex mutex_;
  std::condition_variable wake_;
  bool stopping_ = false;
  std::thread thread_;
};

}  // namespace refhost
