#pragma once

#include <memory>
#include <string>
#include <vector>

#include <velora/VeloraRemoteSDK.h>

#include "catalog/Catalog.h"
#include "listeners/HostContext.h"

// The host's listeners, one per part of the service's areas. The library area
// carries the whole player application (browsing, account, stash, scans,
// options, playlists, its transport), so it is served by several listeners,
// all registered with the library service: each derives from the null
// listener and overrides only the callbacks of its part.
namespace refhost {

std::unique_ptr<IVeloraLibraryServiceListener> browseListener(HostContext& host);
std::unique_ptr<IVeloraLibraryServiceListener> localLibraryListener(HostContext& host);
std::unique_ptr<IVeloraLibraryServiceListener> accountListener(HostContext& host);
std::unique_ptr<IVeloraLibraryServiceListener> clientControlListener(HostContext& host);
std::unique_ptr<IVeloraLibraryServiceListener> stashListener(HostContext& host);
std::unique_ptr<IVeloraLibraryServiceListener> scanListener(HostContext& host);
std::unique_ptr<IVeloraLibraryServiceListener> optionsListener(HostContext& host);
std::unique_ptr<IVeloraLibraryServiceListener> playlistsListener(HostContext& host);
std::unique_ptr<IVeloraLibraryServiceListener> playerAppListener(HostContext& host);

// Transport, the four sound stages and the settings area. Requests change the
// player and push the new state; "request" callbacks push the state as it is.
std::unique_ptr<IVeloraPlaybackServiceListener> playbackListener(HostContext& host);
std::unique_ptr<IVeloraEqualizerServiceListener> equalizerListener(HostContext& host);
std::unique_ptr<IVeloraIRCServiceListener> ircListener(HostContext& host);
std::unique_ptr<IVeloraACServiceListener> acListener(HostContext& host);
std::unique_ptr<IVeloraHPServiceListener> hpListener(HostContext& host);
std::unique_ptr<IVeloraSettingsServiceListener> settingsListener(HostContext& host);
// Seeking and queue edits, the service's queue extension.
std::unique_ptr<IVeloraQueueExtensionListener> queueListener(HostContext& host);

constexpr int kOk = 0;
constexpr int kFailed = 1;

// The status of a request that asked the player for a change: `then`
// publishes the change when the player made it.
template <typename Then>
int ifDone(bool done, Then then) {
  if (!done) return kFailed;
  then();
  return kOk;
}

const char* transportName(Transport t);

// The words clients use for the four kinds of list, singular or plural.
enum class Kind { Tracks, Albums, Artists, Playlists, Unknown };
Kind kindOf(const std::string& which);

std::string folded(std::string s);

// Playlists whose names hold `term`, whatever the case.
std::vector<const CatalogPlaylist*> playlistsNamed(const Catalog& catalog, const std::string& term);

// A part of the library area. Each request is answered from inside its
// callback through the setter whose slot the service replies with.
class LibraryPart : public NullVeloraLibraryServiceListener {
 public:
  explicit LibraryPart(HostContext& host) : host_(host) {}

 protected:
  using Library = IVeloraLibraryService;
  Library& library() { return *host_.service.getLibraryService(); }
  // Hands `json` to one of the library's answer setters; the request's status.
  int answer(void (Library::*setter)(const char*), const std::string& json);
  void answerDownloadLocation();
  // After a playlist edit: the edited playlist, the list, and the dirty mark.
  void publishPlaylist(const std::string& id);
  // The list of playlists and the dirty mark, after any playlist edit.
  void publishPlaylists();
  void addToMyMusic(int type, const std::string& id);

  HostContext& host_;
};

}  // namespace refhost
