#include <iostream>

#include "playback/PlaybackRoutes.h"

// Transport: the "playback" area asks the playback listener and answers
// "SUCCESS" or the playback document; the player application's endpoints ask
// the library listener and answer by its status.

namespace {
using P = IVeloraPlaybackServiceListener;
using L = IVeloraLibraryServiceListener;
using web::http::status_codes;
using web::json::value;

// A play needs the item to play; without it the request is refused.
Answer playOrPause(Call& c) {
  RouteRequest& r = c.r;
  const bool play = r.segment(1) == "play";
  CText itemId(play ? r.text("itemid", r.text("item")) : r.text("itemid"));
  if (play && !r.has("item") && !r.has("itemid")) {
    return Replies::text(status_codes::BadRequest, "Missing item");
  }
  PlaybackCommand pc{};
  pc.command = play ? 0 : 1;
  pc.index = play && r.has("item") ? r.number("item") : 0;
  pc.itemid = itemId;
  c.u.hub.fire(&P::onPlaybackCommand, pc);
  return Replies::text(status_codes::OK, "SUCCESS");
}

// "item" is URI-encoded JSON: {"item": {"title", "recording": {"title",
// "artistName"}}, "streamObj": {"trackId", "streamLink"}}. Anything else is
// refused without asking the host.
Answer playerSetItem(Call& c) {
  std::string streamLink, trackId, artistName, recordingTitle, itemTitle;
  try {
    const value j = value::parse(web::uri::decode(c.r.query.at("item")));
    const value& item = j.at("item");
    const value& recording = item.at("recording");
    const value& stream = j.at("streamObj");
    itemTitle = item.at("title").as_string();
    artistName = recording.at("artistName").as_string();
    recordingTitle = recording.at("title").as_string();
    trackId = std::to_string(stream.at("trackId").as_integer());
    streamLink = stream.at("streamLink").as_string();
  } catch (const std::exception&) {
    return Replies::text(status_codes::Unauthorized, "PlayerSetURL FAILED");
  }
  CText link(streamLink), id(trackId), isNext(c.r.text("isNext")), artist(artistName),
      recording(recordingTitle), title(itemTitle), none("");
  const int status =
      c.u.hub.ask(&L::onPlayerSetItem, link, id, isNext, artist, recording, title, none);
  return conclude(c, status, {"PlayerSetURL FAILED"});
}

constexpr SuccessReply kPlayer = SuccessReply::fromPlayer(&PlayerSlots::player, true);
Answer playerPlay(Call& c) {
  static const Handler play = ask(&L::onPlayerPlay, {"handlePlayerPlay FAILED", 401, kPlayer},
                                  {arg::text("playState"), arg::text("itemID")});
  std::cerr << "playerplay" << std::endl;
  return play(c);
}

// "playback" alone, or an unknown command, does nothing.
Answer nothing(Call&) { return Replies::text(status_codes::OK, ""); }
}  // namespace

const RouteList& transportRoutes() {
  using namespace arg;
  const Outcome success = answering(SuccessReply::success());
  const Outcome playback = answering(SuccessReply::fromDocument(&StateDocuments::playback, false));
  static const Handler inputMode =
      ask(&L::onInputMode, {"Set Input Mode FAILED"}, {text("enabled"), text("source")});
  static const RouteList routes = {
      {"GET",
       "playback",
       "routePlayback",
       tell(&P::onSetVolume, success, {number("volume")}),
       {"volume"}},
      {"GET",
       "playback",
       "routePlayback",
       tell(&P::onSetMute, success, {boolean("mute")}),
       {"mute"}},
      {"GET", "playback/play", "routePlayback", playOrPause},
      {"GET", "playback/pause", "routePlayback", playOrPause},
      {"GET", "playback/getvolume", "routePlayback", tell(&P::onRequestVolume, playback)},
      {"GET", "playback/getmute", "routePlayback", tell(&P::onRequestMute, playback)},
      {"GET", "playback/getplayerstate", "routePlayback", tell(&P::onRequestPlayerState, playback)},
      {"GET", "playback/getmode", "routePlayback", tell(&P::onRequestMode, playback)},
      {"GET", "playback/next", "routePlayback", tell(&P::onNext, success)},
      {"GET", "playback/previous", "routePlayback", tell(&P::onPrevious, success)},
      {"GET", "playback/mode", "routePlayback",
       tell(&P::onSetMode, {"Missing mode", 400, SuccessReply::success()},
            {number("mode").needed()})},
      // Clients add their connection id as a third pair; shorter queries
      // move by position only.
      {"GET", "playback/move", "routePlayback",
       tell(&P::onMoveTrack, success, {after("trackid", 3, ""), number("position")})},
      {"GET", "playback", "routePlayback", nothing},
      {"GET",
       "playerping",
       "handlePlayerPing",
       ask(&L::onPlayerPing, {"handlePlayerPing FAILED", 401, kPlayer}),
       {},
       true},
      {"GET",
       "playerheartbeat",
       "handlePlayerHeartbeat",
       ask(&L::onPlayerHeartbeat, {"handlePlayerHeartBeat FAILED", 401, kPlayer}),
       {},
       true},
      {"GET", "playerplay", "handlePlayerPlay", playerPlay, {}, true},
      {"GET",
       "playerpause",
       "handlePlayerPause",
       ask(&L::onPlayerPause, {"handlePlayerPause FAILED", 401, kPlayer}),
       {},
       true},
      {"GET", "playersetitem", "handlePlayerSetItem", playerSetItem, {}, true},
      {"GET", "setPlaybackItem", "handleSetPlaybackItem",
       ask(&L::onSetPlaybackItem, {"SetPlaybackItem FAILED", 401, {}, false, 400},
           {text("uuid").needed(), text("play").needed(), after("sortBy", 3, ""),
            after("reverseSort", 4, ""), after("parentuuid", 5, "")})},
      {"GET", "setPlayState", "handleSetPlayState",
       ask(&L::onSetPlayState, {"SetPlayState FAILED"}, {text("state")})},
      {"GET", "getPlayState", "handleGetPlayState",
       ask(&L::onGetPlayState,
           {"GetPlayState FAILED", 401, SuccessReply::fromSlot(&ResponseSlots::playState, true)})},
      {"GET", "getNowPlaying", "handleGetNowPlaying",
       ask(&L::onGetNowPlaying, {"GetNowPlaying FAILED", 401,
                                 SuccessReply::fromSlot(&ResponseSlots::nowPlaying, true)})},
      {"GET", "inputmode", "handleInputMode", inputMode},
      {"GET", "inputMode", "handleInputMode", inputMode},
      // Clients match this failure by its text, which navigation shares with
      // the headphone presets.
      {"GET", "navigation", "handleNavigation",
       ask(&L::onNavigation, {"handleSetHPPreset FAILED", 400}, {text("which")})},
  };
  return routes;
}
