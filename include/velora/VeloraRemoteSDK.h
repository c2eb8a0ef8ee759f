#pragma once

// The one header a host includes to embed the remote-control service.
//
//   IVeloraRemoteCoordinator* service = VeloraRemoteSDK::getVeloraService();
//   service->registerForNotification(&myRemoteListener);
//   service->getLibraryService()->registerForNotification(&myLibraryListener);
//   service->startListening();
//   ...
//   service->shutdown();
//
// A listener that serves only some callbacks derives from the matching
// NullVelora...ServiceListener (VeloraNullListeners.h) and overrides those.
// Queue editing and seeking are an extension with a listener of their own
// (VeloraQueueExtension.h).

#include <string>

#include "velora/VeloraExport.h"
#include "velora/VeloraLibraryItems.h"
#include "velora/VeloraListeners.h"
#include "velora/VeloraNullListeners.h"
#include "velora/VeloraQueueExtension.h"
#include "velora/VeloraServices.h"
#include "velora/VeloraTypes.h"

class VELORA_API VeloraRemoteSDK {
 public:
  /// The process's one service. Always the same pointer; never delete it.
  static IVeloraRemoteCoordinator* getVeloraService();
};

/// "0.4.81"
VELORA_API std::string getSDKVersionStr();
/// 4081
VELORA_API int getSDKVersionInt();

/// First TCP port tried by startListening() (35699); change it before starting.
extern VELORA_API int mServicePort;
/// "status" replies longer than this many bytes are sent zlib-compressed.
extern VELORA_API int ZIP_THRESHOLD;
