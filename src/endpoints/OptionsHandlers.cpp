#include "service/VeloraRestService.h"

using L = IVeloraLibraryServiceListener;
using web::http::status_codes;

// Options, output devices, the application configuration and the folders the
// player uses. Options and configuration share one answer on purpose.

void VeloraRestService::handleGetDevices(RouteRequest& r) {
  exchange(r, {"Get Devices FAILED", 401, SuccessReply::fromSlot(&ResponseSlots::devices, true)},
           &L::onGetDevices);
}

void VeloraRestService::handleSetDevice(RouteRequest& r) {
  exchange(r, {"SetDevice FAILED"}, &L::onSetDevice, CText(r.text("currentDevice")),
           CText(r.text("currentChannels")), CText(r.text("currentSampleRate")),
           CText(r.text("currentBufferSize")));
}

void VeloraRestService::handleGetOptions(RouteRequest& r) {
  exchange(r, {"GetOptions FAILED", 401, SuccessReply::fromSlot(&ResponseSlots::options, true)},
           &L::onGetOptions);
}

void VeloraRestService::handleSetOptions(RouteRequest& r) {
  // The first six options always go; the later ones only as far as the query
  // has pairs for them (7 for the first, one more for each next, 12 at most),
  // since clients send every option up to the last one they change.
  static const char* const kLater[] = {"dsdEnabled",   "dsdFilterEnabled", "dsdGain",
                                       "tidalQuality", "upSample",         "scanLevel",
                                       "bypassMode",   "artCache",         "mqa"};
  std::string later[9];
  for (size_t i = 0; i < 9; ++i) later[i] = r.optional(kLater[i], std::min<size_t>(7 + i, 12), "");
  exchange(r, {"Options Stale", 400}, &L::onSetOptions, CText(r.text("checkForUpdates")),
           CText(r.text("maxDownloads")), CText(r.text("addToITunes")),
           CText(r.text("createITunesPlaylist")), CText(r.text("retryTime")),
           CText(r.text("retryCount")), CText(later[0]), CText(later[1]), CText(later[2]),
           CText(later[3]), CText(later[4]), CText(later[5]), CText(later[6]), CText(later[7]),
           CText(later[8]));
}

void VeloraRestService::handleGetAppConfig(RouteRequest& r) {
  exchange(r, {"GetAppConfig FAILED", 401, SuccessReply::fromSlot(&ResponseSlots::options, true)},
           &L::onGetAppConfig);
}

void VeloraRestService::handleDeviceWindow(RouteRequest& r) {
  // "which" names the window to the client only; the host opens its own.
  exchange(r, {"handleDeviceWindow FAILED"}, &L::onDeviceWindow);
}

void VeloraRestService::handleSelectLocalArtworkLocation(RouteRequest& r) {
  exchange(r,
           {"handleLocalSelectArtworkLocation FAILED", 401,
            SuccessReply::fromSlot(&ResponseSlots::artworkLocation, true)},
           &L::onSelectLocalArtworkLocation, CText(r.text("id")));
}

void VeloraRestService::handleGetLocalArtworkLocation(RouteRequest& r) {
  exchange(r,
           {"handleGetLocalArtworkLocation FAILED", 401,
            SuccessReply::fromSlot(&ResponseSlots::artworkLocation, true)},
           &L::onGetLocalArtworkLocation, CText(r.text("id")));
}

void VeloraRestService::handleSelectLocalDownloadLocation(RouteRequest& r) {
  exchange(r,
           {"SelectLocalDownloadLocation FAILED", 401,
            SuccessReply::fromSlot(&ResponseSlots::downloadLocation, true)},
           &L::onSelectLocalDownloadLocation);
}

void VeloraRestService::handleGetLocalDownloadLocation(RouteRequest& r) {
  exchange(r,
           {"GetLocalDownloadLocation FAILED", 401,
            SuccessReply::fromSlot(&ResponseSlots::downloadLocation, true)},
           &L::onGetLocalDownloadLocation);
}
