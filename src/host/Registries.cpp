#include "service/VeloraRestService.h"

// One registry per listener interface; each overload forwards its result code.
#define VELORA_REGISTRY(Listener, registry)                                                     \
  int VeloraRestService::registerForNotification(Listener* l) { return registry.subscribe(l); } \
  int VeloraRestService::unregisterFromNotification(Listener* l) {                              \
    return registry.cancel_subscription(l);                                                     \
  }

VELORA_REGISTRY(IVeloraRemoteServiceListener, remoteListeners_)
VELORA_REGISTRY(IVeloraLibraryServiceListener, libraryListeners_)
VELORA_REGISTRY(IVeloraPlaybackServiceListener, playbackListeners_)
VELORA_REGISTRY(IVeloraEqualizerServiceListener, equalizerListeners_)
VELORA_REGISTRY(IVeloraIRCServiceListener, ircListeners_)
VELORA_REGISTRY(IVeloraACServiceListener, acListeners_)
VELORA_REGISTRY(IVeloraHPServiceListener, hpListeners_)
VELORA_REGISTRY(IVeloraSettingsServiceListener, settingsListeners_)

#undef VELORA_REGISTRY
