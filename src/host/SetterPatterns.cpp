#include "service/VeloraRestService.h"
#include "util/Support.h"

using web::json::value;

void VeloraRestService::publishState(value StateDocuments::*document, const char* key, value v) {
  // Not a braced list: its elements are const and would be copied, and a
  // library list with its pictures runs to hundreds of megabytes.
  std::vector<std::pair<const char*, value>> entries;
  entries.emplace_back(key, std::move(v));
  publishState(document, std::move(entries));
}

void VeloraRestService::publishState(value StateDocuments::*document,
                                     std::vector<std::pair<const char*, value>> entries) {
  // The "changes" feed keeps each value as text, printed before the lock so
  // that a large list holds up no one; a value the feed holds already is
  // only compared.
  const char* name = StateDocuments::name(document);
  std::vector<ChangeStore::Entry> texts;
  std::vector<ChangeStore::Text> known;
  texts.reserve(entries.size());
  for (const auto& [key, v] : entries) {
    known.push_back(changes_.current(name, key));
    if (known.back() && ChangeStore::sameText(v, *known.back())) {
      texts.push_back({key, {}, true});
    } else {
      texts.push_back({key, ChangeStore::text(v)});
    }
  }
  std::lock_guard<std::mutex> lock(cache_.stateMutex);
  for (size_t i = 0; i < texts.size(); ++i) {
    // Another setter wrote the key since it was compared: print it after all.
    if (texts[i].unchanged && changes_.current(name, texts[i].key) != known[i]) {
      texts[i] = {texts[i].key, ChangeStore::text(entries[i].second)};
    }
  }
  value& doc = cache_.docs.*document;
  if (!doc.is_object()) doc = value::object(true);
  for (auto& [key, v] : entries) doc[key] = std::move(v);
  feed_.raise();
  // Under the same lock as the document, so both see racing setters in the
  // same order.
  changes_.record(name, std::move(texts));
}

void VeloraRestService::storeSlot(value ResponseSlots::*slot, value v) {
  std::lock_guard<std::mutex> lock(cache_.stateMutex);
  cache_.slots.*slot = std::move(v);
}

// Host answers arrive as JSON text. The text is parsed before any lock is
// taken, so a parse error reaches the host with the slot left as it was.
void VeloraRestService::storeAnswer(std::mutex& lock, value& slot, const char* json) {
  value parsed = value::parse(utility::conversions::to_string_t(json));
  std::lock_guard<std::mutex> guard(lock);
  slot = std::move(parsed);
}
