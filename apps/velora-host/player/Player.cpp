#include "player/Player.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <set>

namespace refhost {

namespace {

// A track that has played for longer than this restarts on "previous"
// instead of going back, as desktop players do.
constexpr double kRestartThreshold = 3.0;
// Simulated speeds: a download takes about five seconds, a scan about eight
// whatever the size of the library.
constexpr double kDownloadPercentPerSecond = 20.0;
constexpr double kScanSeconds = 8.0;
// Tracks of unknown length (streamed items) are given this many seconds.
constexpr int kStreamDuration = 240;

Band band(double order, double frequency, double bandwidth, double quality, int filter) {
  return Band{order, frequency, bandwidth, quality, filter};
}

// Filter codes of the equalizer bands.
enum Filter { Peak = 0, LowShelf = 1, HighShelf = 2, LowPass = 3, HighPass = 4 };

std::vector<Preset> equalizerPresets() {
  return {
      {0, "Flat", {}},
      {1, "Bass Boost", {band(2, 60, 1.0, 0.7, LowShelf), band(2, 150, 1.2, 1.0, Peak)}},
      {2,
       "Vocal Presence",
       {band(2, 250, 1.0, 0.9, Peak), band(2, 2500, 1.5, 1.2, Peak),
        band(2, 5000, 1.0, 1.4, Peak)}},
      {3,
       "Loudness",
       {band(2, 40, 1.0, 0.7, LowShelf), band(2, 1000, 2.0, 0.5, Peak),
        band(2, 12000, 1.0, 0.7, HighShelf)}},
      {4, "Treble Lift", {band(2, 8000, 1.0, 0.7, HighShelf)}},
      {5,
       "Classical",
       {band(2, 80, 1.0, 0.8, LowShelf), band(2, 3150, 2.0, 0.6, Peak),
        band(2, 16000, 1.0, 0.7, HighShelf)}},
      {6,
       "Rock",
       {band(2, 100, 1.0, 1.0, Peak), band(2, 800, 1.5, 1.2, Peak), band(2, 3000, 1.5, 1.1, Peak),
        band(2, 10000, 1.0, 0.8, HighShelf)}},
      {7,
       "Jazz",
       {band(2, 120, 1.2, 0.9, Peak), band(2, 1600, 2.0, 0.7, Peak),
        band(2, 6300, 1.2, 0.9, Peak)}},
      {8, "Rumble Filter", {band(4, 25, 0.5, 0.707, HighPass)}},
  };
}

std::vector<Preset> namedPresets(const std::vector<const char*>& names) {
  std::vector<Preset> out;
  for (std::size_t i = 0; i < names.size(); ++i) {
    out.push_back(Preset{static_cast<int>(i), names[i], {}});
  }
  return out;
}

bool parseInt(const std::string& text, int& value) {
  if (text.empty()) return false;
  char* end = nullptr;
  const long v = std::strtol(text.c_str(), &end, 10);
  if (*end != '\0') return false;
  value = static_cast<int>(v);
  return true;
}

bool isFlag(const std::string& text) {
  return text == "true" || text == "false" || text == "1" || text == "0";
}

bool flagValue(const std::string& text) { return text == "true" || text == "1"; }

}  // namespace

const Preset* Stage::currentPreset() const {
  for (const Preset& p : presets) {
    if (p.id == current) return &p;
  }
  return nullptr;
}

Player::Player(Catalog catalog, Clock clock)
    : clock_(std::move(clock)), catalog_(std::move(catalog)) {
  if (!clock_) {
    const auto origin = std::chrono::steady_clock::now();
    clock_ = [origin] {
      return std::chrono::duration<double>(std::chrono::steady_clock::now() - origin).count();
    };
  }
  lastTick_ = now();

  stages_[int(StageKind::EQ)] = Stage{true, equalizerPresets(), 0};
  stages_[int(StageKind::HP)] =
      Stage{false,
            namedPresets({"Default", "Closed-back", "Open-back", "In-ear", "Studio reference"}), 0};
  stages_[int(StageKind::AC)] = Stage{
      false, namedPresets({"Small room", "Living room", "Jazz club", "Concert hall", "Cathedral"}),
      1};
  stages_[int(StageKind::IRC)] = Stage{
      false,
      namedPresets({"Flat response", "Listening room", "Near-field desk", "Studio control room"}),
      1};

  devices_ = {
      {"Built-in Output", 2, {44100, 48000, 96000}, {256, 512, 1024}, 48000, 512},
      {"USB Audio DAC",
       2,
       {44100, 48000, 88200, 96000, 176400, 192000, 352800, 384000},
       {128, 256, 512, 1024, 2048},
       96000,
       1024},
      {"HDMI Output", 8, {48000, 96000, 192000}, {512, 1024}, 48000, 1024},
      {"Network Renderer", 2, {44100, 48000, 96000, 192000}, {1024, 2048, 4096}, 44100, 2048},
  };
  device_ = 1;

  options_ = {
      {"checkForUpdates", "true"},       {"maxDownloads", "3"},         {"addToITunes", "false"},
      {"createITunesPlaylist", "false"}, {"retryTime", "30"},           {"retryCount", "3"},
      {"dsdEnabled", "false"},           {"dsdFilterEnabled", "false"}, {"dsdGain", "0"},
      {"tidalQuality", "HI_RES"},        {"upSample", "false"},         {"scanLevel", "1"},
      {"bypassMode", "false"},           {"artCache", "true"},          {"mqa", "true"},
  };

  // A few albums sit in the demo account's stash, ready to download.
  const auto albums = catalog_.albums();
  for (std::size_t i = 0; i < albums.size() && i < 3; ++i) {
    const CatalogAlbum& a = *albums[i];
    StashItem item;
    item.sku = "SKU-" + a.id;
    const CatalogArtist* artist = catalog_.artist(a.artistId);
    item.title = (artist ? artist->name + " - " : std::string()) + a.title;
    item.url = "https://store.example.com/album/" + a.id;
    item.mediaId = a.id;
    item.trackIds = a.trackIds;
    stash_.push_back(item);
  }
}

double Player::now() const { return clock_(); }

const CatalogTrack* Player::trackLocked(const std::string& id) const {
  if (const CatalogTrack* t = catalog_.track(id)) return t;
  auto it = streamTracks_.find(id);
  return it == streamTracks_.end() ? nullptr : &it->second;
}

bool Player::findTrack(const std::string& id, CatalogTrack& out) const {
  Lock lock(mutex_);
  const CatalogTrack* t = trackLocked(id);
  if (t == nullptr) return false;
  out = *t;
  return true;
}

std::vector<std::string> Player::tracksOfLocked(const std::string& id) const {
  if (const CatalogAlbum* a = catalog_.album(id)) return a->trackIds;
  if (const CatalogPlaylist* p = catalog_.playlist(id)) return p->trackIds;
  if (const CatalogMood* m = catalog_.mood(id)) return m->trackIds;
  if (catalog_.artist(id) != nullptr) {
    std::vector<std::string> out;
    for (const CatalogTrack* t : catalog_.artistTracks(id)) out.push_back(t->id);
    return out;
  }
  if (const CatalogGenre* g = catalog_.genre(id)) {
    std::vector<std::string> out;
    for (const std::string& albumId : g->albumIds) {
      if (const CatalogAlbum* a = catalog_.album(albumId)) {
        out.insert(out.end(), a->trackIds.begin(), a->trackIds.end());
      }
    }
    return out;
  }
  if (trackLocked(id) != nullptr) return {id};
  return {};
}

std::vector<std::string> Player::tracksOf(const std::string& id) const {
  Lock lock(mutex_);
  return tracksOfLocked(id);
}

// ---------------------------------------------------------------- transport

void Player::settleLocked() {
  const double t = now();
  if (transport_ == Transport::Playing) elapsed_ += t - startedAt_;
  startedAt_ = t;
}

void Player::loadLocked(const std::string& trackId) {
  current_ = trackId;
  elapsed_ = 0;
  startedAt_ = now();
  history_.push_back(HistoryEntry{trackId, startedAt_});
  // The history is a recent list, not an archive.
  if (history_.size() > 200) history_.erase(history_.begin());
}

bool Player::playList(const std::string& listId, int index, const std::string& trackId,
                      bool start) {
  Lock lock(mutex_);
  std::vector<std::string> tracks = tracksOfLocked(listId);
  if (tracks.empty()) return false;
  int at = index < 0 ? 0 : index;
  if (!trackId.empty()) {
    auto it = std::find(tracks.begin(), tracks.end(), trackId);
    if (it == tracks.end()) return false;
    at = static_cast<int>(it - tracks.begin());
  }
  if (at >= static_cast<int>(tracks.size())) return false;
  queue_ = std::move(tracks);
  index_ = at;
  loadLocked(queue_[index_]);
  transport_ = start ? Transport::Playing : Transport::Paused;
  return true;
}

bool Player::playTrack(const std::string& trackId, bool start) {
  std::string albumId;
  {
    Lock lock(mutex_);
    const CatalogTrack* t = trackLocked(trackId);
    if (t == nullptr) return false;
    auto it = std::find(queue_.begin(), queue_.end(), trackId);
    if (it != queue_.end() || catalog_.album(t->albumId) == nullptr) {
      if (it == queue_.end()) {
        queue_.push_back(trackId);
        it = queue_.end() - 1;
      }
      index_ = static_cast<int>(it - queue_.begin());
      loadLocked(trackId);
      transport_ = start ? Transport::Playing : Transport::Paused;
      return true;
    }
    albumId = t->albumId;
  }
  return playList(albumId, 0, trackId, start);
}

bool Player::playQueueIndex(int index) {
  Lock lock(mutex_);
  if (index < 0 || index >= static_cast<int>(queue_.size())) return false;
  index_ = index;
  loadLocked(queue_[index_]);
  transport_ = Transport::Playing;
  return true;
}

bool Player::play() {
  Lock lock(mutex_);
  if (current_.empty()) {
    // A track picked to play next is what comes next when nothing is loaded.
    if (!playNext_.empty()) {
      loadLocked(playNext_.front());
      playNext_.erase(playNext_.begin());
    } else if (queue_.empty()) {
      return false;
    } else {
      index_ = std::max(index_, 0);
      loadLocked(queue_[index_]);
    }
  }
  if (transport_ != Transport::Playing) {
    startedAt_ = now();
    transport_ = Transport::Playing;
  }
  return true;
}

void Player::pause() {
  Lock lock(mutex_);
  if (transport_ != Transport::Playing) return;
  settleLocked();
  transport_ = Transport::Paused;
}

void Player::stop() {
  Lock lock(mutex_);
  transport_ = Transport::Stopped;
  elapsed_ = 0;
}

bool Player::togglePlayPause() {
  bool playing;
  {
    Lock lock(mutex_);
    playing = transport_ == Transport::Playing;
  }
  if (playing) {
    pause();
    return true;
  }
  return play();
}

int Player::shuffledNextLocked() {
  const int size = static_cast<int>(queue_.size());
  if (size <= 1) return 0;
  shuffleSeed_ = shuffleSeed_ * 1103515245u + 12345u;
  int pick = static_cast<int>((shuffleSeed_ >> 8) % static_cast<unsigned>(size - 1));
  // Never the same track twice in a row.
  if (pick >= index_) ++pick;
  return pick;
}

// Moves on from the current track. `automatic` is true when the track ran
// out: then "repeat one" plays it again and the end of the queue stops.
bool Player::advanceLocked(bool automatic) {
  if (!playNext_.empty()) {
    const std::string id = playNext_.front();
    playNext_.erase(playNext_.begin());
    loadLocked(id);
    return true;
  }
  if (queue_.empty()) return false;
  const int size = static_cast<int>(queue_.size());
  int next = index_ + 1;
  switch (mode_) {
    case PlayMode::RepeatOne:
      if (automatic && index_ >= 0) {
        next = index_;
      } else if (next >= size) {
        next = 0;
      }
      break;
    case PlayMode::RepeatAll:
      if (next >= size) next = 0;
      break;
    case PlayMode::Shuffle:
      next = shuffledNextLocked();
      break;
    case PlayMode::Normal:
      if (next >= size) {
        if (automatic) {
          // The end of the queue: stop on its last track, rewound.
          transport_ = Transport::Stopped;
          elapsed_ = 0;
        }
        return false;
      }
      break;
  }
  index_ = next;
  loadLocked(queue_[index_]);
  return true;
}

bool Player::next() {
  Lock lock(mutex_);
  settleLocked();
  return advanceLocked(false);
}

bool Player::previous() {
  Lock lock(mutex_);
  settleLocked();
  if (current_.empty()) return false;
  const bool inQueue =
      index_ >= 0 && index_ < static_cast<int>(queue_.size()) && queue_[index_] == current_;
  if (elapsed_ > kRestartThreshold || !inQueue) {
    if (!inQueue && index_ >= 0 && index_ < static_cast<int>(queue_.size()) &&
        elapsed_ <= kRestartThreshold) {
      // A play-next track goes back to the queue track before it.
      loadLocked(queue_[index_]);
      return true;
    }
    elapsed_ = 0;
    startedAt_ = now();
    return true;
  }
  int prev = index_ - 1;
  if (prev < 0) {
    if (mode_ != PlayMode::RepeatAll) {
      elapsed_ = 0;
      startedAt_ = now();
      return true;
    }
    prev = static_cast<int>(queue_.size()) - 1;
  }
  index_ = prev;
  loadLocked(queue_[index_]);
  return true;
}

bool Player::moveInQueue(const std::string& trackId, int position) {
  Lock lock(mutex_);
  const std::string id = trackId.empty() ? current_ : trackId;
  auto it = std::find(queue_.begin(), queue_.end(), id);
  if (it == queue_.end()) return false;
  const int size = static_cast<int>(queue_.size());
  if (position < 0 || position >= size) return false;
  const std::string playing = index_ >= 0 && index_ < size ? queue_[index_] : std::string();
  queue_.erase(it);
  queue_.insert(queue_.begin() + position, id);
  // The current track keeps playing wherever it went.
  if (!playing.empty()) {
    index_ = static_cast<int>(std::find(queue_.begin(), queue_.end(), playing) - queue_.begin());
  }
  return true;
}

bool Player::addPlayNext(const std::string& trackId) {
  Lock lock(mutex_);
  if (trackLocked(trackId) == nullptr) return false;
  playNext_.insert(playNext_.begin(), trackId);
  return true;
}

bool Player::seek(double seconds) {
  Lock lock(mutex_);
  const CatalogTrack* track = trackLocked(current_);
  if (track == nullptr || !std::isfinite(seconds)) return false;
  elapsed_ = std::min(std::max(0.0, seconds), static_cast<double>(track->duration));
  startedAt_ = now();
  return true;
}

bool Player::appendToQueue(const std::string& trackId) {
  Lock lock(mutex_);
  if (trackLocked(trackId) == nullptr) return false;
  queue_.push_back(trackId);
  return true;
}

bool Player::removeFromQueue(int index) {
  Lock lock(mutex_);
  if (index < 0 || index >= static_cast<int>(queue_.size())) return false;
  // A play-next track may be playing while index_ marks its place.
  const bool current = index == index_ && queue_[index] == current_;
  queue_.erase(queue_.begin() + index);
  if (index < index_ || (index == index_ && !current)) --index_;
  if (!current) return true;
  if (index_ < static_cast<int>(queue_.size())) {
    loadLocked(queue_[index_]);
  } else {
    transport_ = Transport::Stopped;
    current_.clear();
    elapsed_ = 0;
    index_ = -1;
  }
  return true;
}

void Player::clearQueue() {
  Lock lock(mutex_);
  queue_.clear();
  playNext_.clear();
  current_.clear();
  index_ = -1;
  transport_ = Transport::Stopped;
  elapsed_ = 0;
}

std::string Player::addStreamTrack(const std::string& id, const std::string& title,
                                   const std::string& artist, const std::string& album, bool next) {
  Lock lock(mutex_);
  CatalogTrack t;
  t.id = id.empty() ? "stream-" + std::to_string(streamTracks_.size() + 1) : "stream-" + id;
  t.title = title.empty() ? "Stream" : title;
  t.artistId = artist;  // streamed items carry names, not library ids
  t.albumId = album;
  t.fileType = "STREAM";
  t.duration = kStreamDuration;
  streamTracks_[t.id] = t;
  if (next) {
    playNext_.push_back(t.id);
  } else {
    queue_.push_back(t.id);
    index_ = static_cast<int>(queue_.size()) - 1;
    loadLocked(t.id);
    transport_ = Transport::Playing;
  }
  return t.id;
}

void Player::setMode(PlayMode mode) {
  Lock lock(mutex_);
  mode_ = mode;
}

void Player::setVolume(int volume) {
  Lock lock(mutex_);
  volume_ = std::min(100, std::max(0, volume));
}

void Player::setMuted(bool muted) {
  Lock lock(mutex_);
  muted_ = muted;
}

TransportSnapshot Player::transport() const {
  Lock lock(mutex_);
  TransportSnapshot s;
  s.transport = transport_;
  s.trackId = current_;
  s.elapsed = elapsed_ + (transport_ == Transport::Playing ? now() - startedAt_ : 0);
  if (const CatalogTrack* t = trackLocked(current_)) {
    s.duration = t->duration;
    s.mqa = t->mqa;
    s.sampleRate = t->sampleRate;
    s.elapsed = std::min(s.elapsed, s.duration);
  }
  if (transport_ == Transport::Playing && !muted_) {
    // Something that moves like a level meter: a slow swell with flutter.
    s.level = static_cast<float>(0.55 + 0.3 * std::sin(s.elapsed * 0.7) +
                                 0.1 * std::sin(s.elapsed * 5.3));
  }
  s.volume = volume_;
  s.muted = muted_;
  s.mode = mode_;
  return s;
}

std::vector<std::string> Player::queue() const {
  Lock lock(mutex_);
  return queue_;
}

int Player::queueIndex() const {
  Lock lock(mutex_);
  return index_;
}

std::vector<std::string> Player::playNext() const {
  Lock lock(mutex_);
  return playNext_;
}

// --------------------------------------------------------------------- time

TickResult Player::tick() {
  Lock lock(mutex_);
  TickResult result;
  const double t = now();
  const double dt = std::max(0.0, t - lastTick_);
  lastTick_ = t;

  if (transport_ == Transport::Playing) {
    settleLocked();
    // A long pause between ticks may run through several short tracks.
    for (int guard = 0; guard < 1000; ++guard) {
      const CatalogTrack* track = trackLocked(current_);
      const double duration = track ? track->duration : 0;
      if (elapsed_ < duration) break;
      const double overflow = elapsed_ - duration;
      result.trackChanged = true;
      result.transportChanged = true;
      if (!advanceLocked(true)) break;
      elapsed_ = overflow;
    }
  }

  for (StashItem& item : stash_) {
    if (item.state != DownloadState::Downloading) continue;
    item.progress = std::min(100.0, item.progress + dt * kDownloadPercentPerSecond);
    if (item.progress >= 100.0) item.state = DownloadState::Done;
    result.downloadsChanged = true;
  }

  if (scan_.running) {
    const std::size_t total = catalog_.trackCount();
    const double perSecond = std::max(1.0, static_cast<double>(total) / kScanSeconds);
    scanned_ = std::min(total, scanned_ + static_cast<std::size_t>(std::ceil(dt * perSecond)));
    if (scanned_ >= total) {
      scan_.running = false;
      scan_.percent = 100;
      scan_.message = "Scan complete: " + std::to_string(total) + " tracks";
      ++revision_;
    } else {
      scan_.percent = 100.0 * static_cast<double>(scanned_) / static_cast<double>(total);
      const auto tracks = catalog_.tracks();
      scan_.message = "Scanning " + tracks[scanned_]->title + " (" + std::to_string(scanned_ + 1) +
                      " of " + std::to_string(total) + ")";
    }
    result.scanChanged = true;
  }
  return result;
}

// ------------------------------------------------------------------- stages

Stage Player::stage(StageKind kind) const {
  Lock lock(mutex_);
  return stages_[static_cast<int>(kind)];
}

void Player::setStageEnabled(StageKind kind, bool enabled) {
  Lock lock(mutex_);
  stageLocked(kind).enabled = enabled;
}

bool Player::selectPreset(StageKind kind, const std::string& key) {
  Lock lock(mutex_);
  Stage& s = stageLocked(kind);
  int id = 0;
  const bool byId = parseInt(key, id);
  for (const Preset& p : s.presets) {
    if (byId ? p.id == id : p.name == key) {
      s.current = p.id;
      return true;
    }
  }
  return false;
}

void Player::applyPreset(StageKind kind, const Preset& preset) {
  Lock lock(mutex_);
  Stage& s = stageLocked(kind);
  auto it = std::find_if(s.presets.begin(), s.presets.end(),
                         [&](const Preset& p) { return p.id == preset.id; });
  if (it == s.presets.end()) {
    s.presets.push_back(preset);
  } else {
    *it = preset;
  }
  s.current = preset.id;
}

int Player::ircGain() const {
  Lock lock(mutex_);
  return ircGain_;
}

void Player::setIrcGain(int gain) {
  Lock lock(mutex_);
  ircGain_ = std::min(12, std::max(-12, gain));
}

// ---------------------------------------------------- settings and devices

Player::SettingsValues Player::settingsValues() const {
  Lock lock(mutex_);
  return settings_;
}

void Player::setSettingsValues(const SettingsValues& values) {
  Lock lock(mutex_);
  settings_ = values;
  // The options page shows the same two switches.
  options_["mqa"] = values.mqa ? "true" : "false";
  options_["upSample"] = values.upsample ? "true" : "false";
}

std::vector<OutputDevice> Player::devices() const {
  Lock lock(mutex_);
  return devices_;
}

std::string Player::currentDevice() const {
  Lock lock(mutex_);
  return devices_[device_].name;
}

bool Player::selectDevice(const std::string& name, const std::string& channels,
                          const std::string& sampleRate, const std::string& bufferSize) {
  Lock lock(mutex_);
  auto it = std::find_if(devices_.begin(), devices_.end(),
                         [&](const OutputDevice& d) { return d.name == name; });
  if (it == devices_.end()) return false;
  OutputDevice chosen = *it;
  int value = 0;
  if (!channels.empty()) {
    if (!parseInt(channels, value) || value < 1 || value > it->channels) return false;
  }
  if (!sampleRate.empty()) {
    if (!parseInt(sampleRate, value)) return false;
    if (std::find(it->sampleRates.begin(), it->sampleRates.end(), value) == it->sampleRates.end())
      return false;
    chosen.sampleRate = value;
  }
  if (!bufferSize.empty()) {
    if (!parseInt(bufferSize, value)) return false;
    if (std::find(it->bufferSizes.begin(), it->bufferSizes.end(), value) == it->bufferSizes.end())
      return false;
    chosen.bufferSize = value;
  }
  *it = chosen;
  device_ = static_cast<int>(it - devices_.begin());
  return true;
}

std::map<std::string, std::string> Player::options() const {
  Lock lock(mutex_);
  return options_;
}

bool Player::setOptions(const std::map<std::string, std::string>& values) {
  static const std::set<std::string> flags = {
      "checkForUpdates", "addToITunes",      "createITunesPlaylist",
      "dsdEnabled",      "dsdFilterEnabled", "upSample",
      "bypassMode",      "artCache",         "mqa"};
  static const std::set<std::string> qualities = {"LOW", "HIGH", "LOSSLESS", "HI_RES"};
  Lock lock(mutex_);
  // Check everything first: a rejected request changes nothing.
  for (const auto& [key, text] : values) {
    if (text.empty()) continue;
    if (options_.count(key) == 0) return false;
    int n = 0;
    if (flags.count(key) != 0) {
      if (!isFlag(text)) return false;
    } else if (key == "tidalQuality") {
      if (qualities.count(text) == 0) return false;
    } else if (!parseInt(text, n)) {
      return false;
    } else if ((key == "maxDownloads" && (n < 1 || n > 10)) ||
               (key == "dsdGain" && (n < -12 || n > 12)) ||
               (key == "scanLevel" && (n < 0 || n > 2)) || n < -12) {
      return false;
    }
  }
  for (const auto& [key, text] : values) {
    if (text.empty()) continue;
    options_[key] = flags.count(key) != 0 ? (flagValue(text) ? "true" : "false") : text;
  }
  settings_.mqa = options_["mqa"] == "true";
  settings_.upsample = options_["upSample"] == "true";
  return true;
}

std::string Player::downloadFolder() const {
  Lock lock(mutex_);
  return downloadFolder_;
}

std::string Player::artworkFolder() const {
  Lock lock(mutex_);
  return artworkFolder_;
}

void Player::setArtworkFolder(const std::string& folder) {
  Lock lock(mutex_);
  artworkFolder_ = folder;
}

void Player::setDownloadFolder(const std::string& folder) {
  Lock lock(mutex_);
  downloadFolder_ = folder;
}

std::string Player::inputSource() const {
  Lock lock(mutex_);
  return inputEnabled_ ? inputSource_ : std::string();
}

void Player::setInputMode(bool enabled, const std::string& source) {
  Lock lock(mutex_);
  inputEnabled_ = enabled;
  inputSource_ = source;
}

// ------------------------------------------------------------------ account

std::string Player::login(const std::string& user, const std::string& password) {
  Lock lock(mutex_);
  if (user != kDemoUser || password != kDemoPassword) return {};
  user_ = user;
  shuffleSeed_ = shuffleSeed_ * 1103515245u + 12345u;
  token_ = "demo-token-" + std::to_string(shuffleSeed_ % 1000000u);
  return token_;
}

void Player::logout() {
  Lock lock(mutex_);
  user_.clear();
  token_.clear();
}

std::string Player::user() const {
  Lock lock(mutex_);
  return user_;
}

std::string Player::userToken() const {
  Lock lock(mutex_);
  return token_;
}

// ---------------------------------------------------------------- downloads

StashItem* Player::stashLocked(const std::string& sku) {
  for (StashItem& item : stash_) {
    if (item.sku == sku) return &item;
  }
  return nullptr;
}

std::vector<StashItem> Player::stash() const {
  Lock lock(mutex_);
  return stash_;
}

bool Player::addStashItem(const StashItem& item) {
  Lock lock(mutex_);
  if (item.sku.empty() || stashLocked(item.sku) != nullptr) return false;
  StashItem added = item;
  if (added.trackIds.empty()) added.trackIds = tracksOfLocked(item.mediaId);
  added.state = DownloadState::Idle;
  added.progress = 0;
  stash_.push_back(added);
  return true;
}

bool Player::removeStashItem(const std::string& sku) {
  Lock lock(mutex_);
  auto it =
      std::find_if(stash_.begin(), stash_.end(), [&](const StashItem& s) { return s.sku == sku; });
  if (it == stash_.end()) return false;
  stash_.erase(it);
  return true;
}

bool Player::findStashItem(const std::string& sku, StashItem& out) const {
  Lock lock(mutex_);
  for (const StashItem& item : stash_) {
    if (item.sku == sku) {
      out = item;
      return true;
    }
  }
  return false;
}

bool Player::moveDownload(const std::string& sku, std::initializer_list<DownloadState> from,
                          DownloadState to) {
  Lock lock(mutex_);
  StashItem* item = stashLocked(sku);
  if (item == nullptr) return false;
  if (std::find(from.begin(), from.end(), item->state) == from.end()) return false;
  // Only a paused download goes on where it stopped; a cancelled one keeps nothing.
  const bool startsOver = to == DownloadState::Idle || (to == DownloadState::Downloading &&
                                                        item->state != DownloadState::Paused);
  if (startsOver) item->progress = 0;
  item->state = to;
  return true;
}

bool Player::startDownload(const std::string& sku) {
  return moveDownload(sku, {DownloadState::Idle, DownloadState::Paused, DownloadState::Done},
                      DownloadState::Downloading);
}

bool Player::pauseDownload(const std::string& sku) {
  return moveDownload(sku, {DownloadState::Downloading}, DownloadState::Paused);
}

bool Player::resumeDownload(const std::string& sku) {
  return moveDownload(sku, {DownloadState::Paused}, DownloadState::Downloading);
}

bool Player::cancelDownload(const std::string& sku) {
  return moveDownload(sku, {DownloadState::Downloading, DownloadState::Paused},
                      DownloadState::Idle);
}

// ----------------------------------------------------------------- scanning

bool Player::startScan(const std::string& which) {
  Lock lock(mutex_);
  if (which != "local" && which != "itunes") return false;
  scan_ = ScanStatus{true, which, 0, "Starting scan of the " + which + " library"};
  scanned_ = 0;
  return true;
}

bool Player::cancelScan() {
  Lock lock(mutex_);
  if (!scan_.running) return false;
  scan_.running = false;
  scan_.message = "Scan cancelled";
  return true;
}

ScanStatus Player::scan() const {
  Lock lock(mutex_);
  return scan_;
}

// ---------------------------------------------------------------- playlists

std::string Player::createPlaylist(const std::string& name) {
  Lock lock(mutex_);
  if (name.empty()) return {};
  std::string id;
  do {
    id = "pl-user-" + std::to_string(++playlistCounter_);
  } while (catalog_.playlist(id) != nullptr);
  catalog_.addPlaylist(CatalogPlaylist{id, name, "", {}});
  ++revision_;
  return id;
}

bool Player::deletePlaylist(const std::string& id) {
  Lock lock(mutex_);
  if (!catalog_.removePlaylist(id)) return false;
  ++revision_;
  return true;
}

bool Player::addToPlaylist(const std::string& playlistId, const std::string& itemId) {
  Lock lock(mutex_);
  std::vector<std::string> tracks = tracksOfLocked(itemId);
  CatalogPlaylist* p = catalog_.playlist(playlistId);
  if (p == nullptr || tracks.empty() || itemId == playlistId) return false;
  p->trackIds.insert(p->trackIds.end(), tracks.begin(), tracks.end());
  ++revision_;
  return true;
}

bool Player::removeFromPlaylist(const std::string& playlistId, const std::string& trackId) {
  Lock lock(mutex_);
  CatalogPlaylist* p = catalog_.playlist(playlistId);
  if (p == nullptr) return false;
  auto it = std::find(p->trackIds.begin(), p->trackIds.end(), trackId);
  if (it == p->trackIds.end()) return false;
  p->trackIds.erase(it);
  ++revision_;
  return true;
}

bool Player::moveInPlaylist(const std::string& playlistId, const std::string& trackId,
                            int position) {
  Lock lock(mutex_);
  CatalogPlaylist* p = catalog_.playlist(playlistId);
  if (p == nullptr) return false;
  auto it = std::find(p->trackIds.begin(), p->trackIds.end(), trackId);
  if (it == p->trackIds.end() || position < 0 || position >= static_cast<int>(p->trackIds.size()))
    return false;
  p->trackIds.erase(it);
  p->trackIds.insert(p->trackIds.begin() + position, trackId);
  ++revision_;
  return true;
}

bool Player::setPlaylistInfo(const std::string& id, const std::string& name,
                             const std::string& info) {
  Lock lock(mutex_);
  CatalogPlaylist* p = catalog_.playlist(id);
  if (p == nullptr) return false;
  if (!name.empty()) p->name = name;
  if (!info.empty()) p->info = info;
  ++revision_;
  return true;
}

int Player::libraryRevision() const {
  Lock lock(mutex_);
  return revision_;
}

// ------------------------------------------------------------------ history

std::vector<HistoryEntry> Player::history() const {
  Lock lock(mutex_);
  return history_;
}

void Player::addHistory(const std::string& trackId) {
  Lock lock(mutex_);
  if (trackLocked(trackId) != nullptr) history_.push_back(HistoryEntry{trackId, now()});
}

void Player::clearHistory() {
  Lock lock(mutex_);
  history_.clear();
}

std::vector<int> Player::yearsOf(const std::string& artistId) const {
  Lock lock(mutex_);
  std::set<int> years;
  if (const CatalogArtist* a = catalog_.artist(artistId)) {
    for (const std::string& id : a->albumIds) {
      const CatalogAlbum* album = catalog_.album(id);
      if (album != nullptr && album->year > 0) years.insert(album->year);
    }
  }
  return {years.begin(), years.end()};
}

}  // namespace refhost
