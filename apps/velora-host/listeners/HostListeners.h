#pragma once

#include <memory>
#include <vector>

#include <velora/VeloraRemoteSDK.h>

#include "listeners/Areas.h"
#include "listeners/HostContext.h"

namespace refhost {

// The host's listeners for every area of the service, registered and
// unregistered together.
struct HostListeners {
  explicit HostListeners(HostContext& host)
      : playback(playbackListener(host)),
        equalizer(equalizerListener(host)),
        irc(ircListener(host)),
        ac(acListener(host)),
        hp(hpListener(host)),
        settings(settingsListener(host)),
        queue(queueListener(host)) {
    for (auto part :
         {browseListener, localLibraryListener, accountListener, clientControlListener,
          stashListener, scanListener, optionsListener, playlistsListener, playerAppListener}) {
      library.push_back(part(host));
    }
  }

  void registerWith(IVeloraRemoteCoordinator& service) {
    for (auto& part : library) service.getLibraryService()->registerForNotification(part.get());
    service.getPlaybackService()->registerForNotification(playback.get());
    service.getEqualizerService()->registerForNotification(equalizer.get());
    service.getIRCService()->registerForNotification(irc.get());
    service.getACService()->registerForNotification(ac.get());
    service.getHPService()->registerForNotification(hp.get());
    service.getSettingsService()->registerForNotification(settings.get());
    // The extension is registered with the process's service, the one the
    // host passes here.
    setVeloraQueueExtension(queue.get());
  }

  void unregisterFrom(IVeloraRemoteCoordinator& service) {
    setVeloraQueueExtension(nullptr);
    service.getSettingsService()->unregisterFromNotification(settings.get());
    service.getHPService()->unregisterFromNotification(hp.get());
    service.getACService()->unregisterFromNotification(ac.get());
    service.getIRCService()->unregisterFromNotification(irc.get());
    service.getEqualizerService()->unregisterFromNotification(equalizer.get());
    service.getPlaybackService()->unregisterFromNotification(playback.get());
    for (auto& part : library) service.getLibraryService()->unregisterFromNotification(part.get());
  }

  std::vector<std::unique_ptr<IVeloraLibraryServiceListener>> library;
  std::unique_ptr<IVeloraPlaybackServiceListener> playback;
  std::unique_ptr<IVeloraEqualizerServiceListener> equalizer;
  std::unique_ptr<IVeloraIRCServiceListener> irc;
  std::unique_ptr<IVeloraACServiceListener> ac;
  std::unique_ptr<IVeloraHPServiceListener> hp;
  std::unique_ptr<IVeloraSettingsServiceListener> settings;
  std::unique_ptr<IVeloraQueueExtensionListener> queue;
};

}  // namespace refhost
