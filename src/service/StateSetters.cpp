#include "playback/Presets.h"
#include "service/VeloraRestService.h"
#include "util/Support.h"

using utility::conversions::to_string_t;
using web::json::value;

// Playback, sound-processing and settings state pushed by the host. Every
// setter replaces one key of its document and wakes one waiting poll.

namespace {
using Fields = std::vector<std::pair<utility::string_t, value>>;
}  // namespace

void VeloraRestService::setVolumeLevel(int level) {
  state_.publish(&StateDocuments::playback, "volumelevel", value::number(level));
}

void VeloraRestService::setMuteState(bool muted) {
  state_.publish(&StateDocuments::playback, "mutestate", value::boolean(muted));
}

void VeloraRestService::setPlaybackState(PlaybackState& state) {
  Fields mqa{{"state", value::number(state.mqa.state)}, {"osr", value::number(state.mqa.osr)}};
  if (state.mqa.customrate != nullptr) {
    mqa.emplace_back("customrate", value::string(state.mqa.customrate));
  }
  Fields f{{"duration", value::number(double{state.duration})},
           {"elapsed", value::number(double{state.elapsed})}};
  if (state.trackid != nullptr) f.emplace_back("trackid", value::string(state.trackid));
  if (state.error != nullptr) f.emplace_back("error", value::string(state.error));
  f.emplace_back("state", value::number(state.state));
  f.emplace_back("lgain", value::number(double{state.lgain}));
  f.emplace_back("rgain", value::number(double{state.rgain}));
  f.emplace_back("mqa", value::object(std::move(mqa), true));
  state_.publish(&StateDocuments::playback, "playbackstate", value::object(std::move(f), true));
}

void VeloraRestService::setPlaybackMode(PlaybackMode& mode) {
  state_.publish(&StateDocuments::playback, "playbackmode", value::number(mode.mode));
}

void VeloraRestService::setEQState(bool enabled) {
  state_.publish(&StateDocuments::equalizer, "enabled", value::boolean(enabled));
}

void VeloraRestService::setEQCurrentPreset(EQPreset& preset) {
  state_.publish(&StateDocuments::equalizer, "preset", getEQPreset(preset));
}

void VeloraRestService::setEQPresetList(std::vector<EQPreset>& presets) {
  state_.publish(&StateDocuments::equalizer, "presetlist",
                 presetList(presets, [](const EQPreset& p) { return getEQPreset(p); }));
}

void VeloraRestService::setIRCState(bool enabled) {
  state_.publish(&StateDocuments::irc, "enabled", value::boolean(enabled));
}

void VeloraRestService::setIRCGain(int gain) {
  state_.publish(&StateDocuments::irc, "gain", value::number(gain));
}

void VeloraRestService::setIRCCurrentPreset(IRCPreset& preset) {
  // The current preset's id is repeated at the top of the document.
  state_.publish(&StateDocuments::irc,
                 {{"preset", getIRCPreset(preset)}, {"id", value::number(preset.id)}});
}

void VeloraRestService::setIRCPresetList(std::vector<IRCPreset>& presets) {
  state_.publish(&StateDocuments::irc, "presetlist",
                 presetList(presets, [](const IRCPreset& p) { return getIRCPreset(p); }));
}

void VeloraRestService::setACState(bool enabled) {
  state_.publish(&StateDocuments::ac, "enabled", value::boolean(enabled));
}

void VeloraRestService::setACCurrentPreset(ACPreset& preset) {
  state_.publish(&StateDocuments::ac, "preset", getACPreset(preset));
}

void VeloraRestService::setACPresetList(std::vector<ACPreset>& presets) {
  state_.publish(&StateDocuments::ac, "presetlist",
                 presetList(presets, [](const ACPreset& p) { return getACPreset(p); }));
}

void VeloraRestService::setHPState(bool enabled) {
  state_.publish(&StateDocuments::ooyh, "enabled", value::boolean(enabled));
}

void VeloraRestService::setHPCurrentPreset(HPPreset& preset) {
  state_.publish(&StateDocuments::ooyh, "preset", getHPPreset(preset));
}

void VeloraRestService::setHPPresetList(std::vector<HPPreset>& presets) {
  state_.publish(&StateDocuments::ooyh, "presetlist",
                 presetList(presets, [](const HPPreset& p) { return getHPPreset(p); }));
}

void VeloraRestService::setOutputDeviceList(std::vector<const char*>& names, const char* current) {
  std::vector<value> list;
  list.reserve(names.size());
  for (const char* name : names) list.push_back(value::string(to_string_t(name)));
  state_.publish(&StateDocuments::settings, "outputdevices",
                 value::object(Fields{{"current", value::string(to_string_t(current))},
                                      {"list", value::array(std::move(list))}},
                               true));
}

void VeloraRestService::setSettingsValues(bool mqa, bool upsample, bool dsp) {
  state_.publish(&StateDocuments::settings, "values",
                 value::object(Fields{{"mqa", value::boolean(mqa)},
                                      {"upsample", value::boolean(upsample)},
                                      {"dsp", value::boolean(dsp)}},
                               true));
}
