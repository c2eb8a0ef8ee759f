#pragma once

#include "host/Observable.h"
#include "velora/VeloraQueueExtension.h"
#include "velora/VeloraRemoteSDK.h"

// The host's listeners: one registry per listener interface, and the one way
// the service calls them. `fire` picks the registry from the callback's
// interface, so a caller names only the callback.
class ListenerHub {
 public:
  template <typename L>
  detail::ObservableBase<L>& of() {
    return registry(static_cast<L*>(nullptr));
  }

  template <typename L>
  int subscribe(L* l) {
    return of<L>().subscribe(l);
  }
  template <typename L>
  int cancel(L* l) {
    return of<L>().cancel_subscription(l);
  }

  template <typename L, typename... Params, typename... Args>
  void fire(void (L::*callback)(Params...), Args&&... args) {
    of<L>().stable_fire(callback, args...);
  }

  // Fires a callback whose last argument is the status the host sets (0
  // unless it says otherwise) and returns that status.
  template <typename L, typename... Params, typename... Args>
  int ask(void (L::*callback)(Params...), Args&&... args) {
    int status = 0;
    of<L>().stable_fire(callback, args..., status);
    return status;
  }

  // The queue extension has one listener at a time: setting one replaces the
  // other in a single step, so no request sees both or, between them, none.
  int setQueueExtension(IVeloraQueueExtensionListener* l) { return queue_.replaceAll(l); }

 private:
  auto& registry(IVeloraRemoteServiceListener*) { return remote_; }
  auto& registry(IVeloraLibraryServiceListener*) { return library_; }
  auto& registry(IVeloraPlaybackServiceListener*) { return playback_; }
  auto& registry(IVeloraEqualizerServiceListener*) { return equalizer_; }
  auto& registry(IVeloraIRCServiceListener*) { return irc_; }
  auto& registry(IVeloraACServiceListener*) { return ac_; }
  auto& registry(IVeloraHPServiceListener*) { return hp_; }
  auto& registry(IVeloraSettingsServiceListener*) { return settings_; }
  auto& registry(IVeloraQueueExtensionListener*) { return queue_; }

  detail::ObservableBase<IVeloraPlaybackServiceListener> playback_;
  detail::ObservableBase<IVeloraEqualizerServiceListener> equalizer_;
  detail::ObservableBase<IVeloraIRCServiceListener> irc_;
  detail::ObservableBase<IVeloraACServiceListener> ac_;
  detail::ObservableBase<IVeloraHPServiceListener> hp_;
  detail::ObservableBase<IVeloraLibraryServiceListener> library_;
  detail::ObservableBase<IVeloraSettingsServiceListener> settings_;
  detail::ObservableBase<IVeloraRemoteServiceListener> remote_;
  detail::ObservableBase<IVeloraQueueExtensionListener> queue_;
};
