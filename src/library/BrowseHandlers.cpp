#include "service/VeloraRestService.h"

using web::http::status_codes;
using L = IVeloraLibraryServiceListener;

// Browsing asks the host for one view; the host pushes it (setAlbum,
// setGetArtistResponse, ...) from inside the callback and the reply carries it.
// Optional keys are read only as far as the query has pairs for them: the
// first at 2 pairs, the next at 3, and so on.

namespace {
const Outcome kNotFound{"Item ID not found", 404};

Outcome notFoundOr(SuccessReply reply) {
  Outcome o = kNotFound;
  o.reply = reply;
  return o;
}
}  // namespace

bool VeloraRestService::requireId(RouteRequest& r) {
  if (r.has("id")) return true;
  returnFailure(r.http, "Item ID not found", status_codes::NotFound);
  return false;
}

void VeloraRestService::handleGetAlbum(RouteRequest& r) {
  if (!requireId(r)) return;
  exchange(r, notFoundOr(SuccessReply::fromDocument(&StateDocuments::library, true)),
           &L::onGetAlbum, CText(r.text("id")), CText(r.optional("index", 2, "-1")),
           CText(r.optional("count", 3, "-1")), CText(r.optional("sortBy", 4, "0")),
           CText(r.optional("reverseSort", 5, "0")));
}

void VeloraRestService::handleGetArtist(RouteRequest& r) {
  if (!requireId(r)) return;
  exchange(r, notFoundOr(SuccessReply::fromSlot(&ResponseSlots::artist, true)), &L::onGetArtist,
           CText(r.text("id")), CText(r.optional("index", 2, "-1")),
           CText(r.optional("count", 3, "-1")), CText(r.optional("sortBy", 4, "1")),
           CText(r.optional("reverseSort", 5, "0")), CText(""));
}

void VeloraRestService::handleGetArtistInfo(RouteRequest& r) {
  if (!requireId(r)) return;
  exchange(r, notFoundOr(SuccessReply::fromSlot(&ResponseSlots::artist, true)), &L::onGetArtistInfo,
           CText(r.text("id")));
}

void VeloraRestService::handleGetAlbumInfo(RouteRequest& r) {
  if (!requireId(r)) return;
  exchange(r, notFoundOr(SuccessReply::fromSlot(&ResponseSlots::album, true)), &L::onGetAlbumInfo,
           CText(r.text("id")));
}

void VeloraRestService::handleGetPlaylistInfo(RouteRequest& r) {
  if (!requireId(r)) return;
  exchange(r, notFoundOr(SuccessReply::fromSlot(&ResponseSlots::playlist, true)),
           &L::onGetPlaylistInfo, CText(r.text("id")));
}

void VeloraRestService::handleSetPlaylistInfo(RouteRequest& r) {
  if (!requireId(r)) return;
  // The failure names the get handler; clients match it as it is.
  exchange(r, {"handleGetPlaylistInfo FAILED"}, &L::onSetPlaylistInfo, CText(r.text("id")),
           CText(r.optional("info", 2, "")), CText(r.optional("name", 3, "")),
           CText(r.optional("artwork", 4, "")), CText(r.optional("artist", 5, "")));
}
