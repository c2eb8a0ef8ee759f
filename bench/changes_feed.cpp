// The "changes" feed, over loopback against an in-process service:
//  - lossless: feed clients and one legacy "status" poller while the host
//    makes changes at about 200 a second; every feed client must end with the
//    last value of every key and every event;
//  - latency: from a setter call to the last byte of a parked reply;
//  - cost: GET /ping requests per second at 16 connections, alone and beside
//    256 parked feed clients that a host change wakes ten times a second;
//  - memory: resident size after 1,000 and after 100,000 changes.
//
//   velora_bench_changes_feed [changes] [seconds per ping round]

#include <poll.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include "BenchSupport.h"
#include "service/VeloraRestService.h"

using Clock = std::chrono::steady_clock;
using web::json::value;

namespace {

// A paired client's token: asked over HTTP, approved by the host.
std::string pair(VeloraRestService& service, int port, int code) {
  bench::RawClient c(port);
  c.send("/authenticate?code=" + std::to_string(code) + "&name=bench&version=1");
  c.read();
  const std::string token = value::parse(c.body()).at("token").as_string();
  Capabilities caps{7};
  service.authenticate(code, "bench", caps);
  return token;
}

// A feed client's view: the cursor, the last value of each key, the events.
struct Feed {
  std::string token, epoch;
  uint64_t seq = 0;
  std::map<std::string, std::string> state;
  std::vector<std::string> events;

  std::string target(int wait) const {
    std::string t = "/changes?token=" + token + "&wait=" + std::to_string(wait);
    if (seq != 0) t += "&since=" + std::to_string(seq) + "&epoch=" + epoch;
    return t;
  }
  void apply(const std::string& body) {
    const value v = value::parse(body);
    epoch = v.at("epoch").as_string();
    seq = v.at("seq").as_number().to_uint64();
    if (v.at("full").as_bool()) state.clear();
    for (const auto& [doc, keys] : v.at("changes").as_object())
      for (const auto& [key, x] : keys.as_object()) state[doc + "/" + key] = x.serialize();
    for (const auto& e : v.at("events").as_array()) events.push_back(e.at("value").serialize());
  }
};

long residentKiB() {
  std::ifstream statm("/proc/self/statm");
  long pages = 0, resident = 0;
  statm >> pages >> resident;
  return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

void lossless(VeloraRestService& service, int port, int changes) {
  constexpr int kFeeds = 4;
  std::vector<Feed> feeds(kFeeds);
  for (int i = 0; i < kFeeds; ++i) feeds[i].token = pair(service, port, 100 + i);
  std::atomic<bool> done{false};
  std::atomic<int> statusReplies{0};
  std::vector<std::thread> threads;
  threads.emplace_back([&] {
    bench::RawClient c(port);
    while (!done) {
      c.send("/status");
      if (c.read() == 200) ++statusReplies;
    }
  });
  for (auto& f : feeds) {
    threads.emplace_back([&f, &done, port] {
      bench::RawClient c(port);
      for (bool last = false; !last;) {
        last = done;
        c.send(f.target(last ? 0 : 1));
        if (c.read() == 200) f.apply(c.body());
      }
    });
  }
  // About 200 changes a second: mostly state, every tenth an event.
  const auto start = Clock::now();
  int events = 0;
  for (int i = 1; i <= changes; ++i) {
    std::this_thread::sleep_until(start + std::chrono::microseconds(5000 * i));
    if (i % 10 == 0) {
      service.setMyLibraryItemDirty();
      ++events;
    } else if (i % 3 == 0) {
      service.setEQState(i % 2 == 0);
    } else {
      service.setVolumeLevel(i);
    }
  }
  const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  done = true;
  for (auto& t : threads) t.join();

  int lost = 0;
  int lastVolume = changes;
  while (lastVolume % 10 == 0 || lastVolume % 3 == 0) --lastVolume;
  int lastEq = changes;
  while (lastEq % 10 == 0 || lastEq % 3 != 0) --lastEq;
  for (const auto& f : feeds) {
    if (f.state.count("playback/volumelevel") == 0 ||
        f.state.at("playback/volumelevel") != std::to_string(lastVolume))
      ++lost;
    if (f.state.count("equalizer/enabled") == 0 ||
        f.state.at("equalizer/enabled") != (lastEq % 2 == 0 ? "true" : "false"))
      ++lost;
    lost += std::abs(events - static_cast<int>(f.events.size()));
  }
  bench::result("changes feed", "host changes per second", changes / seconds, "1/s");
  bench::result("changes feed", "events per feed client (of " + std::to_string(events) + ")",
                static_cast<double>(feeds[0].events.size()), "count");
  bench::result("changes feed", "legacy status deliveries beside it",
                static_cast<double>(statusReplies.load()), "count");
  bench::result("changes feed", "lost by 4 feed clients", lost, "count", "0",
                bench::verdict(lost == 0));
}

void latency(VeloraRestService& service, int port, int samples) {
  Feed f;
  f.token = pair(service, port, 200);
  bench::RawClient c(port);
  c.send(f.target(0));
  c.read();
  f.apply(c.body());
  std::vector<double> micros;
  for (int i = 0; i < samples; ++i) {
    c.send(f.target(5));
    const auto giveUp = Clock::now() + std::chrono::milliseconds(500);
    while (service.changeStore().parked() == 0 && Clock::now() < giveUp)
      std::this_thread::sleep_for(std::chrono::microseconds(50));
    const auto start = Clock::now();
    service.setVolumeLevel(1000 + i);
    c.read();
    micros.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
    f.apply(c.body());
  }
  const double p50 = bench::quantile(micros, 0.50) / 1000;
  const double p99 = bench::quantile(micros, 0.99) / 1000;
  bench::result("changes feed", "setter to parked reply read, p50", p50, "ms");
  bench::result("changes feed", "setter to parked reply read, p99", p99, "ms", "< 5",
                bench::verdict(p99 < 5));
}

// Requests per second of GET `path` (/ping by default) over 16 keep-alive
// connections.
double pingRate(int port, double seconds, const std::string& path = "/ping") {
  std::atomic<bool> stop{false};
  std::atomic<long> count{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 16; ++i) {
    threads.emplace_back([&] {
      bench::RawClient c(port);
      long n = 0;
      while (!stop) {
        c.send(path);
        c.read();
        ++n;
      }
      count += n;
    });
  }
  std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
  stop = true;
  for (auto& t : threads) t.join();
  return static_cast<double>(count) / seconds;
}

// 256 feed clients on one thread: each asks again as soon as it is answered.
class ParkedCrowd {
 public:
  // `perSecond` host changes a second wake the whole crowd; 0 leaves it parked.
  ParkedCrowd(VeloraRestService& service, int port, const std::string& token, int perSecond)
      : service_(service) {
    for (int i = 0; i < 256; ++i) {
      clients_.push_back(std::make_unique<bench::RawClient>(port));
      feeds_.emplace_back();
      feeds_.back().token = token;
      clients_.back()->send(feeds_.back().target(0));
      clients_.back()->read();
      feeds_.back().apply(clients_.back()->body());
      clients_.back()->send(feeds_.back().target(60));
    }
    reader_ = std::thread([this] { read(); });
    host_ = std::thread([this, perSecond] {
      for (int i = 0; !stop_; ++i) {
        if (perSecond > 0) service_.setMuteState(i % 2 == 0);
        std::this_thread::sleep_for(
            std::chrono::milliseconds(perSecond > 0 ? 1000 / perSecond : 50));
      }
    });
  }
  ~ParkedCrowd() {
    stop_ = true;
    host_.join();
    reader_.join();
  }
  long answered() const { return answered_; }

 private:
  void read() {
    std::vector<pollfd> fds;
    for (auto& c : clients_) fds.push_back(pollfd{c->fd(), POLLIN, 0});
    while (!stop_) {
      if (::poll(fds.data(), fds.size(), 50) <= 0) continue;
      for (size_t i = 0; i < fds.size(); ++i) {
        if (!(fds[i].revents & POLLIN)) continue;
        clients_[i]->read();
        feeds_[i].apply(clients_[i]->body());
        clients_[i]->send(feeds_[i].target(60));
        ++answered_;
      }
    }
  }
  VeloraRestService& service_;
  std::vector<std::unique_ptr<bench::RawClient>> clients_;
  std::vector<Feed> feeds_;
  std::atomic<bool> stop_{false};
  std::atomic<long> answered_{0};
  std::thread reader_, host_;
};

void cost(VeloraRestService& service, int port, double seconds) {
  const std::string token = pair(service, port, 300);
  std::vector<double> alone, parked, woken;
  long answered = 0;
  for (int round = 0; round < 3; ++round) {
    alone.push_back(pingRate(port, seconds));
    {
      ParkedCrowd crowd(service, port, token, 0);
      parked.push_back(pingRate(port, seconds));
    }
    ParkedCrowd crowd(service, port, token, 10);
    woken.push_back(pingRate(port, seconds));
    answered += crowd.answered();
  }
  const double a = bench::quantile(alone, 0.5), p = bench::quantile(parked, 0.5),
               w = bench::quantile(woken, 0.5);
  const double parkedCost = 100.0 * (1.0 - p / a);
  bench::result("changes feed", "GET /ping at 16 connections, alone", a, "req/s");
  bench::result("changes feed", "GET /ping beside 256 parked feed clients", p, "req/s");
  bench::result("changes feed", "cost of 256 parked clients", parkedCost, "%", "< 20",
                bench::verdict(parkedCost < 20));
  bench::result("changes feed", "GET /ping beside 256 clients woken 10 times a second", w, "req/s");
  bench::result("changes feed", "cost of 256 clients woken 10 times a second",
                100.0 * (1.0 - w / a), "%");
  bench::result("changes feed", "feed replies to the woken 256 (3 rounds)",
                static_cast<double>(answered), "count");
}

void memory(VeloraRestService& service, int port) {
  // Every worker thread of the HTTP library takes its share of memory the
  // first time it serves a kind of request; that happens before the baseline.
  Feed f;
  f.token = pair(service, port, 400);
  pingRate(port, 0.5);
  pingRate(port, 1.5, "/status");
  pingRate(port, 0.5, f.target(0));
  bench::RawClient c(port);
  auto change = [&](int i) {
    if (i % 10 == 0) {
      // An answer for some client: an event, kept in the ring.
      Album* album = Album::getAlbum(VeloraSourceLocal, std::to_string(i).c_str());
      album->setAlbumName(("Album number " + std::to_string(i)).c_str());
      album->setArtistName("Some artist");
      service.setAlbum(album);
      album->Release();
    } else {
      std::vector<const char*> names{"Speakers", "Headphones", "USB DAC"};
      service.setOutputDeviceList(names, names[static_cast<size_t>(i) % 3]);
      service.setVolumeLevel(i % 101);
    }
    if (i % 1000 == 0) {  // a client reads now and then, as a remote would
      c.send(f.target(0));
      c.read();
      f.apply(c.body());
      f.events.clear();  // the client's own memory is not what is measured
      bench::RawClient status(port);
      status.send("/status");
      status.read();
    }
  };
  int i = 1;
  for (; i <= 1000; ++i) change(i);
  const long after1k = residentKiB();
  for (; i <= 10000; ++i) change(i);
  const long after10k = residentKiB();  // the event ring is full by now
  for (; i <= 100000; ++i) change(i);
  const long after100k = residentKiB();
  const double growth = 100.0 * (static_cast<double>(after100k) / static_cast<double>(after1k) - 1);
  bench::result("changes feed", "resident after 1,000 changes", after1k / 1024.0, "MiB");
  bench::result("changes feed", "resident after 10,000 changes", after10k / 1024.0, "MiB");
  bench::result("changes feed", "resident after 100,000 changes", after100k / 1024.0, "MiB");
  bench::result("changes feed", "growth from 1,000 to 100,000 changes", growth, "%", "< 5",
                bench::verdict(growth < 5));
  bench::result("changes feed", "growth from 10,000 to 100,000 changes",
                100.0 * (static_cast<double>(after100k) / static_cast<double>(after10k) - 1), "%");
}

}  // namespace

int main(int argc, char** argv) {
  const int changes = argc > 1 ? std::atoi(argv[1]) : 1000;
  const double seconds = argc > 2 ? std::atof(argv[2]) : 3.0;
  VeloraRestService service(
      VeloraRestService::Options{std::make_shared<bench::QuietNotifier>(), "/nonexistent"});
  mServicePort = bench::freePortBlock();
  bench::quietly([&] { service.startListening(); });
  const int port = service.currentPort();
  bench::quietly([&] {
    memory(service, port);
    lossless(service, port, changes);
    latency(service, port, changes);
    cost(service, port, seconds);
  });
  bench::quietly([&] { service.shutdown(); });
  return 0;
}
