#pragma once

#include <atomic>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <cpprest/http_listener.h>
#include <cpprest/json.h>

#include "discovery/ServiceNotifier.h"
#include "host/ChangeFeed.h"
#include "host/ChangeStore.h"
#include "host/Observable.h"
#include "host/StateCache.h"
#include "service/Outcome.h"
#include "service/RouteRequest.h"
#include "util/Support.h"
#include "velora/VeloraRemoteSDK.h"

class TrackImpl;
class AlbumImpl;
class ArtistImpl;
class GenreImpl;
class PlaylistImpl;
class MoodImpl;

// Sets "artworkdata" to null in every object of `v`, at any depth, so that a
// reply carries no embedded pictures.
void deleteARD(web::json::value& v);

// A remote client as the service keeps it. The host is shown the
// ConnectionData part; "status" here is whether the host approved it.
struct ConnectionDataEx : ConnectionData {
  ConnectionData data() const { return *this; }
};

// The process's remote-control service: the HTTP listener, the listener
// registries of the host, the state cache and the publication of the port.
class VeloraRestService : public IVeloraRemoteCoordinator,
                          public IVeloraLibraryService,
                          public IVeloraPlaybackService,
                          public IVeloraEqualizerService,
                          public IVeloraIRCService,
                          public IVeloraACService,
                          public IVeloraHPService,
                          public IVeloraSettingsService,
                          public IServiceNotifierListener {
 public:
  struct Options {
    // Publisher of the port; a DNS-SD publisher when empty.
    std::shared_ptr<IServiceNotifier> notifier;
    // Folder of the web pages; the executable's folder + "/../bin/pages" when empty.
    std::string pagesFolder;
  };

  VeloraRestService();
  explicit VeloraRestService(Options options);
  ~VeloraRestService() override;

  VeloraRestService(const VeloraRestService&) = delete;
  VeloraRestService& operator=(const VeloraRestService&) = delete;

  // IVeloraRemoteCoordinator
  void shutdown() override;
  void startListening() override;
  void disconnect(int code) override;
  void authenticate(int code, const char* product, Capabilities& capabilities) override;
  IVeloraLibraryService* getLibraryService() override { return this; }
  IVeloraPlaybackService* getPlaybackService() override { return this; }
  IVeloraEqualizerService* getEqualizerService() override { return this; }
  IVeloraIRCService* getIRCService() override { return this; }
  IVeloraACService* getACService() override { return this; }
  IVeloraHPService* getHPService() override { return this; }
  IVeloraSettingsService* getSettingsService() override { return this; }

  int registerForNotification(IVeloraRemoteServiceListener* l) override;
  int unregisterFromNotification(IVeloraRemoteServiceListener* l) override;
  int registerForNotification(IVeloraLibraryServiceListener* l) override;
  int unregisterFromNotification(IVeloraLibraryServiceListener* l) override;
  int registerForNotification(IVeloraPlaybackServiceListener* l) override;
  int unregisterFromNotification(IVeloraPlaybackServiceListener* l) override;
  int registerForNotification(IVeloraEqualizerServiceListener* l) override;
  int unregisterFromNotification(IVeloraEqualizerServiceListener* l) override;
  int registerForNotification(IVeloraIRCServiceListener* l) override;
  int unregisterFromNotification(IVeloraIRCServiceListener* l) override;
  int registerForNotification(IVeloraACServiceListener* l) override;
  int unregisterFromNotification(IVeloraACServiceListener* l) override;
  int registerForNotification(IVeloraHPServiceListener* l) override;
  int unregisterFromNotification(IVeloraHPServiceListener* l) override;
  int registerForNotification(IVeloraSettingsServiceListener* l) override;
  int unregisterFromNotification(IVeloraSettingsServiceListener* l) override;

  // IVeloraLibraryService
  void setTrackInfo(Track* track) override;
  void setTrackList(std::vector<Track*> tracks, int index) override;
  void setPlaynextList(std::vector<Track*> tracks) override;
  void setAlbumList(std::vector<Album*> albums, int index) override;
  void setArtistList(std::vector<Artist*> artists, int index) override;
  void setGenreList(std::vector<Genre*> genres) override;
  void setPlaylistList(std::vector<Playlist*> playlists) override;
  void setMoodList(std::vector<Mood*> moods) override;
  void setGenre(Genre* genre) override;
  void setPlaylist(Playlist* playlist) override;
  void setAlbum(Album* album) override;
  void setArtist(Artist* artist) override;
  void setMyLibraryItemDirty() override;
  void setSearchResults(std::vector<Artist*> artists, std::vector<Album*> albums,
                        std::vector<Track*> tracks, std::vector<Playlist*> playlists,
                        const char* searchText) override;
  void setArtworkData(const char* location, const char* id) override;
  void setLoginResponse(const char* userToken) override;
  void setGetLoginResponse(const char* username, const char* password, const char* userToken,
                           const char* tidalUsername, const char* tidalPassword,
                           const char* service) override;
  void setGetUserStashResponse(const char* json) override;
  void setGetItemsForSkuIdResponse(const char* json) override;
  void setGetDownloadStatusResponse(const char* json) override;
  void setGetLocalLibraryTracks(std::vector<Track*> tracks, const char* etag, int itemCount,
                                int totalCount) override;
  void setGetLocalLibraryAlbums(std::vector<Album*> albums, const char* etag, int itemCount,
                                int totalCount) override;
  void setGetLocalLibraryArtists(std::vector<Artist*> artists, const char* etag, int itemCount,
                                 int totalCount) override;
  void setGetLocalLibraryPlaylists(std::vector<Playlist*> playlists, const char* etag,
                                   int itemCount, int totalCount) override;
  void setGetDevicesResponse(const char* json) override;
  void setGetOptionsResponse(const char* json) override;
  void setGetLocalDownloadLocationResponse(const char* json) override;
  void setGetArtworkLocationResponse(const char* json) override;
  void setGetPlayStateResponse(const char* json) override;
  void setGetAvailableYearsForArtistResponse(const char* json) override;
  void setGetNowPlayingResponse(std::vector<Track*> tracks) override;
  void setGetArtistResponse(std::vector<Album*> albums, int totalCount) override;
  void setGetArtistResponse(std::vector<Artist*> artists, int totalCount) override;
  void setGetAlbumResponse(std::vector<Album*> albums, int totalCount) override;
  void setGetPlaylistResponse(std::vector<Playlist*> playlists, int totalCount) override;
  void setScanProgressResponse(float percentComplete, const char* message) override;
  void setGetHistoryResponse(const char* json) override;
  void setCreatePlaylistResponse(std::vector<Playlist*> playlists) override;
  void setSearchResponse(std::vector<Album*> albums) override;
  void setSearchResponse(std::vector<Artist*> artists) override;
  void setSearchResponse(std::vector<Playlist*> playlists) override;
  void setSearchResponse(std::vector<Track*> tracks) override;
  void setGetHeartbeatResponse(const char* json) override;
  void setGetAppConfigResponse(const char* json) override;
  void setPlayerResponse(const char* json) override;

  // IVeloraPlaybackService
  void setVolumeLevel(int level) override;
  void setMuteState(bool muted) override;
  void setPlaybackState(PlaybackState& state) override;
  void setPlaybackMode(PlaybackMode& mode) override;

  // IVeloraEqualizerService
  void setEQState(bool enabled) override;
  void setEQCurrentPreset(EQPreset& preset) override;
  void setEQPresetList(std::vector<EQPreset>& presets) override;
  void setGetEQPresetResponse(const char* json) override;
  void setGetEQPresetListResponse(const char* json) override;

  // IVeloraIRCService
  void setIRCState(bool enabled) override;
  void setIRCGain(int gain) override;
  void setIRCCurrentPreset(IRCPreset& preset) override;
  void setIRCPresetList(std::vector<IRCPreset>& presets) override;
  void setGetIRCPresetResponse(const char* json) override;
  void setGetIRCPresetListResponse(const char* json) override;

  // IVeloraACService
  void setACState(bool enabled) override;
  void setACCurrentPreset(ACPreset& preset) override;
  void setACPresetList(std::vector<ACPreset>& presets) override;

  // IVeloraHPService
  void setHPState(bool enabled) override;
  void setHPCurrentPreset(HPPreset& preset) override;
  void setHPPresetList(std::vector<HPPreset>& presets) override;
  void setGetHPPresetResponse(const char* json) override;
  void setGetHPPresetListResponse(const char* json) override;

  // IVeloraSettingsService
  void setOutputDeviceList(std::vector<const char*>& names, const char* current) override;
  void setSettingsValues(bool mqa, bool upsample, bool dsp) override;

  // IServiceNotifierListener
  void onServicePublishSuccess() override;
  void onServicePublishError() override;

  // Raises the change flag and wakes one "status" poll.
  void Notify();
  // Empties every state document and answer slot.
  void Init();
  // One console line per known remote client.
  void printStatus();

  // The port being tried or served (0 before the first startListening()).
  int currentPort() const { return port_.load(); }
  bool changeFlag() const { return feed_.raised(); }
  StateCache& cache() { return cache_; }
  ChangeFeed& changeFeed() { return feed_; }
  ChangeStore& changeStore() { return changes_; }

  // Library encoders: items become JSON at once; `withArtwork` adds (and
  // passes down to nested lists) the picture of each item.
  web::json::value getTrack(TrackImpl* track, bool withArtwork);
  web::json::value getAlbum(AlbumImpl* album, bool withArtwork);
  web::json::value getArtist(ArtistImpl* artist, bool withArtwork);
  web::json::value getGenre(GenreImpl* genre, bool withArtwork);
  web::json::value getPlaylist(PlaylistImpl* playlist, bool withArtwork);
  web::json::value getMood(MoodImpl* mood);
  web::json::value getTracks(const std::vector<Track*>& list, bool withArtwork);
  web::json::value getAlbums(const std::vector<Album*>& list, bool withArtwork);
  web::json::value getArtists(const std::vector<Artist*>& list, bool withArtwork);
  web::json::value getPlaylists(const std::vector<Playlist*>& list, bool withArtwork);
  web::json::value getGenres(const std::vector<Genre*>& list, bool withArtwork);
  web::json::value getMoods(const std::vector<Mood*>& list);

  // The picture at `location` (a file, or a web address) as a JSON object.
  web::json::value getArtwork(std::string location, std::string id);
  // Whether the picture was seen before; fills `digest` when it was.
  bool containedInMap(std::string const& base64, std::string const& location, std::string& digest);

  // Remote clients, by their code or token.
  std::shared_ptr<ConnectionDataEx> createConnection(int code, std::string name, int version);
  std::shared_ptr<ConnectionDataEx> getConnection(int code);
  std::shared_ptr<ConnectionDataEx> getConnection(std::string token);
  bool hasConnection(std::string token);
  // Approved by the host and not disconnected since.
  bool isPaired(const std::string& token);
  // Ends a client's session; `fromRemote` tells the client which side ended it.
  void disconnect(int code, bool fromRemote);

  // A row of the GET route table: the first path segment (compared as it is,
  // or lower-cased) and the handler. Handlers that answer later, or never,
  // are not followed by the empty success reply.
  struct GetRoute {
    const char* segment;
    bool lowerCase;
    void (VeloraRestService::*handler)(RouteRequest&);
    bool answersItself;
  };
  static const std::vector<GetRoute>& routeTable();

  // HTTP entry points.
  void handle_get(web::http::http_request request);
  void handle_post(web::http::http_request request);
  void handle_put(web::http::http_request request);
  void handle_delete(web::http::http_request request);

  // Replies. Every JSON reply carries the three cross-origin headers.
  static void addResponseHeaders(web::http::http_response& response);
  void returnSuccess(web::http::http_request& request, std::string text);
  void returnFailure(web::http::http_request& request, std::string text, unsigned short status);
  // The caller holds the lock of the slot it passes (the state mutex for the
  // local-library answer, which this compares against).
  void returnValue(web::http::http_request& request, web::json::value& value, bool omitNull);
  void returnLibrary(web::http::http_request& request, bool hasToken);
  void sendValue(web::http::http_request& request, const web::json::value& value, bool omitNull);
  // Every reply leaves through here, so that shutdown() can wait for replies
  // still being written before it closes the listener.
  void send(web::http::http_request& request, const web::http::http_response& response);
  void send(web::http::http_request& request, web::http::status_code status) {
    send(request, web::http::http_response(status));
  }
  void returnSuccessIfNeeded(web::http::http_request& request);
  static std::string getContentType(std::string path);

 private:
  // The one exchange with the host: fire a library callback whose last
  // argument is the status (preset to 0), then answer by the status.
  template <typename L, typename... Params, typename... Args>
  void exchange(RouteRequest& r, detail::ObservableBase<L>& listeners, const Outcome& outcome,
                void (L::*callback)(Params...), Args&&... args) {
    int status = 0;
    listeners.stable_fire(callback, args..., status);
    conclude(r, status, outcome);
  }
  template <typename... Params, typename... Args>
  void exchange(RouteRequest& r, const Outcome& outcome,
                void (IVeloraLibraryServiceListener::*callback)(Params...), Args&&... args) {
    exchange(r, libraryListeners_, outcome, callback, std::forward<Args>(args)...);
  }
  void conclude(RouteRequest& r, int status, const Outcome& outcome);
  // False, after answering `failure` with `status`, when a key is missing.
  bool require(RouteRequest& r, std::initializer_list<const char*> keys, const char* failure,
               unsigned short status = 401);
  void reply(RouteRequest& r, const SuccessReply& success);

  // Routes answered by the router itself.
  void routeAuthenticate(RouteRequest& r);
  void routeDisconnect(RouteRequest& r);
  void routeEqualizer(RouteRequest& r);
  void routeIRC(RouteRequest& r);
  void routeAC(RouteRequest& r);
  void routeHP(RouteRequest& r);
  void routePlayback(RouteRequest& r);
  void routeSettings(RouteRequest& r);
  void routeStatus(RouteRequest& r);
  void routeChanges(RouteRequest& r);
  void sendChanges(web::http::http_request& request, std::string body);
  void routePlayerPause(RouteRequest& r);
  void routePlayerPlay(RouteRequest& r);
  void routeNothing(RouteRequest& r);
  void answerStatus(web::http::http_request request, ChangeFeed::Clock::time_point deadline,
                    bool signalled);
  void answerStatusNow(web::http::http_request& client, ChangeFeed::Clock::time_point deadline,
                       bool signalled);

  // Client control.
  void handlePairing(RouteRequest& r);
  void handleSave(RouteRequest& r);
  void handleGetHeartbeat(RouteRequest& r);
  void handleQuit(RouteRequest& r);
  void handlePing(RouteRequest& r);
  void handlePlayerPing(RouteRequest& r);
  void handlePlayerHeartbeat(RouteRequest& r);
  void handlePlayerPlay(RouteRequest& r);

  // Transport of the player application.
  void handlePlayerSetItem(RouteRequest& r);
  void handleSetPlaybackItem(RouteRequest& r);
  void handleSetPlayState(RouteRequest& r);
  void handleGetPlayState(RouteRequest& r);
  void handleGetNowPlaying(RouteRequest& r);
  void handleInputMode(RouteRequest& r);
  void handleNavigation(RouteRequest& r);

  // Presets of the sound-processing stages.
  void handleGetEQPresetList(RouteRequest& r);
  void handleGetEQPreset(RouteRequest& r);
  void handleSetEQPreset(RouteRequest& r);
  void handleGetHPPresetList(RouteRequest& r);
  void handleGetHPPreset(RouteRequest& r);
  void handleSetHPPreset(RouteRequest& r);
  void handleGetACPresetList(RouteRequest& r);
  void handleGetACPreset(RouteRequest& r);
  void handleSetACPreset(RouteRequest& r);
  void handleGetIRCPresetList(RouteRequest& r);
  void handleGetIRCPreset(RouteRequest& r);
  void handleSetIRCPreset(RouteRequest& r);
  template <typename L>
  void setPreset(RouteRequest& r, detail::ObservableBase<L>& listeners,
                 void (L::*callback)(const char*&, const char*&, int&), const char* failure);

  // Library browsing.
  void routeLibrary(RouteRequest& r);
  void handleGetAlbum(RouteRequest& r);
  void handleGetArtist(RouteRequest& r);
  void handleGetArtistInfo(RouteRequest& r);
  void handleGetAlbumInfo(RouteRequest& r);
  void handleGetPlaylistInfo(RouteRequest& r);
  void handleSetPlaylistInfo(RouteRequest& r);
  bool requireId(RouteRequest& r);
  void libraryTrack(RouteRequest& r);
  void libraryArtwork(RouteRequest& r);
  void librarySearch(RouteRequest& r);
  void libraryPlaynext(RouteRequest& r);
  void libraryGenres(RouteRequest& r);
  void libraryPlaylist(RouteRequest& r);
  void libraryMood(RouteRequest& r);
  void libraryAlbum(RouteRequest& r);
  void libraryArtist(RouteRequest& r);
  void libraryAddToMyMusic(RouteRequest& r);
  void libraryAddToPlaylist(RouteRequest& r);
  void libraryTracks(RouteRequest& r);
  void libraryArtists(RouteRequest& r);
  void libraryAlbums(RouteRequest& r);

  // Account, options and devices, stash and downloads, scanning, playlists.
  void handleLogin(RouteRequest& r);
  void handleGetLogin(RouteRequest& r);
  void handleLogout(RouteRequest& r);
  void handleGetDevices(RouteRequest& r);
  void handleSetDevice(RouteRequest& r);
  void handleGetOptions(RouteRequest& r);
  void handleSetOptions(RouteRequest& r);
  void handleGetAppConfig(RouteRequest& r);
  void handleDeviceWindow(RouteRequest& r);
  void handleSelectLocalArtworkLocation(RouteRequest& r);
  void handleGetLocalArtworkLocation(RouteRequest& r);
  void handleSelectLocalDownloadLocation(RouteRequest& r);
  void handleGetLocalDownloadLocation(RouteRequest& r);
  void handleGetUserStash(RouteRequest& r);
  void handleAddStashItem(RouteRequest& r);
  void handleRemoveStashItem(RouteRequest& r);
  void handleGetItemsForSkuId(RouteRequest& r);
  void handleStartDownload(RouteRequest& r);
  void handleCancelDownload(RouteRequest& r);
  void handlePauseDownload(RouteRequest& r);
  void handleResumeDownload(RouteRequest& r);
  void handleGetDownloadStatus(RouteRequest& r);
  void handleScanFiles(RouteRequest& r);
  void handleScanLocalFiles(RouteRequest& r);
  void handleScanCancel(RouteRequest& r);
  void handleScanGetProgress(RouteRequest& r);
  void handleClearLocalCache(RouteRequest& r);
  void handleGetLocalLibrary(RouteRequest& r);
  void handleAddToLibrary(RouteRequest& r);
  void handleShowTrackFile(RouteRequest& r);
  void handleGetAvailableYearsForArtist(RouteRequest& r);
  void handleSetHistory(RouteRequest& r);
  void handleGetHistory(RouteRequest& r);
  void handleCreatePlaylist(RouteRequest& r);
  void handleDeletePlaylist(RouteRequest& r);
  void handleDeleteItem(RouteRequest& r);
  void handleAddItemToPlaylist(RouteRequest& r);
  void handleRemoveItemFromPlaylist(RouteRequest& r);
  void handleMoveItemInPlaylist(RouteRequest& r);
  void handleSearch(RouteRequest& r);
  void handleSearchTidal(RouteRequest& r);

  // Listener registries, one per host interface.
  detail::ObservableBase<IVeloraPlaybackServiceListener> playbackListeners_;
  detail::ObservableBase<IVeloraEqualizerServiceListener> equalizerListeners_;
  detail::ObservableBase<IVeloraIRCServiceListener> ircListeners_;
  detail::ObservableBase<IVeloraACServiceListener> acListeners_;
  detail::ObservableBase<IVeloraHPServiceListener> hpListeners_;
  detail::ObservableBase<IVeloraLibraryServiceListener> libraryListeners_;
  detail::ObservableBase<IVeloraSettingsServiceListener> settingsListeners_;
  detail::ObservableBase<IVeloraRemoteServiceListener> remoteListeners_;

  bool serveStaticPage(web::http::http_request& request, const std::string& decodedPath,
                       const std::string& contentType);
  // The state-setter pattern: replace `key` in a document, raise the change
  // flag and wake one waiting poll. The value is built before the call.
  void publishState(web::json::value StateDocuments::*document, const char* key,
                    web::json::value value);
  // The same for keys that change together, so that a poll never sees one
  // without the others.
  void publishState(web::json::value StateDocuments::*document,
                    std::vector<std::pair<const char*, web::json::value>> entries);
  // The answer patterns: replace a slot; no poll is woken.
  void storeSlot(web::json::value ResponseSlots::*slot, web::json::value value);
  void storeLocalLibraryPage(web::json::value items, const char* etag, int itemCount,
                             int totalCount);
  static void storeAnswer(std::mutex& lock, web::json::value& slot, const char* json);
  void serveFile(web::http::http_request& request, const std::string& file,
                 const std::string& contentType);

  // Guards the listener holder: startListening() and shutdown() may race.
  std::mutex listenerMutex_;
  std::shared_ptr<web::http::experimental::listener::http_listener> listener_;
  std::shared_ptr<IServiceNotifier> notifier_;
  std::string pagesFolder_;

  std::mutex connectionMutex_;
  std::vector<std::shared_ptr<ConnectionDataEx>> connections_;

  StateCache cache_;
  ChangeFeed feed_;
  // Every change with its sequence number, for the "changes" route.
  ChangeStore changes_;
  // Requests taken in and not yet fully answered (parked polls included). The
  // listener is closed only once they are out: the HTTP library cannot close
  // under a reply still being written.
  std::mutex inflightMutex_;
  std::condition_variable drained_;
  int inflight_ = 0;
  std::atomic<bool> closing_{false};
  void admit();
  template <typename F>
  void guarded(web::http::http_request& request, F&& work);
  std::atomic<int> port_{0};

  // Digests of pictures already sent, and where each was last seen.
  std::mutex artworkMutex_;
  std::map<std::string, std::string> artworkDigests_;
};
