// Cost of pushing a track list: time per track and peak extra heap against
// the size of the JSON the service keeps, for growing list sizes.

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

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

std::vector<Track*> makeTracks(int n) {
  std::vector<Track*> tracks;
  tracks.reserve(static_cast<size_t>(n));
  for (int i = 0; i < n; ++i) {
    const std::string id = "track-" + std::to_string(i);
    Track* t = Track::getTrack(id.c_str());
    t->setTrackName(("Track number " + std::to_string(i)).c_str());
    t->setArtistName("Some Artist");
    t->setAlbumName("Some Album");
    t->setArtistID("artist-1");
    t->setAlbumID("album-1");
    t->setDuration(200 + i % 100);
    t->setSampleRate(96000);
    t->setFileType("flac");
    t->setPath(("/Music/Some Artist/Some Album/" + std::to_string(i) + " Track.flac").c_str());
    t->setAvailable(true);
    tracks.push_back(t);
  }
  return tracks;
}

}  // namespace

int main() {
  VeloraRestService service(VeloraRestService::Options{nullptr, "/nonexistent"});
  service.Init();
  std::printf("%-10s %14s %14s %14s %12s\n", "tracks", "ns/track", "json bytes", "peak extra",
              "peak/json");
  double firstPerTrack = 0;
  for (int n : {1000, 10000, 100000}) {
    auto tracks = makeTracks(n);
    // Best of three: the machine is shared.
    double best = 1e300;
    long long peakExtra = 0;
    for (int rep = 0; rep < 3; ++rep) {
      service.Init();
      const long long before = liveBytes.load();
      peakBytes = before;
      const auto start = std::chrono::steady_clock::now();
      service.setTrackList(tracks, 0);
      const auto stop = std::chrono::steady_clock::now();
      best = std::min(best, std::chrono::duration<double, std::nano>(stop - start).count());
      peakExtra = peakBytes.load() - before;
    }
    size_t jsonBytes = 0;
    {
      std::lock_guard<std::mutex> lock(service.cache().stateMutex);
      jsonBytes = service.cache().docs.library.at("tracks").serialize().size();
    }
    const double perTrack = best / n;
    if (firstPerTrack == 0) firstPerTrack = perTrack;
    std::printf("%-10d %14.0f %14zu %14lld %12.2f   (%.2fx the 1k cost per track)\n", n, perTrack,
                jsonBytes, peakExtra, static_cast<double>(peakExtra) / jsonBytes,
                perTrack / firstPerTrack);
    for (Track* t : tracks) t->Release();
  }
  return 0;
}
