#include "host/ChangeStore.h"

#include <algorithm>
#include <cstring>

#include <cpprest/json.h>

#include "util/Support.h"

namespace {

// Library keys that answer one client's request, and whole documents that
// are notices: each occurrence matters, not just the latest.
bool isEvent(const char* document, const std::string& key) {
  if (std::strcmp(document, "updated") == 0 || std::strcmp(document, "disconnect") == 0) {
    return true;
  }
  if (std::strcmp(document, "library") != 0) return false;
  static const char* const kAnswers[] = {"track",    "album",  "artist", "genre",
                                         "playlist", "search", "artwork"};
  return std::any_of(std::begin(kAnswers), std::end(kAnswers),
                     [&](const char* k) { return key == k; });
}

// How long the JSON text of `v` is, give or take the escapes of its strings.
size_t textSize(const web::json::value& v) {
  switch (v.type()) {
    case web::json::value::String:
      return v.as_string().size() + 2;
    case web::json::value::Array: {
      size_t n = 2 + v.size();
      for (const auto& element : v.as_array()) n += textSize(element);
      return n;
    }
    case web::json::value::Object: {
      size_t n = 2 + v.size();
      for (const auto& [key, member] : v.as_object()) n += key.size() + 3 + textSize(member);
      return n;
    }
    default:
      return 24;
  }
}

// Writes the JSON text of `v` piece by piece into `sink`, a callable taking
// (data, size) and returning false to stop. Objects and arrays are written
// here; each leaf prints itself (a string knows whether it has anything to
// escape).
template <typename Sink>
bool writeText(const web::json::value& v, Sink& sink) {
  const auto put = [&](char c) { return sink(&c, 1); };
  if (v.is_object()) {
    bool first = true;
    if (!put('{')) return false;
    for (const auto& [key, member] : v.as_object()) {
      std::string name;
      if (!first) name += ',';
      first = false;
      web::json::details::format_string(key, name);
      name += ':';
      if (!sink(name.data(), name.size()) || !writeText(member, sink)) return false;
    }
    return put('}');
  }
  if (v.is_array()) {
    bool first = true;
    if (!put('[')) return false;
    for (const auto& element : v.as_array()) {
      if (!first && !put(',')) return false;
      first = false;
      if (!writeText(element, sink)) return false;
    }
    return put(']');
  }
  const std::string leaf = v.serialize();
  return sink(leaf.data(), leaf.size());
}

// The documents in the order replies list them.
const char* const kDocuments[] = {"settings", "equalizer", "irc",    "ac",
                                  "ooyh",     "playback",  "library"};

}  // namespace

std::string ChangeStore::text(const web::json::value& v) {
  std::string out;
  out.reserve(textSize(v) + 64);
  auto append = [&out](const char* data, size_t n) {
    out.append(data, n);
    return true;
  };
  writeText(v, append);
  return out;
}

bool ChangeStore::sameText(const web::json::value& v, const std::string& text) {
  size_t at = 0;
  auto compare = [&](const char* data, size_t n) {
    if (n > text.size() - at || std::memcmp(text.data() + at, data, n) != 0) return false;
    at += n;
    return true;
  };
  return writeText(v, compare) && at == text.size();
}

ChangeStore::Text ChangeStore::current(const char* document, const std::string& key) const {
  std::lock_guard<std::mutex> lock(mutex_);
  for (const auto& doc : documents_) {
    if (std::strcmp(doc.name, document) != 0) continue;
    for (const auto& [name, v] : doc.keys) {
      if (name == key) return v.json;
    }
  }
  return nullptr;
}

ChangeStore::ChangeStore() : epoch_(newUUID()) {
  for (const char* name : kDocuments) documents_.push_back(Document{name, {}});
}

void ChangeStore::record(const char* document, std::vector<Entry> entries) {
  std::lock_guard<std::mutex> lock(mutex_);
  bool changed = false;
  Document* doc = nullptr;
  for (auto& d : documents_) {
    if (std::strcmp(d.name, document) == 0) doc = &d;
  }
  for (auto& entry : entries) {
    if (isEvent(document, entry.key) || doc == nullptr) {
      std::string json = "{";
      web::json::details::format_string(entry.key, json);
      json += ':';
      json += entry.json;
      json += '}';
      pushEvent(Event{++seq_, document, std::make_shared<const std::string>(std::move(json)), {}});
      changed = true;
      continue;
    }
    if (entry.unchanged) continue;  // the caller found the same text there
    auto it = std::find_if(doc->keys.begin(), doc->keys.end(),
                           [&](const auto& k) { return k.first == entry.key; });
    if (it == doc->keys.end()) {
      doc->keys.emplace_back(entry.key, Value{0, nullptr});
      it = doc->keys.end() - 1;
    } else if (*it->second.json == entry.json) {
      continue;  // the host repeated itself
    }
    it->second = Value{++seq_, std::make_shared<const std::string>(std::move(entry.json))};
    changed = true;
  }
  if (changed) lot_.wakeKey({});
}

void ChangeStore::recordDisconnect(const std::string& token, std::string json) {
  std::lock_guard<std::mutex> lock(mutex_);
  pushEvent(
      Event{++seq_, "disconnect", std::make_shared<const std::string>(std::move(json)), token});
  // Only that client may see it; an empty key would wake everyone.
  if (!token.empty()) lot_.wakeKey(token);
}

void ChangeStore::forgetDisconnect(const std::string& token) {
  std::lock_guard<std::mutex> lock(mutex_);
  // Only unread notes go; the ring's bookkeeping of dropped events is kept,
  // so this never makes a stale cursor look current.
  for (auto it = events_.begin(); it != events_.end();) {
    if (!it->token.empty() && it->token == token) {
      eventBytes_ -= it->json->size();
      it = events_.erase(it);
    } else {
      ++it;
    }
  }
}

void ChangeStore::pushEvent(Event event) {
  eventBytes_ += event.json->size();
  events_.push_back(std::move(event));
  while (events_.size() > kEventLimit || (eventBytes_ > kEventBytes && events_.size() > 1)) {
    droppedUpTo_ = events_.front().seq;
    eventBytes_ -= events_.front().json->size();
    events_.pop_front();
  }
}

void ChangeStore::newEpoch() {
  std::lock_guard<std::mutex> lock(mutex_);
  epoch_ = newUUID();
  // Events of the old epoch are no use to anyone: its clients start over.
  events_.clear();
  eventBytes_ = 0;
  droppedUpTo_ = 0;
}

std::string ChangeStore::epoch() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return epoch_;
}

uint64_t ChangeStore::seq() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return seq_;
}

bool ChangeStore::needsFull(const Cursor& c) const {
  // A cursor from the future was not made by this store: start over.
  return c.since == 0 || c.epoch != epoch_ || c.since < droppedUpTo_ || c.since > seq_;
}

bool ChangeStore::newFor(const Cursor& c) const {
  if (needsFull(c)) return true;
  if (c.since == seq_) return false;
  for (const auto& doc : documents_) {
    for (const auto& key : doc.keys) {
      if (key.second.seq > c.since) return true;
    }
  }
  for (auto it = events_.rbegin(); it != events_.rend() && it->seq > c.since; ++it) {
    if (it->token.empty() || it->token == c.token) return true;
  }
  return false;
}

std::string ChangeStore::collect(const Cursor& c, bool force) const {
  // Under the lock only the texts are picked (shared, never copied); the
  // reply is put together after, so a large state never holds up a setter.
  struct Pick {
    const char* document;
    std::string key;  // empty for an event
    uint64_t seq;
    Text json;
  };
  std::vector<Pick> picks;
  std::string epoch;
  uint64_t seq;
  bool full;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    if (!force && !newFor(c)) return {};
    full = needsFull(c);
    epoch = epoch_;
    seq = seq_;
    for (const auto& doc : documents_) {
      for (const auto& [key, v] : doc.keys) {
        if (full || v.seq > c.since) {
          picks.push_back(Pick{doc.name, key, 0, v.json});
        }
      }
    }
    if (!full) {
      for (const auto& e : events_) {
        if (e.seq > c.since && (e.token.empty() || e.token == c.token)) {
          picks.push_back(Pick{e.document, {}, e.seq, e.json});
        }
      }
    }
  }

  size_t size = 128 + epoch.size();
  for (const auto& p : picks) size += p.json->size() + 64;
  std::string out;
  out.reserve(size);
  out += "{\"epoch\":";
  web::json::details::format_string(epoch, out);
  out += ",\"seq\":" + std::to_string(seq) + ",\"full\":" + (full ? "true" : "false");
  out += ",\"changes\":{";
  const char* open = nullptr;
  for (const auto& p : picks) {
    if (p.key.empty()) continue;
    if (open != p.document) {
      if (open != nullptr) out += "},";
      open = p.document;
      out += '"';
      out += p.document;
      out += "\":{";
    } else {
      out += ',';
    }
    web::json::details::format_string(p.key, out);
    out += ':';
    out += *p.json;
  }
  if (open != nullptr) out += '}';
  out += "},\"events\":[";
  bool first = true;
  for (const auto& p : picks) {
    if (!p.key.empty()) continue;
    if (!first) out += ',';
    first = false;
    out += "{\"seq\":" + std::to_string(p.seq) + ",\"document\":\"" + p.document + "\",\"value\":";
    out += *p.json;
    out += '}';
  }
  out += "]}";
  return out;
}

void ChangeStore::park(const Cursor& c, Clock::time_point deadline, std::function<void()> wake) {
  // Decided and parked under the store's lock, so a change recorded in
  // between either is seen here or wakes the parked client.
  std::lock_guard<std::mutex> lock(mutex_);
  auto call = [wake = std::move(wake)](bool) { wake(); };
  if (newFor(c)) {
    lot_.wakeNow(std::move(call), true);
  } else {
    lot_.park(c.token, deadline, std::move(call));
  }
}

void ChangeStore::releaseAll() { lot_.releaseAll(); }

size_t ChangeStore::parked() const { return lot_.size(); }
