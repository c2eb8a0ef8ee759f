#include "listeners/Publisher.h"

#include "listeners/Items.h"
#include "listeners/Presets.h"

namespace refhost {

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
  ItemPool pool;
  Track* track = player_.withLibrary([&](const LibraryView& lib) -> Track* {
    const CatalogTrack* t = lib.track(current);
    return t ? pool.track(lib, *t, true) : nullptr;
  });
  if (track != nullptr) service_.getLibraryService()->setTrackInfo(track);
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
  const Preset* current = s.currentPreset();
  switch (kind) {
    case StageKind::EQ: {
      auto* eq = service_.getEqualizerService();
      eq->setEQState(s.enabled);
      if (withList) {
        std::vector<EQPreset> list = eqPresets(s.presets);
        eq->setEQPresetList(list);
      }
      if (current != nullptr) {
        EQPreset preset = eqPreset(*current);
        eq->setEQCurrentPreset(preset);
      }
      break;
    }
    case StageKind::HP: {
      auto* hp = service_.getHPService();
      hp->setHPState(s.enabled);
      if (withList) {
        std::vector<HPPreset> list = namedPresets<HPPreset>(s.presets);
        hp->setHPPresetList(list);
      }
      if (current != nullptr) {
        HPPreset preset{current->name.c_str(), current->id};
        hp->setHPCurrentPreset(preset);
      }
      break;
    }
    case StageKind::AC: {
      auto* ac = service_.getACService();
      ac->setACState(s.enabled);
      if (withList) {
        std::vector<ACPreset> list = namedPresets<ACPreset>(s.presets);
        ac->setACPresetList(list);
      }
      if (current != nullptr) {
        ACPreset preset{current->name.c_str(), current->id};
        ac->setACCurrentPreset(preset);
      }
      break;
    }
    case StageKind::IRC: {
      auto* irc = service_.getIRCService();
      irc->setIRCState(s.enabled);
      if (withList) {
        std::vector<IRCPreset> list = namedPresets<IRCPreset>(s.presets);
        irc->setIRCPresetList(list);
      }
      if (current != nullptr) {
        IRCPreset preset{current->name.c_str(), current->id};
        irc->setIRCCurrentPreset(preset);
      }
      irc->setIRCGain(player_.ircGain());
      break;
    }
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
