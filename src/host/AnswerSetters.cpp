#include "service/VeloraRestService.h"
#include "util/Support.h"

using utility::conversions::to_string_t;
using web::json::value;

#define VELORA_ANSWER_SETTER(Setter, slotExpr)             \
  void VeloraRestService::Setter(const char* json) {       \
    storeAnswer(cache_.stateMutex, cache_.slotExpr, json); \
  }

VELORA_ANSWER_SETTER(setGetItemsForSkuIdResponse, slots.itemsForSku)
VELORA_ANSWER_SETTER(setGetDownloadStatusResponse, slots.downloadStatus)
VELORA_ANSWER_SETTER(setGetDevicesResponse, slots.devices)
VELORA_ANSWER_SETTER(setGetOptionsResponse, slots.options)
VELORA_ANSWER_SETTER(setGetAppConfigResponse, slots.options)
VELORA_ANSWER_SETTER(setGetLocalDownloadLocationResponse, slots.downloadLocation)
VELORA_ANSWER_SETTER(setGetArtworkLocationResponse, slots.artworkLocation)
VELORA_ANSWER_SETTER(setGetPlayStateResponse, slots.playState)
VELORA_ANSWER_SETTER(setGetAvailableYearsForArtistResponse, slots.availableYears)
VELORA_ANSWER_SETTER(setGetHistoryResponse, slots.history)
VELORA_ANSWER_SETTER(setGetEQPresetResponse, slots.eqPreset)
VELORA_ANSWER_SETTER(setGetEQPresetListResponse, slots.eqPreset)
VELORA_ANSWER_SETTER(setGetHPPresetResponse, slots.hpPreset)
VELORA_ANSWER_SETTER(setGetHPPresetListResponse, slots.hpPreset)
VELORA_ANSWER_SETTER(setGetIRCPresetResponse, slots.ircPreset)
VELORA_ANSWER_SETTER(setGetIRCPresetListResponse, slots.ircPreset)

#undef VELORA_ANSWER_SETTER

void VeloraRestService::setGetHeartbeatResponse(const char* json) {
  storeAnswer(cache_.playerMutex, cache_.player.heartbeat, json);
}

void VeloraRestService::setPlayerResponse(const char* json) {
  storeAnswer(cache_.playerMutex, cache_.player.player, json);
}

void VeloraRestService::setGetUserStashResponse(const char* json) {
  // Kept as text: it is parsed only when a client asks for the stash.
  std::string text = to_string_t(json);
  std::lock_guard<std::mutex> guard(cache_.stateMutex);
  cache_.userStash = std::move(text);
}
