#include "playback/PlaybackRoutes.h"

// Seeking and editing the play queue, served by the host's queue extension
// when it registered one; without it every route answers 501, which is how
// clients learn to hide these controls.

namespace {
using Q = IVeloraQueueExtensionListener;
using web::http::status_codes;

// "queue" alone is the clients' probe for the extension; a longer path that
// no row names is unknown, as anywhere else.
Answer probe(Call& c) {
  if (c.r.segments.size() > 1) return Replies::text(status_codes::BadRequest, c.r.decodedPath);
  if (c.u.hub.of<Q>().empty()) return notImplemented();
  return Replies::text(status_codes::OK, "SUCCESS");
}

constexpr Outcome extension(const char* failure, const char* missing = nullptr) {
  return {failure, 401, SuccessReply::success(), false, 400, missing, true};
}
}  // namespace

const RouteList& queueRoutes() {
  using namespace arg;
  static const RouteList routes = {
      {"GET", "queue/seek", "handleQueueSeek",
       ask(&Q::onSeek, extension("handleQueueSeek FAILED", "Missing position"),
           {decimal("position").needed()})},
      {"GET", "queue/append", "handleQueueAppend",
       ask(&Q::onAppendToQueue, extension("handleQueueAppend FAILED", "Missing itemid"),
           {decoded("itemid").needed()})},
      {"GET", "queue/remove", "handleQueueRemove",
       ask(&Q::onRemoveFromQueue, extension("handleQueueRemove FAILED", "Missing index"),
           {whole("index").needed()})},
      {"GET", "queue/next", "handleQueueNext",
       ask(&Q::onPlayNext, extension("handleQueueNext FAILED", "Missing itemid"),
           {decoded("itemid").needed()})},
      {"GET", "queue/clear", "handleQueueClear",
       ask(&Q::onClearQueue, extension("handleQueueClear FAILED"))},
      {"GET", "queue", "handleQueue", probe},
  };
  return routes;
}
