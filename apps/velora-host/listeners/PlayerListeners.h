#pragma once

#include <velora/VeloraRemoteSDK.h>

#include "listeners/HostContext.h"

// Transport, the four sound stages and the settings area. Requests change the
// player and push the new state; "request" callbacks push the state as it is.
namespace refhost {

class PlaybackListener final : public IVeloraPlaybackServiceListener {
 public:
  explicit PlaybackListener(HostContext& host) : host_(host) {}
  void onSetVolume(int& volume) override;
  void onSetMute(bool& mute) override;
  void onPlaybackCommand(PlaybackCommand& command) override;
  void onMoveTrack(const char*& trackId, int& position) override;
  void onRequestVolume() override;
  void onRequestMute() override;
  void onRequestPlayerState() override;
  void onRequestMode() override;
  void onNext() override;
  void onPrevious() override;
  void onSetMode(PlaybackMode& mode) override;

 private:
  HostContext& host_;
};

// The stages' get-preset answers: the current preset or the whole list, as
// JSON, through the answer setter of `kind` (the AC stage answers through the
// headphone stage's setters, the only ones its requests read).
void answerPreset(HostContext& host, StageKind kind, bool list);
// A set-preset request: "enable" and a preset id or name. False when the
// preset is unknown.
bool setPresetFromRequest(HostContext& host, StageKind kind, const char* enable,
                          const char* preset);

class EqualizerListener final : public IVeloraEqualizerServiceListener {
 public:
  explicit EqualizerListener(HostContext& host) : host_(host) {}
  void onSetEQState(bool& enabled) override;
  void onApplyEQPreset(EQPreset& preset) override;
  void onRequestEQState() override;
  void onRequestEQPresetList() override;
  void onRequestEQPreset() override;
  void onGetEQPresetList(int& status) override;
  void onGetEQPreset(int& status) override;
  void onSetEQPreset(const char*& enable, const char*& preset, int& status) override;

 private:
  HostContext& host_;
};

class IRCListener final : public IVeloraIRCServiceListener {
 public:
  explicit IRCListener(HostContext& host) : host_(host) {}
  void onSetIRCState(bool& enabled) override;
  void onApplyIRCPreset(IRCPreset& preset) override;
  void onRequestIRCState() override;
  void onRequestIRCPresetList() override;
  void onRequestIRCPreset() override;
  void onRequestIRCGain() override;
  void onSetIRCGain(int& gain) override;
  void onGetIRCPresetList(int& status) override;
  void onGetIRCPreset(int& status) override;
  void onSetIRCPreset(const char*& enable, const char*& preset, int& status) override;

 private:
  HostContext& host_;
};

class ACListener final : public IVeloraACServiceListener {
 public:
  explicit ACListener(HostContext& host) : host_(host) {}
  void onSetACState(bool& enabled) override;
  void onApplyACPreset(ACPreset& preset) override;
  void onRequestACState() override;
  void onRequestACPresetList() override;
  void onRequestACPreset() override;
  void onGetACPresetList(int& status) override;
  void onGetACPreset(int& status) override;
  void onSetACPreset(const char*& enable, const char*& preset, int& status) override;

 private:
  HostContext& host_;
};

class HPListener final : public IVeloraHPServiceListener {
 public:
  explicit HPListener(HostContext& host) : host_(host) {}
  void onSetHPState(bool& enabled) override;
  void onApplyHPPreset(HPPreset& preset) override;
  void onRequestHPState() override;
  void onRequestHPPresetList() override;
  void onRequestHPPreset() override;
  void onGetHPPresetList(int& status) override;
  void onGetHPPreset(int& status) override;
  void onSetHPPreset(const char*& enable, const char*& preset, int& status) override;

 private:
  HostContext& host_;
};

class SettingsListener final : public IVeloraSettingsServiceListener {
 public:
  explicit SettingsListener(HostContext& host) : host_(host) {}
  void onRequestOutputDevices() override;
  void onSetOutputDevice(const char*& name) override;
  void onRequestSettingsValues() override;
  void onSetSettingsValues(bool& mqa, bool& upsample, bool& dsp) override;

 private:
  HostContext& host_;
};

}  // namespace refhost
