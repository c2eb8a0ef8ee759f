#pragma once

#include <mutex>
#include <utility>
#include <vector>

#include <cpprest/json.h>

#include "host/ChangeFeed.h"
#include "host/ChangeStore.h"
#include "host/StateCache.h"

// What the host pushes, and the patterns every setter follows:
//  - state: replace keys of a document, raise the change flag, wake one
//    "status" poll and record the change for the "changes" feed;
//  - answers: replace a response slot; no poll is woken.
// Values are built by the caller before any lock is taken.
class StateStore {
 public:
  using Entries = std::vector<std::pair<const char*, web::json::value>>;

  StateCache cache;
  ChangeFeed feed;
  ChangeStore changes;

  void publish(web::json::value StateDocuments::*document, const char* key, web::json::value value);
  // Keys that change together, so that a poll never sees one without the others.
  void publish(web::json::value StateDocuments::*document, Entries entries);

  void store(web::json::value ResponseSlots::*slot, web::json::value value);
  void store(web::json::value PlayerSlots::*slot, const char* json);
  // A host answer given as JSON text; text that is not JSON throws to the
  // host and leaves the slot as it was.
  void store(web::json::value ResponseSlots::*slot, const char* json);
  // The stash is kept as the host's text and parsed when a client asks.
  void storeStash(const char* json);
  // The four local-library pages share one answer, always under "tracks".
  void storeLocalLibraryPage(web::json::value items, const char* etag, int itemCount,
                             int totalCount);
};
