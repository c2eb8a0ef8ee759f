// Library scale: what pushing a library costs the host and what delivering it
// costs a "status" poll, for 1k, 10k and 100k tracks without artwork (time
// per track and peak extra heap), and the throughput of cover pictures
// through setAlbumList against a plain read + base64 of the same files.
//
//   velora_bench_encode [--quick]     (--quick: 1k and 10k only, 100 covers)

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <new>
#include <random>
#include <string>
#include <vector>

#include "BenchSupport.h"
#include "service/VeloraRestService.h"

namespace {
std::atomic<long long> liveBytes{0};
std::atomic<long long> peakBytes{0};

void noteAlloc(std::size_t n) {
  const long long now = liveBytes += static_cast<long long>(n);
  long long peak = peakBytes.load();
  while (now > peak && !peakBytes.compare_exchange_weak(peak, now)) {
  }
}
}  // namespace

// Counting allocator: each block carries its size in a header.
void* operator new(std::size_t n) {
  auto* p = static_cast<std::size_t*>(std::malloc(n + sizeof(std::max_align_t)));
  if (p == nullptr) throw std::bad_alloc();
  *p = n;
  noteAlloc(n);
  return reinterpret_cast<char*>(p) + sizeof(std::max_align_t);
}
void operator delete(void* ptr) noexcept {
  if (ptr == nullptr) return;
  auto* p = reinterpret_cast<std::size_t*>(static_cast<char*>(ptr) - sizeof(std::max_align_t));
  liveBytes -= static_cast<long long>(*p);
  std::free(p);
}
void operator delete(void* ptr, std::size_t) noexcept { operator delete(ptr); }

namespace {

using Clock = std::chrono::steady_clock;
constexpr const char* kSection = "library scale";

double seconds(Clock::time_point a, Clock::time_point b) {
  return std::chrono::duration<double>(b - a).count();
}

Track* makeTrack(int i, const std::string& album) {
  const std::string id = "track-" + std::to_string(i);
  Track* t = Track::getTrack(id.c_str());
  t->setTrackName(("Track number " + std::to_string(i)).c_str());
  t->setArtistName("Some Artist");
  t->setAlbumName(album.c_str());
  t->setArtistID("artist-1");
  t->setAlbumID(("album-" + std::to_string(i / 10)).c_str());
  t->setDuration(200 + i % 100);
  t->setSampleRate(96000);
  t->setFileType("flac");
  t->setPath(("/Music/Some Artist/" + album + "/" + std::to_string(i) + " Track.flac").c_str());
  t->setAvailable(true);
  return t;
}

struct Library {
  std::vector<Track*> tracks;
  std::vector<Album*> albums;  // ten tracks each
  explicit Library(int n) {
    tracks.reserve(static_cast<size_t>(n));
    for (int i = 0; i < n; ++i) tracks.push_back(makeTrack(i, "Album " + std::to_string(i / 10)));
    for (int a = 0; a * 10 < n; ++a) {
      Album* album = Album::getAlbum(VeloraSourceLocal, ("album-" + std::to_string(a)).c_str());
      album->setAlbumName(("Album " + std::to_string(a)).c_str());
      album->setArtistID("artist-1");
      album->setArtistName("Some Artist");
      album->setTrackCount(10);
      album->setDuration(2500);
      album->setAvailable(true);
      album->setTracks(
          std::vector<Track*>(tracks.begin() + a * 10, tracks.begin() + std::min(n, a * 10 + 10)));
      albums.push_back(album);
    }
  }
  ~Library() {
    for (Album* a : albums) a->Release();
    for (Track* t : tracks) t->Release();
  }
};

struct Cost {
  double best = 1e300;  // seconds, the best of the repetitions
  long long peak = 0;   // bytes of extra heap, the largest of the repetitions
};

// Times `run` (after `prepare`, untimed) `reps` times; keeps the best time
// and the largest peak of extra heap.
Cost measure(int reps, const std::function<void()>& prepare, const std::function<void()>& run) {
  Cost c;
  for (int r = 0; r < reps; ++r) {
    prepare();
    const long long before = liveBytes.load();
    peakBytes = before;
    const auto start = Clock::now();
    run();
    const auto stop = Clock::now();
    c.best = std::min(c.best, seconds(start, stop));
    c.peak = std::max(c.peak, peakBytes.load() - before);
  }
  return c;
}

void scale(VeloraRestService& service, bench::RawClient& client, const std::vector<int>& sizes) {
  struct Row {
    const char* name;
    std::vector<double> perItem;
  };
  Row rows[3] = {{"setTrackList", {}}, {"setAlbumList", {}}, {"status delivery", {}}};
  for (int n : sizes) {
    Library lib(n);
    const int reps = n >= 100000 ? 3 : 5;
    const std::string k = std::to_string(n / 1000) + "k";
    auto drain = [&] {
      // Deliver what is pending so that every run starts from an empty cache.
      if (service.changeFlag()) {
        client.send("/status");
        client.read();
      }
    };
    // The three contenders alternate, one repetition each, so that a busy
    // moment of the machine does not fall on one of them only.
    Cost costs[3];
    for (int r = 0; r < reps; ++r) {
      const Cost t = measure(1, drain, [&] { service.setTrackList(lib.tracks, 0); });
      const Cost a = measure(1, drain, [&] { service.setAlbumList(lib.albums, 0); });
      size_t bytes = 0;
      const Cost s = measure(
          1,
          [&] {
            drain();
            service.setTrackList(lib.tracks, 0);
          },
          [&] {
            client.send("/status");
            if (client.read() != 200) std::fprintf(stderr, "status delivery failed\n");
            bytes = client.body().size();
          });
      const Cost* got[3] = {&t, &a, &s};
      for (int i = 0; i < 3; ++i) {
        costs[i].best = std::min(costs[i].best, got[i]->best);
        costs[i].peak = std::max(costs[i].peak, got[i]->peak);
      }
      if (r == 0) bench::result(kSection, "status reply size, " + k + " tracks", bytes / 1e6, "MB");
    }
    drain();
    for (int i = 0; i < 3; ++i) {
      const double ns = costs[i].best / n * 1e9;
      rows[i].perItem.push_back(ns);
      bench::result(kSection, std::string(rows[i].name) + ", " + k + " tracks, time per track", ns,
                    "ns");
      bench::result(kSection, std::string(rows[i].name) + ", " + k + " tracks, peak extra heap",
                    costs[i].peak / 1e6, "MB");
    }
  }
  if (sizes.size() < 2) return;
  const std::string span =
      std::to_string(sizes.back() / 1000) + "k / " + std::to_string(sizes.front() / 1000) + "k";
  for (const Row& row : rows) {
    const double growth = row.perItem.back() / row.perItem.front();
    bench::result(kSection, std::string(row.name) + ", per-track cost " + span, growth, "x", "<= 2",
                  bench::verdict(growth <= 2));
  }
}

// Covers: `count` albums with a 200 KB picture each (random bytes, so that
// nothing compresses), through setAlbumList against reading and base64-ing
// the same files.
void covers(VeloraRestService& service, bench::RawClient& client, int count) {
  namespace fs = std::filesystem;
  const fs::path dir = fs::temp_directory_path() / ("velora-covers-" + std::to_string(getpid()));
  fs::create_directories(dir);
  std::mt19937 rng(7);
  std::vector<std::string> paths;
  std::vector<char> picture(200 * 1024);
  for (int i = 0; i < count; ++i) {
    for (char& c : picture) c = static_cast<char>(rng());
    paths.push_back((dir / ("cover-" + std::to_string(i) + ".jpg")).string());
    std::ofstream(paths.back(), std::ios::binary).write(picture.data(), picture.size());
  }
  std::vector<Album*> albums;
  for (int i = 0; i < count; ++i) {
    Album* a = Album::getAlbum(VeloraSourceLocal, ("album-" + std::to_string(i)).c_str());
    a->setAlbumName(("Album " + std::to_string(i)).c_str());
    a->setArtworkPath(paths[static_cast<size_t>(i)].c_str());
    a->setArtworkID(("art-" + std::to_string(i)).c_str());
    albums.push_back(a);
  }
  size_t sink = 0;
  auto plain = [&] {
    for (const std::string& p : paths) {
      std::ifstream file(p, std::ios::binary);
      std::vector<unsigned char> bytes(std::filesystem::file_size(p));
      file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
      sink += utility::conversions::to_base64(bytes).size();
    }
  };
  // The same, keeping every text as the service keeps its list: the part of
  // the difference that is fresh memory rather than work.
  std::vector<std::string> kept;
  auto plainKept = [&] {
    for (const std::string& p : paths) {
      std::ifstream file(p, std::ios::binary);
      std::vector<unsigned char> bytes(std::filesystem::file_size(p));
      file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
      kept.push_back(utility::conversions::to_base64(bytes));
    }
  };
  auto drain = [&] {
    if (service.changeFlag()) {
      client.send("/status");
      client.read();
    }
  };
  auto nothing = [] {};
  auto forget = [&] { kept = {}; };
  auto push = [&] { service.setAlbumList(albums, 0); };
  plain();  // the files into the page cache
  double bestPlain = 1e300, bestKept = 1e300, bestService = 1e300;
  for (int r = 0; r < 5; ++r) {
    bestPlain = std::min(bestPlain, measure(1, nothing, plain).best);
    bestService = std::min(bestService, measure(1, drain, push).best);
    bestKept = std::min(bestKept, measure(1, forget, plainKept).best);
  }
  forget();
  drain();
  const double megabytes = count * 200.0 * 1024 / 1e6;
  const std::string label = std::to_string(count) + " covers of 200 KB";
  bench::result(kSection, "setAlbumList, " + label, megabytes / bestService, "MB/s");
  bench::result(kSection, "plain read + base64, " + label, megabytes / bestPlain, "MB/s");
  bench::result(kSection, "plain read + base64 kept, " + label, megabytes / bestKept, "MB/s");
  const double ratio = bestPlain / bestService;
  bench::result(kSection, "setAlbumList / plain read + base64", ratio, "x", ">= 0.7",
                bench::verdict(ratio >= 0.7));
  for (Album* a : albums) a->Release();
  fs::remove_all(dir);
  if (sink == 0) std::fprintf(stderr, "nothing read\n");
}

}  // namespace

int main(int argc, char** argv) {
  const bool quick = argc > 1 && std::strcmp(argv[1], "--quick") == 0;
  VeloraRestService service(
      VeloraRestService::Options{std::make_shared<bench::QuietNotifier>(), "/nonexistent"});
  mServicePort = bench::freePortBlock();
  bench::quietly([&] { service.startListening(); });
  {
    bench::RawClient client(service.currentPort());
    scale(service, client,
          quick ? std::vector<int>{1000, 10000} : std::vector<int>{1000, 10000, 100000});
    covers(service, client, quick ? 100 : 1000);
  }
  bench::quietly([&] { service.shutdown(); });
  return 0;
}
