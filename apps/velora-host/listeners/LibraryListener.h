#pragma once

#include <velora/VeloraRemoteSDK.h>

#include "listeners/HostContext.h"

namespace refhost {

// The library area and the player application's endpoints: browsing,
// account, stash and downloads, scans, devices and options, playlists,
// history and search. Each request is answered from inside its callback
// through the setter whose slot the service replies with.
class LibraryListener final : public IVeloraLibraryServiceListener {
 public:
  explicit LibraryListener(HostContext& host) : host_(host) {}

  void onRequestAlbums(int& index, int& count, VeloraLibraryItemSource& source) override;
  void onRequestTracks(int& index, int& count, VeloraLibraryItemSource& source) override;
  void onRequestArtists(int& index, int& count, VeloraLibraryItemSource& source) override;
  void onRequestMoods() override;
  void onRequestMood(const char*& id) override;
  void onRequestTrack(const char*& id) override;
  void onRequestPlaynext() override;
  void onRequestGenres() override;
  void onRequestGenre(int& index, int& count, const char*& id) override;
  void onRequestPlaylists(int& index, int& count, VeloraLibraryItemSource& source) override;
  void onRequestPlaylist(const char*& id) override;
  void onRequestAlbum(const char*& id) override;
  void onRequestArtist(const char*& id) override;
  void onAddToMyMusic0(const char*& id) override;
  void onRequestAddToPlaylist(const char*& id, const char*& playlistId) override;
  void onAddToMyMusic2(const char*& id) override;
  void onAddToMyMusic1(const char*& id) override;
  void onAddToMyMusic3(const char*& id) override;
  void onRequestCreatePlaylist(const char*& name) override;
  void onRequestLibrary(const char*& id) override;
  void onRequestSearch(const char*& term) override;
  void onReservedSlot21() override;
  void onRequestDeleteTrack(const char*& id) override;
  void onRequestDeleteArtist(const char*& id) override;
  void onRequestDeleteAlbum(const char*& id) override;
  void onRequestArtwork(const char*& id) override;
  void onPageServed(const char*& path, bool& allow) override;
  void onLogin(const char*& username, const char*& password, const char*& which,
               int& status) override;
  void onGetLogin(const char*& which, int& status) override;
  void onLogout(const char*& which, int& status) override;
  void onPairing(int& status) override;
  void onSave(int& status) override;
  void onGetUserStash(int& status) override;
  void onAddStashItem(const char*& sku, const char*& url, const char*& title, const char*& mediaId,
                      int& status) override;
  void onGetItemsForSkuId(const char*& sku, int& status) override;
  void onRemoveStashItem(const char*& sku, int& status) override;
  void onStartDownload(const char*& sku, int& status) override;
  void onCancelDownload(const char*& sku, int& status) override;
  void onPauseDownload(const char*& sku, int& status) override;
  void onResumeDownload(const char*& sku, int& status) override;
  void onGetDownloadStatus(const char*& sku, int& status) override;
  void onScanFiles(const char*& which, int& status) override;
  void onScanCancel(const char*& which, int& status) override;
  void onScanGetProgress(const char*& which, int& status) override;
  void onClearLocalCache(const char*& which, int& status) override;
  void onGetLocalLibrary(const char*& id, const char*& index, const char*& count,
                         const char*& sortBy, const char*& reverseSort, const char*& etag,
                         const char*& filter, int& status) override;
  void onGetArtist(const char*& id, const char*& index, const char*& count, const char*& sortBy,
                   const char*& reverseSort, const char*& reserved, int& status) override;
  void onGetAlbum(const char*& id, const char*& index, const char*& count, const char*& sortBy,
                  const char*& reverseSort, int& status) override;
  void onGetArtistInfo(const char*& id, int& status) override;
  void onGetAlbumInfo(const char*& id, int& status) override;
  void onGetPlaylistInfo(const char*& id, int& status) override;
  void onSetPlaylistInfo(const char*& id, const char*& info, const char*& name,
                         const char*& artwork, const char*& artist, int& status) override;
  void onGetDevices(int& status) override;
  void onSetDevice(const char*& device, const char*& channels, const char*& sampleRate,
                   const char*& bufferSize, int& status) override;
  void onGetOptions(int& status) override;
  void onSetOptions(const char*& checkForUpdates, const char*& maxDownloads,
                    const char*& addToITunes, const char*& createITunesPlaylist,
                    const char*& retryTime, const char*& retryCount, const char*& dsdEnabled,
                    const char*& dsdFilterEnabled, const char*& dsdGain, const char*& tidalQuality,
                    const char*& upSample, const char*& scanLevel, const char*& bypassMode,
                    const char*& artCache, const char*& mqa, int& status) override;
  void onGetAppConfig(int& status) override;
  void onSelectLocalDownloadLocation(int& status) override;
  void onGetLocalDownloadLocation(int& status) override;
  void onSelectLocalArtworkLocation(const char*& id, int& status) override;
  void onGetLocalArtworkLocation(const char*& id, int& status) override;
  void onAddToLibrary(const char*& id, int& status) override;
  void onSetPlayState(const char*& state, int& status) override;
  void onGetPlayState(int& status) override;
  void onSetPlaybackItem(const char*& uuid, const char*& play, const char*& sortBy,
                         const char*& reverseSort, const char*& parentuuid, int& status) override;
  void onShowTrackFile(const char*& uuid, int& status) override;
  void onGetAvailableYearsForArtist(const char*& uuid, int& status) override;
  void onGetNowPlaying(int& status) override;
  void onSetHistory(const char*& history, int& status) override;
  void onGetHistory(int& status) override;
  void onSearch(const char*& which, const char*& searchTerm, const char*& index, const char*& count,
                int& status) override;
  void onSearchTidal(const char*& which, const char*& searchTerm, const char*& index,
                     const char*& count, int& status) override;
  void onDeleteItem(const char*& uuid, const char*& id, const char*& removeFromComputer,
                    int& status) override;
  void onCreatePlaylist(const char*& name, int& status) override;
  void onDeletePlaylist(const char*& uuid, int& status) override;
  void onAddItemToPlaylist(const char*& playlistUuid, const char*& itemUuid, int& status) override;
  void onRemoveItemFromPlaylist(const char*& playlistUuid, const char*& itemUuid,
                                const char*& removeFromComputer, int& status) override;
  void onMoveItemInPlaylist(const char*& playlistUuid, const char*& itemUuid,
                            const char*& toPosition, int& status) override;
  void onGetHeartbeat(int& status) override;
  void onInputMode(const char*& enabled, const char*& source, int& status) override;
  void onDeviceWindow(int& status) override;
  void onNavigation(const char*& which, int& status) override;
  void onQuit(int& status) override;
  void onPing(int& status) override;
  void onPlayerSetItem(const char*& streamLink, const char*& trackId, const char*& isNext,
                       const char*& artistName, const char*& recordingTitle, const char*& itemTitle,
                       const char*& reserved, int& status) override;
  void onPlayerPing(int& status) override;
  void onPlayerPlay(const char*& playState, const char*& itemID, int& status) override;
  void onPlayerPause(int& status) override;
  void onPlayerHeartbeat(int& status) override;

 private:
  IVeloraLibraryService& library() { return *host_.service.getLibraryService(); }
  // Answers a list request of the local library or a search in one kind.
  bool answerSearch(const std::string& which, const std::string& term, int index, int count,
                    bool streaming);
  // Hands `json` to one of the library's answer setters; the request's status.
  int answer(void (IVeloraLibraryService::*setter)(const char*), const std::string& json);
  void answerPlayer();
  void answerDownloadLocation();
  void answerArtworkLocation(const std::string& id);
  // After a playlist edit: the edited playlist, the list, and the dirty mark.
  void publishPlaylist(const std::string& id);
  // The list of playlists and the dirty mark, after any playlist edit.
  void publishPlaylists();
  void addToMyMusic(int type, const std::string& id);

  HostContext& host_;
};

}  // namespace refhost
