#include "service/VeloraRestService.h"

// Host answers arrive as JSON text. The text is parsed before any lock is
// taken, so a parse error reaches the host with the slot left as it was.
#define VELORA_DEFINE_ANSWER(setter, part, slot)           \
  void VeloraRestService::setter(const char* json) {       \
    state_.store(&decltype(StateCache::part)::slot, json); \
  }
VELORA_JSON_ANSWERS(VELORA_DEFINE_ANSWER)
#undef VELORA_DEFINE_ANSWER

void VeloraRestService::setGetUserStashResponse(const char* json) {
  // Kept as text: it is parsed only when a client asks for the stash.
  state_.storeStash(json);
}
