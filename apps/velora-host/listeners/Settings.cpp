#include "listeners/Areas.h"

namespace refhost {

namespace {

// The output device and the processing switches.
class SettingsListener final : public IVeloraSettingsServiceListener {
 public:
  explicit SettingsListener(HostContext& host) : host_(host) {}

  void onRequestOutputDevices() override {
    host_.console.call("onRequestOutputDevices");
    host_.publish.outputDevices();
  }

  void onSetOutputDevice(const char*& name) override {
    host_.console.call("onSetOutputDevice", name);
    if (!host_.player.selectDevice(text(name))) {
      host_.console.say("no output device named \"" + text(name) + "\"");
    }
    // Published either way, so that a client that picked a stale name sees
    // which device is still current.
    host_.publish.outputDevices();
  }

  void onRequestSettingsValues() override {
    host_.console.call("onRequestSettingsValues");
    host_.publish.settingsValues();
  }

  void onSetSettingsValues(bool& mqa, bool& upsample, bool& dsp) override {
    host_.console.call("onSetSettingsValues", mqa, upsample, dsp);
    host_.player.setSettingsValues(Player::SettingsValues{mqa, upsample, dsp});
    host_.publish.settingsValues();
  }

 private:
  HostContext& host_;
};

}  // namespace

std::unique_ptr<IVeloraSettingsServiceListener> settingsListener(HostContext& host) {
  return std::make_unique<SettingsListener>(host);
}

}  // namespace refhost
