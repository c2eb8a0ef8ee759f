#include "service/VeloraRestService.h"

using web::http::status_codes;
using web::json::value;
using L = IVeloraLibraryServiceListener;

// Transport endpoints of the player application: each asks the host through
// the library listener and answers by its status.

void VeloraRestService::handlePlayerSetItem(RouteRequest& r) {
  // "item" is URI-encoded JSON: {"item": {"title", "recording": {"title",
  // "artistName"}}, "streamObj": {"trackId", "streamLink"}}. Anything else is
  // refused without asking the host.
  std::string streamLink, trackId, artistName, recordingTitle, itemTitle;
  try {
    const value j = value::parse(web::uri::decode(r.query.at("item")));
    const value& item = j.at("item");
    const value& recording = item.at("recording");
    const value& stream = j.at("streamObj");
    itemTitle = item.at("title").as_string();
    artistName = recording.at("artistName").as_string();
    recordingTitle = recording.at("title").as_string();
    trackId = std::to_string(stream.at("trackId").as_integer());
    streamLink = stream.at("streamLink").as_string();
  } catch (const std::exception&) {
    returnFailure(r.http, "PlayerSetURL FAILED", status_codes::Unauthorized);
    return;
  }
  exchange(r, {"PlayerSetURL FAILED"}, &L::onPlayerSetItem, CText(streamLink), CText(trackId),
           CText(r.text("isNext")), CText(artistName), CText(recordingTitle), CText(itemTitle),
           CText(""));
}

void VeloraRestService::handleSetPlaybackItem(RouteRequest& r) {
  if (!r.has("uuid") || !r.has("play")) {
    returnFailure(r.http, "SetPlaybackItem FAILED", status_codes::BadRequest);
    return;
  }
  exchange(r, {"SetPlaybackItem FAILED"}, &L::onSetPlaybackItem, CText(r.text("uuid")),
           CText(r.text("play")), CText(r.optional("sortBy", 3, "")),
           CText(r.optional("reverseSort", 4, "")), CText(r.optional("parentuuid", 5, "")));
}

void VeloraRestService::handleSetPlayState(RouteRequest& r) {
  exchange(r, {"SetPlayState FAILED"}, &L::onSetPlayState, CText(r.text("state")));
}

void VeloraRestService::handleGetPlayState(RouteRequest& r) {
  exchange(r, {"GetPlayState FAILED", 401, SuccessReply::fromSlot(&ResponseSlots::playState, true)},
           &L::onGetPlayState);
}

void VeloraRestService::handleGetNowPlaying(RouteRequest& r) {
  exchange(r,
           {"GetNowPlaying FAILED", 401, SuccessReply::fromSlot(&ResponseSlots::nowPlaying, true)},
           &L::onGetNowPlaying);
}

void VeloraRestService::handleInputMode(RouteRequest& r) {
  exchange(r, {"Set Input Mode FAILED"}, &L::onInputMode, CText(r.text("enabled")),
           CText(r.text("source")));
}

void VeloraRestService::handleNavigation(RouteRequest& r) {
  // Clients match this failure by its text, which navigation shares with the
  // headphone presets.
  exchange(r, {"handleSetHPPreset FAILED", 400}, &L::onNavigation, CText(r.text("which")));
}
