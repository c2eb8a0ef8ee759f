#include "playback/PlaybackRoutes.h"
#include "playback/Presets.h"

// The four sound-processing stages. Each has an area ("equalizer", "irc",
// "ac", "ooyh") whose "enable" key switches the stage and whose second
// segment asks for the list, the state or the preset, which the host pushes
// back through "status"; and routes that ask for presets and answer from
// shared slots: a stage's preset and its list use one, and the AC stage,
// which has no answer of its own, replies with the headphone stage's.

namespace {
using EQ = IVeloraEqualizerServiceListener;
using HP = IVeloraHPServiceListener;
using AC = IVeloraACServiceListener;
using IRC = IVeloraIRCServiceListener;
using web::json::value;

// The rows of one stage's area, under `area`.
template <typename L>
void addArea(RouteList& rows, const char* area, const char* name, void (L::*setState)(bool&),
             void (L::*list)(), void (L::*state)(), void (L::*preset)()) {
  const Outcome success = answering(SuccessReply::success());
  const std::string at = area;
  rows.push_back({"GET", at, name, tell(setState, success, {arg::boolean("enable")}), {"enable"}});
  rows.push_back({"GET", at + "/list", name, tell(list, success)});
  rows.push_back({"GET", at + "/state", name, tell(state, success)});
  rows.push_back({"GET", at + "/getpreset", name, tell(preset, success)});
}

// The area alone has no second segment to read: that fails like any missing
// segment. An unknown one does nothing but succeed.
Answer stageArea(Call& c) {
  c.r.segment(1);
  return Replies::text(200, "SUCCESS");
}

template <typename L>
Handler getPreset(void (L::*callback)(int&), const char* failure, value ResponseSlots::*slot) {
  return ask(callback, {failure, 401, SuccessReply::fromSlot(slot, false)});
}

template <typename L>
Handler setPreset(void (L::*callback)(const char*&, const char*&, int&), const char* failure) {
  return ask(callback, {failure, 400},
             {arg::text("enable").needed(), arg::text("preset").needed()});
}
}  // namespace

const RouteList& presetRoutes() {
  static const RouteList routes = [] {
    RouteList rows;
    addArea(rows, "equalizer", "routeEqualizer", &EQ::onSetEQState, &EQ::onRequestEQPresetList,
            &EQ::onRequestEQState, &EQ::onRequestEQPreset);
    rows.push_back({"GET", "equalizer", "routeEqualizer", stageArea});
    addArea(rows, "ooyh", "routeHP", &HP::onSetHPState, &HP::onRequestHPPresetList,
            &HP::onRequestHPState, &HP::onRequestHPPreset);
    rows.push_back({"GET", "ooyh", "routeHP", stageArea});
    addArea(rows, "ac", "routeAC", &AC::onSetACState, &AC::onRequestACPresetList,
            &AC::onRequestACState, &AC::onRequestACPreset);
    rows.push_back({"GET", "ac", "routeAC", stageArea});
    addArea(rows, "irc", "routeIRC", &IRC::onSetIRCState, &IRC::onRequestIRCPresetList,
            &IRC::onRequestIRCState, &IRC::onRequestIRCPreset);
    const Outcome success = answering(SuccessReply::success());
    rows.push_back({"GET",
                    "irc",
                    "routeIRC",
                    tell(&IRC::onSetIRCGain, success, {arg::number("gain")}),
                    {"gain"}});
    rows.push_back({"GET", "irc/gain", "routeIRC", tell(&IRC::onRequestIRCGain, success)});
    rows.push_back({"GET", "irc", "routeIRC", stageArea});

    using S = ResponseSlots;
    const Handler getEQ = getPreset(&EQ::onGetEQPreset, "handleGetEQPreset FAILED", &S::eqPreset);
    const Handler setEQ = setPreset(&EQ::onSetEQPreset, "SetEQPreset FAILED");
    const Handler getHP = getPreset(&HP::onGetHPPreset, "handleGetHPPreset FAILED", &S::hpPreset);
    const Handler setHP = setPreset(&HP::onSetHPPreset, "handleSetHPPreset FAILED");
    const RouteList presets = {
        {"GET", "getEQPresetList", "handleGetEQPresetList",
         getPreset(&EQ::onGetEQPresetList, "handleGetEQPresetList FAILED", &S::eqPreset)},
        {"GET", "getEQ", "handleGetEQPreset", getEQ},
        {"GET", "getEq", "handleGetEQPreset", getEQ},
        {"GET", "setEQ", "handleSetEQPreset", setEQ},
        {"GET", "setEq", "handleSetEQPreset", setEQ},
        {"GET", "getHPPresetList", "handleGetHPPresetList",
         getPreset(&HP::onGetHPPresetList, "handleGetHPPresetList FAILED", &S::hpPreset)},
        {"GET", "getHP", "handleGetHPPreset", getHP},
        {"GET", "getHp", "handleGetHPPreset", getHP},
        {"GET", "setHP", "handleSetHPPreset", setHP},
        {"GET", "setHp", "handleSetHPPreset", setHP},
        {"GET", "getIRCPresetList", "handleGetIRCPresetList",
         getPreset(&IRC::onGetIRCPresetList, "handleGetIRCPresetList FAILED", &S::ircPreset)},
        {"GET", "getIRC", "handleGetIRCPreset",
         getPreset(&IRC::onGetIRCPreset, "handleGetIRCPreset FAILED", &S::ircPreset)},
        {"GET", "setIRC", "handleSetIRCPreset",
         setPreset(&IRC::onSetIRCPreset, "handleSetIRCPreset FAILED")},
        {"GET", "getACPresetList", "handleGetACPresetList",
         getPreset(&AC::onGetACPresetList, "handleGetACPresetList FAILED", &S::hpPreset)},
        // The failure text names the IRC stage; clients rely on it as it is.
        {"GET", "getAC", "handleGetACPreset",
         getPreset(&AC::onGetACPreset, "handleGetIRCPreset FAILED", &S::hpPreset)},
        {"GET", "setAC", "handleSetACPreset",
         setPreset(&AC::onSetACPreset, "handleSetACPreset FAILED")},
        // A preset posted whole: applied after the reply.
        {"POST", "equalizer/setpreset", "handle_post",
         [](Call& c) {
           return applyBody(c, [&hub = c.u.hub](const value& body) {
             std::string name;
             EQPreset preset = getEQPreset(body, name);
             hub.fire(&EQ::onApplyEQPreset, preset);
           });
         }},
        {"POST", "irc/setpreset", "handle_post",
         [](Call& c) {
           return applyBody(c, [&hub = c.u.hub](const value& body) {
             std::string name;
             IRCPreset preset = getIRCPreset(body, name);
             hub.fire(&IRC::onApplyIRCPreset, preset);
           });
         }},
    };
    rows.insert(rows.end(), presets.begin(), presets.end());
    return rows;
  }();
  return routes;
}
