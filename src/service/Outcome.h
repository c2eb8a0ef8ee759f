#pragma once

#include <cpprest/json.h>

#include "host/StateCache.h"

// How a handler answers once the host has set the status of its callback:
// 0 gives the success reply, anything else the failure text and status. Where
// the handler tells it apart, 7 (the streaming server could not be reached)
// gives 503 "Connection to Tarn Server Failed.".
struct SuccessReply {
  enum Kind { Text, Slot, Player, Document };
  Kind kind = Text;
  const char* text = "SUCCESS";
  web::json::value ResponseSlots::*slot = nullptr;
  web::json::value PlayerSlots::*player = nullptr;
  web::json::value StateDocuments::*document = nullptr;
  bool omitNull = false;

  static SuccessReply success(const char* text = "SUCCESS") { return {Text, text}; }
  // A response slot, read under the state mutex.
  static SuccessReply fromSlot(web::json::value ResponseSlots::*s, bool omitNull) {
    SuccessReply r{Slot};
    r.slot = s;
    r.omitNull = omitNull;
    return r;
  }
  // A player slot, read under the player mutex.
  static SuccessReply fromPlayer(web::json::value PlayerSlots::*p, bool omitNull) {
    SuccessReply r{Player};
    r.player = p;
    r.omitNull = omitNull;
    return r;
  }
  // A whole state document, read under the state mutex.
  static SuccessReply fromDocument(web::json::value StateDocuments::*d, bool omitNull) {
    SuccessReply r{Document};
    r.document = d;
    r.omitNull = omitNull;
    return r;
  }
};

struct Outcome {
  const char* failure;
  unsigned short failureStatus = 401;
  SuccessReply reply = SuccessReply::success();
  bool unreachableIs503 = false;
};
