#pragma once

#include <mutex>
#include <optional>
#include <string>

#include <cpprest/json.h>

// The JSON the service keeps for remote clients: the nine state documents
// delivered by "status", and the answer slots that request handlers reply
// from. Every value is null until the first reset() and an empty object after.

struct StateDocuments {
  web::json::value settings;
  web::json::value equalizer;
  web::json::value irc;
  web::json::value ac;
  web::json::value ooyh;
  web::json::value playback;
  web::json::value library;
  web::json::value disconnect;
  web::json::value updated;

  // The document's key in replies ("settings", ...).
  static const char* name(web::json::value StateDocuments::*document);

  template <typename F>
  void forEach(F&& f) {
    for (web::json::value* v :
         {&settings, &equalizer, &irc, &ac, &ooyh, &playback, &library, &disconnect, &updated}) {
      f(*v);
    }
  }
};

// Some answers deliberately share a slot: options and the application
// configuration; a preset and its list per stage (the AC stage answers from
// the HP slot); playlist information and created playlists.
struct ResponseSlots {
  web::json::value login;
  web::json::value itemsForSku;
  web::json::value downloadStatus;
  web::json::value devices;
  web::json::value options;
  web::json::value downloadLocation;
  web::json::value artworkLocation;
  web::json::value playState;
  web::json::value availableYears;
  web::json::value nowPlaying;
  web::json::value artist;
  web::json::value album;
  web::json::value playlist;
  web::json::value scanProgress;
  web::json::value history;
  web::json::value search;
  web::json::value localLibrary;
  web::json::value eqPreset;
  web::json::value hpPreset;
  web::json::value ircPreset;

  template <typename F>
  void forEach(F&& f) {
    for (web::json::value* v : {&login,          &itemsForSku,      &downloadStatus,  &devices,
                                &options,        &downloadLocation, &artworkLocation, &playState,
                                &availableYears, &nowPlaying,       &artist,          &album,
                                &playlist,       &scanProgress,     &history,         &search,
                                &localLibrary,   &eqPreset,         &hpPreset,        &ircPreset}) {
      f(*v);
    }
  }
};

// Answers of the player application's heartbeat and transport calls, which
// have a lock of their own.
struct PlayerSlots {
  web::json::value heartbeat;
  web::json::value player;
};

class ChangeFeed;

class StateCache {
 public:
  std::mutex stateMutex;   // documents, response slots, user stash text
  std::mutex playerMutex;  // player slots

  StateDocuments docs;
  ResponseSlots slots;
  PlayerSlots player;
  // The stash answer is kept as the host's raw text and parsed when served;
  // a reset leaves it alone.
  std::string userStash;

  // Every document and slot becomes an empty object.
  void reset();
  // The same with the state mutex already held; the player slots are left.
  void resetLocked();
  void resetPlayer();
};

// What one "status" reply carries.
struct ChangeDelivery {
  std::string body;  // JSON text, or its zlib stream when compressed
  bool compressed = false;
};

// Takes the changes of a burst, once: when the flag is raised, the nine
// documents in the order clients read them, serialised (and compressed when
// longer than `zipThreshold`). The cache is emptied and the flag cleared in the
// same step under the state mutex, so a setter running meanwhile lands either
// in this delivery or in the next, never in neither.
std::optional<ChangeDelivery> deliverChanges(StateCache& cache, ChangeFeed& feed,
                                             long long zipThreshold);
