#include "listeners/Ticker.h"

namespace refhost {

Ticker::Ticker(Player& player, Publisher& publish, Console& console, std::chrono::milliseconds step)
    : player_(player), publish_(publish), console_(console), step_(step) {}

Ticker::~Ticker() { stop(); }

void Ticker::start() {
  std::lock_guard<std::mutex> lock(mutex_);
  if (thread_.joinable()) return;
  stopping_ = false;
  thread_ = std::thread([this] { run(); });
}

void Ticker::stop() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
  }
  wake_.notify_all();
  if (thread_.joinable()) thread_.join();
}

void Ticker::run() {
  using Clock = std::chrono::steady_clock;
  auto lastPush = Clock::now();
  bool scanning = false;
  std::unique_lock<std::mutex> lock(mutex_);
  while (!wake_.wait_for(lock, step_, [this] { return stopping_; })) {
    lock.unlock();
    const TickResult r = player_.tick();
    const TransportSnapshot now = player_.transport();
    const bool due = now.transport == Transport::Playing &&
                     Clock::now() - lastPush >= std::chrono::milliseconds(1000);
    if (r.trackChanged || r.transportChanged || due) {
      publish_.transport(r.trackChanged);
      lastPush = Clock::now();
    }
    // The queue's position moved, and a play-next track may have left its list.
    if (r.trackChanged) publish_.queue();
    if (r.trackChanged && !now.trackId.empty()) {
      CatalogTrack track;
      if (player_.findTrack(now.trackId, track)) console_.say("now playing: " + track.title);
    }
    const bool running = player_.scan().running;
    if (scanning && !running) publish_.libraryChanged();
    scanning = running;
    lock.lock();
  }
}

}  // namespace refhost
