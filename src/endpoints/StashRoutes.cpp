#include "endpoints/EndpointRoutes.h"

// The account's stash and the downloads of its items. Keys travel to the host
// exactly as they arrived.

namespace {
using L = IVeloraLibraryServiceListener;

Answer getStash(Call& c) {
  const int status = c.u.hub.ask(&L::onGetUserStash);
  // Clients know a failed listing by the logout text.
  if (status != 0) return conclude(c, status, {"Logout FAILED", 401, {}, true});
  // The host's text is parsed only now; text that is not JSON fails here.
  StateCache& cache = c.u.state.cache;
  std::lock_guard<std::mutex> lock(cache.stateMutex);
  web::json::value stash = web::json::value::parse(cache.userStash);
  return c.u.replies.fromCache(stash, true);
}

// Most stash routes name one item by its SKU, and fail without it.
Route onSku(const char* path, const char* name, void (L::*callback)(const char*&, int&),
            const char* failure) {
  return {"GET", path, name, ask(callback, {failure}, {arg::text("sku").needed()})};
}
}  // namespace

const RouteList& stashRoutes() {
  using namespace arg;
  static const RouteList routes = {
      {"GET", "getStash", "handleGetUserStash", getStash},
      {"GET", "addDownload", "handleAddStashItem",
       ask(&L::onAddStashItem, {"AddStashItem FAILED"},
           {text("sku").needed(), text("url").needed(), text("title").needed(),
            text("mediaId").needed()})},
      onSku("removeDownload", "handleRemoveStashItem", &L::onRemoveStashItem,
            "RemoveStashItem FAILED"),
      {"GET", "getItemsForSkuId", "handleGetItemsForSkuId",
       ask(&L::onGetItemsForSkuId,
           {"GetItemsForSkuId FAILED", 401,
            SuccessReply::fromSlot(&ResponseSlots::itemsForSku, false)},
           {text("sku").needed()})},
      onSku("startDownload", "handleStartDownload", &L::onStartDownload, "StartDownload FAILED"),
      onSku("cancelDownload", "handleCancelDownload", &L::onCancelDownload,
            "CancelDownload FAILED"),
      onSku("pauseDownload", "handlePauseDownload", &L::onPauseDownload, "PauseDownload FAILED"),
      onSku("resumeDownload", "handleResumeDownload", &L::onResumeDownload,
            "ResumeDownload FAILED"),
      // The status of every download: the host is given no item. The failure
      // text is the SKU listing's, as clients expect.
      {"GET", "getDownloadStatus", "handleGetDownloadStatus",
       ask(&L::onGetDownloadStatus,
           {"GetItemsForSkuId FAILED", 401,
            SuccessReply::fromSlot(&ResponseSlots::downloadStatus, false)},
           {fixed("")})},
  };
  return routes;
}
