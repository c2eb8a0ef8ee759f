#pragma once

// A host that records every callback as a line of text ("onSetVolume 40") and
// answers each status with what the test asked for (0 by default). Actions
// registered for a callback run inside it, before the status is set, the way
// a host stores its answer through a setter before returning.

#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "velora/VeloraRemoteSDK.h"

namespace velora_test {

class RecordingHost : public IVeloraRemoteServiceListener,
                      public IVeloraLibraryServiceListener,
                      public IVeloraPlaybackServiceListener,
                      public IVeloraEqualizerServiceListener,
                      public IVeloraHPServiceListener,
                      public IVeloraACServiceListener,
                      public IVeloraIRCServiceListener,
                      public IVeloraSettingsServiceListener {
 public:
  // Status that `callback` reports from now on.
  void answer(const std::string& callback, int status) {
    std::lock_guard<std::mutex> lock(mutex_);
    statuses_[callback] = status;
  }
  // Runs inside `callback`, before its status is set.
  void onCall(const std::string& callback, std::function<void()> action) {
    std::lock_guard<std::mutex> lock(mutex_);
    actions_[callback] = std::move(action);
  }
  std::vector<std::string> calls() {
    std::lock_guard<std::mutex> lock(mutex_);
    return calls_;
  }
  void clear() {
    std::lock_guard<std::mutex> lock(mutex_);
    calls_.clear();
  }
  // The last call of `callback` ("" when none), without the callback's name.
  std::string last(const std::string& callback) {
    std::lock_guard<std::mutex> lock(mutex_);
    for (auto it = calls_.rbegin(); it != calls_.rend(); ++it) {
      if (it->compare(0, callback.size(), callback) == 0 &&
          (it->size() == callback.size() || (*it)[callback.size()] == ' ')) {
        return it->size() == callback.size() ? std::string() : it->substr(callback.size() + 1);
      }
    }
    return "";
  }
  int count(const std::string& callback) {
    std::lock_guard<std::mutex> lock(mutex_);
    int n = 0;
    for (const auto& c : calls_) {
      if (c.compare(0, callback.size(), callback) == 0 &&
          (c.size() == callback.size() || c[callback.size()] == ' ')) {
        ++n;
      }
    }
    return n;
  }
  // Waits until `callback` has been called `n` times in all.
  bool waitFor(const std::string& callback, int n, int timeoutMs = 3000) {
    std::unique_lock<std::mutex> lock(mutex_);
    return called_.wait_for(lock, std::chrono::milliseconds(timeoutMs), [&] {
      int seen = 0;
      for (const auto& c : calls_) {
        if (c.compare(0, callback.size(), callback) == 0 &&
            (c.size() == callback.size() || c[callback.size()] == ' ')) {
          ++seen;
        }
      }
      return seen >= n;
    });
  }
  // Registers every listener with the service.
  void attach(IVeloraRemoteCoordinator& s) {
    s.registerForNotification(static_cast<IVeloraRemoteServiceListener*>(this));
    s.getLibraryService()->registerForNotification(this);
    s.getPlaybackService()->registerForNotification(this);
    s.getEqualizerService()->registerForNotification(this);
    s.getIRCService()->registerForNotification(this);
    s.getACService()->registerForNotification(this);
    s.getHPService()->registerForNotification(this);
    s.getSettingsService()->registerForNotification(this);
  }

  // IVeloraRemoteServiceListener
  void onServicePublished(int& a0) override { record("onServicePublished", {fmt(a0)}, nullptr); }
  void onServicePublishFailed() override { record("onServicePublishFailed", {}, nullptr); }
  void onRemoteConnected(ConnectionData& a0) override {
    record("onRemoteConnected", {fmt(a0)}, nullptr);
  }
  void onRemoteDisconnected(int& a0) override {
    record("onRemoteDisconnected", {fmt(a0)}, nullptr);
  }
  void onRemoteAuthenticated(int& a0, bool& a1, int& a2) override {
    record("onRemoteAuthenticated", {fmt(a0), fmt(a1), fmt(a2)}, nullptr);
  }
  // IVeloraLibraryServiceListener
  void onRequestAlbums(int& a0, int& a1, VeloraLibraryItemSource& a2) override {
    record("onRequestAlbums", {fmt(a0), fmt(a1), fmt(a2)}, nullptr);
  }
  void onRequestTracks(int& a0, int& a1, VeloraLibraryItemSource& a2) override {
    record("onRequestTracks", {fmt(a0), fmt(a1), fmt(a2)}, nullptr);
  }
  void onRequestArtists(int& a0, int& a1, VeloraLibraryItemSource& a2) override {
    record("onRequestArtists", {fmt(a0), fmt(a1), fmt(a2)}, nullptr);
  }
  void onRequestMoods() override { record("onRequestMoods", {}, nullptr); }
  void onRequestMood(const char*& a0) override { record("onRequestMood", {fmt(a0)}, nullptr); }
  void onRequestTrack(const char*& a0) override { record("onRequestTrack", {fmt(a0)}, nullptr); }
  void onRequestPlaynext() override { record("onRequestPlaynext", {}, nullptr); }
  void onRequestGenres() override { record("onRequestGenres", {}, nullptr); }
  void onRequestGenre(int& a0, int& a1, const char*& a2) override {
    record("onRequestGenre", {fmt(a0), fmt(a1), fmt(a2)}, nullptr);
  }
  void onRequestPlaylists(int& a0, int& a1, VeloraLibraryItemSource& a2) override {
    record("onRequestPlaylists", {fmt(a0), fmt(a1), fmt(a2)}, nullptr);
  }
  void onRequestPlaylist(const char*& a0) override {
    record("onRequestPlaylist", {fmt(a0)}, nullptr);
  }
  void onRequestAlbum(const char*& a0) override { record("onRequestAlbum", {fmt(a0)}, nullptr); }
  void onRequestArtist(const char*& a0) override { record("onRequestArtist", {fmt(a0)}, nullptr); }
  void onAddToMyMusic0(const char*& a0) override { record("onAddToMyMusic0", {fmt(a0)}, nullptr); }
  void onRequestAddToPlaylist(const char*& a0, const char*& a1) override {
    record("onRequestAddToPlaylist", {fmt(a0), fmt(a1)}, nullptr);
  }
  void onAddToMyMusic2(const char*& a0) override { record("onAddToMyMusic2", {fmt(a0)}, nullptr); }
  void onAddToMyMusic1(const char*& a0) override { record("onAddToMyMusic1", {fmt(a0)}, nullptr); }
  void onAddToMyMusic3(const char*& a0) override { record("onAddToMyMusic3", {fmt(a0)}, nullptr); }
  void onRequestCreatePlaylist(const char*& a0) override {
    record("onRequestCreatePlaylist", {fmt(a0)}, nullptr);
  }
  void onRequestLibrary(const char*& a0) override {
    record("onRequestLibrary", {fmt(a0)}, nullptr);
  }
  void onRequestSearch(const char*& a0) override { record("onRequestSearch", {fmt(a0)}, nullptr); }
  void onReservedSlot21() override { record("onReservedSlot21", {}, nullptr); }
  void onRequestDeleteTrack(const char*& a0) override {
    record("onRequestDeleteTrack", {fmt(a0)}, nullptr);
  }
  void onRequestDeleteArtist(const char*& a0) override {
    record("onRequestDeleteArtist", {fmt(a0)}, nullptr);
  }
  void onRequestDeleteAlbum(const char*& a0) override {
    record("onRequestDeleteAlbum", {fmt(a0)}, nullptr);
  }
  void onRequestArtwork(const char*& a0) override {
    record("onRequestArtwork", {fmt(a0)}, nullptr);
  }
  void onPageServed(const char*& a0, bool& a1) override {
    record("onPageServed", {fmt(a0), fmt(a1)}, nullptr);
  }
  void onLogin(const char*& a0, const char*& a1, const char*& a2, int& a3) override {
    record("onLogin", {fmt(a0), fmt(a1), fmt(a2)}, &a3);
  }
  void onGetLogin(const char*& a0, int& a1) override { record("onGetLogin", {fmt(a0)}, &a1); }
  void onLogout(const char*& a0, int& a1) override { record("onLogout", {fmt(a0)}, &a1); }
  void onPairing(int& a0) override { record("onPairing", {}, &a0); }
  void onSave(int& a0) override { record("onSave", {}, &a0); }
  void onGetUserStash(int& a0) override { record("onGetUserStash", {}, &a0); }
  void onAddStashItem(const char*& a0, const char*& a1, const char*& a2, const char*& a3,
                      int& a4) override {
    record("onAddStashItem", {fmt(a0), fmt(a1), fmt(a2), fmt(a3)}, &a4);
  }
  void onGetItemsForSkuId(const char*& a0, int& a1) override {
    record("onGetItemsForSkuId", {fmt(a0)}, &a1);
  }
  void onRemoveStashItem(const char*& a0, int& a1) override {
    record("onRemoveStashItem", {fmt(a0)}, &a1);
  }
  void onStartDownload(const char*& a0, int& a1) override {
    record("onStartDownload", {fmt(a0)}, &a1);
  }
  void onCancelDownload(const char*& a0, int& a1) override {
    record("onCancelDownload", {fmt(a0)}, &a1);
  }
  void onPauseDownload(const char*& a0, int& a1) override {
    record("onPauseDownload", {fmt(a0)}, &a1);
  }
  void onResumeDownload(const char*& a0, int& a1) override {
    record("onResumeDownload", {fmt(a0)}, &a1);
  }
  void onGetDownloadStatus(const char*& a0, int& a1) override {
    record("onGetDownloadStatus", {fmt(a0)}, &a1);
  }
  void onScanFiles(const char*& a0, int& a1) override { record("onScanFiles", {fmt(a0)}, &a1); }
  void onScanCancel(const char*& a0, int& a1) override { record("onScanCancel", {fmt(a0)}, &a1); }
  void onScanGetProgress(const char*& a0, int& a1) override {
    record("onScanGetProgress", {fmt(a0)}, &a1);
  }
  void onClearLocalCache(const char*& a0, int& a1) override {
    record("onClearLocalCache", {fmt(a0)}, &a1);
  }
  void onGetLocalLibrary(const char*& a0, const char*& a1, const char*& a2, const char*& a3,
                         const char*& a4, const char*& a5, const char*& a6, int& a7) override {
    record("onGetLocalLibrary", {fmt(a0), fmt(a1), fmt(a2), fmt(a3), fmt(a4), fmt(a5), fmt(a6)},
           &a7);
  }
  void onGetArtist(const char*& a0, const char*& a1, const char*& a2, const char*& a3,
                   const char*& a4, const char*& a5, int& a6) override {
    record("onGetArtist", {fmt(a0), fmt(a1), fmt(a2), fmt(a3), fmt(a4), fmt(a5)}, &a6);
  }
  void onGetAlbum(const char*& a0, const char*& a1, const char*& a2, const char*& a3,
                  const char*& a4, int& a5) override {
    record("onGetAlbum", {fmt(a0), fmt(a1), fmt(a2), fmt(a3), fmt(a4)}, &a5);
  }
  void onGetArtistInfo(const char*& a0, int& a1) override {
    record("onGetArtistInfo", {fmt(a0)}, &a1);
  }
  void onGetAlbumInfo(const char*& a0, int& a1) override {
    record("onGetAlbumInfo", {fmt(a0)}, &a1);
  }
  void onGetPlaylistInfo(const char*& a0, int& a1) override {
    record("onGetPlaylistInfo", {fmt(a0)}, &a1);
  }
  void onSetPlaylistInfo(const char*& a0, const char*& a1, const char*& a2, const char*& a3,
                         const char*& a4, int& a5) override {
    record("onSetPlaylistInfo", {fmt(a0), fmt(a1), fmt(a2), fmt(a3), fmt(a4)}, &a5);
  }
  void onGetDevices(int& a0) override { record("onGetDevices", {}, &a0); }
  void onSetDevice(const char*& a0, const char*& a1, const char*& a2, const char*& a3,
                   int& a4) override {
    record("onSetDevice", {fmt(a0), fmt(a1), fmt(a2), fmt(a3)}, &a4);
  }
  void onGetOptions(int& a0) override { record("onGetOptions", {}, &a0); }
  void onSetOptions(const char*& a0, const char*& a1, const char*& a2, const char*& a3,
                    const char*& a4, const char*& a5, const char*& a6, const char*& a7,
                    const char*& a8, const char*& a9, const char*& a10, const char*& a11,
                    const char*& a12, const char*& a13, const char*& a14, int& a15) override {
    record("onSetOptions",
           {fmt(a0), fmt(a1), fmt(a2), fmt(a3), fmt(a4), fmt(a5), fmt(a6), fmt(a7), fmt(a8),
            fmt(a9), fmt(a10), fmt(a11), fmt(a12), fmt(a13), fmt(a14)},
           &a15);
  }
  void onGetAppConfig(int& a0) override { record("onGetAppConfig", {}, &a0); }
  void onSelectLocalDownloadLocation(int& a0) override {
    record("onSelectLocalDownloadLocation", {}, &a0);
  }
  void onGetLocalDownloadLocation(int& a0) override {
    record("onGetLocalDownloadLocation", {}, &a0);
  }
  void onSelectLocalArtworkLocation(const char*& a0, int& a1) override {
    record("onSelectLocalArtworkLocation", {fmt(a0)}, &a1);
  }
  void onGetLocalArtworkLocation(const char*& a0, int& a1) override {
    record("onGetLocalArtworkLocation", {fmt(a0)}, &a1);
  }
  void onAddToLibrary(const char*& a0, int& a1) override {
    record("onAddToLibrary", {fmt(a0)}, &a1);
  }
  void onSetPlayState(const char*& a0, int& a1) override {
    record("onSetPlayState", {fmt(a0)}, &a1);
  }
  void onGetPlayState(int& a0) override { record("onGetPlayState", {}, &a0); }
  void onSetPlaybackItem(const char*& a0, const char*& a1, const char*& a2, const char*& a3,
                         const char*& a4, int& a5) override {
    record("onSetPlaybackItem", {fmt(a0), fmt(a1), fmt(a2), fmt(a3), fmt(a4)}, &a5);
  }
  void onShowTrackFile(const char*& a0, int& a1) override {
    record("onShowTrackFile", {fmt(a0)}, &a1);
  }
  void onGetAvailableYearsForArtist(const char*& a0, int& a1) override {
    record("onGetAvailableYearsForArtist", {fmt(a0)}, &a1);
  }
  void onGetNowPlaying(int& a0) override { record("onGetNowPlaying", {}, &a0); }
  void onSetHistory(const char*& a0, int& a1) override { record("onSetHistory", {fmt(a0)}, &a1); }
  void onGetHistory(int& a0) override { record("onGetHistory", {}, &a0); }
  void onSearch(const char*& a0, const char*& a1, const char*& a2, const char*& a3,
                int& a4) override {
    record("onSearch", {fmt(a0), fmt(a1), fmt(a2), fmt(a3)}, &a4);
  }
  void onSearchTidal(const char*& a0, const char*& a1, const char*& a2, const char*& a3,
                     int& a4) override {
    record("onSearchTidal", {fmt(a0), fmt(a1), fmt(a2), fmt(a3)}, &a4);
  }
  void onDeleteItem(const char*& a0, const char*& a1, const char*& a2, int& a3) override {
    record("onDeleteItem", {fmt(a0), fmt(a1), fmt(a2)}, &a3);
  }
  void onCreatePlaylist(const char*& a0, int& a1) override {
    record("onCreatePlaylist", {fmt(a0)}, &a1);
  }
  void onDeletePlaylist(const char*& a0, int& a1) override {
    record("onDeletePlaylist", {fmt(a0)}, &a1);
  }
  void onAddItemToPlaylist(const char*& a0, const char*& a1, int& a2) override {
    record("onAddItemToPlaylist", {fmt(a0), fmt(a1)}, &a2);
  }
  void onRemoveItemFromPlaylist(const char*& a0, const char*& a1, const char*& a2,
                                int& a3) override {
    record("onRemoveItemFromPlaylist", {fmt(a0), fmt(a1), fmt(a2)}, &a3);
  }
  void onMoveItemInPlaylist(const char*& a0, const char*& a1, const char*& a2, int& a3) override {
    record("onMoveItemInPlaylist", {fmt(a0), fmt(a1), fmt(a2)}, &a3);
  }
  void onGetHeartbeat(int& a0) override { record("onGetHeartbeat", {}, &a0); }
  void onInputMode(const char*& a0, const char*& a1, int& a2) override {
    record("onInputMode", {fmt(a0), fmt(a1)}, &a2);
  }
  void onDeviceWindow(int& a0) override { record("onDeviceWindow", {}, &a0); }
  void onNavigation(const char*& a0, int& a1) override { record("onNavigation", {fmt(a0)}, &a1); }
  void onQuit(int& a0) override { record("onQuit", {}, &a0); }
  void onPing(int& a0) override { record("onPing", {}, &a0); }
  void onPlayerSetItem(const char*& a0, const char*& a1, const char*& a2, const char*& a3,
                       const char*& a4, const char*& a5, const char*& a6, int& a7) override {
    record("onPlayerSetItem", {fmt(a0), fmt(a1), fmt(a2), fmt(a3), fmt(a4), fmt(a5), fmt(a6)}, &a7);
  }
  void onPlayerPing(int& a0) override { record("onPlayerPing", {}, &a0); }
  void onPlayerPlay(const char*& a0, const char*& a1, int& a2) override {
    record("onPlayerPlay", {fmt(a0), fmt(a1)}, &a2);
  }
  void onPlayerPause(int& a0) override { record("onPlayerPause", {}, &a0); }
  void onPlayerHeartbeat(int& a0) override { record("onPlayerHeartbeat", {}, &a0); }
  // IVeloraPlaybackServiceListener
  void onSetVolume(int& a0) override { record("onSetVolume", {fmt(a0)}, nullptr); }
  void onSetMute(bool& a0) override { record("onSetMute", {fmt(a0)}, nullptr); }
  void onPlaybackCommand(PlaybackCommand& a0) override {
    record("onPlaybackCommand", {fmt(a0)}, nullptr);
  }
  void onMoveTrack(const char*& a0, int& a1) override {
    record("onMoveTrack", {fmt(a0), fmt(a1)}, nullptr);
  }
  void onRequestVolume() override { record("onRequestVolume", {}, nullptr); }
  void onRequestMute() override { record("onRequestMute", {}, nullptr); }
  void onRequestPlayerState() override { record("onRequestPlayerState", {}, nullptr); }
  void onRequestMode() override { record("onRequestMode", {}, nullptr); }
  void onNext() override { record("onNext", {}, nullptr); }
  void onPrevious() override { record("onPrevious", {}, nullptr); }
  void onSetMode(PlaybackMode& a0) override { record("onSetMode", {fmt(a0)}, nullptr); }
  // IVeloraEqualizerServiceListener
  void onSetEQState(bool& a0) override { record("onSetEQState", {fmt(a0)}, nullptr); }
  void onApplyEQPreset(EQPreset& a0) override { record("onApplyEQPreset", {fmt(a0)}, nullptr); }
  void onRequestEQState() override { record("onRequestEQState", {}, nullptr); }
  void onRequestEQPresetList() override { record("onRequestEQPresetList", {}, nullptr); }
  void onRequestEQPreset() override { record("onRequestEQPreset", {}, nullptr); }
  void onGetEQPresetList(int& a0) override { record("onGetEQPresetList", {}, &a0); }
  void onGetEQPreset(int& a0) override { record("onGetEQPreset", {}, &a0); }
  void onSetEQPreset(const char*& a0, const char*& a1, int& a2) override {
    record("onSetEQPreset", {fmt(a0), fmt(a1)}, &a2);
  }
  // IVeloraHPServiceListener
  void onSetHPState(bool& a0) override { record("onSetHPState", {fmt(a0)}, nullptr); }
  void onApplyHPPreset(HPPreset& a0) override { record("onApplyHPPreset", {fmt(a0)}, nullptr); }
  void onRequestHPState() override { record("onRequestHPState", {}, nullptr); }
  void onRequestHPPresetList() override { record("onRequestHPPresetList", {}, nullptr); }
  void onRequestHPPreset() override { record("onRequestHPPreset", {}, nullptr); }
  void onGetHPPresetList(int& a0) override { record("onGetHPPresetList", {}, &a0); }
  void onGetHPPreset(int& a0) override { record("onGetHPPreset", {}, &a0); }
  void onSetHPPreset(const char*& a0, const char*& a1, int& a2) override {
    record("onSetHPPreset", {fmt(a0), fmt(a1)}, &a2);
  }
  // IVeloraACServiceListener
  void onSetACState(bool& a0) override { record("onSetACState", {fmt(a0)}, nullptr); }
  void onApplyACPreset(ACPreset& a0) override { record("onApplyACPreset", {fmt(a0)}, nullptr); }
  void onRequestACState() override { record("onRequestACState", {}, nullptr); }
  void onRequestACPresetList() override { record("onRequestACPresetList", {}, nullptr); }
  void onRequestACPreset() override { record("onRequestACPreset", {}, nullptr); }
  void onGetACPresetList(int& a0) override { record("onGetACPresetList", {}, &a0); }
  void onGetACPreset(int& a0) override { record("onGetACPreset", {}, &a0); }
  void onSetACPreset(const char*& a0, const char*& a1, int& a2) override {
    record("onSetACPreset", {fmt(a0), fmt(a1)}, &a2);
  }
  // IVeloraIRCServiceListener
  void onSetIRCState(bool& a0) override { record("onSetIRCState", {fmt(a0)}, nullptr); }
  void onApplyIRCPreset(IRCPreset& a0) override { record("onApplyIRCPreset", {fmt(a0)}, nullptr); }
  void onRequestIRCState() override { record("onRequestIRCState", {}, nullptr); }
  void onRequestIRCPresetList() override { record("onRequestIRCPresetList", {}, nullptr); }
  void onRequestIRCPreset() override { record("onRequestIRCPreset", {}, nullptr); }
  void onRequestIRCGain() override { record("onRequestIRCGain", {}, nullptr); }
  void onSetIRCGain(int& a0) override { record("onSetIRCGain", {fmt(a0)}, nullptr); }
  void onGetIRCPresetList(int& a0) override { record("onGetIRCPresetList", {}, &a0); }
  void onGetIRCPreset(int& a0) override { record("onGetIRCPreset", {}, &a0); }
  void onSetIRCPreset(const char*& a0, const char*& a1, int& a2) override {
    record("onSetIRCPreset", {fmt(a0), fmt(a1)}, &a2);
  }
  // IVeloraSettingsServiceListener
  void onRequestOutputDevices() override { record("onRequestOutputDevices", {}, nullptr); }
  void onSetOutputDevice(const char*& a0) override {
    record("onSetOutputDevice", {fmt(a0)}, nullptr);
  }
  void onRequestSettingsValues() override { record("onRequestSettingsValues", {}, nullptr); }
  void onSetSettingsValues(bool& a0, bool& a1, bool& a2) override {
    record("onSetSettingsValues", {fmt(a0), fmt(a1), fmt(a2)}, nullptr);
  }

 private:
  static std::string fmt(int v) { return std::to_string(v); }
  static std::string fmt(bool v) { return v ? "true" : "false"; }
  static std::string fmt(const char* v) { return v ? "'" + std::string(v) + "'" : "(null)"; }
  static std::string fmt(VeloraLibraryItemSource v) { return std::to_string(static_cast<int>(v)); }
  static std::string fmt(const PlaybackCommand& v) {
    return "{" + std::to_string(v.command) + "," + std::to_string(v.index) + "," + fmt(v.itemid) +
           "}";
  }
  static std::string fmt(const PlaybackMode& v) { return "{" + std::to_string(v.mode) + "}"; }
  static std::string fmt(const EQPreset& v) {
    std::string s = "{" + fmt(v.name) + "," + std::to_string(v.id) + ",[";
    for (const auto& b : v.bands) {
      s += "(" + std::to_string(b.order) + "," + std::to_string(b.fband) + "," +
           std::to_string(b.bband) + "," + std::to_string(b.qband) + "," +
           std::to_string(b.filter) + ")";
    }
    return s + "]}";
  }
  template <typename P>
  static std::string fmt(const P& v) {
    return "{" + fmt(v.name) + "," + std::to_string(v.id) + "}";
  }
  static std::string fmt(const ConnectionData& v) {
    return "{" + std::to_string(v.code) + ",'" + v.name + "'," + std::to_string(v.version) + "}";
  }

  void record(const char* name, std::vector<std::string> args, int* status) {
    std::function<void()> action;
    {
      std::lock_guard<std::mutex> lock(mutex_);
      std::string line = name;
      for (const auto& a : args) line += " " + a;
      calls_.push_back(std::move(line));
      auto it = actions_.find(name);
      if (it != actions_.end()) action = it->second;
    }
    if (action) action();
    if (status != nullptr) {
      std::lock_guard<std::mutex> lock(mutex_);
      auto it = statuses_.find(name);
      *status = it == statuses_.end() ? 0 : it->second;
    }
    called_.notify_all();
  }

  std::mutex mutex_;
  std::condition_variable called_;
  std::vector<std::string> calls_;
  std::map<std::string, int> statuses_;
  std::map<std::string, std::function<void()>> actions_;
};

}  // namespace velora_test
