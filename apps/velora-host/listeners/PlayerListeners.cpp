#include "listeners/PlayerListeners.h"

#include "listeners/Presets.h"

namespace refhost {

// ------------------------------------------------------------------ playback

void PlaybackListener::onSetVolume(int& volume) {
  host_.console.call("onSetVolume", volume);
  host_.player.setVolume(volume);
  host_.publish.volume();
}

void PlaybackListener::onSetMute(bool& mute) {
  host_.console.call("onSetMute", mute);
  host_.player.setMuted(mute);
  host_.publish.mute();
  host_.publish.playbackState();  // the meters fall silent
}

// Play with an item id plays that list (album, playlist, mood, ...) from the
// given index, or that track; play without an id plays the queue's entry at
// the index, or resumes.
void PlaybackListener::onPlaybackCommand(PlaybackCommand& command) {
  host_.console.call("onPlaybackCommand", command.command, command.index, command.itemid);
  if (command.command == 1) {
    host_.player.pause();
    host_.publish.playbackState();
    return;
  }
  const std::string item = text(command.itemid);
  const std::string before = host_.player.transport().trackId;
  bool queued = false;
  bool ok;
  if (item.empty()) {
    const int at = host_.player.queueIndex();
    ok = command.index != at && command.index > 0 ? host_.player.playQueueIndex(command.index)
                                                  : host_.player.play();
  } else {
    CatalogTrack track;
    if (host_.player.findTrack(item, track)) {
      ok = host_.player.playTrack(item);
    } else {
      ok = host_.player.playList(item, command.index);
    }
    queued = ok;
  }
  if (!ok) {
    host_.console.say("nothing to play for \"" + item + "\"");
    return;
  }
  if (queued) host_.publish.queue();
  host_.publish.transport(host_.player.transport().trackId != before || queued);
}

void PlaybackListener::onMoveTrack(const char*& trackId, int& position) {
  host_.console.call("onMoveTrack", trackId, position);
  if (host_.player.moveInQueue(text(trackId), position)) host_.publish.queue();
}

void PlaybackListener::onRequestVolume() {
  host_.console.call("onRequestVolume");
  host_.publish.volume();
}

void PlaybackListener::onRequestMute() {
  host_.console.call("onRequestMute");
  host_.publish.mute();
}

void PlaybackListener::onRequestPlayerState() {
  host_.console.call("onRequestPlayerState");
  // Everything the now-playing screen shows, for a client that just came.
  host_.publish.queue();
  host_.publish.transport(true);
  host_.publish.mode();
  host_.publish.volume();
  host_.publish.mute();
}

void PlaybackListener::onRequestMode() {
  host_.console.call("onRequestMode");
  host_.publish.mode();
}

void PlaybackListener::onNext() {
  host_.console.call("onNext");
  if (host_.player.next()) {
    host_.publish.transport(true);
    host_.publish.queue();
  }
}

void PlaybackListener::onPrevious() {
  host_.console.call("onPrevious");
  if (host_.player.previous()) {
    host_.publish.transport(true);
    host_.publish.queue();
  }
}

void PlaybackListener::onSetMode(PlaybackMode& mode) {
  host_.console.call("onSetMode", mode.mode);
  if (mode.mode >= 0 && mode.mode <= static_cast<int>(PlayMode::Shuffle)) {
    host_.player.setMode(static_cast<PlayMode>(mode.mode));
  }
  host_.publish.mode();
}

// ---------------------------------------------------------------- the stages

void answerPreset(HostContext& host, StageKind kind, bool list) {
  const Stage stage = host.player.stage(kind);
  const bool bands = kind == StageKind::EQ;
  std::string json = "null";
  if (list) {
    json = presetListJson(stage.presets, bands);
  } else if (const Preset* current = stage.currentPreset()) {
    json = presetJson(*current, bands);
  }
  switch (kind) {
    case StageKind::EQ:
      list ? host.service.getEqualizerService()->setGetEQPresetListResponse(json.c_str())
           : host.service.getEqualizerService()->setGetEQPresetResponse(json.c_str());
      break;
    case StageKind::HP:
    case StageKind::AC:
      list ? host.service.getHPService()->setGetHPPresetListResponse(json.c_str())
           : host.service.getHPService()->setGetHPPresetResponse(json.c_str());
      break;
    case StageKind::IRC:
      list ? host.service.getIRCService()->setGetIRCPresetListResponse(json.c_str())
           : host.service.getIRCService()->setGetIRCPresetResponse(json.c_str());
      break;
  }
}

bool setPresetFromRequest(HostContext& host, StageKind kind, const char* enable,
                          const char* preset) {
  if (!host.player.selectPreset(kind, decoded(preset))) return false;
  host.player.setStageEnabled(kind, flag(enable));
  host.publish.stage(kind);
  return true;
}

namespace {
void setEnabled(HostContext& host, StageKind kind, bool enabled) {
  host.player.setStageEnabled(kind, enabled);
  host.publish.stage(kind);
}
}  // namespace

void EqualizerListener::onSetEQState(bool& enabled) {
  host_.console.call("onSetEQState", enabled);
  setEnabled(host_, StageKind::EQ, enabled);
}

void EqualizerListener::onApplyEQPreset(EQPreset& preset) {
  host_.console.call("onApplyEQPreset", preset.name, preset.id, "bands:", preset.bands.size());
  host_.player.applyPreset(StageKind::EQ, fromEQPreset(preset));
  host_.publish.stage(StageKind::EQ, true);
}

void EqualizerListener::onRequestEQState() {
  host_.console.call("onRequestEQState");
  host_.publish.stage(StageKind::EQ);
}

void EqualizerListener::onRequestEQPresetList() {
  host_.console.call("onRequestEQPresetList");
  host_.publish.stage(StageKind::EQ, true);
}

void EqualizerListener::onRequestEQPreset() {
  host_.console.call("onRequestEQPreset");
  host_.publish.stage(StageKind::EQ);
}

void EqualizerListener::onGetEQPresetList(int& status) {
  host_.console.call("onGetEQPresetList");
  answerPreset(host_, StageKind::EQ, true);
  status = 0;
}

void EqualizerListener::onGetEQPreset(int& status) {
  host_.console.call("onGetEQPreset");
  answerPreset(host_, StageKind::EQ, false);
  status = 0;
}

void EqualizerListener::onSetEQPreset(const char*& enable, const char*& preset, int& status) {
  host_.console.call("onSetEQPreset", enable, preset);
  status = setPresetFromRequest(host_, StageKind::EQ, enable, preset) ? 0 : 1;
}

void IRCListener::onSetIRCState(bool& enabled) {
  host_.console.call("onSetIRCState", enabled);
  setEnabled(host_, StageKind::IRC, enabled);
}

void IRCListener::onApplyIRCPreset(IRCPreset& preset) {
  host_.console.call("onApplyIRCPreset", preset.name, preset.id);
  host_.player.applyPreset(StageKind::IRC, Preset{preset.id, text(preset.name), {}});
  host_.publish.stage(StageKind::IRC, true);
}

void IRCListener::onRequestIRCState() {
  host_.console.call("onRequestIRCState");
  host_.publish.stage(StageKind::IRC);
}

void IRCListener::onRequestIRCPresetList() {
  host_.console.call("onRequestIRCPresetList");
  host_.publish.stage(StageKind::IRC, true);
}

void IRCListener::onRequestIRCPreset() {
  host_.console.call("onRequestIRCPreset");
  host_.publish.stage(StageKind::IRC);
}

void IRCListener::onRequestIRCGain() {
  host_.console.call("onRequestIRCGain");
  host_.publish.ircGain();
}

void IRCListener::onSetIRCGain(int& gain) {
  host_.console.call("onSetIRCGain", gain);
  host_.player.setIrcGain(gain);
  host_.publish.ircGain();
}

void IRCListener::onGetIRCPresetList(int& status) {
  host_.console.call("onGetIRCPresetList");
  answerPreset(host_, StageKind::IRC, true);
  status = 0;
}

void IRCListener::onGetIRCPreset(int& status) {
  host_.console.call("onGetIRCPreset");
  answerPreset(host_, StageKind::IRC, false);
  status = 0;
}

void IRCListener::onSetIRCPreset(const char*& enable, const char*& preset, int& status) {
  host_.console.call("onSetIRCPreset", enable, preset);
  status = setPresetFromRequest(host_, StageKind::IRC, enable, preset) ? 0 : 1;
}

void ACListener::onSetACState(bool& enabled) {
  host_.console.call("onSetACState", enabled);
  setEnabled(host_, StageKind::AC, enabled);
}

// Never fired: presets reach the AC stage by id through onSetACPreset.
void ACListener::onApplyACPreset(ACPreset& preset) {
  host_.console.call("onApplyACPreset", preset.name, preset.id);
}

void ACListener::onRequestACState() {
  host_.console.call("onRequestACState");
  host_.publish.stage(StageKind::AC);
}

void ACListener::onRequestACPresetList() {
  host_.console.call("onRequestACPresetList");
  host_.publish.stage(StageKind::AC, true);
}

void ACListener::onRequestACPreset() {
  host_.console.call("onRequestACPreset");
  host_.publish.stage(StageKind::AC);
}

void ACListener::onGetACPresetList(int& status) {
  host_.console.call("onGetACPresetList");
  answerPreset(host_, StageKind::AC, true);
  status = 0;
}

void ACListener::onGetACPreset(int& status) {
  host_.console.call("onGetACPreset");
  answerPreset(host_, StageKind::AC, false);
  status = 0;
}

void ACListener::onSetACPreset(const char*& enable, const char*& preset, int& status) {
  host_.console.call("onSetACPreset", enable, preset);
  status = setPresetFromRequest(host_, StageKind::AC, enable, preset) ? 0 : 1;
}

void HPListener::onSetHPState(bool& enabled) {
  host_.console.call("onSetHPState", enabled);
  setEnabled(host_, StageKind::HP, enabled);
}

// Never fired: presets reach the headphone stage by id through onSetHPPreset.
void HPListener::onApplyHPPreset(HPPreset& preset) {
  host_.console.call("onApplyHPPreset", preset.name, preset.id);
}

void HPListener::onRequestHPState() {
  host_.console.call("onRequestHPState");
  host_.publish.stage(StageKind::HP);
}

void HPListener::onRequestHPPresetList() {
  host_.console.call("onRequestHPPresetList");
  host_.publish.stage(StageKind::HP, true);
}

void HPListener::onRequestHPPreset() {
  host_.console.call("onRequestHPPreset");
  host_.publish.stage(StageKind::HP);
}

void HPListener::onGetHPPresetList(int& status) {
  host_.console.call("onGetHPPresetList");
  answerPreset(host_, StageKind::HP, true);
  status = 0;
}

void HPListener::onGetHPPreset(int& status) {
  host_.console.call("onGetHPPreset");
  answerPreset(host_, StageKind::HP, false);
  status = 0;
}

void HPListener::onSetHPPreset(const char*& enable, const char*& preset, int& status) {
  host_.console.call("onSetHPPreset", enable, preset);
  status = setPresetFromRequest(host_, StageKind::HP, enable, preset) ? 0 : 1;
}

// ------------------------------------------------------------------ settings

void SettingsListener::onRequestOutputDevices() {
  host_.console.call("onRequestOutputDevices");
  host_.publish.outputDevices();
}

void SettingsListener::onSetOutputDevice(const char*& name) {
  host_.console.call("onSetOutputDevice", name);
  if (!host_.player.selectDevice(text(name))) {
    host_.console.say("no output device named \"" + text(name) + "\"");
  }
  // Published either way, so that a client that picked a stale name sees
  // which device is still current.
  host_.publish.outputDevices();
}

void SettingsListener::onRequestSettingsValues() {
  host_.console.call("onRequestSettingsValues");
  host_.publish.settingsValues();
}

void SettingsListener::onSetSettingsValues(bool& mqa, bool& upsample, bool& dsp) {
  host_.console.call("onSetSettingsValues", mqa, upsample, dsp);
  host_.player.setSettingsValues(Player::SettingsValues{mqa, upsample, dsp});
  host_.publish.settingsValues();
}

}  // namespace refhost
