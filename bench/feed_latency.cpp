// Change-feed latency: how long after a host setter call a client parked on
// "status" has read the whole reply. The service listens on a loopback port;
// a raw keep-alive client waits on /status, the host thread calls
// setVolumeLevel once the poll is parked, and the clock stops at the last
// byte of the 200 reply.
//
//   velora_bench_feed_latency [changes]      (1000 by default)

#include <chrono>
#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

#include "BenchSupport.h"
#include "service/VeloraRestService.h"

int main(int argc, char** argv) {
  const int changes = argc > 1 ? std::atoi(argv[1]) : 1000;
  VeloraRestService service(
      VeloraRestService::Options{std::make_shared<bench::QuietNotifier>(), "/nonexistent"});
  mServicePort = bench::freePortBlock();
  bench::quietly([&] { service.startListening(); });
  const int port = service.currentPort();

  bench::RawClient client(port);
  std::vector<double> micros;
  micros.reserve(static_cast<size_t>(changes));
  int unexpected = 0;
  for (int i = 0; i < changes; ++i) {
    client.send("/status");
    // Start the clock only once the poll is parked, so that it measures the
    // wake-up and the reply, not the request's way in.
    const auto giveUp = std::chrono::steady_clock::now() + std::chrono::milliseconds(500);
    while (service.changeFeed().waiting() == 0 && std::chrono::steady_clock::now() < giveUp)
      std::this_thread::sleep_for(std::chrono::microseconds(50));
    const auto start = std::chrono::steady_clock::now();
    service.setVolumeLevel(i % 100);
    const int status = client.read();
    const auto stop = std::chrono::steady_clock::now();
    if (status != 200 || client.body().find("\"volumelevel\"") == std::string::npos) {
      ++unexpected;
      continue;
    }
    micros.push_back(std::chrono::duration<double, std::micro>(stop - start).count());
  }
  bench::quietly([&] { service.shutdown(); });

  const double p50 = bench::quantile(micros, 0.50) / 1000;
  const double p99 = bench::quantile(micros, 0.99) / 1000;
  bench::result("change feed", "setter to reply read, p50", p50, "ms");
  bench::result("change feed", "setter to reply read, p99", p99, "ms", "< 2",
                bench::verdict(p99 < 2));
  bench::result("change feed", "setter to reply read, max", micros.back() / 1000, "ms");
  bench::result("change feed", "changes delivered (of " + std::to_string(changes) + ")",
                static_cast<double>(micros.size()), "count", "all",
                bench::verdict(unexpected == 0));
  return unexpected == 0 ? 0 : 1;
}
