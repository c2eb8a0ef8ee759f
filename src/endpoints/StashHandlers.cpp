#include "service/VeloraRestService.h"

using L = IVeloraLibraryServiceListener;
using web::json::value;

// The account's stash and the downloads of its items. Keys travel to the host
// exactly as they arrived.

void VeloraRestService::handleGetUserStash(RouteRequest& r) {
  int status = 0;
  libraryListeners_.stable_fire(&L::onGetUserStash, status);
  if (status != 0) {
    // Clients know a failed listing by the logout text.
    conclude(r, status, {"Logout FAILED", 401, SuccessReply::success(), true});
    return;
  }
  // The host's text is parsed only now; text that is not JSON fails here.
  std::lock_guard<std::mutex> lock(cache_.stateMutex);
  value stash = value::parse(cache_.userStash);
  returnValue(r.http, stash, true);
}

void VeloraRestService::handleAddStashItem(RouteRequest& r) {
  if (!require(r, {"sku", "url", "title", "mediaId"}, "AddStashItem FAILED")) return;
  exchange(r, {"AddStashItem FAILED"}, &L::onAddStashItem, CText(r.text("sku")),
           CText(r.text("url")), CText(r.text("title")), CText(r.text("mediaId")));
}

void VeloraRestService::handleRemoveStashItem(RouteRequest& r) {
  if (!require(r, {"sku"}, "RemoveStashItem FAILED")) return;
  exchange(r, {"RemoveStashItem FAILED"}, &L::onRemoveStashItem, CText(r.text("sku")));
}

void VeloraRestService::handleGetItemsForSkuId(RouteRequest& r) {
  if (!require(r, {"sku"}, "GetItemsForSkuId FAILED")) return;
  exchange(
      r,
      {"GetItemsForSkuId FAILED", 401, SuccessReply::fromSlot(&ResponseSlots::itemsForSku, false)},
      &L::onGetItemsForSkuId, CText(r.text("sku")));
}

void VeloraRestService::handleStartDownload(RouteRequest& r) {
  if (!require(r, {"sku"}, "StartDownload FAILED")) return;
  exchange(r, {"StartDownload FAILED"}, &L::onStartDownload, CText(r.text("sku")));
}

void VeloraRestService::handleCancelDownload(RouteRequest& r) {
  if (!require(r, {"sku"}, "CancelDownload FAILED")) return;
  exchange(r, {"CancelDownload FAILED"}, &L::onCancelDownload, CText(r.text("sku")));
}

void VeloraRestService::handlePauseDownload(RouteRequest& r) {
  if (!require(r, {"sku"}, "PauseDownload FAILED")) return;
  exchange(r, {"PauseDownload FAILED"}, &L::onPauseDownload, CText(r.text("sku")));
}

void VeloraRestService::handleResumeDownload(RouteRequest& r) {
  if (!require(r, {"sku"}, "ResumeDownload FAILED")) return;
  exchange(r, {"ResumeDownload FAILED"}, &L::onResumeDownload, CText(r.text("sku")));
}

void VeloraRestService::handleGetDownloadStatus(RouteRequest& r) {
  // The status of every download: the host is given no item. The failure text
  // is the SKU listing's, as clients expect.
  exchange(r,
           {"GetItemsForSkuId FAILED", 401,
            SuccessReply::fromSlot(&ResponseSlots::downloadStatus, false)},
           &L::onGetDownloadStatus, CText(""));
}
