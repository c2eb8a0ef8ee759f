// Every place where JSON from outside is read, each through its real path.
// An input is the reader's name on the first line and the JSON text after it:
//
//   eq / irc      a preset a client POSTs to <stage>/setpreset
//   artwork       a picture a client POSTs to artwork/cachedata, then the
//                 "status" poll that delivers it
//   item          the "item" of GET playersetitem (percent-encoded here, as
//                 a client sends it)
//   stash         the host's stash text, parsed when a client asks for it
//   <answer>      a host answer stored through its setter, then the route
//                 that replies with it (devices, options, playstate, ...)
//
// A reader that sees text it cannot use must refuse it with a reply; the
// host must never see half of a malformed preset or item.

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

#include "FuzzHarness.h"
#include "playback/Presets.h"

namespace {

using velora_fuzz::FuzzService;
using Setter = void (VeloraRestService::*)(const char*);
using web::http::methods;

struct Answer {
  Setter setter;
  const char* route;
};

const std::map<std::string, Answer>& answers() {
  using S = VeloraRestService;
  static const std::map<std::string, Answer> table = {
      {"devices", {&S::setGetDevicesResponse, "/getDevices"}},
      {"options", {&S::setGetOptionsResponse, "/getOptions"}},
      {"appconfig", {&S::setGetAppConfigResponse, "/getAppConfig"}},
      {"downloadlocation", {&S::setGetLocalDownloadLocationResponse, "/getLocalDownloadLocation"}},
      {"artworklocation", {&S::setGetArtworkLocationResponse, "/getLocalArtworkLocation?id=x"}},
      {"playstate", {&S::setGetPlayStateResponse, "/getPlayState"}},
      {"years", {&S::setGetAvailableYearsForArtistResponse, "/getAvailableYearsForArtist?uuid=a"}},
      {"history", {&S::setGetHistoryResponse, "/getHistory"}},
      {"eqpreset", {&S::setGetEQPresetResponse, "/getEQ"}},
      {"eqpresetlist", {&S::setGetEQPresetListResponse, "/getEQPresetList"}},
      {"hppreset", {&S::setGetHPPresetResponse, "/getHP"}},
      {"hppresetlist", {&S::setGetHPPresetListResponse, "/getHPPresetList"}},
      {"ircpreset", {&S::setGetIRCPresetResponse, "/getIRC"}},
      {"ircpresetlist", {&S::setGetIRCPresetListResponse, "/getIRCPresetList"}},
      {"heartbeat", {&S::setGetHeartbeatResponse, "/getHeartbeat"}},
      {"player", {&S::setPlayerResponse, "/playerping"}},
      {"itemsforsku", {&S::setGetItemsForSkuIdResponse, "/getItemsForSkuId?sku=s"}},
      {"downloadstatus", {&S::setGetDownloadStatusResponse, "/getDownloadStatus"}},
  };
  return table;
}

const std::string kToken = std::string("?token=") + velora_fuzz::kClientToken;

int get(FuzzService& s, const std::string& uri) {
  return velora_fuzz::handle(*s, methods::GET, uri, "");
}
int post(FuzzService& s, const std::string& uri, const std::string& body) {
  return velora_fuzz::handle(*s, methods::POST, uri, body);
}

void expect(bool ok, const std::string& what) {
  if (!ok) velora_fuzz::fail(what);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  velora_fuzz::initialize();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  const size_t newline = input.find('\n');
  if (newline == std::string::npos) return 0;
  const std::string reader = input.substr(0, newline);
  const std::string json = input.substr(newline + 1);

  FuzzService s;
  if (reader == "eq" || reader == "irc") {
    const std::string stage = reader == "eq" ? "equalizer" : "irc";
    expect(post(s, "/" + stage + "/setpreset" + kToken, json) == 200, "POST not answered 200");
    // The preset reaches the host, once, exactly when the reader accepts it;
    // the host never sees part of a malformed one. The POST is answered
    // before the body is applied: the harness waits for that as well.
    bool readable = true;
    try {
      std::string name;
      const auto body = web::json::value::parse(json);
      if (reader == "eq") {
        getEQPreset(body, name);
      } else {
        getIRCPreset(body, name);
      }
    } catch (const std::exception&) {
      readable = false;
    }
    const std::string callback = reader == "eq" ? "onApplyEQPreset" : "onApplyIRCPreset";
    expect(s.host.count(callback) == (readable ? 1 : 0),
           "preset applied " + std::to_string(s.host.count(callback)) + " times");
  } else if (reader == "artwork") {
    expect(post(s, "/artwork/cachedata" + kToken, json) == 200, "POST not answered 200");
    expect(get(s, "/status") == 200, "status without the posted picture");
  } else if (reader == "item") {
    const int status = get(s, "/playersetitem?item=" + web::uri::encode_data_string(json));
    expect(status == 200 || status == 401, "playersetitem answered " + std::to_string(status));
    expect(status == 200 || s.host.count("onPlayerSetItem") == 0, "refused item reached the host");
  } else if (reader == "stash") {
    s->setGetUserStashResponse(json.c_str());
    const int status = get(s, "/getStash");
    expect(status == 200 || status == 500, "getStash answered " + std::to_string(status));
  } else {
    auto it = answers().find(reader);
    if (it == answers().end()) return 0;
    try {
      ((*s).*(it->second.setter))(json.c_str());
    } catch (const std::exception&) {
      // Text that is not JSON is refused to the host; the slot stays.
    }
    const int status = get(s, it->second.route);
    expect(status == 200, std::string(it->second.route) + " answered " + std::to_string(status));
  }
  return 0;
}
