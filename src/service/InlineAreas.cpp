#include <iostream>

#include "service/VeloraRestService.h"

using web::http::status_codes;

namespace {

// The four sound-processing areas share one layout of callbacks.
template <typename L>
struct DspArea {
  detail::ObservableBase<L>& listeners;
  void (L::*setState)(bool&);
  void (L::*requestList)();
  void (L::*requestState)();
  void (L::*requestPreset)();
};

// "enable" switches the stage; otherwise the stage's own words (the IRC
// gain) are tried, then the second segment asks for the list, the state or
// the preset, which the host pushes back through "status".
template <typename L, typename Own = bool (*)(RouteRequest&)>
void routeStage(
    RouteRequest& r, const DspArea<L>& area, Own own = [](RouteRequest&) { return false; }) {
  if (r.has("enable")) {
    bool enabled = toBool(r.text("enable"));
    area.listeners.stable_fire(area.setState, enabled);
    return;
  }
  if (own(r)) return;
  const std::string& what = r.segment(1);
  if (what == "list") {
    area.listeners.stable_fire(area.requestList);
  } else if (what == "state") {
    area.listeners.stable_fire(area.requestState);
  } else if (what == "getpreset") {
    area.listeners.stable_fire(area.requestPreset);
  }
}

}  // namespace

void VeloraRestService::routeEqualizer(RouteRequest& r) {
  using L = IVeloraEqualizerServiceListener;
  routeStage(r, DspArea<L>{equalizerListeners_, &L::onSetEQState, &L::onRequestEQPresetList,
                           &L::onRequestEQState, &L::onRequestEQPreset});
  returnSuccess(r.http, "SUCCESS");
}

void VeloraRestService::routeHP(RouteRequest& r) {
  using L = IVeloraHPServiceListener;
  routeStage(r, DspArea<L>{hpListeners_, &L::onSetHPState, &L::onRequestHPPresetList,
                           &L::onRequestHPState, &L::onRequestHPPreset});
  returnSuccess(r.http, "SUCCESS");
}

void VeloraRestService::routeAC(RouteRequest& r) {
  using L = IVeloraACServiceListener;
  routeStage(r, DspArea<L>{acListeners_, &L::onSetACState, &L::onRequestACPresetList,
                           &L::onRequestACState, &L::onRequestACPreset});
  returnSuccess(r.http, "SUCCESS");
}

void VeloraRestService::routeIRC(RouteRequest& r) {
  using L = IVeloraIRCServiceListener;
  auto gain = [this](RouteRequest& req) {
    if (req.has("gain")) {
      int value = req.number("gain");
      ircListeners_.stable_fire(&L::onSetIRCGain, value);
      return true;
    }
    if (req.segment(1) == "gain") {
      ircListeners_.stable_fire(&L::onRequestIRCGain);
      return true;
    }
    return false;
  };
  routeStage(r,
             DspArea<L>{ircListeners_, &L::onSetIRCState, &L::onRequestIRCPresetList,
                        &L::onRequestIRCState, &L::onRequestIRCPreset},
             gain);
  returnSuccess(r.http, "SUCCESS");
}

void VeloraRestService::routePlayback(RouteRequest& r) {
  using L = IVeloraPlaybackServiceListener;
  auto& listeners = playbackListeners_;
  if (r.has("volume")) {
    int volume = r.number("volume");
    listeners.stable_fire(&L::onSetVolume, volume);
    returnSuccess(r.http, "SUCCESS");
    return;
  }
  if (r.has("mute")) {
    bool mute = toBool(r.text("mute"));
    listeners.stable_fire(&L::onSetMute, mute);
    returnSuccess(r.http, "SUCCESS");
    return;
  }
  if (r.segments.size() < 2) return;  // nothing to do: the empty success follows

  const std::string& command = r.segment(1);
  auto answerWithPlayback = [&](void (L::*request)()) {
    listeners.stable_fire(request);
    std::lock_guard<std::mutex> lock(cache_.stateMutex);
    returnValue(r.http, cache_.docs.playback, false);
  };
  if (command == "play" || command == "pause") {
    // A play needs the item to play; without it the request is refused.
    const bool play = command == "play";
    CText itemId(play ? r.text("itemid", r.text("item")) : r.text("itemid"));
    if (play && !r.has("item") && !r.has("itemid")) {
      returnFailure(r.http, "Missing item", status_codes::BadRequest);
      return;
    }
    PlaybackCommand pc{};
    pc.command = play ? 0 : 1;
    pc.index = play && r.has("item") ? r.number("item") : 0;
    pc.itemid = itemId;
    listeners.stable_fire(&L::onPlaybackCommand, pc);
    returnSuccess(r.http, "SUCCESS");
  } else if (command == "getvolume") {
    answerWithPlayback(&L::onRequestVolume);
  } else if (command == "getmute") {
    answerWithPlayback(&L::onRequestMute);
  } else if (command == "getplayerstate") {
    answerWithPlayback(&L::onRequestPlayerState);
  } else if (command == "getmode") {
    answerWithPlayback(&L::onRequestMode);
  } else if (command == "next") {
    listeners.stable_fire(&L::onNext);
    returnSuccess(r.http, "SUCCESS");
  } else if (command == "previous") {
    listeners.stable_fire(&L::onPrevious);
    returnSuccess(r.http, "SUCCESS");
  } else if (command == "mode") {
    if (!r.has("mode")) {
      returnFailure(r.http, "Missing mode", status_codes::BadRequest);
      return;
    }
    PlaybackMode mode{r.number("mode")};
    listeners.stable_fire(&L::onSetMode, mode);
    std::lock_guard<std::mutex> lock(cache_.stateMutex);
    returnSuccess(r.http, "SUCCESS");
  } else if (command == "move") {
    // Clients add their connection id as a third pair; shorter queries
    // move by position only.
    CText trackId(r.optional("trackid", 3, ""));
    int position = r.number("position");
    listeners.stable_fire(&L::onMoveTrack, trackId, position);
    returnSuccess(r.http, "SUCCESS");
  }
}

void VeloraRestService::routeSettings(RouteRequest& r) {
  using L = IVeloraSettingsServiceListener;
  const std::string& what = r.segment(1);
  if (what == "output") {
    if (r.has("name")) {
      CText name(r.decoded("name"));
      settingsListeners_.stable_fire(&L::onSetOutputDevice, name);
    } else {
      settingsListeners_.stable_fire(&L::onRequestOutputDevices);
    }
  } else if (what == "values") {
    if (!r.has("mqa") || !r.has("upsample") || !r.has("dsp")) {
      settingsListeners_.stable_fire(&L::onRequestSettingsValues);
    } else {
      bool mqa = r.number("mqa") == 1;
      bool upsample = r.number("upsample") == 1;
      bool dsp = r.number("dsp") == 1;
      settingsListeners_.stable_fire(&L::onSetSettingsValues, mqa, upsample, dsp);
    }
  }
}

void VeloraRestService::routePlayerPause(RouteRequest& r) {
  exchange(r,
           {"handlePlayerPause FAILED", 401, SuccessReply::fromPlayer(&PlayerSlots::player, true)},
           &IVeloraLibraryServiceListener::onPlayerPause);
}

void VeloraRestService::routePlayerPlay(RouteRequest& r) {
  std::cerr << "playerplay" << std::endl;
  handlePlayerPlay(r);
}

void VeloraRestService::handlePlayerPlay(RouteRequest& r) {
  exchange(r,
           {"handlePlayerPlay FAILED", 401, SuccessReply::fromPlayer(&PlayerSlots::player, true)},
           &IVeloraLibraryServiceListener::onPlayerPlay, CText(r.text("playState")),
           CText(r.text("itemID")));
}

void VeloraRestService::routeNothing(RouteRequest& r) {
  // "log" carries a "message" for debugging clients; nothing is done with it.
  (void)r.text("message");
}
