#include "host/StateStore.h"

#include "util/Support.h"

using utility::conversions::to_string_t;
using web::json::value;

void StateStore::publish(value StateDocuments::*document, const char* key, value v) {
  // Not a braced list: its elements are const and would be copied, and a
  // library list with its pictures runs to hundreds of megabytes.
  Entries entries;
  entries.emplace_back(key, std::move(v));
  publish(document, std::move(entries));
}

void StateStore::publish(value StateDocuments::*document, Entries entries) {
  // The "changes" feed keeps each value as text, printed before the lock so
  // that a large list holds up no one; a value the feed holds already is
  // only compared.
  const char* name = StateDocuments::name(document);
  std::vector<ChangeStore::Entry> texts;
  std::vector<ChangeStore::Text> known;
  texts.reserve(entries.size());
  for (const auto& [key, v] : entries) {
    known.push_back(changes.current(name, key));
    if (known.back() && ChangeStore::sameText(v, *known.back())) {
      texts.push_back({key, {}, true});
    } else {
      texts.push_back({key, ChangeStore::text(v)});
    }
  }
  std::lock_guard<std::mutex> lock(cache.stateMutex);
  for (size_t i = 0; i < texts.size(); ++i) {
    // Another setter wrote the key since it was compared: print it after all.
    if (texts[i].unchanged && changes.current(name, texts[i].key) != known[i]) {
      texts[i] = {texts[i].key, ChangeStore::text(entries[i].second)};
    }
  }
  value& doc = cache.docs.*document;
  if (!doc.is_object()) doc = value::object(true);
  for (auto& [key, v] : entries) doc[key] = std::move(v);
  feed.raise();
  // Under the same lock as the document, so both see racing setters in the
  // same order.
  changes.record(name, std::move(texts));
}

void StateStore::store(value ResponseSlots::*slot, value v) {
  std::lock_guard<std::mutex> lock(cache.stateMutex);
  cache.slots.*slot = std::move(v);
}

void StateStore::store(value ResponseSlots::*slot, const char* json) {
  value parsed = value::parse(to_string_t(json));
  std::lock_guard<std::mutex> lock(cache.stateMutex);
  cache.slots.*slot = std::move(parsed);
}

void StateStore::store(value PlayerSlots::*slot, const char* json) {
  value parsed = value::parse(to_string_t(json));
  std::lock_guard<std::mutex> lock(cache.playerMutex);
  cache.player.*slot = std::move(parsed);
}

void StateStore::storeStash(const char* json) {
  std::string text = to_string_t(json);
  std::lock_guard<std::mutex> lock(cache.stateMutex);
  cache.userStash = std::move(text);
}

void StateStore::storeLocalLibraryPage(value items, const char* etag, int itemCount,
                                       int totalCount) {
  value etagText = value::string(to_string_t(etag));
  std::lock_guard<std::mutex> lock(cache.stateMutex);
  value& page = cache.slots.localLibrary;
  if (!page.is_object()) page = value::object(true);
  page["tracks"] = std::move(items);
  page["itemCount"] = value::number(itemCount);
  page["totalCount"] = value::number(totalCount);
  page["etag"] = std::move(etagText);
}
