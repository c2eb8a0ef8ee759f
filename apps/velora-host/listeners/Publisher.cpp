#include "listeners/Publisher.h"

#include "listeners/Items.h"
#include "listeners/Presets.h"

namespace refhost {

namespace {

// One sound stage through its service: the switch, the preset list when
// asked for, and the current preset. `record` turns a preset of the player
// into the service's record; the records point into `stage`.
template <typename Service, typename Record>
void publishStage(Service& service, const Stage& stage, bool withList,
                  Record (*record)(const Preset&), void (Service::*setState)(bool),
                  void (Service::*setList)(std::vector<Record>&),
                  void (Service::*setCurrent)(Record&)) {
  (service.*setState)(stage.enabled);
  if (withList) {
    std::vector<Record> list;
    for (const Preset& p : stage.presets) list.push_back(record(p));
    (service.*setList)(list);
  }
  if (const Preset* current = stage.currentPreset()) {
    Record preset = record(*current);
    (service.*setCurrent)(preset);
  }
}

}  // namespace

void Publisher::playbackState() {
  const TransportSnapshot s = player_.transport();
  PlaybackState state{};
  state.state = static_cast<int>(s.transport);
  state.trackid = s.trackId.empty() ? nullptr : s.trackId.c_str();
  state.duration = static_cast<float>(s.duration);
  state.elapsed = static_cast<float>(s.elapsed);
  state.lgain = s.level;
  state.rgain = s.level * 0.97f;
  state.mqa.state = s.mqa ? 1 : 0;
  state.mqa.osr = s.sampleRate;
  state.mqa.customrate = nullptr;
  state.error = nullptr;
  service_.getPlaybackService()->setPlaybackState(state);
}

void Publisher::nowPlaying() {
  const std::string current = player_.transport().trackId;
  if (current.empty()) return;
  LibraryItems items(player_);
  if (Track* track = items.track(current)) service_.getLibraryService()->setTrackInfo(track);
}

void Publisher::queue() {
  const std::vector<std::string> ids = player_.queue();
  const std::vector<std::string> next = player_.playNext();
  ItemPool pool;
  std::vector<Track*> tracks, nextTracks;
  player_.withLibrary([&](const LibraryView& lib) {
    tracks = pool.tracks(lib, ids);
    nextTracks = pool.tracks(lib, next);
  });
  service_.getLibraryService()->setTrackList(tracks, player_.queueIndex());
  service_.getLibraryService()->setPlaynextList(nextTracks);
}

void Publisher::transport(bool trackMoved) {
  if (trackMoved) nowPlaying();
  playbackState();
}

void Publisher::volume() {
  service_.getPlaybackService()->setVolumeLevel(player_.transport().volume);
}

void Publisher::mute() { service_.getPlaybackService()->setMuteState(player_.transport().muted); }

void Publisher::mode() {
  PlaybackMode mode{static_cast<int>(player_.transport().mode)};
  service_.getPlaybackService()->setPlaybackMode(mode);
}

void Publisher::stage(StageKind kind, bool withList) {
  const Stage s = player_.stage(kind);
  switch (kind) {
    case StageKind::EQ:
      return publishStage(*service_.getEqualizerService(), s, withList, eqPreset,
                          &IVeloraEqualizerService::setEQState,
                          &IVeloraEqualizerService::setEQPresetList,
                          &IVeloraEqualizerService::setEQCurrentPreset);
    case StageKind::HP:
      return publishStage(*service_.getHPService(), s, withList, namedPreset<HPPreset>,
                          &IVeloraHPService::setHPState, &IVeloraHPService::setHPPresetList,
                          &IVeloraHPService::setHPCurrentPreset);
    case StageKind::AC:
      return publishStage(*service_.getACService(), s, withList, namedPreset<ACPreset>,
                          &IVeloraACService::setACState, &IVeloraACService::setACPresetList,
                          &IVeloraACService::setACCurrentPreset);
    case StageKind::IRC:
      publishStage(*service_.getIRCService(), s, withList, namedPreset<IRCPreset>,
                   &IVeloraIRCService::setIRCState, &IVeloraIRCService::setIRCPresetList,
                   &IVeloraIRCService::setIRCCurrentPreset);
      // The room correction's gain goes with its state.
      return ircGain();
  }
}

void Publisher::ircGain() { service_.getIRCService()->setIRCGain(player_.ircGain()); }

void Publisher::outputDevices() {
  const std::vector<OutputDevice> devices = player_.devices();
  const std::string current = player_.currentDevice();
  std::vector<const char*> names;
  for (const OutputDevice& d : devices) names.push_back(d.name.c_str());
  service_.getSettingsService()->setOutputDeviceList(names, current.c_str());
}

void Publisher::settingsValues() {
  const Player::SettingsValues v = player_.settingsValues();
  service_.getSettingsService()->setSettingsValues(v.mqa, v.upsample, v.dsp);
}

void Publisher::libraryChanged() { service_.getLibraryService()->setMyLibraryItemDirty(); }

void Publisher::everything() {
  playbackState();
  nowPlaying();
  queue();
  volume();
  mute();
  mode();
  for (StageKind kind : {StageKind::EQ, StageKind::HP, StageKind::AC, StageKind::IRC}) {
    stage(kind, true);
  }
  outputDevices();
  settingsValues();
}

}  // namespace refhost
