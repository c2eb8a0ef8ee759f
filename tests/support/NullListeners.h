#pragma once

#include "velora/VeloraRemoteSDK.h"

// Listeners that accept every callback and do nothing, so a test overrides
// only the callbacks it cares about. Status arguments are left untouched:
// the service presets them, and a test that wants a failure says so.

namespace velora_test {

class NullVeloraRemoteServiceListener : public IVeloraRemoteServiceListener {
 public:
  void onServicePublished(int&) override {}
  void onServicePublishFailed() override {}
  void onRemoteConnected(ConnectionData&) override {}
  void onRemoteDisconnected(int&) override {}
  void onRemoteAuthenticated(int&, bool&, int&) override {}
};

class NullVeloraLibraryServiceListener : public IVeloraLibraryServiceListener {
 public:
  void onRequestAlbums(int&, int&, VeloraLibraryItemSource&) override {}
  void onRequestTracks(int&, int&, VeloraLibraryItemSource&) override {}
  void onRequestArtists(int&, int&, VeloraLibraryItemSource&) override {}
  void onRequestMoods() override {}
  void onRequestMood(const char*&) override {}
  void onRequestTrack(const char*&) override {}
  void onRequestPlaynext() override {}
  void onRequestGenres() override {}
  void onRequestGenre(int&, int&, const char*&) override {}
  void onRequestPlaylists(int&, int&, VeloraLibraryItemSource&) override {}
  void onRequestPlaylist(const char*&) override {}
  void onRequestAlbum(const char*&) override {}
  void onRequestArtist(const char*&) override {}
  void onAddToMyMusic0(const char*&) override {}
  void onRequestAddToPlaylist(const char*&, const char*&) override {}
  void onAddToMyMusic2(const char*&) override {}
  void onAddToMyMusic1(const char*&) override {}
  void onAddToMyMusic3(const char*&) override {}
  void onRequestCreatePlaylist(const char*&) override {}
  void onRequestLibrary(const char*&) override {}
  void onRequestSearch(const char*&) override {}
  void onReservedSlot21() override {}
  void onRequestDeleteTrack(const char*&) override {}
  void onRequestDeleteArtist(const char*&) override {}
  void onRequestDeleteAlbum(const char*&) override {}
  void onRequestArtwork(const char*&) override {}
  void onPageServed(const char*&, bool&) override {}
  void onLogin(const char*&, const char*&, const char*&, int&) override {}
  void onGetLogin(const char*&, int&) override {}
  void onLogout(const char*&, int&) override {}
  void onPairing(int&) override {}
  void onSave(int&) override {}
  void onGetUserStash(int&) override {}
  void onAddStashItem(const char*&, const char*&, const char*&, const char*&, int&) override {}
  void onGetItemsForSkuId(const char*&, int&) override {}
  void onRemoveStashItem(const char*&, int&) override {}
  void onStartDownload(const char*&, int&) override {}
  void onCancelDownload(const char*&, int&) override {}
  void onPauseDownload(const char*&, int&) override {}
  void onResumeDownload(const char*&, int&) override {}
  void onGetDownloadStatus(const char*&, int&) override {}
  void onScanFiles(const char*&, int&) override {}
  void onScanCancel(const char*&, int&) override {}
  void onScanGetProgress(const char*&, int&) override {}
  void onClearLocalCache(const char*&, int&) override {}
  void onGetLocalLibrary(const char*&, const char*&, const char*&, const char*&, const char*&,
                         const char*&, const char*&, int&) override {}
  void onGetArtist(const char*&, const char*&, const char*&, const char*&, const char*&,
                   const char*&, int&) override {}
  void onGetAlbum(const char*&, const char*&, const char*&, const char*&, const char*&,
                  int&) override {}
  void onGetArtistInfo(const char*&, int&) override {}
  void onGetAlbumInfo(const char*&, int&) override {}
  void onGetPlaylistInfo(const char*&, int&) override {}
  void onSetPlaylistInfo(const char*&, const char*&, const char*&, const char*&, const char*&,
                         int&) override {}
  void onGetDevices(int&) override {}
  void onSetDevice(const char*&, const char*&, const char*&, const char*&, int&) override {}
  void onGetOptions(int&) override {}
  void onSetOptions(const char*&, const char*&, const char*&, const char*&, const char*&,
                    const char*&, const char*&, const char*&, const char*&, const char*&,
                    const char*&, const char*&, const char*&, const char*&, const char*&,
                    int&) override {}
  void onGetAppConfig(int&) override {}
  void onSelectLocalDownloadLocation(int&) override {}
  void onGetLocalDownloadLocation(int&) override {}
  void onSelectLocalArtworkLocation(const char*&, int&) override {}
  void onGetLocalArtworkLocation(const char*&, int&) override {}
  void onAddToLibrary(const char*&, int&) override {}
  void onSetPlayState(const char*&, int&) override {}
  void onGetPlayState(int&) override {}
  void onSetPlaybackItem(const char*&, const char*&, const char*&, const char*&, const char*&,
                         int&) override {}
  void onShowTrackFile(const char*&, int&) override {}
  void onGetAvailableYearsForArtist(const char*&, int&) override {}
  void onGetNowPlaying(int&) override {}
  void onSetHistory(const char*&, int&) override {}
  void onGetHistory(int&) override {}
  void onSearch(const char*&, const char*&, const char*&, const char*&, int&) override {}
  void onSearchTidal(const char*&, const char*&, const char*&, const char*&, int&) override {}
  void onDeleteItem(const char*&, const char*&, const char*&, int&) override {}
  void onCreatePlaylist(const char*&, int&) override {}
  void onDeletePlaylist(const char*&, int&) override {}
  void onAddItemToPlaylist(const char*&, const char*&, int&) override {}
  void onRemoveItemFromPlaylist(const char*&, const char*&, const char*&, int&) override {}
  void onMoveItemInPlaylist(const char*&, const char*&, const char*&, int&) override {}
  void onGetHeartbeat(int&) override {}
  void onInputMode(const char*&, const char*&, int&) override {}
  void onDeviceWindow(int&) override {}
  void onNavigation(const char*&, int&) override {}
  void onQuit(int&) override {}
  void onPing(int&) override {}
  void onPlayerSetItem(const char*&, const char*&, const char*&, const char*&, const char*&,
                       const char*&, const char*&, int&) override {}
  void onPlayerPing(int&) override {}
  void onPlayerPlay(const char*&, const char*&, int&) override {}
  void onPlayerPause(int&) override {}
  void onPlayerHeartbeat(int&) override {}
};

class NullVeloraPlaybackServiceListener : public IVeloraPlaybackServiceListener {
 public:
  void onSetVolume(int&) override {}
  void onSetMute(bool&) override {}
  void onPlaybackCommand(PlaybackCommand&) override {}
  void onMoveTrack(const char*&, int&) override {}
  void onRequestVolume() override {}
  void onRequestMute() override {}
  void onRequestPlayerState() override {}
  void onRequestMode() override {}
  void onNext() override {}
  void onPrevious() override {}
  void onSetMode(PlaybackMode&) override {}
};

class NullVeloraEqualizerServiceListener : public IVeloraEqualizerServiceListener {
 public:
  void onSetEQState(bool&) override {}
  void onApplyEQPreset(EQPreset&) override {}
  void onRequestEQState() override {}
  void onRequestEQPresetList() override {}
  void onRequestEQPreset() override {}
  void onGetEQPresetList(int&) override {}
  void onGetEQPreset(int&) override {}
  void onSetEQPreset(const char*&, const char*&, int&) override {}
};

class NullVeloraHPServiceListener : public IVeloraHPServiceListener {
 public:
  void onSetHPState(bool&) override {}
  void onApplyHPPreset(HPPreset&) override {}
  void onRequestHPState() override {}
  void onRequestHPPresetList() override {}
  void onRequestHPPreset() override {}
  void onGetHPPresetList(int&) override {}
  void onGetHPPreset(int&) override {}
  void onSetHPPreset(const char*&, const char*&, int&) override {}
};

class NullVeloraACServiceListener : public IVeloraACServiceListener {
 public:
  void onSetACState(bool&) override {}
  void onApplyACPreset(ACPreset&) override {}
  void onRequestACState() override {}
  void onRequestACPresetList() override {}
  void onRequestACPreset() override {}
  void onGetACPresetList(int&) override {}
  void onGetACPreset(int&) override {}
  void onSetACPreset(const char*&, const char*&, int&) override {}
};

class NullVeloraIRCServiceListener : public IVeloraIRCServiceListener {
 public:
  void onSetIRCState(bool&) override {}
  void onApplyIRCPreset(IRCPreset&) override {}
  void onRequestIRCState() override {}
  void onRequestIRCPresetList() override {}
  void onRequestIRCPreset() override {}
  void onRequestIRCGain() override {}
  void onSetIRCGain(int&) override {}
  void onGetIRCPresetList(int&) override {}
  void onGetIRCPreset(int&) override {}
  void onSetIRCPreset(const char*&, const char*&, int&) override {}
};

class NullVeloraSettingsServiceListener : public IVeloraSettingsServiceListener {
 public:
  void onRequestOutputDevices() override {}
  void onSetOutputDevice(const char*&) override {}
  void onRequestSettingsValues() override {}
  void onSetSettingsValues(bool&, bool&, bool&) override {}
};

}  // namespace velora_test
