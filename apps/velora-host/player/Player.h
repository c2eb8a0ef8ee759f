#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <initializer_list>
#include <string>
#include <vector>

#include "catalog/Catalog.h"

// The reference host's simulated player. It keeps what a desktop player keeps
// (transport, queue, sound stages, devices, options, account, downloads,
// scans, playlists and history) and makes time pass with an injectable clock,
// but plays no audio and knows nothing about the remote-control service: the
// listeners translate between the two.
//
// Every public operation takes the one mutex, so the service's worker threads
// and the host's ticker may call in at the same time. Operations that change
// something return what a caller needs to publish the change.
namespace refhost {

enum class Transport { Stopped = 0, Playing = 1, Paused = 2 };

// The numbers are what remote clients see as the play mode.
enum class PlayMode { Normal = 0, RepeatAll = 1, RepeatOne = 2, Shuffle = 3 };

struct Band {
  double order = 0;
  double frequency = 0;
  double bandwidth = 0;
  double quality = 0;
  int filter = 0;
};

struct Preset {
  int id = 0;
  std::string name;
  std::vector<Band> bands;  // equalizer presets only
};

enum class StageKind { EQ = 0, HP = 1, AC = 2, IRC = 3 };

struct Stage {
  bool enabled = false;
  std::vector<Preset> presets;
  int current = 0;  // id of the current preset
  const Preset* currentPreset() const;
};

struct OutputDevice {
  std::string name;
  int channels = 2;
  std::vector<int> sampleRates;
  std::vector<int> bufferSizes;
  int sampleRate = 44100;
  int bufferSize = 512;
};

enum class DownloadState { Idle, Downloading, Paused, Done };

struct StashItem {
  std::string sku;
  std::string title;
  std::string url;
  std::string mediaId;
  std::vector<std::string> trackIds;  // what a download brings
  DownloadState state = DownloadState::Idle;
  double progress = 0;  // 0..100
};

struct ScanStatus {
  bool running = false;
  std::string which;
  double percent = 0;  // 0..100
  std::string message;
};

struct HistoryEntry {
  std::string trackId;
  double at = 0;  // clock time when the track started
};

// A consistent copy of the transport for publishing.
struct TransportSnapshot {
  Transport transport = Transport::Stopped;
  std::string trackId;  // empty when nothing is loaded
  double elapsed = 0;
  double duration = 0;
  float level = 0;  // a simulated meter reading while playing
  bool mqa = false;
  int sampleRate = 0;
  int volume = 0;
  bool muted = false;
  PlayMode mode = PlayMode::Normal;
};

// The catalog plus the tracks that streaming clients handed over, which
// live only in the player.
struct LibraryView {
  const Catalog& catalog;
  const std::map<std::string, CatalogTrack>& streams;
  const CatalogTrack* track(const std::string& id) const {
    if (const CatalogTrack* t = catalog.track(id)) return t;
    auto it = streams.find(id);
    return it == streams.end() ? nullptr : &it->second;
  }
};

// What passing time changed, so that the ticker publishes only that.
struct TickResult {
  bool trackChanged = false;
  bool transportChanged = false;
  bool downloadsChanged = false;
  bool scanChanged = false;
};

class Player {
 public:
  using Clock = std::function<double()>;  // seconds, monotonic

  // Without a clock the player uses the steady clock.
  explicit Player(Catalog catalog, Clock clock = nullptr);

  // Runs `read` with the library under the player's lock. Keep it short; do
  // not call back into the player from inside.
  template <typename F>
  auto withLibrary(F&& read) const {
    std::lock_guard<std::mutex> lock(mutex_);
    return read(LibraryView{catalog_, streamTracks_});
  }
  // A track of the catalog or one handed in by a streaming client.
  bool findTrack(const std::string& id, CatalogTrack& out) const;

  // --- Transport. Each returns false when the request made no sense (an
  // unknown id, an empty queue), leaving the player as it was.
  // Replaces the queue with the tracks of `listId` (album, playlist, mood,
  // artist or genre) and starts at `index`, or at `trackId` when given.
  bool playList(const std::string& listId, int index, const std::string& trackId = "",
                bool start = true);
  // Plays a track: a jump when it is in the queue, otherwise its album is
  // queued from that track.
  bool playTrack(const std::string& trackId, bool start = true);
  bool playQueueIndex(int index);
  bool play();  // resumes, or starts the queue from its current position
  void pause();
  void stop();
  bool togglePlayPause();
  bool next();      // the play-next list first, then the queue
  bool previous();  // restarts a track that has played for more than 3 s
  // Moves a queued track to `position`; an empty id moves the current one.
  bool moveInQueue(const std::string& trackId, int position);
  // Puts a track first in the play-next list, so that it follows the current
  // one ahead of earlier picks. False for an unknown id.
  bool addPlayNext(const std::string& trackId);
  // Moves within the current track, clamped to its length.
  bool seek(double seconds);
  bool appendToQueue(const std::string& trackId);
  // Drops a queue entry. Dropping the current track plays the one after it
  // in the same state, or stops when it was the last.
  bool removeFromQueue(int index);
  // Empties the queue and the play-next list, and stops.
  void clearQueue();
  // A track that a streaming client hands over; returns its id.
  std::string addStreamTrack(const std::string& id, const std::string& title,
                             const std::string& artist, const std::string& album, bool next);
  void setMode(PlayMode mode);
  void setVolume(int volume);  // clamped to 0..100
  void setMuted(bool muted);

  TransportSnapshot transport() const;
  std::vector<std::string> queue() const;
  int queueIndex() const;
  std::vector<std::string> playNext() const;

  // --- Time. Advances playback, downloads and scans to the clock's now.
  TickResult tick();

  // --- Sound stages.
  Stage stage(StageKind kind) const;
  void setStageEnabled(StageKind kind, bool enabled);
  // Selects by id, or by name when `key` is not a number. False when unknown.
  bool selectPreset(StageKind kind, const std::string& key);
  // A preset sent in full (equalizer and IRC): replaces the one with its id,
  // or joins the list.
  void applyPreset(StageKind kind, const Preset& preset);
  int ircGain() const;
  void setIrcGain(int gain);  // clamped to -12..12 dB

  // --- Settings, devices and options.
  struct SettingsValues {
    bool mqa = true;
    bool upsample = false;
    bool dsp = true;
  };
  SettingsValues settingsValues() const;
  void setSettingsValues(const SettingsValues& values);
  std::vector<OutputDevice> devices() const;
  std::string currentDevice() const;
  // Empty texts keep the device's current values. False when unknown or a
  // value is not one the device offers.
  bool selectDevice(const std::string& name, const std::string& channels = "",
                    const std::string& sampleRate = "", const std::string& bufferSize = "");
  std::map<std::string, std::string> options() const;
  // Ignores empty values; false (and no change) when a value is invalid.
  bool setOptions(const std::map<std::string, std::string>& values);
  std::string downloadFolder() const;
  std::string artworkFolder() const;
  void setArtworkFolder(const std::string& folder);
  void setDownloadFolder(const std::string& folder);
  std::string inputSource() const;
  void setInputMode(bool enabled, const std::string& source);

  // --- Account. The demo account is user "demo", password "demo".
  static constexpr const char* kDemoUser = "demo";
  static constexpr const char* kDemoPassword = "demo";
  // The session token, or empty when the credentials are wrong.
  std::string login(const std::string& user, const std::string& password);
  void logout();
  std::string user() const;
  std::string userToken() const;

  // --- Stash and downloads.
  std::vector<StashItem> stash() const;
  bool addStashItem(const StashItem& item);
  bool removeStashItem(const std::string& sku);
  bool findStashItem(const std::string& sku, StashItem& out) const;
  bool startDownload(const std::string& sku);
  bool pauseDownload(const std::string& sku);
  bool resumeDownload(const std::string& sku);
  bool cancelDownload(const std::string& sku);

  // --- Scanning.
  bool startScan(const std::string& which);
  bool cancelScan();
  ScanStatus scan() const;

  // --- Playlists (kept in the catalog) and library edits.
  std::string createPlaylist(const std::string& name);  // the new id, or empty
  bool deletePlaylist(const std::string& id);
  // `itemId` may be a track, an album or another playlist: all their tracks.
  bool addToPlaylist(const std::string& playlistId, const std::string& itemId);
  bool removeFromPlaylist(const std::string& playlistId, const std::string& trackId);
  bool moveInPlaylist(const std::string& playlistId, const std::string& trackId, int position);
  bool setPlaylistInfo(const std::string& id, const std::string& name, const std::string& info);
  // Tracks of any list-like id (album, playlist, mood, artist, genre) or the
  // track itself; empty when unknown.
  std::vector<std::string> tracksOf(const std::string& id) const;
  // Bumped by every change to the library's lists.
  int libraryRevision() const;

  // --- History.
  std::vector<HistoryEntry> history() const;
  void addHistory(const std::string& trackId);
  void clearHistory();

  // Album years of an artist, ascending, without repeats.
  std::vector<int> yearsOf(const std::string& artistId) const;

 private:
  using Lock = std::lock_guard<std::mutex>;

  double now() const;
  const CatalogTrack* trackLocked(const std::string& id) const;
  std::vector<std::string> tracksOfLocked(const std::string& id) const;
  // Loads queue_[index] (or the track) at position 0 and records history.
  void loadLocked(const std::string& trackId);
  void settleLocked();  // folds the time played so far into elapsed_
  bool advanceLocked(bool automatic);
  int shuffledNextLocked();
  Stage& stageLocked(StageKind kind) { return stages_[static_cast<int>(kind)]; }
  StashItem* stashLocked(const std::string& sku);
  // Moves a download to `to` when it is in one of the `from` states.
  bool moveDownload(const std::string& sku, std::initializer_list<DownloadState> from,
                    DownloadState to);

  mutable std::mutex mutex_;
  Clock clock_;
  Catalog catalog_;
  std::map<std::string, CatalogTrack> streamTracks_;

  Transport transport_ = Transport::Stopped;
  std::vector<std::string> queue_;
  int index_ = -1;       // position in queue_ of the current track, or -1
  std::string current_;  // the loaded track (may come from the play-next list)
  std::vector<std::string> playNext_;
  double elapsed_ = 0;    // seconds played before startedAt_
  double startedAt_ = 0;  // clock time when playing last resumed
  double lastTick_ = 0;
  PlayMode mode_ = PlayMode::Normal;
  int volume_ = 40;
  bool muted_ = false;
  unsigned shuffleSeed_ = 12345;

  Stage stages_[4];
  int ircGain_ = 0;
  SettingsValues settings_;
  std::vector<OutputDevice> devices_;
  int device_ = 0;
  std::map<std::string, std::string> options_;
  std::string artworkFolder_;
  std::string downloadFolder_;
  bool inputEnabled_ = false;
  std::string inputSource_;

  std::string user_;
  std::string token_;

  std::vector<StashItem> stash_;
  ScanStatus scan_;
  std::size_t scanned_ = 0;

  int playlistCounter_ = 0;
  int revision_ = 1;
  std::vector<HistoryEntry> history_;
};

}  // namespace refhost
