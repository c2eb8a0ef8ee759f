#pragma once

#include <string>
#include <vector>

#include <velora/VeloraRemoteSDK.h>

#include "listeners/Json.h"
#include "player/Player.h"

// Between the player's presets and the service's preset records and JSON.
// The records point into the player's presets: keep those alive while the
// records are used.
namespace refhost {

inline EQPreset eqPreset(const Preset& p) {
  EQPreset out{p.name.c_str(), p.id, {}};
  for (const Band& b : p.bands) {
    out.bands.push_back(EQBand{b.order, b.frequency, b.bandwidth, b.quality, b.filter});
  }
  return out;
}

// The record of a stage whose presets are a name and an id.
template <typename T>
T namedPreset(const Preset& p) {
  return T{p.name.c_str(), p.id};
}

inline Preset fromEQPreset(const EQPreset& p) {
  Preset out{p.id, p.name ? p.name : "", {}};
  for (const EQBand& b : p.bands) {
    out.bands.push_back(Band{b.order, b.fband, b.bband, b.qband, b.filter});
  }
  return out;
}

// The same JSON shape the service gives presets in "status".
inline std::string presetJson(const Preset& p, bool withBands) {
  JsonObject o;
  o.add("name", p.name).add("id", p.id);
  if (withBands) {
    std::vector<std::string> bands;
    for (const Band& b : p.bands) {
      bands.push_back(JsonObject()
                          .add("order", b.order)
                          .add("fband", b.frequency)
                          .add("bband", b.bandwidth)
                          .add("qband", b.quality)
                          .add("filter", b.filter)
                          .str());
    }
    o.raw("paramset", jsonArray(bands));
  }
  return o.str();
}

inline std::string presetListJson(const std::vector<Preset>& presets, bool withBands) {
  std::vector<std::string> items;
  for (const Preset& p : presets) items.push_back(presetJson(p, withBands));
  return jsonArray(items);
}

}  // namespace refhost
