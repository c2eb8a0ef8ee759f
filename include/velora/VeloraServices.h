#pragma once

#include <vector>

#include "velora/VeloraExport.h"
#include "velora/VeloraLibraryItems.h"
#include "velora/VeloraListeners.h"
#include "velora/VeloraTypes.h"

// Interfaces the host calls. All are implemented by the one service object.
//
// Texts cross as NUL-terminated UTF-8 and are copied during the call (a null
// pointer reads as the empty text). Setters named setGet...Response take the
// host's answer to a request as JSON text: call them from inside the callback
// that asked, before it returns. Given text that is not JSON they throw an
// exception derived from std::exception and keep their previous answer.
// Other setters push state that remote clients collect by polling "status".
//
// registerForNotification returns 4 when the listener was added and 2 when it
// was already registered; unregisterFromNotification returns 4 when it was
// removed and 1 when it was not registered. Listeners are not owned: keep them
// alive until they are unregistered or the service is shut down.
//
// The order of the operations is the binary contract with the library: never
// reorder them.

class IVeloraLibraryService;
class IVeloraPlaybackService;
class IVeloraEqualizerService;
class IVeloraIRCService;
class IVeloraACService;
class IVeloraHPService;
class IVeloraSettingsService;

/// The service itself: its life, remote clients, and the other interfaces.
class VELORA_API IVeloraRemoteCoordinator {
 public:
  /// Closes the HTTP listener (a waiting "status" poll returns at once).
  virtual void shutdown() = 0;
  /// Binds the first free port of the ten from mServicePort, serves and publishes it.
  virtual void startListening() = 0;
  /// Disconnects the approved client with this code; 0 disconnects every approved client.
  virtual void disconnect(int code) = 0;
  /// Approves the remote client with this code.
  virtual void authenticate(int code, const char* product, Capabilities& capabilities) = 0;
  virtual IVeloraLibraryService* getLibraryService() = 0;
  virtual IVeloraPlaybackService* getPlaybackService() = 0;
  virtual IVeloraEqualizerService* getEqualizerService() = 0;
  virtual IVeloraIRCService* getIRCService() = 0;
  virtual IVeloraACService* getACService() = 0;
  virtual IVeloraHPService* getHPService() = 0;
  virtual IVeloraSettingsService* getSettingsService() = 0;
  virtual int registerForNotification(IVeloraRemoteServiceListener* listener) = 0;
  virtual int unregisterFromNotification(IVeloraRemoteServiceListener* listener) = 0;
  virtual ~IVeloraRemoteCoordinator() = default;
};

class VELORA_API IVeloraLibraryService {
 public:
  virtual void setTrackInfo(Track* track) = 0;
  virtual void setTrackList(std::vector<Track*> tracks, int index) = 0;
  virtual void setPlaynextList(std::vector<Track*> tracks) = 0;
  virtual void setAlbumList(std::vector<Album*> albums, int index) = 0;
  virtual void setArtistList(std::vector<Artist*> artists, int index) = 0;
  virtual void setGenreList(std::vector<Genre*> genres) = 0;
  virtual void setPlaylistList(std::vector<Playlist*> playlists) = 0;
  virtual void setMoodList(std::vector<Mood*> moods) = 0;
  virtual void setGenre(Genre* genre) = 0;
  virtual void setPlaylist(Playlist* playlist) = 0;
  virtual void setAlbum(Album* album) = 0;
  virtual void setArtist(Artist* artist) = 0;
  virtual void setMyLibraryItemDirty() = 0;
  virtual void setSearchResults(std::vector<Artist*> artists, std::vector<Album*> albums,
                                std::vector<Track*> tracks, std::vector<Playlist*> playlists,
                                const char* searchText) = 0;
  virtual void setArtworkData(const char* location, const char* id) = 0;
  virtual int registerForNotification(IVeloraLibraryServiceListener* listener) = 0;
  virtual int unregisterFromNotification(IVeloraLibraryServiceListener* listener) = 0;
  virtual void setLoginResponse(const char* userToken) = 0;
  virtual void setGetLoginResponse(const char* username, const char* password,
                                   const char* userToken, const char* tidalUsername,
                                   const char* tidalPassword, const char* service) = 0;
  virtual void setGetUserStashResponse(const char* json) = 0;
  virtual void setGetItemsForSkuIdResponse(const char* json) = 0;
  virtual void setGetDownloadStatusResponse(const char* json) = 0;
  virtual void setGetLocalLibraryTracks(std::vector<Track*> tracks, const char* etag, int itemCount,
                                        int totalCount) = 0;
  virtual void setGetLocalLibraryAlbums(std::vector<Album*> albums, const char* etag, int itemCount,
                                        int totalCount) = 0;
  virtual void setGetLocalLibraryArtists(std::vector<Artist*> artists, const char* etag,
                                         int itemCount, int totalCount) = 0;
  virtual void setGetLocalLibraryPlaylists(std::vector<Playlist*> playlists, const char* etag,
                                           int itemCount, int totalCount) = 0;
  virtual void setGetDevicesResponse(const char* json) = 0;
  virtual void setGetOptionsResponse(const char* json) = 0;
  virtual void setGetLocalDownloadLocationResponse(const char* json) = 0;
  virtual void setGetArtworkLocationResponse(const char* json) = 0;
  virtual void setGetPlayStateResponse(const char* json) = 0;
  virtual void setGetAvailableYearsForArtistResponse(const char* json) = 0;
  virtual void setGetNowPlayingResponse(std::vector<Track*> tracks) = 0;
  virtual void setGetArtistResponse(std::vector<Album*> albums, int totalCount) = 0;
  virtual void setGetArtistResponse(std::vector<Artist*> artists, int totalCount) = 0;
  virtual void setGetAlbumResponse(std::vector<Album*> albums, int totalCount) = 0;
  virtual void setGetPlaylistResponse(std::vector<Playlist*> playlists, int totalCount) = 0;
  virtual void setScanProgressResponse(float percentComplete, const char* message) = 0;
  virtual void setGetHistoryResponse(const char* json) = 0;
  virtual void setCreatePlaylistResponse(std::vector<Playlist*> playlists) = 0;
  virtual void setSearchResponse(std::vector<Album*> albums) = 0;
  virtual void setSearchResponse(std::vector<Artist*> artists) = 0;
  virtual void setSearchResponse(std::vector<Playlist*> playlists) = 0;
  virtual void setSearchResponse(std::vector<Track*> tracks) = 0;
  virtual void setGetHeartbeatResponse(const char* json) = 0;
  virtual void setGetAppConfigResponse(const char* json) = 0;
  virtual void setPlayerResponse(const char* json) = 0;
};

class VELORA_API IVeloraPlaybackService {
 public:
  virtual void setVolumeLevel(int level) = 0;
  virtual void setMuteState(bool muted) = 0;
  virtual void setPlaybackState(PlaybackState& state) = 0;
  virtual void setPlaybackMode(PlaybackMode& mode) = 0;
  virtual int registerForNotification(IVeloraPlaybackServiceListener* listener) = 0;
  virtual int unregisterFromNotification(IVeloraPlaybackServiceListener* listener) = 0;
};

class VELORA_API IVeloraEqualizerService {
 public:
  virtual void setEQState(bool enabled) = 0;
  virtual void setEQCurrentPreset(EQPreset& preset) = 0;
  virtual void setEQPresetList(std::vector<EQPreset>& presets) = 0;
  virtual int registerForNotification(IVeloraEqualizerServiceListener* listener) = 0;
  virtual int unregisterFromNotification(IVeloraEqualizerServiceListener* listener) = 0;
  virtual void setGetEQPresetResponse(const char* json) = 0;
  virtual void setGetEQPresetListResponse(const char* json) = 0;
};

class VELORA_API IVeloraIRCService {
 public:
  virtual void setIRCState(bool enabled) = 0;
  virtual void setIRCGain(int gain) = 0;
  virtual void setIRCCurrentPreset(IRCPreset& preset) = 0;
  virtual void setIRCPresetList(std::vector<IRCPreset>& presets) = 0;
  virtual int registerForNotification(IVeloraIRCServiceListener* listener) = 0;
  virtual int unregisterFromNotification(IVeloraIRCServiceListener* listener) = 0;
  virtual void setGetIRCPresetResponse(const char* json) = 0;
  virtual void setGetIRCPresetListResponse(const char* json) = 0;
};

/// The AC stage has no answer setters: its get requests answer from the HP answer.
class VELORA_API IVeloraACService {
 public:
  virtual void setACState(bool enabled) = 0;
  virtual void setACCurrentPreset(ACPreset& preset) = 0;
  virtual void setACPresetList(std::vector<ACPreset>& presets) = 0;
  virtual int registerForNotification(IVeloraACServiceListener* listener) = 0;
  virtual int unregisterFromNotification(IVeloraACServiceListener* listener) = 0;
};

class VELORA_API IVeloraHPService {
 public:
  virtual void setHPState(bool enabled) = 0;
  virtual void setHPCurrentPreset(HPPreset& preset) = 0;
  virtual void setHPPresetList(std::vector<HPPreset>& presets) = 0;
  virtual int registerForNotification(IVeloraHPServiceListener* listener) = 0;
  virtual int unregisterFromNotification(IVeloraHPServiceListener* listener) = 0;
  virtual void setGetHPPresetResponse(const char* json) = 0;
  virtual void setGetHPPresetListResponse(const char* json) = 0;
};

class VELORA_API IVeloraSettingsService {
 public:
  virtual void setOutputDeviceList(std::vector<const char*>& names, const char* current) = 0;
  virtual void setSettingsValues(bool mqa, bool upsample, bool dsp) = 0;
  virtual int registerForNotification(IVeloraSettingsServiceListener* listener) = 0;
  virtual int unregisterFromNotification(IVeloraSettingsServiceListener* listener) = 0;
};
