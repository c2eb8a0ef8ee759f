#include "service/VeloraRestService.h"

using web::http::status_codes;

// Presets are asked for through each stage's listener. The answers share
// slots: a stage's preset and its list use one, and the AC stage, which has
// no answer of its own, replies with the headphone stage's.

namespace {
SuccessReply answerOf(web::json::value ResponseSlots::*slot) {
  return SuccessReply::fromSlot(slot, false);
}
}  // namespace

template <typename L>
void VeloraRestService::setPreset(RouteRequest& r, detail::ObservableBase<L>& listeners,
                                  void (L::*callback)(const char*&, const char*&, int&),
                                  const char* failure) {
  if (!r.has("enable") || !r.has("preset")) {
    returnFailure(r.http, failure, status_codes::BadRequest);
    return;
  }
  exchange(r, listeners, {failure, 400}, callback, CText(r.text("enable")),
           CText(r.text("preset")));
}

void VeloraRestService::handleGetEQPresetList(RouteRequest& r) {
  using L = IVeloraEqualizerServiceListener;
  exchange(r, equalizerListeners_,
           {"handleGetEQPresetList FAILED", 401, answerOf(&ResponseSlots::eqPreset)},
           &L::onGetEQPresetList);
}

void VeloraRestService::handleGetEQPreset(RouteRequest& r) {
  using L = IVeloraEqualizerServiceListener;
  exchange(r, equalizerListeners_,
           {"handleGetEQPreset FAILED", 401, answerOf(&ResponseSlots::eqPreset)},
           &L::onGetEQPreset);
}

void VeloraRestService::handleSetEQPreset(RouteRequest& r) {
  setPreset(r, equalizerListeners_, &IVeloraEqualizerServiceListener::onSetEQPreset,
            "SetEQPreset FAILED");
}

void VeloraRestService::handleGetHPPresetList(RouteRequest& r) {
  using L = IVeloraHPServiceListener;
  exchange(r, hpListeners_,
           {"handleGetHPPresetList FAILED", 401, answerOf(&ResponseSlots::hpPreset)},
           &L::onGetHPPresetList);
}

void VeloraRestService::handleGetHPPreset(RouteRequest& r) {
  using L = IVeloraHPServiceListener;
  exchange(r, hpListeners_, {"handleGetHPPreset FAILED", 401, answerOf(&ResponseSlots::hpPreset)},
           &L::onGetHPPreset);
}

void VeloraRestService::handleSetHPPreset(RouteRequest& r) {
  setPreset(r, hpListeners_, &IVeloraHPServiceListener::onSetHPPreset, "handleSetHPPreset FAILED");
}

void VeloraRestService::handleGetACPresetList(RouteRequest& r) {
  using L = IVeloraACServiceListener;
  exchange(r, acListeners_,
           {"handleGetACPresetList FAILED", 401, answerOf(&ResponseSlots::hpPreset)},
           &L::onGetACPresetList);
}

void VeloraRestService::handleGetACPreset(RouteRequest& r) {
  // The failure text names the IRC stage; clients rely on it as it is.
  using L = IVeloraACServiceListener;
  exchange(r, acListeners_, {"handleGetIRCPreset FAILED", 401, answerOf(&ResponseSlots::hpPreset)},
           &L::onGetACPreset);
}

void VeloraRestService::handleSetACPreset(RouteRequest& r) {
  setPreset(r, acListeners_, &IVeloraACServiceListener::onSetACPreset, "handleSetACPreset FAILED");
}

void VeloraRestService::handleGetIRCPresetList(RouteRequest& r) {
  using L = IVeloraIRCServiceListener;
  exchange(r, ircListeners_,
           {"handleGetIRCPresetList FAILED", 401, answerOf(&ResponseSlots::ircPreset)},
           &L::onGetIRCPresetList);
}

void VeloraRestService::handleGetIRCPreset(RouteRequest& r) {
  using L = IVeloraIRCServiceListener;
  exchange(r, ircListeners_,
           {"handleGetIRCPreset FAILED", 401, answerOf(&ResponseSlots::ircPreset)},
           &L::onGetIRCPreset);
}

void VeloraRestService::handleSetIRCPreset(RouteRequest& r) {
  setPreset(r, ircListeners_, &IVeloraIRCServiceListener::onSetIRCPreset,
            "handleSetIRCPreset FAILED");
}
