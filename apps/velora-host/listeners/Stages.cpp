#include "listeners/Areas.h"

#include "listeners/Presets.h"

namespace refhost {

namespace {

// The stages' get-preset answers: the current preset or the whole list, as
// JSON, through the answer setter of `kind` (the AC stage answers through the
// headphone stage's setters, the only ones its requests read).
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

// A set-preset request: "enable" and a preset id or name. False when the
// preset is unknown.
bool setPresetFromRequest(HostContext& host, StageKind kind, const char* enable,
                          const char* preset) {
  if (!host.player.selectPreset(kind, decoded(preset))) return false;
  host.player.setStageEnabled(kind, flag(enable));
  host.publish.stage(kind);
  return true;
}

// What the four stages do alike; `kKind` is the stage.
template <typename Listener, StageKind kKind>
class StagePart : public Listener {
 public:
  explicit StagePart(HostContext& host) : host_(host) {}

 protected:
  void request(const char* callback, bool withList) {
    host_.console.call(callback);
    host_.publish.stage(kKind, withList);
  }
  int get(const char* callback, bool list) {
    host_.console.call(callback);
    answerPreset(host_, kKind, list);
    return kOk;
  }

  HostContext& host_;
};

// The seven callbacks every stage has, spelt with the stage's name as the
// interfaces spell them (EQ, IRC, AC, HP).
#define REFHOST_STAGE_CALLBACKS(S)                                                                 \
  void onSet##S##State(bool& enabled) override {                                                   \
    host_.console.call("onSet" #S "State", enabled);                                               \
    host_.player.setStageEnabled(StageKind::S, enabled);                                           \
    host_.publish.stage(StageKind::S);                                                             \
  }                                                                                                \
  void onRequest##S##State() override { request("onRequest" #S "State", false); }                  \
  void onRequest##S##PresetList() override { request("onRequest" #S "PresetList", true); }         \
  void onRequest##S##Preset() override { request("onRequest" #S "Preset", false); }                \
  void onGet##S##PresetList(int& status) override { status = get("onGet" #S "PresetList", true); } \
  void onGet##S##Preset(int& status) override { status = get("onGet" #S "Preset", false); }        \
  void onSet##S##Preset(const char*& enable, const char*& preset, int& status) override {          \
    host_.console.call("onSet" #S "Preset", enable, preset);                                       \
    status = setPresetFromRequest(host_, StageKind::S, enable, preset) ? kOk : kFailed;            \
  }

class EqualizerListener final : public StagePart<IVeloraEqualizerServiceListener, StageKind::EQ> {
 public:
  using StagePart::StagePart;
  REFHOST_STAGE_CALLBACKS(EQ)

  void onApplyEQPreset(EQPreset& preset) override {
    host_.console.call("onApplyEQPreset", preset.name, preset.id, "bands:", preset.bands.size());
    host_.player.applyPreset(StageKind::EQ, fromEQPreset(preset));
    host_.publish.stage(StageKind::EQ, true);
  }
};

// The IRC stage also has a gain.
class IRCListener final : public StagePart<IVeloraIRCServiceListener, StageKind::IRC> {
 public:
  using StagePart::StagePart;
  REFHOST_STAGE_CALLBACKS(IRC)

  void onApplyIRCPreset(IRCPreset& preset) override {
    host_.console.call("onApplyIRCPreset", preset.name, preset.id);
    host_.player.applyPreset(StageKind::IRC, Preset{preset.id, text(preset.name), {}});
    host_.publish.stage(StageKind::IRC, true);
  }

  void onRequestIRCGain() override {
    host_.console.call("onRequestIRCGain");
    host_.publish.ircGain();
  }

  void onSetIRCGain(int& gain) override {
    host_.console.call("onSetIRCGain", gain);
    host_.player.setIrcGain(gain);
    host_.publish.ircGain();
  }
};

class ACListener final : public StagePart<IVeloraACServiceListener, StageKind::AC> {
 public:
  using StagePart::StagePart;
  REFHOST_STAGE_CALLBACKS(AC)

  // Never fired: presets reach the AC stage by id through onSetACPreset.
  void onApplyACPreset(ACPreset& preset) override {
    host_.console.call("onApplyACPreset", preset.name, preset.id);
  }
};

class HPListener final : public StagePart<IVeloraHPServiceListener, StageKind::HP> {
 public:
  using StagePart::StagePart;
  REFHOST_STAGE_CALLBACKS(HP)

  // Never fired: presets reach the headphone stage by id through onSetHPPreset.
  void onApplyHPPreset(HPPreset& preset) override {
    host_.console.call("onApplyHPPreset", preset.name, preset.id);
  }
};

}  // namespace

std::unique_ptr<IVeloraEqualizerServiceListener> equalizerListener(HostContext& host) {
  return std::make_unique<EqualizerListener>(host);
}
std::unique_ptr<IVeloraIRCServiceListener> ircListener(HostContext& host) {
  return std::make_unique<IRCListener>(host);
}
std::unique_ptr<IVeloraACServiceListener> acListener(HostContext& host) {
  return std::make_unique<ACListener>(host);
}
std::unique_ptr<IVeloraHPServiceListener> hpListener(HostContext& host) {
  return std::make_unique<HPListener>(host);
}

}  // namespace refhost
