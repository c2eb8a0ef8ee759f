#include "host/StateCache.h"

#include "host/ChangeFeed.h"
#include "util/Support.h"

using web::json::value;

namespace {
void empty(value& v) { v = value::object(true); }
}  // namespace

const char* StateDocuments::name(value StateDocuments::*document) {
  using D = StateDocuments;
  static const std::pair<value D::*, const char*> kNames[] = {
      {&D::settings, "settings"}, {&D::equalizer, "equalizer"},   {&D::irc, "irc"},
      {&D::ac, "ac"},             {&D::ooyh, "ooyh"},             {&D::playback, "playback"},
      {&D::library, "library"},   {&D::disconnect, "disconnect"}, {&D::updated, "updated"}};
  for (const auto& [member, text] : kNames) {
    if (member == document) return text;
  }
  return "";
}

void StateCache::resetLocked() {
  docs.forEach(empty);
  slots.forEach(empty);
}

void StateCache::resetPlayer() {
  std::lock_guard<std::mutex> lock(playerMutex);
  empty(player.heartbeat);
  empty(player.player);
}

void StateCache::reset() {
  {
    std::lock_guard<std::mutex> lock(stateMutex);
    resetLocked();
  }
  resetPlayer();
}

std::optional<ChangeDelivery> deliverChanges(StateCache& cache, ChangeFeed& feed,
                                             long long zipThreshold) {
  value all = value::object(true);
  {
    std::lock_guard<std::mutex> lock(cache.stateMutex);
    if (!feed.raised()) return std::nullopt;
    StateDocuments& d = cache.docs;
    all["equalizer"] = std::move(d.equalizer);
    all["irc"] = std::move(d.irc);
    all["ac"] = std::move(d.ac);
    all["ooyh"] = std::move(d.ooyh);
    all["playback"] = std::move(d.playback);
    all["library"] = std::move(d.library);
    all["disconnect"] = std::move(d.disconnect);
    all["settings"] = std::move(d.settings);
    all["updated"] = std::move(d.updated);
    cache.resetLocked();
    feed.clear();
  }
  cache.resetPlayer();

  ChangeDelivery delivery;
  delivery.body = all.serialize();
  if (static_cast<long long>(delivery.body.size()) > zipThreshold) {
    std::string zipped = compressString(delivery.body);
    const float gain = 100.0f - (static_cast<float>(zipped.size()) * 100.0f) /
                                    static_cast<float>(delivery.body.size());
    log_str("Responded zip. gain %", static_cast<int>(gain));
    delivery.body = std::move(zipped);
    delivery.compressed = true;
  }
  return delivery;
}
