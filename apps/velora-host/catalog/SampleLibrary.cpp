#include "catalog/SampleLibrary.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <set>
#include <vector>

#include "catalog/CoverFiles.h"

namespace refhost {

namespace {

// splitmix64: a tiny generator whose sequence is fixed by its seed on every
// platform, unlike the standard distributions, so the library is the same on
// every machine and in every run.
class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed) {}
  std::uint64_t next() {
    std::uint64_t z = (state_ += 0x9e3779b97f4a7c15ull);
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ull;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebull;
    return z ^ (z >> 31);
  }
  int between(int low, int high) {  // inclusive
    return low + static_cast<int>(next() % static_cast<std::uint64_t>(high - low + 1));
  }
  double unit() { return static_cast<double>(next() >> 11) / 9007199254740992.0; }
  template <typename T>
  const T& pick(const std::vector<T>& items) {
    return items[next() % items.size()];
  }

 private:
  std::uint64_t state_;
};

// ---------------------------------------------------------------- covers

constexpr int kCoverSize = 320;

struct Rgb {
  double r, g, b;
};

Rgb fromHsv(double hue, double saturation, double value) {
  hue = std::fmod(hue, 360.0);
  if (hue < 0) hue += 360.0;
  const double c = value * saturation;
  const double x = c * (1 - std::fabs(std::fmod(hue / 60.0, 2.0) - 1));
  const double m = value - c;
  Rgb out{0, 0, 0};
  switch (static_cast<int>(hue / 60.0)) {
    case 0:
      out = {c, x, 0};
      break;
    case 1:
      out = {x, c, 0};
      break;
    case 2:
      out = {0, c, x};
      break;
    case 3:
      out = {0, x, c};
      break;
    case 4:
      out = {x, 0, c};
      break;
    default:
      out = {c, 0, x};
      break;
  }
  return {(out.r + m) * 255, (out.g + m) * 255, (out.b + m) * 255};
}

Rgb mix(const Rgb& a, const Rgb& b, double t) {
  t = std::clamp(t, 0.0, 1.0);
  return {a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t};
}

// std::hypot guards against overflow that cannot happen at these sizes and
// costs several times as much, on every pixel of every cover.
double distance(double dx, double dy) { return std::sqrt(dx * dx + dy * dy); }

std::uint8_t channel(double value) {
  return static_cast<std::uint8_t>(std::clamp(value, 0.0, 255.0) + 0.5);
}

// Coverage of a shape edge at signed distance `d` (negative inside), smoothed
// over about one pixel so that circles and stripes do not look jagged.
double inside(double d) { return std::clamp(0.5 - d, 0.0, 1.0); }

enum class Motif { Rings, Sun, Stripes, Dots, Peaks, Bars, Count };

// A cover: a two-colour gradient at an angle, with one simple motif on top in
// a contrasting colour. Everything follows from the seed.
std::string drawCover(std::uint64_t seed) {
  Random random(seed);
  const double hue = random.between(0, 359);
  const Rgb from = fromHsv(hue, 0.55 + 0.3 * random.unit(), 0.22 + 0.2 * random.unit());
  const Rgb to = fromHsv(hue + random.between(40, 140), 0.45 + 0.35 * random.unit(),
                         0.6 + 0.3 * random.unit());
  const Rgb ink = fromHsv(hue + 180 + random.between(-30, 30), 0.35 + 0.3 * random.unit(), 0.95);
  const double angle = random.unit() * 2 * 3.14159265358979;
  const double dx = std::cos(angle), dy = std::sin(angle);
  const auto motif = static_cast<Motif>(random.next() % static_cast<int>(Motif::Count));
  const double cx = kCoverSize * (0.35 + 0.3 * random.unit());
  const double cy = kCoverSize * (0.35 + 0.3 * random.unit());
  const double scale = kCoverSize * (0.18 + 0.12 * random.unit());
  const int count = random.between(3, 7);
  std::vector<double> heights;
  for (int i = 0; i < 12; ++i) heights.push_back(0.15 + 0.6 * random.unit());

  std::vector<std::uint8_t> pixels(static_cast<std::size_t>(kCoverSize) * kCoverSize * 3);
  std::size_t at = 0;
  for (int y = 0; y < kCoverSize; ++y) {
    for (int x = 0; x < kCoverSize; ++x) {
      const double px = x + 0.5, py = y + 0.5;
      const double along =
          ((px - kCoverSize / 2.0) * dx + (py - kCoverSize / 2.0) * dy) / (kCoverSize * 0.71) + 0.5;
      Rgb colour = mix(from, to, along);
      const double r = distance(px - cx, py - cy);
      double cover = 0;
      switch (motif) {
        case Motif::Rings: {
          const double band = scale / count;
          const double ring = std::fmod(r, band * 2);
          cover = r < scale * 2.2 ? inside(std::fabs(ring - band) - band * 0.35) * 0.8 : 0;
          break;
        }
        case Motif::Sun:
          cover = std::max(inside(r - scale * 1.2),
                           inside(std::fabs(py - (cy + scale * 1.6)) - 3.0) * 0.9);
          break;
        case Motif::Stripes: {
          const double u = (px + py) / (kCoverSize / (count * 1.5));
          const double f = u - std::floor(u);
          cover = inside((std::fabs(f - 0.5) - 0.18) * (kCoverSize / (count * 1.5))) * 0.55;
          break;
        }
        case Motif::Dots: {
          const double step = kCoverSize / (count + 1.0);
          const double gx = std::round(px / step) * step, gy = std::round(py / step) * step;
          const double radius = step * 0.18 * (1 + 0.6 * std::sin(gx * 0.02 + gy * 0.03));
          cover = gx > 0 && gy > 0 && gx < kCoverSize && gy < kCoverSize
                      ? inside(distance(px - gx, py - gy) - radius)
                      : 0;
          break;
        }
        case Motif::Peaks: {
          const double base = kCoverSize * 0.78;
          const double height = scale * 2.4;
          const double slope = height / (scale * 1.6);
          const double ridge = base - height + std::fabs(px - cx) * slope;
          const double ridge2 = base - height * 0.6 + std::fabs(px - (cx + scale)) * slope;
          cover = std::max(inside(std::min(ridge, ridge2) - py), 0.0) * 0.85;
          break;
        }
        case Motif::Bars: {
          const double width = kCoverSize / 14.0;
          const int index = static_cast<int>(px / width);
          const double f = px / width - index;
          const double top = kCoverSize * (0.9 - heights[static_cast<std::size_t>(index % 12)]);
          cover =
              index >= 1 && index <= 12 && f > 0.15 && f < 0.85 && py > top && py < kCoverSize * 0.9
                  ? 0.85
                  : 0;
          break;
        }
        case Motif::Count:
          break;
      }
      colour = mix(colour, ink, cover);
      pixels[at++] = channel(colour.r);
      pixels[at++] = channel(colour.g);
      pixels[at++] = channel(colour.b);
    }
  }
  return encodePng(kCoverSize, kCoverSize, pixels);
}

// ---------------------------------------------------------------- content

struct ArtistEntry {
  const char* name;
  const char* info;
};

const std::vector<ArtistEntry> kArtists = {
    {"Marisol Vantreck Quartet",
     "Piano, upright bass, drums and flugelhorn; four friends who "
     "met in a conservatory basement."},
    {"The Lantern Cartographers",
     "Guitar band from a harbour town, loud on stage, careful on "
     "record."},
    {"Odile Kaskarova", "Solo pianist known for slow tempos and long silences."},
    {"Quillfeather Signal",
     "One producer, a drawer of old synthesizers and a taste for tape "
     "hiss."},
    {"Teodor Brindlemoss",
     "Songwriter with a twelve-string guitar and a notebook of place "
     "names."},
    {"Saltmarsh Choir of Halvard",
     "Sixteen voices recorded in churches, boathouses and one "
     "empty water tower."},
};

struct GenreEntry {
  const char* id;
  const char* name;
};

const std::vector<GenreEntry> kGenres = {
    {"ge-jazz", "Jazz"},           {"ge-indie-rock", "Indie Rock"},
    {"ge-classical", "Classical"}, {"ge-electronic", "Electronic"},
    {"ge-folk", "Folk"},           {"ge-ambient", "Ambient"},
};

enum class Titles { Songs, Piano, Choral };

struct AlbumEntry {
  const char* title;
  int artist;  // index into kArtists
  int genre;   // index into kGenres
  int year;
  const char* fileType;
  int sampleRate;
  int bitDepth;
  int trackCount;
  bool mqa;
  int minSeconds, maxSeconds;
  Titles titles;
};

constexpr int kDsd64 = 2822400, kDsd128 = 5644800, kDsd256 = 11289600;

const std::vector<AlbumEntry> kAlbums = {
    {"Blue Hours at Pellmore", 0, 0, 2014, "FLAC", 96000, 24, 8, false, 250, 470, Titles::Songs},
    {"Cedar Room Sessions", 0, 0, 2017, "DSF", kDsd64, 1, 7, false, 240, 480, Titles::Songs},
    {"Late Tram Home", 0, 0, 2021, "FLAC", 48000, 24, 9, true, 220, 440, Titles::Songs},
    {"Paper Compass", 1, 1, 2012, "FLAC", 44100, 16, 11, false, 150, 290, Titles::Songs},
    {"Signals from the Shoreline", 1, 1, 2015, "FLAC", 44100, 16, 12, false, 140, 300,
     Titles::Songs},
    {"Weathervane Hearts", 1, 1, 2019, "FLAC", 96000, 24, 10, false, 160, 320, Titles::Songs},
    {"Small Lights, Wide Maps", 1, 1, 2023, "FLAC", 44100, 24, 9, true, 150, 310, Titles::Songs},
    {"Nocturnes for an Empty Hall", 2, 2, 2011, "WAV", 96000, 24, 8, false, 240, 480,
     Titles::Piano},
    {"\xc3\x89tudes in Grey Light", 2, 2, 2016, "DSF", kDsd128, 1, 12, false, 120, 300,
     Titles::Piano},
    {"The Winter Variations", 2, 2, 2020, "FLAC", 192000, 24, 6, false, 260, 480, Titles::Piano},
    {"Low Orbit Gardens", 3, 3, 2013, "FLAC", 44100, 16, 10, false, 200, 420, Titles::Songs},
    {"Parallax Drift", 3, 3, 2016, "WAV", 48000, 24, 9, false, 210, 430, Titles::Songs},
    {"Neon Tidepools", 3, 3, 2018, "FLAC", 96000, 24, 11, false, 190, 400, Titles::Songs},
    {"Soft Machinery", 3, 3, 2022, "FLAC", 48000, 24, 8, true, 220, 460, Titles::Songs},
    {"Songs from the Orchard Road", 4, 4, 2010, "FLAC", 44100, 16, 12, false, 140, 280,
     Titles::Songs},
    {"Ferry Lights", 4, 4, 2014, "AIFF", 44100, 16, 10, false, 150, 290, Titles::Songs},
    {"A Lantern for the Long Field", 4, 4, 2018, "FLAC", 88200, 24, 9, false, 160, 330,
     Titles::Songs},
    {"Kestrel Weather", 4, 4, 2024, "FLAC", 192000, 24, 7, false, 170, 340, Titles::Songs},
    {"Tideline Hymns", 5, 5, 2015, "DSF", kDsd256, 1, 7, false, 300, 480, Titles::Choral},
    {"Salt and Vesper", 5, 5, 2019, "FLAC", 176400, 24, 8, false, 280, 480, Titles::Choral},
};

const std::vector<std::string> kAdjectives = {
    "Quiet",   "Silver", "Northern", "Borrowed", "Slow",    "Paper",    "Amber",     "Hollow",
    "Distant", "Bright", "Restless", "Little",   "Crooked", "Golden",   "Velvet",    "Painted",
    "Open",    "Last",   "Secret",   "Patient",  "Faded",   "Electric", "Wandering", "Second"};
const std::vector<std::string> kNouns = {
    "Harbour", "Lantern", "Orchard", "Signal", "Window", "Compass", "River",   "Staircase",
    "Kite",    "Meadow",  "Station", "Letter", "Garden", "Tide",    "Balcony", "Engine",
    "Weather", "Bridge",  "Morning", "Thread", "Valley", "Attic",   "Comet",   "Ferry"};
const std::vector<std::string> kPlaces = {
    "the Pier",      "Pellmore",  "the Long Field", "Halvard",   "the Old Mill",
    "Caddow Street", "the Dunes", "Marrow Bay",     "the Ridge", "Lindqvist Square"};
const std::vector<std::string> kKeys = {
    "C major", "A minor", "E-flat major", "F-sharp minor", "D major",
    "B minor", "G major", "E minor",      "A-flat major",  "C-sharp minor"};

std::string songTitle(Random& random) {
  switch (random.between(0, 5)) {
    case 0:
      return random.pick(kAdjectives) + " " + random.pick(kNouns);
    case 1:
      return "The " + random.pick(kNouns) + " of " + random.pick(kPlaces);
    case 2:
      return random.pick(kNouns) + " in " + random.pick(kPlaces);
    case 3:
      return "The " + random.pick(kAdjectives) + " " + random.pick(kNouns);
    case 4:
      return random.pick(kAdjectives) + " " + random.pick(kNouns) + "s";
    default:
      return "Under the " + random.pick(kAdjectives) + " " + random.pick(kNouns);
  }
}

std::string trackTitle(const AlbumEntry& album, int number, Random& random) {
  char buffer[96];
  switch (album.titles) {
    case Titles::Piano: {
      static const char* forms[] = {"Nocturne", "\xc3\x89tude", "Variation"};
      const std::string title = album.title;
      const char* form = title.find("Noct") == 0                  ? forms[0]
                         : title.find("Var") != std::string::npos ? forms[2]
                                                                  : forms[1];
      std::snprintf(buffer, sizeof buffer, "%s No. %d in %s", form, number,
                    random.pick(kKeys).c_str());
      return buffer;
    }
    case Titles::Choral:
      if (random.between(0, 2) == 0) {
        std::snprintf(buffer, sizeof buffer, "Hymn for %s", random.pick(kPlaces).c_str());
        return buffer;
      }
      return songTitle(random);
    case Titles::Songs:
      break;
  }
  return songTitle(random);
}

std::string twoDigits(int value) {
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, "%02d", value);
  return buffer;
}

std::string formatText(const AlbumEntry& album) {
  char buffer[96];
  if (album.bitDepth == 1) {
    std::snprintf(buffer, sizeof buffer, "DSD%d %s", album.sampleRate / 44100, album.fileType);
  } else if (album.sampleRate % 1000 == 0) {
    std::snprintf(buffer, sizeof buffer, "%d-bit / %d kHz %s", album.bitDepth,
                  album.sampleRate / 1000, album.fileType);
  } else {
    std::snprintf(buffer, sizeof buffer, "%d-bit / %.1f kHz %s", album.bitDepth,
                  album.sampleRate / 1000.0, album.fileType);
  }
  std::string text = buffer;
  if (album.mqa) text += " (MQA)";
  return text;
}

struct MoodEntry {
  const char* id;
  const char* name;
  std::vector<int> genres;  // the genres its tracks are drawn from
};

const std::vector<MoodEntry> kMoods = {
    {"mo-calm", "Calm", {2, 4, 5}},          {"mo-energetic", "Energetic", {1, 3}},
    {"mo-late-night", "Late Night", {0, 3}}, {"mo-melancholy", "Melancholy", {1, 2, 4}},
    {"mo-focus", "Focus", {2, 3, 5}},
};

struct PlaylistEntry {
  const char* id;
  const char* name;
  const char* info;
  std::vector<int> genres;  // empty: chosen by format instead
};

const std::vector<PlaylistEntry> kPlaylists = {
    {"pl-sunday-morning", "Sunday Morning", "Coffee, newspaper, no hurry.", {0, 2, 4}},
    {"pl-deep-focus", "Deep Focus", "Long pieces without words.", {2, 3, 5}},
    {"pl-road-trip", "Road Trip", "Windows down.", {1, 3, 4}},
    {"pl-hi-res-showcase", "Hi-Res Showcase", "High sample rates and DSD.", {}},
};

// Picks up to `wanted` distinct tracks from `pool` in the generator's order.
std::vector<std::string> sample(std::vector<std::string> pool, std::size_t wanted, Random& random) {
  for (std::size_t i = pool.size(); i > 1; --i) {
    std::swap(pool[i - 1], pool[random.next() % i]);
  }
  if (pool.size() > wanted) pool.resize(wanted);
  return pool;
}

}  // namespace

Catalog buildSampleLibrary(const std::string& coverFolder) {
  Catalog catalog;
  for (std::size_t i = 0; i < kArtists.size(); ++i) {
    CatalogArtist artist;
    artist.id = "ar" + twoDigits(static_cast<int>(i + 1));
    artist.name = kArtists[i].name;
    artist.info = kArtists[i].info;
    catalog.addArtist(std::move(artist));
  }
  for (const auto& entry : kGenres) {
    CatalogGenre genre;
    genre.id = entry.id;
    genre.name = entry.name;
    catalog.addGenre(std::move(genre));
  }

  std::vector<std::vector<std::string>> tracksByGenre(kGenres.size());
  std::vector<std::string> hiResTracks;
  for (std::size_t a = 0; a < kAlbums.size(); ++a) {
    const AlbumEntry& entry = kAlbums[a];
    Random random(0x56656c6f7261ull * (a + 1));
    CatalogAlbum album;
    album.id = "al" + twoDigits(static_cast<int>(a + 1));
    album.title = entry.title;
    album.artistId = "ar" + twoDigits(entry.artist + 1);
    album.genreId = kGenres[static_cast<std::size_t>(entry.genre)].id;
    album.year = entry.year;
    album.info = formatText(entry) + ", " + std::to_string(entry.year);
    album.coverPath =
        storeFile(coverFolder, "album-" + album.id + ".png", drawCover(random.next()));
    const std::string albumId = album.id;
    const std::string artistId = album.artistId;
    catalog.addAlbum(std::move(album));

    std::set<std::string> used;
    for (int n = 1; n <= entry.trackCount; ++n) {
      CatalogTrack track;
      track.id = albumId + "-t" + twoDigits(n);
      do {
        track.title = trackTitle(entry, n, random);
      } while (!used.insert(track.title).second);
      track.artistId = artistId;
      track.albumId = albumId;
      track.fileType = entry.fileType;
      track.number = n;
      track.duration = random.between(entry.minSeconds, entry.maxSeconds);
      track.sampleRate = entry.sampleRate;
      track.bitDepth = entry.bitDepth;
      track.mqa = entry.mqa;
      tracksByGenre[static_cast<std::size_t>(entry.genre)].push_back(track.id);
      if (entry.sampleRate >= 96000) hiResTracks.push_back(track.id);
      catalog.addTrack(std::move(track));
    }
  }

  for (std::size_t m = 0; m < kMoods.size(); ++m) {
    const MoodEntry& entry = kMoods[m];
    Random random(0x4d6f6f64ull * (m + 1));
    std::vector<std::string> pool;
    for (const int g : entry.genres) {
      const auto& ids = tracksByGenre[static_cast<std::size_t>(g)];
      pool.insert(pool.end(), ids.begin(), ids.end());
    }
    CatalogMood mood;
    mood.id = entry.id;
    mood.name = entry.name;
    mood.trackIds = sample(pool, 16, random);
    mood.coverPath =
        storeFile(coverFolder, std::string("mood-") + entry.id + ".png", drawCover(random.next()));
    catalog.addMood(std::move(mood));
  }

  for (std::size_t p = 0; p < kPlaylists.size(); ++p) {
    const PlaylistEntry& entry = kPlaylists[p];
    Random random(0x506c61796cull * (p + 1));
    std::vector<std::string> pool = hiResTracks;
    if (!entry.genres.empty()) {
      pool.clear();
      for (const int g : entry.genres) {
        const auto& ids = tracksByGenre[static_cast<std::size_t>(g)];
        pool.insert(pool.end(), ids.begin(), ids.end());
      }
    }
    CatalogPlaylist playlist;
    playlist.id = entry.id;
    playlist.name = entry.name;
    playlist.info = entry.info;
    playlist.trackIds = sample(pool, static_cast<std::size_t>(random.between(10, 15)), random);
    catalog.addPlaylist(std::move(playlist));
  }
  return catalog;
}

}  // namespace refhost
