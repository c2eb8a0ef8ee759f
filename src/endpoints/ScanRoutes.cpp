#include "endpoints/EndpointRoutes.h"

// Scanning of local files and paging through the local library.

namespace {
using L = IVeloraLibraryServiceListener;
using web::http::status_codes;

Answer getLocalLibrary(Call& c) {
  RouteRequest& r = c.r;
  if (!r.has("id")) return Replies::text(status_codes::BadRequest, "Item ID not found");
  CText id(r.text("id"));
  CText index(r.optional("index", 2, "-1"));
  CText count(r.optional("count", 3, "-1"));
  CText sortBy(r.optional("sortBy", 4, "1"));
  CText reverseSort(r.optional("reverseSort", 5, "0"));
  CText etag(r.optional("etag", 6, ""));
  CText filter(r.optional("filter", 7, "local,tidal"));
  switch (c.u.hub.ask(&L::onGetLocalLibrary, id, index, count, sortBy, reverseSort, etag, filter)) {
    case 0:  // the page the host stored
      return reply(c, SuccessReply::fromSlot(&ResponseSlots::localLibrary, false));
    case 5:  // the host answered through the library document instead
      return reply(c, SuccessReply::fromDocument(&StateDocuments::library, false));
    case 8:  // the client's entity tag is still current
      return Replies::text(status_codes::NotModified, "Not Mofified");
    default:
      return Replies::text(status_codes::NotFound, "Item ID not found");
  }
}
}  // namespace

const RouteList& scanRoutes() {
  using namespace arg;
  static const Handler clearCache =
      ask(&L::onClearLocalCache, {"clearLocalCache FAILED"}, {text("which", "local")});
  static const RouteList routes = {
      {"GET", "scanGetProgress", "handleScanGetProgress",
       ask(&L::onScanGetProgress,
           {"ScanGetProgress FAILED", 401,
            SuccessReply::fromSlot(&ResponseSlots::scanProgress, true)},
           {text("which", "local")})},
      {"GET", "scan", "handleScanFiles",
       ask(&L::onScanFiles, {"ScanLocalAudioFiles FAILED"}, {text("which", "itunes")})},
      {"GET", "scanLocalAudioFiles", "handleScanLocalFiles",
       ask(&L::onScanFiles, {"ScanLocalAudioFiles FAILED"}, {fixed("local")})},
      {"GET", "scanCancel", "handleScanCancel",
       ask(&L::onScanCancel, {"scanCancel", 401, SuccessReply::success("CANCELLED")},
           {text("which", "local")})},
      {"GET", "clearLocalCache", "handleClearLocalCache", clearCache},
      {"GET", "clearCache", "handleClearLocalCache", clearCache},
      {"GET", "getLocalLibrary", "handleGetLocalLibrary", getLocalLibrary},
      {"GET", "getLibrary", "handleGetLocalLibrary", getLocalLibrary},
  };
  return routes;
}
