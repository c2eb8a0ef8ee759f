#pragma once

// Listeners that accept every callback and do nothing, one per interface, so
// that a host derives from them and overrides only the callbacks it serves:
//
//   class Volume : public NullVeloraPlaybackServiceListener {
//     void onSetVolume(int& volume) override { ... }
//   };
//
// They leave every argument as the service passed it, status included.
//
// They are written from VeloraListenerList.h with `override` on every
// callback, and each must be concrete: so they are also the proof that the
// lists and the interfaces agree, compiled wherever the SDK header is.

#include <type_traits>

#include "velora/VeloraListenerList.h"

#define VELORA_NULL_CALLBACK_(callback, ...) \
  void callback(VELORA_LISTENER_TYPES(__VA_ARGS__)) override {}
#define VELORA_NULL_LISTENER_(Area, CALLBACKS)                                      \
  class NullVelora##Area##ServiceListener : public IVelora##Area##ServiceListener { \
   public:                                                                          \
    CALLBACKS(VELORA_NULL_CALLBACK_)                                                \
  };                                                                                \
  static_assert(!std::is_abstract<NullVelora##Area##ServiceListener>::value,        \
                "VELORA_LISTENER_INTERFACES lacks a callback of IVelora" #Area "ServiceListener");

VELORA_LISTENER_INTERFACES(VELORA_NULL_LISTENER_)

#undef VELORA_NULL_LISTENER_
#undef VELORA_NULL_CALLBACK_
