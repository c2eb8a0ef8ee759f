#pragma once

#include "velora/VeloraExport.h"
#include "velora/VeloraTypes.h"

// Interfaces the host implements. The service calls them synchronously on the
// thread of the remote request (several requests run at once, so a listener
// must accept concurrent calls). Every argument is a reference to a local of
// the caller and is valid only during the call; copy what you keep.
//
// Callbacks that end in `int& status` expect an answer: the service sets it to
// 0 before the call; leave 0 (and store any answer through the matching
// setGet...Response setter before returning) for success, 7 when the streaming
// server cannot be reached, anything else for failure. A few client-control
// callbacks (onPairing, onSave, onQuit, onPing) receive an unset status: always
// write it.
//
// The order of the callbacks is the binary contract with the library: never
// reorder them.

/// Service-wide events: publication and remote clients.
class VELORA_API IVeloraRemoteServiceListener {
 public:
  /// DNS-SD publication succeeded; `port` is the base port (mServicePort).
  virtual void onServicePublished(int& port) = 0;
  virtual void onServicePublishFailed() = 0;
  /// A new remote client asked to pair; approve it with IVeloraRemoteCoordinator::authenticate.
  virtual void onRemoteConnected(ConnectionData& connection) = 0;
  virtual void onRemoteDisconnected(int& code) = 0;
  virtual void onRemoteAuthenticated(int& code, bool& authenticated, int& version) = 0;
};

/// Library browsing and the player application's own endpoints.
class VELORA_API IVeloraLibraryServiceListener {
 public:
  virtual void onRequestAlbums(int& index, int& count, VeloraLibraryItemSource& source) = 0;
  virtual void onRequestTracks(int& index, int& count, VeloraLibraryItemSource& source) = 0;
  virtual void onRequestArtists(int& index, int& count, VeloraLibraryItemSource& source) = 0;
  virtual void onRequestMoods() = 0;
  virtual void onRequestMood(const char*& id) = 0;
  virtual void onRequestTrack(const char*& id) = 0;
  virtual void onRequestPlaynext() = 0;
  virtual void onRequestGenres() = 0;
  virtual void onRequestGenre(int& index, int& count, const char*& id) = 0;
  virtual void onRequestPlaylists(int& index, int& count, VeloraLibraryItemSource& source) = 0;
  virtual void onRequestPlaylist(const char*& id) = 0;
  virtual void onRequestAlbum(const char*& id) = 0;
  virtual void onRequestArtist(const char*& id) = 0;
  virtual void onAddToMyMusic0(const char*& id) = 0;
  virtual void onRequestAddToPlaylist(const char*& id, const char*& playlistId) = 0;
  virtual void onAddToMyMusic2(const char*& id) = 0;
  virtual void onAddToMyMusic1(const char*& id) = 0;
  virtual void onAddToMyMusic3(const char*& id) = 0;
  virtual void onRequestCreatePlaylist(const char*& name) = 0;
  virtual void onRequestLibrary(const char*& id) = 0;
  virtual void onRequestSearch(const char*& term) = 0;
  /// Never called; keeps the place of a retired callback.
  virtual void onReservedSlot21() = 0;
  virtual void onRequestDeleteTrack(const char*& id) = 0;
  virtual void onRequestDeleteArtist(const char*& id) = 0;
  virtual void onRequestDeleteAlbum(const char*& id) = 0;
  virtual void onRequestArtwork(const char*& id) = 0;
  /// A remote client asks for a file outside the web pages folder; set `allow`
  /// to true to serve it (it starts false, and false answers 403).
  virtual void onPageServed(const char*& path, bool& allow) = 0;
  virtual void onLogin(const char*& username, const char*& password, const char*& which,
                       int& status) = 0;
  virtual void onGetLogin(const char*& which, int& status) = 0;
  virtual void onLogout(const char*& which, int& status) = 0;
  virtual void onPairing(int& status) = 0;
  virtual void onSave(int& status) = 0;
  virtual void onGetUserStash(int& status) = 0;
  virtual void onAddStashItem(const char*& sku, const char*& url, const char*& title,
                              const char*& mediaId, int& status) = 0;
  virtual void onGetItemsForSkuId(const char*& sku, int& status) = 0;
  virtual void onRemoveStashItem(const char*& sku, int& status) = 0;
  virtual void onStartDownload(const char*& sku, int& status) = 0;
  virtual void onCancelDownload(const char*& sku, int& status) = 0;
  virtual void onPauseDownload(const char*& sku, int& status) = 0;
  virtual void onResumeDownload(const char*& sku, int& status) = 0;
  virtual void onGetDownloadStatus(const char*& sku, int& status) = 0;
  virtual void onScanFiles(const char*& which, int& status) = 0;
  virtual void onScanCancel(const char*& which, int& status) = 0;
  virtual void onScanGetProgress(const char*& which, int& status) = 0;
  virtual void onClearLocalCache(const char*& which, int& status) = 0;
  virtual void onGetLocalLibrary(const char*& id, const char*& index, const char*& count,
                                 const char*& sortBy, const char*& reverseSort, const char*& etag,
                                 const char*& filter, int& status) = 0;
  virtual void onGetArtist(const char*& id, const char*& index, const char*& count,
                           const char*& sortBy, const char*& reverseSort, const char*& reserved,
                           int& status) = 0;
  virtual void onGetAlbum(const char*& id, const char*& index, const char*& count,
                          const char*& sortBy, const char*& reverseSort, int& status) = 0;
  virtual void onGetArtistInfo(const char*& id, int& status) = 0;
  virtual void onGetAlbumInfo(const char*& id, int& status) = 0;
  virtual void onGetPlaylistInfo(const char*& id, int& status) = 0;
  virtual void onSetPlaylistInfo(const char*& id, const char*& info, const char*& name,
                                 const char*& artwork, const char*& artist, int& status) = 0;
  virtual void onGetDevices(int& status) = 0;
  virtual void onSetDevice(const char*& device, const char*& channels, const char*& sampleRate,
                           const char*& bufferSize, int& status) = 0;
  virtual void onGetOptions(int& status) = 0;
  virtual void onSetOptions(const char*& checkForUpdates, const char*& maxDownloads,
                            const char*& addToITunes, const char*& createITunesPlaylist,
                            const char*& retryTime, const char*& retryCount,
                            const char*& dsdEnabled, const char*& dsdFilterEnabled,
                            const char*& dsdGain, const char*& tidalQuality, const char*& upSample,
                            const char*& scanLevel, const char*& bypassMode, const char*& artCache,
                            const char*& mqa, int& status) = 0;
  virtual void onGetAppConfig(int& status) = 0;
  virtual void onSelectLocalDownloadLocation(int& status) = 0;
  virtual void onGetLocalDownloadLocation(int& status) = 0;
  virtual void onSelectLocalArtworkLocation(const char*& id, int& status) = 0;
  virtual void onGetLocalArtworkLocation(const char*& id, int& status) = 0;
  virtual void onAddToLibrary(const char*& id, int& status) = 0;
  virtual void onSetPlayState(const char*& state, int& status) = 0;
  virtual void onGetPlayState(int& status) = 0;
  virtual void onSetPlaybackItem(const char*& uuid, const char*& play, const char*& sortBy,
                                 const char*& reverseSort, const char*& parentuuid,
                                 int& status) = 0;
  virtual void onShowTrackFile(const char*& uuid, int& status) = 0;
  virtual void onGetAvailableYearsForArtist(const char*& uuid, int& status) = 0;
  virtual void onGetNowPlaying(int& status) = 0;
  virtual void onSetHistory(const char*& history, int& status) = 0;
  virtual void onGetHistory(int& status) = 0;
  virtual void onSearch(const char*& which, const char*& searchTerm, const char*& index,
                        const char*& count, int& status) = 0;
  virtual void onSearchTidal(const char*& which, const char*& searchTerm, const char*& index,
                             const char*& count, int& status) = 0;
  virtual void onDeleteItem(const char*& uuid, const char*& id, const char*& removeFromComputer,
                            int& status) = 0;
  virtual void onCreatePlaylist(const char*& name, int& status) = 0;
  virtual void onDeletePlaylist(const char*& uuid, int& status) = 0;
  virtual void onAddItemToPlaylist(const char*& playlistUuid, const char*& itemUuid,
                                   int& status) = 0;
  virtual void onRemoveItemFromPlaylist(const char*& playlistUuid, const char*& itemUuid,
                                        const char*& removeFromComputer, int& status) = 0;
  virtual void onMoveItemInPlaylist(const char*& playlistUuid, const char*& itemUuid,
                                    const char*& toPosition, int& status) = 0;
  virtual void onGetHeartbeat(int& status) = 0;
  virtual void onInputMode(const char*& enabled, const char*& source, int& status) = 0;
  virtual void onDeviceWindow(int& status) = 0;
  virtual void onNavigation(const char*& which, int& status) = 0;
  virtual void onQuit(int& status) = 0;
  virtual void onPing(int& status) = 0;
  virtual void onPlayerSetItem(const char*& streamLink, const char*& trackId, const char*& isNext,
                               const char*& artistName, const char*& recordingTitle,
                               const char*& itemTitle, const char*& reserved, int& status) = 0;
  virtual void onPlayerPing(int& status) = 0;
  virtual void onPlayerPlay(const char*& playState, const char*& itemID, int& status) = 0;
  virtual void onPlayerPause(int& status) = 0;
  virtual void onPlayerHeartbeat(int& status) = 0;
};

/// Transport, volume and mode.
class VELORA_API IVeloraPlaybackServiceListener {
 public:
  virtual void onSetVolume(int& volume) = 0;
  virtual void onSetMute(bool& mute) = 0;
  virtual void onPlaybackCommand(PlaybackCommand& command) = 0;
  virtual void onMoveTrack(const char*& trackId, int& position) = 0;
  virtual void onRequestVolume() = 0;
  virtual void onRequestMute() = 0;
  virtual void onRequestPlayerState() = 0;
  virtual void onRequestMode() = 0;
  virtual void onNext() = 0;
  virtual void onPrevious() = 0;
  virtual void onSetMode(PlaybackMode& mode) = 0;
};

/// The equalizer stage.
class VELORA_API IVeloraEqualizerServiceListener {
 public:
  virtual void onSetEQState(bool& enabled) = 0;
  /// A remote client posted a preset to apply.
  virtual void onApplyEQPreset(EQPreset& preset) = 0;
  virtual void onRequestEQState() = 0;
  virtual void onRequestEQPresetList() = 0;
  virtual void onRequestEQPreset() = 0;
  virtual void onGetEQPresetList(int& status) = 0;
  virtual void onGetEQPreset(int& status) = 0;
  virtual void onSetEQPreset(const char*& enable, const char*& preset, int& status) = 0;
};

/// The headphone stage (its remote area is called "ooyh").
class VELORA_API IVeloraHPServiceListener {
 public:
  virtual void onSetHPState(bool& enabled) = 0;
  /// Never called: presets are not posted to this stage.
  virtual void onApplyHPPreset(HPPreset& preset) = 0;
  virtual void onRequestHPState() = 0;
  virtual void onRequestHPPresetList() = 0;
  virtual void onRequestHPPreset() = 0;
  virtual void onGetHPPresetList(int& status) = 0;
  virtual void onGetHPPreset(int& status) = 0;
  virtual void onSetHPPreset(const char*& enable, const char*& preset, int& status) = 0;
};

/// The AC stage.
class VELORA_API IVeloraACServiceListener {
 public:
  virtual void onSetACState(bool& enabled) = 0;
  /// Never called: presets are not posted to this stage.
  virtual void onApplyACPreset(ACPreset& preset) = 0;
  virtual void onRequestACState() = 0;
  virtual void onRequestACPresetList() = 0;
  virtual void onRequestACPreset() = 0;
  virtual void onGetACPresetList(int& status) = 0;
  virtual void onGetACPreset(int& status) = 0;
  virtual void onSetACPreset(const char*& enable, const char*& preset, int& status) = 0;
};

/// The IRC stage, which also has a gain.
class VELORA_API IVeloraIRCServiceListener {
 public:
  virtual void onSetIRCState(bool& enabled) = 0;
  /// A remote client posted a preset to apply.
  virtual void onApplyIRCPreset(IRCPreset& preset) = 0;
  virtual void onRequestIRCState() = 0;
  virtual void onRequestIRCPresetList() = 0;
  virtual void onRequestIRCPreset() = 0;
  virtual void onRequestIRCGain() = 0;
  virtual void onSetIRCGain(int& gain) = 0;
  virtual void onGetIRCPresetList(int& status) = 0;
  virtual void onGetIRCPreset(int& status) = 0;
  virtual void onSetIRCPreset(const char*& enable, const char*& preset, int& status) = 0;
};

/// Output device and processing switches.
class VELORA_API IVeloraSettingsServiceListener {
 public:
  virtual void onRequestOutputDevices() = 0;
  virtual void onSetOutputDevice(const char*& name) = 0;
  virtual void onRequestSettingsValues() = 0;
  virtual void onSetSettingsValues(bool& mqa, bool& upsample, bool& dsp) = 0;
};
