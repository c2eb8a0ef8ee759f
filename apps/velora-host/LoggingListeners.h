#pragma once

#include <velora/VeloraRemoteSDK.h>

#include "Console.h"

// Listeners for every area of the service that only report what a remote
// client asked for. A real player would act on each call and answer through
// the matching service setter; this host answers every request with success
// (status 0) and no data, which is enough to watch a remote client at work.

class LibraryLogger final : public IVeloraLibraryServiceListener {
 public:
  explicit LibraryLogger(Console& console) : console_(console) {}

  // Browsing.
  void onRequestAlbums(int& index, int& count, VeloraLibraryItemSource& source) override {
    console_.call("onRequestAlbums", index, count, source);
  }
  void onRequestTracks(int& index, int& count, VeloraLibraryItemSource& source) override {
    console_.call("onRequestTracks", index, count, source);
  }
  void onRequestArtists(int& index, int& count, VeloraLibraryItemSource& source) override {
    console_.call("onRequestArtists", index, count, source);
  }
  void onRequestMoods() override { console_.call("onRequestMoods"); }
  void onRequestMood(const char*& id) override { console_.call("onRequestMood", id); }
  void onRequestTrack(const char*& id) override { console_.call("onRequestTrack", id); }
  void onRequestPlaynext() override { console_.call("onRequestPlaynext"); }
  void onRequestGenres() override { console_.call("onRequestGenres"); }
  void onRequestGenre(int& index, int& count, const char*& id) override {
    console_.call("onRequestGenre", index, count, id);
  }
  void onRequestPlaylists(int& index, int& count, VeloraLibraryItemSource& source) override {
    console_.call("onRequestPlaylists", index, count, source);
  }
  void onRequestPlaylist(const char*& id) override { console_.call("onRequestPlaylist", id); }
  void onRequestAlbum(const char*& id) override { console_.call("onRequestAlbum", id); }
  void onRequestArtist(const char*& id) override { console_.call("onRequestArtist", id); }
  void onAddToMyMusic0(const char*& id) override { console_.call("onAddToMyMusic0", id); }
  void onRequestAddToPlaylist(const char*& id, const char*& playlistId) override {
    console_.call("onRequestAddToPlaylist", id, playlistId);
  }
  void onAddToMyMusic2(const char*& id) override { console_.call("onAddToMyMusic2", id); }
  void onAddToMyMusic1(const char*& id) override { console_.call("onAddToMyMusic1", id); }
  void onAddToMyMusic3(const char*& id) override { console_.call("onAddToMyMusic3", id); }
  void onRequestCreatePlaylist(const char*& name) override {
    console_.call("onRequestCreatePlaylist", name);
  }
  void onRequestLibrary(const char*& id) override { console_.call("onRequestLibrary", id); }
  void onRequestSearch(const char*& term) override { console_.call("onRequestSearch", term); }
  void onReservedSlot21() override { console_.call("onReservedSlot21"); }
  void onRequestDeleteTrack(const char*& id) override { console_.call("onRequestDeleteTrack", id); }
  void onRequestDeleteArtist(const char*& id) override {
    console_.call("onRequestDeleteArtist", id);
  }
  void onRequestDeleteAlbum(const char*& id) override { console_.call("onRequestDeleteAlbum", id); }
  void onRequestArtwork(const char*& id) override { console_.call("onRequestArtwork", id); }

  // Files outside the web pages folder stay private: this host has no
  // artwork or downloads of its own to hand out.
  void onPageServed(const char*& path, bool& allow) override {
    console_.call("onPageServed", path, allow);
  }

  // Accounts and pairing. Passwords are not echoed to the console.
  void onLogin(const char*& username, const char*& /*password*/, const char*& which,
               int& status) override {
    console_.call("onLogin", username, "(password hidden)", which);
    status = 0;
  }
  void onGetLogin(const char*& which, int& status) override {
    console_.call("onGetLogin", which);
    status = 0;
  }
  void onLogout(const char*& which, int& status) override {
    console_.call("onLogout", which);
    status = 0;
  }
  void onPairing(int& status) override {
    console_.call("onPairing");
    status = 0;
  }
  void onSave(int& status) override {
    console_.call("onSave");
    status = 0;
  }

  // Stash and downloads.
  void onGetUserStash(int& status) override {
    console_.call("onGetUserStash");
    status = 0;
  }
  void onAddStashItem(const char*& sku, const char*& url, const char*& title, const char*& mediaId,
                      int& status) override {
    console_.call("onAddStashItem", sku, url, title, mediaId);
    status = 0;
  }
  void onGetItemsForSkuId(const char*& sku, int& status) override {
    console_.call("onGetItemsForSkuId", sku);
    status = 0;
  }
  void onRemoveStashItem(const char*& sku, int& status) override {
    console_.call("onRemoveStashItem", sku);
    status = 0;
  }
  void onStartDownload(const char*& sku, int& status) override {
    console_.call("onStartDownload", sku);
    status = 0;
  }
  void onCancelDownload(const char*& sku, int& status) override {
    console_.call("onCancelDownload", sku);
    status = 0;
  }
  void onPauseDownload(const char*& sku, int& status) override {
    console_.call("onPauseDownload", sku);
    status = 0;
  }
  void onResumeDownload(const char*& sku, int& status) override {
    console_.call("onResumeDownload", sku);
    status = 0;
  }
  void onGetDownloadStatus(const char*& sku, int& status) override {
    console_.call("onGetDownloadStatus", sku);
    status = 0;
  }

  // Scanning and the local library.
  void onScanFiles(const char*& which, int& status) override {
    console_.call("onScanFiles", which);
    status = 0;
  }
  void onScanCancel(const char*& which, int& status) override {
    console_.call("onScanCancel", which);
    status = 0;
  }
  void onScanGetProgress(const char*& which, int& status) override {
    console_.call("onScanGetProgress", which);
    status = 0;
  }
  void onClearLocalCache(const char*& which, int& status) override {
    console_.call("onClearLocalCache", which);
    status = 0;
  }
  void onGetLocalLibrary(const char*& id, const char*& index, const char*& count,
                         const char*& sortBy, const char*& reverseSort, const char*& etag,
                         const char*& filter, int& status) override {
    console_.call("onGetLocalLibrary", id, index, count, sortBy, reverseSort, etag, filter);
    status = 0;
  }
  void onGetArtist(const char*& id, const char*& index, const char*& count, const char*& sortBy,
                   const char*& reverseSort, const char*& reserved, int& status) override {
    console_.call("onGetArtist", id, index, count, sortBy, reverseSort, reserved);
    status = 0;
  }
  void onGetAlbum(const char*& id, const char*& index, const char*& count, const char*& sortBy,
                  const char*& reverseSort, int& status) override {
    console_.call("onGetAlbum", id, index, count, sortBy, reverseSort);
    status = 0;
  }
  void onGetArtistInfo(const char*& id, int& status) override {
    console_.call("onGetArtistInfo", id);
    status = 0;
  }
  void onGetAlbumInfo(const char*& id, int& status) override {
    console_.call("onGetAlbumInfo", id);
    status = 0;
  }
  void onGetPlaylistInfo(const char*& id, int& status) override {
    console_.call("onGetPlaylistInfo", id);
    status = 0;
  }
  void onSetPlaylistInfo(const char*& id, const char*& info, const char*& name,
                         const char*& artwork, const char*& artist, int& status) override {
    console_.call("onSetPlaylistInfo", id, info, name, artwork, artist);
    status = 0;
  }

  // Devices, options and the application's configuration.
  void onGetDevices(int& status) override {
    console_.call("onGetDevices");
    status = 0;
  }
  void onSetDevice(const char*& device, const char*& channels, const char*& sampleRate,
                   const char*& bufferSize, int& status) override {
    console_.call("onSetDevice", device, channels, sampleRate, bufferSize);
    status = 0;
  }
  void onGetOptions(int& status) override {
    console_.call("onGetOptions");
    status = 0;
  }
  void onSetOptions(const char*& checkForUpdates, const char*& maxDownloads,
                    const char*& addToITunes, const char*& createITunesPlaylist,
                    const char*& retryTime, const char*& retryCount, const char*& dsdEnabled,
                    const char*& dsdFilterEnabled, const char*& dsdGain, const char*& tidalQuality,
                    const char*& upSample, const char*& scanLevel, const char*& bypassMode,
                    const char*& artCache, const char*& mqa, int& status) override {
    console_.call("onSetOptions", checkForUpdates, maxDownloads, addToITunes, createITunesPlaylist,
                  retryTime, retryCount, dsdEnabled, dsdFilterEnabled, dsdGain, tidalQuality,
                  upSample, scanLevel, bypassMode, artCache, mqa);
    status = 0;
  }
  void onGetAppConfig(int& status) override {
    console_.call("onGetAppConfig");
    status = 0;
  }
  void onSelectLocalDownloadLocation(int& status) override {
    console_.call("onSelectLocalDownloadLocation");
    status = 0;
  }
  void onGetLocalDownloadLocation(int& status) override {
    console_.call("onGetLocalDownloadLocation");
    status = 0;
  }
  void onSelectLocalArtworkLocation(const char*& id, int& status) override {
    console_.call("onSelectLocalArtworkLocation", id);
    status = 0;
  }
  void onGetLocalArtworkLocation(const char*& id, int& status) override {
    console_.call("onGetLocalArtworkLocation", id);
    status = 0;
  }
  void onAddToLibrary(const char*& id, int& status) override {
    console_.call("onAddToLibrary", id);
    status = 0;
  }

  // The player application's playback.
  void onSetPlayState(const char*& state, int& status) override {
    console_.call("onSetPlayState", state);
    status = 0;
  }
  void onGetPlayState(int& status) override {
    console_.call("onGetPlayState");
    status = 0;
  }
  void onSetPlaybackItem(const char*& uuid, const char*& play, const char*& sortBy,
                         const char*& reverseSort, const char*& parentuuid, int& status) override {
    console_.call("onSetPlaybackItem", uuid, play, sortBy, reverseSort, parentuuid);
    status = 0;
  }
  void onShowTrackFile(const char*& uuid, int& status) override {
    console_.call("onShowTrackFile", uuid);
    status = 0;
  }
  void onGetAvailableYearsForArtist(const char*& uuid, int& status) override {
    console_.call("onGetAvailableYearsForArtist", uuid);
    status = 0;
  }
  void onGetNowPlaying(int& status) override {
    console_.call("onGetNowPlaying");
    status = 0;
  }
  void onSetHistory(const char*& history, int& status) override {
    console_.call("onSetHistory", history);
    status = 0;
  }
  void onGetHistory(int& status) override {
    console_.call("onGetHistory");
    status = 0;
  }

  // Search and playlists.
  void onSearch(const char*& which, const char*& searchTerm, const char*& index, const char*& count,
                int& status) override {
    console_.call("onSearch", which, searchTerm, index, count);
    status = 0;
  }
  void onSearchTidal(const char*& which, const char*& searchTerm, const char*& index,
                     const char*& count, int& status) override {
    console_.call("onSearchTidal", which, searchTerm, index, count);
    status = 0;
  }
  void onDeleteItem(const char*& uuid, const char*& id, const char*& removeFromComputer,
                    int& status) override {
    console_.call("onDeleteItem", uuid, id, removeFromComputer);
    status = 0;
  }
  void onCreatePlaylist(const char*& name, int& status) override {
    console_.call("onCreatePlaylist", name);
    status = 0;
  }
  void onDeletePlaylist(const char*& uuid, int& status) override {
    console_.call("onDeletePlaylist", uuid);
    status = 0;
  }
  void onAddItemToPlaylist(const char*& playlistUuid, const char*& itemUuid, int& status) override {
    console_.call("onAddItemToPlaylist", playlistUuid, itemUuid);
    status = 0;
  }
  void onRemoveItemFromPlaylist(const char*& playlistUuid, const char*& itemUuid,
                                const char*& removeFromComputer, int& status) override {
    console_.call("onRemoveItemFromPlaylist", playlistUuid, itemUuid, removeFromComputer);
    status = 0;
  }
  void onMoveItemInPlaylist(const char*& playlistUuid, const char*& itemUuid,
                            const char*& toPosition, int& status) override {
    console_.call("onMoveItemInPlaylist", playlistUuid, itemUuid, toPosition);
    status = 0;
  }

  // Client control.
  void onGetHeartbeat(int& status) override {
    console_.call("onGetHeartbeat");
    status = 0;
  }
  void onInputMode(const char*& enabled, const char*& source, int& status) override {
    console_.call("onInputMode", enabled, source);
    status = 0;
  }
  void onDeviceWindow(int& status) override {
    console_.call("onDeviceWindow");
    status = 0;
  }
  void onNavigation(const char*& which, int& status) override {
    console_.call("onNavigation", which);
    status = 0;
  }
  // A remote client may ask the player to quit; the reference host stays up
  // and leaves stopping to its own console.
  void onQuit(int& status) override {
    console_.call("onQuit");
    status = 0;
  }
  void onPing(int& status) override {
    console_.call("onPing");
    status = 0;
  }

  // The embedded player.
  void onPlayerSetItem(const char*& streamLink, const char*& trackId, const char*& isNext,
                       const char*& artistName, const char*& recordingTitle, const char*& itemTitle,
                       const char*& reserved, int& status) override {
    console_.call("onPlayerSetItem", streamLink, trackId, isNext, artistName, recordingTitle,
                  itemTitle, reserved);
    status = 0;
  }
  void onPlayerPing(int& status) override {
    console_.call("onPlayerPing");
    status = 0;
  }
  void onPlayerPlay(const char*& playState, const char*& itemID, int& status) override {
    console_.call("onPlayerPlay", playState, itemID);
    status = 0;
  }
  void onPlayerPause(int& status) override {
    console_.call("onPlayerPause");
    status = 0;
  }
  void onPlayerHeartbeat(int& status) override {
    console_.call("onPlayerHeartbeat");
    status = 0;
  }

 private:
  Console& console_;
};

class PlaybackLogger final : public IVeloraPlaybackServiceListener {
 public:
  explicit PlaybackLogger(Console& console) : console_(console) {}

  void onSetVolume(int& volume) override { console_.call("onSetVolume", volume); }
  void onSetMute(bool& mute) override { console_.call("onSetMute", mute); }
  void onPlaybackCommand(PlaybackCommand& command) override {
    console_.call("onPlaybackCommand", command.command, command.index, command.itemid);
  }
  void onMoveTrack(const char*& trackId, int& position) override {
    console_.call("onMoveTrack", trackId, position);
  }
  void onRequestVolume() override { console_.call("onRequestVolume"); }
  void onRequestMute() override { console_.call("onRequestMute"); }
  void onRequestPlayerState() override { console_.call("onRequestPlayerState"); }
  void onRequestMode() override { console_.call("onRequestMode"); }
  void onNext() override { console_.call("onNext"); }
  void onPrevious() override { console_.call("onPrevious"); }
  void onSetMode(PlaybackMode& mode) override { console_.call("onSetMode", mode.mode); }

 private:
  Console& console_;
};

class EqualizerLogger final : public IVeloraEqualizerServiceListener {
 public:
  explicit EqualizerLogger(Console& console) : console_(console) {}

  void onSetEQState(bool& enabled) override { console_.call("onSetEQState", enabled); }
  void onApplyEQPreset(EQPreset& preset) override {
    console_.call("onApplyEQPreset", preset.name, preset.id, "bands:", preset.bands.size());
  }
  void onRequestEQState() override { console_.call("onRequestEQState"); }
  void onRequestEQPresetList() override { console_.call("onRequestEQPresetList"); }
  void onRequestEQPreset() override { console_.call("onRequestEQPreset"); }
  void onGetEQPresetList(int& status) override {
    console_.call("onGetEQPresetList");
    status = 0;
  }
  void onGetEQPreset(int& status) override {
    console_.call("onGetEQPreset");
    status = 0;
  }
  void onSetEQPreset(const char*& enable, const char*& preset, int& status) override {
    console_.call("onSetEQPreset", enable, preset);
    status = 0;
  }

 private:
  Console& console_;
};

class IRCLogger final : public IVeloraIRCServiceListener {
 public:
  explicit IRCLogger(Console& console) : console_(console) {}

  void onSetIRCState(bool& enabled) override { console_.call("onSetIRCState", enabled); }
  void onApplyIRCPreset(IRCPreset& preset) override {
    console_.call("onApplyIRCPreset", preset.name, preset.id);
  }
  void onRequestIRCState() override { console_.call("onRequestIRCState"); }
  void onRequestIRCPresetList() override { console_.call("onRequestIRCPresetList"); }
  void onRequestIRCPreset() override { console_.call("onRequestIRCPreset"); }
  void onRequestIRCGain() override { console_.call("onRequestIRCGain"); }
  void onSetIRCGain(int& gain) override { console_.call("onSetIRCGain", gain); }
  void onGetIRCPresetList(int& status) override {
    console_.call("onGetIRCPresetList");
    status = 0;
  }
  void onGetIRCPreset(int& status) override {
    console_.call("onGetIRCPreset");
    status = 0;
  }
  void onSetIRCPreset(const char*& enable, const char*& preset, int& status) override {
    console_.call("onSetIRCPreset", enable, preset);
    status = 0;
  }

 private:
  Console& console_;
};

class ACLogger final : public IVeloraACServiceListener {
 public:
  explicit ACLogger(Console& console) : console_(console) {}

  void onSetACState(bool& enabled) override { console_.call("onSetACState", enabled); }
  void onApplyACPreset(ACPreset& preset) override {
    console_.call("onApplyACPreset", preset.name, preset.id);
  }
  void onRequestACState() override { console_.call("onRequestACState"); }
  void onRequestACPresetList() override { console_.call("onRequestACPresetList"); }
  void onRequestACPreset() override { console_.call("onRequestACPreset"); }
  void onGetACPresetList(int& status) override {
    console_.call("onGetACPresetList");
    status = 0;
  }
  void onGetACPreset(int& status) override {
    console_.call("onGetACPreset");
    status = 0;
  }
  void onSetACPreset(const char*& enable, const char*& preset, int& status) override {
    console_.call("onSetACPreset", enable, preset);
    status = 0;
  }

 private:
  Console& console_;
};

class HPLogger final : public IVeloraHPServiceListener {
 public:
  explicit HPLogger(Console& console) : console_(console) {}

  void onSetHPState(bool& enabled) override { console_.call("onSetHPState", enabled); }
  void onApplyHPPreset(HPPreset& preset) override {
    console_.call("onApplyHPPreset", preset.name, preset.id);
  }
  void onRequestHPState() override { console_.call("onRequestHPState"); }
  void onRequestHPPresetList() override { console_.call("onRequestHPPresetList"); }
  void onRequestHPPreset() override { console_.call("onRequestHPPreset"); }
  void onGetHPPresetList(int& status) override {
    console_.call("onGetHPPresetList");
    status = 0;
  }
  void onGetHPPreset(int& status) override {
    console_.call("onGetHPPreset");
    status = 0;
  }
  void onSetHPPreset(const char*& enable, const char*& preset, int& status) override {
    console_.call("onSetHPPreset", enable, preset);
    status = 0;
  }

 private:
  Console& console_;
};

class SettingsLogger final : public IVeloraSettingsServiceListener {
 public:
  explicit SettingsLogger(Console& console) : console_(console) {}

  void onRequestOutputDevices() override { console_.call("onRequestOutputDevices"); }
  void onSetOutputDevice(const char*& name) override { console_.call("onSetOutputDevice", name); }
  void onRequestSettingsValues() override { console_.call("onRequestSettingsValues"); }
  void onSetSettingsValues(bool& mqa, bool& upsample, bool& dsp) override {
    console_.call("onSetSettingsValues", mqa, upsample, dsp);
  }

 private:
  Console& console_;
};
