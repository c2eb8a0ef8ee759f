#include "service/VeloraRestService.h"

using L = IVeloraLibraryServiceListener;
using web::http::status_codes;

// Scanning of local files and paging through the local library.

void VeloraRestService::handleScanFiles(RouteRequest& r) {
  exchange(r, {"ScanLocalAudioFiles FAILED"}, &L::onScanFiles, CText(r.text("which", "itunes")));
}

void VeloraRestService::handleScanLocalFiles(RouteRequest& r) {
  exchange(r, {"ScanLocalAudioFiles FAILED"}, &L::onScanFiles, CText("local"));
}

void VeloraRestService::handleScanCancel(RouteRequest& r) {
  exchange(r, {"scanCancel", 401, SuccessReply::success("CANCELLED")}, &L::onScanCancel,
           CText(r.text("which", "local")));
}

void VeloraRestService::handleScanGetProgress(RouteRequest& r) {
  exchange(
      r,
      {"ScanGetProgress FAILED", 401, SuccessReply::fromSlot(&ResponseSlots::scanProgress, true)},
      &L::onScanGetProgress, CText(r.text("which", "local")));
}

void VeloraRestService::handleClearLocalCache(RouteRequest& r) {
  exchange(r, {"clearLocalCache FAILED"}, &L::onClearLocalCache, CText(r.text("which", "local")));
}

void VeloraRestService::handleGetLocalLibrary(RouteRequest& r) {
  if (!require(r, {"id"}, "Item ID not found", status_codes::BadRequest)) return;
  int status = 0;
  CText id(r.text("id"));
  CText index(r.optional("index", 2, "-1"));
  CText count(r.optional("count", 3, "-1"));
  CText sortBy(r.optional("sortBy", 4, "1"));
  CText reverseSort(r.optional("reverseSort", 5, "0"));
  CText etag(r.optional("etag", 6, ""));
  CText filter(r.optional("filter", 7, "local,tidal"));
  libraryListeners_.stable_fire(&L::onGetLocalLibrary, id, index, count, sortBy, reverseSort, etag,
                                filter, status);
  switch (status) {
    case 0:  // the page the host stored
      reply(r, SuccessReply::fromSlot(&ResponseSlots::localLibrary, false));
      break;
    case 5:  // the host answered through the library document instead
      reply(r, SuccessReply::fromDocument(&StateDocuments::library, false));
      break;
    case 8:  // the client's entity tag is still current
      returnFailure(r.http, "Not Mofified", status_codes::NotModified);
      break;
    default:
      returnFailure(r.http, "Item ID not found", status_codes::NotFound);
  }
}
