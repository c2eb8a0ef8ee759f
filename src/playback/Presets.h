#pragma once

#include <string>
#include <vector>

#include <cpprest/json.h>

#include "velora/VeloraTypes.h"

// Presets of the four sound-processing stages as JSON: {"name", "id"} and,
// for the equalizer, its bands under "paramset".

web::json::value getEQPreset(const EQPreset& preset);
web::json::value getHPPreset(const HPPreset& preset);
web::json::value getACPreset(const ACPreset& preset);
web::json::value getIRCPreset(const IRCPreset& preset);

template <typename Preset, typename Encode>
web::json::value presetList(const std::vector<Preset>& presets, Encode encode) {
  std::vector<web::json::value> out;
  out.reserve(presets.size());
  for (const Preset& p : presets) out.push_back(encode(p));
  return web::json::value::array(std::move(out));
}

// A preset posted by a remote client. Its name points into `nameStorage`,
// which must outlive the preset. Throws web::json::json_exception when a
// field is missing or of the wrong type.
EQPreset getEQPreset(const web::json::value& json, std::string& nameStorage);
IRCPreset getIRCPreset(const web::json::value& json, std::string& nameStorage);
