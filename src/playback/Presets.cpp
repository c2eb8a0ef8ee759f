#include "playback/Presets.h"

#include "util/Support.h"

using utility::conversions::to_string_t;
using web::json::value;

namespace {
using Fields = std::vector<std::pair<utility::string_t, value>>;

template <typename Preset>
value namedPreset(const Preset& preset) {
  return value::object(
      Fields{{"name", value::string(to_string_t(preset.name))}, {"id", value::number(preset.id)}},
      true);
}
}  // namespace

value getEQPreset(const EQPreset& preset) {
  std::vector<value> bands;
  bands.reserve(preset.bands.size());
  for (const EQBand& b : preset.bands) {
    bands.push_back(value::object(Fields{{"order", value::number(b.order)},
                                         {"fband", value::number(b.fband)},
                                         {"bband", value::number(b.bband)},
                                         {"qband", value::number(b.qband)},
                                         {"filter", value::number(b.filter)}},
                                  true));
  }
  return value::object(Fields{{"name", value::string(to_string_t(preset.name))},
                              {"id", value::number(preset.id)},
                              {"paramset", value::array(std::move(bands))}},
                       true);
}

value getHPPreset(const HPPreset& preset) { return namedPreset(preset); }
value getACPreset(const ACPreset& preset) { return namedPreset(preset); }
value getIRCPreset(const IRCPreset& preset) { return namedPreset(preset); }

EQPreset getEQPreset(const value& json, std::string& nameStorage) {
  nameStorage = json.at("name").as_string();
  EQPreset preset{nameStorage.c_str(), json.at("id").as_integer(), {}};
  for (const value& band : json.at("paramset").as_array()) {
    preset.bands.push_back(EQBand{band.at("order").as_double(), band.at("fband").as_double(),
                                  band.at("bband").as_double(), band.at("qband").as_double(),
                                  band.at("filter").as_integer()});
  }
  return preset;
}

IRCPreset getIRCPreset(const value& json, std::string& nameStorage) {
  nameStorage = json.at("name").as_string();
  return IRCPreset{nameStorage.c_str(), json.at("id").as_integer()};
}
