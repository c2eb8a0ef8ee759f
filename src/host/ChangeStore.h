#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "host/ParkingLot.h"

namespace web {
namespace json {
class value;
}
}  // namespace web

// The latest value of every state key, each with the sequence number of its
// last change, and a ring of recent events: what a "changes" client needs to
// catch up from any point, whoever else is polling.
//
// Values are kept as their JSON text: a reply is then a concatenation, the
// same text serves every client, and the store holds one text per key no
// matter how many changes it saw.
//
// Keys are state or events. State keys keep only their latest value. Events
// are answers that must not overwrite each other before every client has
// read them (one client's album beside another's) and notices; they stay in
// the ring, with a client token when only that client may see them.
//
// Waiting clients park in a ParkingLot: a change wakes every waiter that may
// see it, a deadline wakes it with nothing.
class ChangeStore {
 public:
  using Clock = ParkingLot::Clock;
  using Text = std::shared_ptr<const std::string>;

  struct Entry {
    const char* key;
    std::string json;
    // Set, and `json` left empty, when the value is known to be the one
    // current() gave: no change.
    bool unchanged = false;
  };

  // What a client asks from: `since` 0 or a stale `epoch` asks for everything.
  struct Cursor {
    std::string token;
    std::string epoch;
    uint64_t since = 0;
  };

  // The most recent events kept, by count and by the size of their texts.
  static constexpr size_t kEventLimit = 256;
  static constexpr size_t kEventBytes = 16u << 20;

  ChangeStore();

  // The JSON text of `v`, printed into one allocation of about the right
  // size: a library list with its pictures runs to hundreds of megabytes, and
  // growing the text step by step copies it over and over.
  static std::string text(const web::json::value& v);
  // Whether `text` is the JSON text of `v`, found without printing it: a
  // host that sets the same large list again costs a read, not a copy.
  static bool sameText(const web::json::value& v, const std::string& text);
  // The text a state key holds now; null for events and keys never set.
  Text current(const char* document, const std::string& key) const;
  ChangeStore(const ChangeStore&) = delete;
  ChangeStore& operator=(const ChangeStore&) = delete;

  // Records keys a setter wrote into `document` (one of the state document
  // names), as JSON texts. A state key whose text is unchanged is no change.
  void record(const char* document, std::vector<Entry> entries);
  // Records a "disconnect" note that only the client with `token` sees.
  void recordDisconnect(const std::string& token, std::string json);
  // Drops the disconnect notes of `token`: the client paired again.
  void forgetDisconnect(const std::string& token);

  // A new epoch (the service starts listening): clients of the old one
  // start over from the whole state. The state itself is kept.
  void newEpoch();
  std::string epoch() const;
  uint64_t seq() const;

  // The reply body for `cursor`, or an empty text when nothing new is there
  // for it (and `force` is false).
  std::string collect(const Cursor& cursor, bool force = false) const;

  // Calls `wake` once, at once when something is already new for `cursor`,
  // otherwise at the first change it may see, at `deadline`, or at
  // releaseAll().
  void park(const Cursor& cursor, Clock::time_point deadline, std::function<void()> wake);
  // Wakes every parked client (the service closes).
  void releaseAll();
  size_t parked() const;

 private:
  struct Value {
    uint64_t seq;
    Text json;
  };
  struct Document {
    const char* name;
    std::vector<std::pair<std::string, Value>> keys;  // in the order first set
  };
  struct Event {
    uint64_t seq;
    const char* document;
    Text json;          // {"key": value}
    std::string token;  // empty: every client
  };

  bool newFor(const Cursor& cursor) const;  // lock held
  bool needsFull(const Cursor& cursor) const;
  void pushEvent(Event event);

  mutable std::mutex mutex_;
  std::string epoch_;
  // 0 asks for everything, so even the state before any change has a
  // number a client can resume from.
  uint64_t seq_ = 1;
  std::vector<Document> documents_;
  std::deque<Event> events_;
  size_t eventBytes_ = 0;
  uint64_t droppedUpTo_ = 0;  // the newest event no longer in the ring
  // Last, so that it goes first: parked callbacks refer to their service.
  ParkingLot lot_;
};
