#include "endpoints/EndpointRoutes.h"

// Options, output devices, the application configuration and the folders the
// player uses. Options and configuration share one answer on purpose. The
// "settings" area asks the settings listener for output devices and values,
// which the host pushes back through "status".

namespace {
using L = IVeloraLibraryServiceListener;
using S = IVeloraSettingsServiceListener;

SuccessReply slot(web::json::value ResponseSlots::*s) { return SuccessReply::fromSlot(s, true); }

// Options after the sixth go only as far as the query has pairs for them (7
// for the first, one more for each next, 12 at most), since clients send
// every option up to the last one they change.
std::vector<Arg> options() {
  std::vector<Arg> args;
  for (const char* key : {"checkForUpdates", "maxDownloads", "addToITunes", "createITunesPlaylist",
                          "retryTime", "retryCount"}) {
    args.push_back(arg::text(key));
  }
  size_t pairs = 7;
  for (const char* key : {"dsdEnabled", "dsdFilterEnabled", "dsdGain", "tidalQuality", "upSample",
                          "scanLevel", "bypassMode", "artCache", "mqa"}) {
    args.push_back(arg::after(key, std::min<size_t>(pairs++, 12), ""));
  }
  return args;
}

// "settings" alone has no second segment to read: that fails like any
// missing segment. An unknown one does nothing.
Answer settingsArea(Call& c) {
  c.r.segment(1);
  return Replies::text(200, "");
}
}  // namespace

const RouteList& optionsRoutes() {
  using namespace arg;
  const Outcome done = answering(SuccessReply::success(""));
  static const RouteList routes = {
      {"GET", "getDevices", "handleGetDevices",
       ask(&L::onGetDevices, {"Get Devices FAILED", 401, slot(&ResponseSlots::devices)})},
      {"GET", "setDevice", "handleSetDevice",
       ask(&L::onSetDevice, {"SetDevice FAILED"},
           {text("currentDevice"), text("currentChannels"), text("currentSampleRate"),
            text("currentBufferSize")})},
      {"GET", "getOptions", "handleGetOptions",
       ask(&L::onGetOptions, {"GetOptions FAILED", 401, slot(&ResponseSlots::options)})},
      {"GET", "setOptions", "handleSetOptions",
       ask(&L::onSetOptions, {"Options Stale", 400}, options())},
      {"GET", "getAppConfig", "handleGetAppConfig",
       ask(&L::onGetAppConfig, {"GetAppConfig FAILED", 401, slot(&ResponseSlots::options)})},
      // "which" names the window to the client only; the host opens its own.
      {"GET", "deviceWindow", "handleDeviceWindow",
       ask(&L::onDeviceWindow, {"handleDeviceWindow FAILED"})},
      {"GET", "selectLocalArtworkLocation", "handleSelectLocalArtworkLocation",
       ask(&L::onSelectLocalArtworkLocation,
           {"handleLocalSelectArtworkLocation FAILED", 401, slot(&ResponseSlots::artworkLocation)},
           {text("id")})},
      {"GET", "getLocalArtworkLocation", "handleGetLocalArtworkLocation",
       ask(&L::onGetLocalArtworkLocation,
           {"handleGetLocalArtworkLocation FAILED", 401, slot(&ResponseSlots::artworkLocation)},
           {text("id")})},
      {"GET", "selectLocalDownloadLocation", "handleSelectLocalDownloadLocation",
       ask(&L::onSelectLocalDownloadLocation,
           {"SelectLocalDownloadLocation FAILED", 401, slot(&ResponseSlots::downloadLocation)})},
      {"GET", "getLocalDownloadLocation", "handleGetLocalDownloadLocation",
       ask(&L::onGetLocalDownloadLocation,
           {"GetLocalDownloadLocation FAILED", 401, slot(&ResponseSlots::downloadLocation)})},
      {"GET",
       "settings/output",
       "routeSettings",
       tell(&S::onSetOutputDevice, done, {decoded("name")}),
       {"name"}},
      {"GET", "settings/output", "routeSettings", tell(&S::onRequestOutputDevices, done)},
      {"GET",
       "settings/values",
       "routeSettings",
       tell(&S::onSetSettingsValues, done, {one("mqa"), one("upsample"), one("dsp")}),
       {"mqa", "upsample", "dsp"}},
      {"GET", "settings/values", "routeSettings", tell(&S::onRequestSettingsValues, done)},
      {"GET", "settings", "routeSettings", settingsArea},
  };
  return routes;
}
