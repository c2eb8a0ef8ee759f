#pragma once

#include <velora/VeloraRemoteSDK.h>

#include "listeners/HostContext.h"
#include "listeners/LibraryListener.h"
#include "listeners/PlayerListeners.h"

namespace refhost {

// One listener per area of the service, registered and unregistered together.
struct HostListeners {
  explicit HostListeners(HostContext& host)
      : library(host),
        playback(host),
        equalizer(host),
        irc(host),
        ac(host),
        hp(host),
        settings(host) {}

  void registerWith(IVeloraRemoteCoordinator& service) {
    service.getLibraryService()->registerForNotification(&library);
    service.getPlaybackService()->registerForNotification(&playback);
    service.getEqualizerService()->registerForNotification(&equalizer);
    service.getIRCService()->registerForNotification(&irc);
    service.getACService()->registerForNotification(&ac);
    service.getHPService()->registerForNotification(&hp);
    service.getSettingsService()->registerForNotification(&settings);
  }

  void unregisterFrom(IVeloraRemoteCoordinator& service) {
    service.getSettingsService()->unregisterFromNotification(&settings);
    service.getHPService()->unregisterFromNotification(&hp);
    service.getACService()->unregisterFromNotification(&ac);
    service.getIRCService()->unregisterFromNotification(&irc);
    service.getEqualizerService()->unregisterFromNotification(&equalizer);
    service.getPlaybackService()->unregisterFromNotification(&playback);
    service.getLibraryService()->unregisterFromNotification(&library);
  }

  LibraryListener library;
  PlaybackListener playback;
  EqualizerListener equalizer;
  IRCListener irc;
  ACListener ac;
  HPListener hp;
  SettingsListener settings;
};

}  // namespace refhost
