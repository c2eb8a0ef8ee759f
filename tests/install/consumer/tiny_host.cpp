// A tiny host built against the installed package. Compiling it checks the
// whole public header from outside the source tree: every listener interface
// is implemented in full (a class that missed or misspelt a callback could not
// be instantiated, and `override` rejects any signature that drifted), every
// record is aggregate-initialised, and every service operation is called in
// code that must compile and link. Running it checks what a host relies on
// before it starts listening.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include <velora/VeloraRemoteSDK.h>

namespace {

int checks = 0;
int failures = 0;

#define CHECK(condition)                                                                 \
  do {                                                                                   \
    ++checks;                                                                            \
    if (!(condition)) {                                                                  \
      ++failures;                                                                        \
      std::fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #condition); \
    }                                                                                    \
  } while (0)

// ---- Listeners: every callback of every interface, answering success. ----

class RemoteListener final : public IVeloraRemoteServiceListener {
 public:
  void onServicePublished(int&) override {}
  void onServicePublishFailed() override {}
  void onRemoteConnected(ConnectionData&) override {}
  void onRemoteDisconnected(int&) override {}
  void onRemoteAuthenticated(int&, bool&, int&) override {}
};

class LibraryListener final : public IVeloraLibraryServiceListener {
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
  void onLogin(const char*&, const char*&, const char*&, int& status) override { status = 0; }
  void onGetLogin(const char*&, int& status) override { status = 0; }
  void onLogout(const char*&, int& status) override { status = 0; }
  void onPairing(int& status) override { status = 0; }
  void onSave(int& status) override { status = 0; }
  void onGetUserStash(int& status) override { status = 0; }
  void onAddStashItem(const char*&, const char*&, const char*&, const char*&,
                      int& status) override {
    status = 0;
  }
  void onGetItemsForSkuId(const char*&, int& status) override { status = 0; }
  void onRemoveStashItem(const char*&, int& status) override { status = 0; }
  void onStartDownload(const char*&, int& status) override { status = 0; }
  void onCancelDownload(const char*&, int& status) override { status = 0; }
  void onPauseDownload(const char*&, int& status) override { status = 0; }
  void onResumeDownload(const char*&, int& status) override { status = 0; }
  void onGetDownloadStatus(const char*&, int& status) override { status = 0; }
  void onScanFiles(const char*&, int& status) override { status = 0; }
  void onScanCancel(const char*&, int& status) override { status = 0; }
  void onScanGetProgress(const char*&, int& status) override { status = 0; }
  void onClearLocalCache(const char*&, int& status) override { status = 0; }
  void onGetLocalLibrary(const char*&, const char*&, const char*&, const char*&, const char*&,
                         const char*&, const char*&, int& status) override {
    status = 0;
  }
  void onGetArtist(const char*&, const char*&, const char*&, const char*&, const char*&,
                   const char*&, int& status) override {
    status = 0;
  }
  void onGetAlbum(const char*&, const char*&, const char*&, const char*&, const char*&,
                  int& status) override {
    status = 0;
  }
  void onGetArtistInfo(const char*&, int& status) override { status = 0; }
  void onGetAlbumInfo(const char*&, int& status) override { status = 0; }
  void onGetPlaylistInfo(const char*&, int& status) override { status = 0; }
  void onSetPlaylistInfo(const char*&, const char*&, const char*&, const char*&, const char*&,
                         int& status) override {
    status = 0;
  }
  void onGetDevices(int& status) override { status = 0; }
  void onSetDevice(const char*&, const char*&, const char*&, const char*&, int& status) override {
    status = 0;
  }
  void onGetOptions(int& status) override { status = 0; }
  void onSetOptions(const char*&, const char*&, const char*&, const char*&, const char*&,
                    const char*&, const char*&, const char*&, const char*&, const char*&,
                    const char*&, const char*&, const char*&, const char*&, const char*&,
                    int& status) override {
    status = 0;
  }
  void onGetAppConfig(int& status) override { status = 0; }
  void onSelectLocalDownloadLocation(int& status) override { status = 0; }
  void onGetLocalDownloadLocation(int& status) override { status = 0; }
  void onSelectLocalArtworkLocation(const char*&, int& status) override { status = 0; }
  void onGetLocalArtworkLocation(const char*&, int& status) override { status = 0; }
  void onAddToLibrary(const char*&, int& status) override { status = 0; }
  void onSetPlayState(const char*&, int& status) override { status = 0; }
  void onGetPlayState(int& status) override { status = 0; }
  void onSetPlaybackItem(const char*&, const char*&, const char*&, const char*&, const char*&,
                         int& status) override {
    status = 0;
  }
  void onShowTrackFile(const char*&, int& status) override { status = 0; }
  void onGetAvailableYearsForArtist(const char*&, int& status) override { status = 0; }
  void onGetNowPlaying(int& status) override { status = 0; }
  void onSetHistory(const char*&, int& status) override { status = 0; }
  void onGetHistory(int& status) override { status = 0; }
  void onSearch(const char*&, const char*&, const char*&, const char*&, int& status) override {
    status = 0;
  }
  void onSearchTidal(const char*&, const char*&, const char*&, const char*&, int& status) override {
    status = 0;
  }
  void onDeleteItem(const char*&, const char*&, const char*&, int& status) override { status = 0; }
  void onCreatePlaylist(const char*&, int& status) override { status = 0; }
  void onDeletePlaylist(const char*&, int& status) override { status = 0; }
  void onAddItemToPlaylist(const char*&, const char*&, int& status) override { status = 0; }
  void onRemoveItemFromPlaylist(const char*&, const char*&, const char*&, int& status) override {
    status = 0;
  }
  void onMoveItemInPlaylist(const char*&, const char*&, const char*&, int& status) override {
    status = 0;
  }
  void onGetHeartbeat(int& status) override { status = 0; }
  void onInputMode(const char*&, const char*&, int& status) override { status = 0; }
  void onDeviceWindow(int& status) override { status = 0; }
  void onNavigation(const char*&, int& status) override { status = 0; }
  void onQuit(int& status) override { status = 0; }
  void onPing(int& status) override { status = 0; }
  void onPlayerSetItem(const char*&, const char*&, const char*&, const char*&, const char*&,
                       const char*&, const char*&, int& status) override {
    status = 0;
  }
  void onPlayerPing(int& status) override { status = 0; }
  void onPlayerPlay(const char*&, const char*&, int& status) override { status = 0; }
  void onPlayerPause(int& status) override { status = 0; }
  void onPlayerHeartbeat(int& status) override { status = 0; }
};

class PlaybackListener final : public IVeloraPlaybackServiceListener {
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

class EqualizerListener final : public IVeloraEqualizerServiceListener {
 public:
  void onSetEQState(bool&) override {}
  void onApplyEQPreset(EQPreset&) override {}
  void onRequestEQState() override {}
  void onRequestEQPresetList() override {}
  void onRequestEQPreset() override {}
  void onGetEQPresetList(int& status) override { status = 0; }
  void onGetEQPreset(int& status) override { status = 0; }
  void onSetEQPreset(const char*&, const char*&, int& status) override { status = 0; }
};

class IRCListener final : public IVeloraIRCServiceListener {
 public:
  void onSetIRCState(bool&) override {}
  void onApplyIRCPreset(IRCPreset&) override {}
  void onRequestIRCState() override {}
  void onRequestIRCPresetList() override {}
  void onRequestIRCPreset() override {}
  void onRequestIRCGain() override {}
  void onSetIRCGain(int&) override {}
  void onGetIRCPresetList(int& status) override { status = 0; }
  void onGetIRCPreset(int& status) override { status = 0; }
  void onSetIRCPreset(const char*&, const char*&, int& status) override { status = 0; }
};

class ACListener final : public IVeloraACServiceListener {
 public:
  void onSetACState(bool&) override {}
  void onApplyACPreset(ACPreset&) override {}
  void onRequestACState() override {}
  void onRequestACPresetList() override {}
  void onRequestACPreset() override {}
  void onGetACPresetList(int& status) override { status = 0; }
  void onGetACPreset(int& status) override { status = 0; }
  void onSetACPreset(const char*&, const char*&, int& status) override { status = 0; }
};

class HPListener final : public IVeloraHPServiceListener {
 public:
  void onSetHPState(bool&) override {}
  void onApplyHPPreset(HPPreset&) override {}
  void onRequestHPState() override {}
  void onRequestHPPresetList() override {}
  void onRequestHPPreset() override {}
  void onGetHPPresetList(int& status) override { status = 0; }
  void onGetHPPreset(int& status) override { status = 0; }
  void onSetHPPreset(const char*&, const char*&, int& status) override { status = 0; }
};

class SettingsListener final : public IVeloraSettingsServiceListener {
 public:
  void onRequestOutputDevices() override {}
  void onSetOutputDevice(const char*&) override {}
  void onRequestSettingsValues() override {}
  void onSetSettingsValues(bool&, bool&, bool&) override {}
};

// ---- Layout of the records and the enum, as a binary host sees them. ----

static_assert(std::is_same_v<std::underlying_type_t<VeloraLibraryItemSource>, int32_t>);
static_assert(VeloraSourceLocal == 0 && VeloraSourceStreaming == 1 && VeloraSourceOther == 2 &&
              VeloraSourceMood == 3 && VeloraSourceUnspecified == 4);

template <typename T>
constexpr bool isPlainRecord = std::is_standard_layout_v<T>&& std::is_trivially_copyable_v<T>;
static_assert(isPlainRecord<Capabilities> && isPlainRecord<ConnectionData> &&
              isPlainRecord<MQAState> && isPlainRecord<PlaybackState> &&
              isPlainRecord<PlaybackMode> && isPlainRecord<PlaybackCommand> &&
              isPlainRecord<EQBand> && isPlainRecord<HPPreset> && isPlainRecord<ACPreset> &&
              isPlainRecord<IRCPreset>);

static_assert(sizeof(Capabilities) == sizeof(uint32_t));
static_assert(offsetof(ConnectionData, code) < offsetof(ConnectionData, name) &&
              offsetof(ConnectionData, name) < offsetof(ConnectionData, authstatus) &&
              offsetof(ConnectionData, authstatus) < offsetof(ConnectionData, disconnected) &&
              offsetof(ConnectionData, disconnected) < offsetof(ConnectionData, version) &&
              offsetof(ConnectionData, version) < offsetof(ConnectionData, product) &&
              offsetof(ConnectionData, product) < offsetof(ConnectionData, token) &&
              offsetof(ConnectionData, token) < offsetof(ConnectionData, capabilities));
static_assert(sizeof(ConnectionData::name) == 40 && sizeof(ConnectionData::product) == 40 &&
              sizeof(ConnectionData::token) == 40);
static_assert(offsetof(MQAState, state) < offsetof(MQAState, osr) &&
              offsetof(MQAState, osr) < offsetof(MQAState, customrate));
static_assert(offsetof(PlaybackState, state) < offsetof(PlaybackState, trackid) &&
              offsetof(PlaybackState, trackid) < offsetof(PlaybackState, duration) &&
              offsetof(PlaybackState, duration) < offsetof(PlaybackState, elapsed) &&
              offsetof(PlaybackState, elapsed) < offsetof(PlaybackState, lgain) &&
              offsetof(PlaybackState, lgain) < offsetof(PlaybackState, rgain) &&
              offsetof(PlaybackState, rgain) < offsetof(PlaybackState, mqa) &&
              offsetof(PlaybackState, mqa) < offsetof(PlaybackState, error));
static_assert(offsetof(PlaybackCommand, command) < offsetof(PlaybackCommand, index) &&
              offsetof(PlaybackCommand, index) < offsetof(PlaybackCommand, itemid));
static_assert(offsetof(EQBand, order) < offsetof(EQBand, fband) &&
              offsetof(EQBand, fband) < offsetof(EQBand, bband) &&
              offsetof(EQBand, bband) < offsetof(EQBand, qband) &&
              offsetof(EQBand, qband) < offsetof(EQBand, filter));
static_assert(offsetof(HPPreset, name) < offsetof(HPPreset, id) &&
              offsetof(ACPreset, name) < offsetof(ACPreset, id) &&
              offsetof(IRCPreset, name) < offsetof(IRCPreset, id));

// ---- Interfaces: implemented by the library, never by the host. ----

static_assert(std::is_abstract_v<IVeloraRemoteCoordinator> &&
              std::has_virtual_destructor_v<IVeloraRemoteCoordinator>);
static_assert(std::is_abstract_v<IVeloraLibraryService> &&
              std::is_abstract_v<IVeloraPlaybackService> &&
              std::is_abstract_v<IVeloraEqualizerService> &&
              std::is_abstract_v<IVeloraIRCService> && std::is_abstract_v<IVeloraACService> &&
              std::is_abstract_v<IVeloraHPService> && std::is_abstract_v<IVeloraSettingsService>);
static_assert(std::has_virtual_destructor_v<Track> && std::has_virtual_destructor_v<Album> &&
              std::has_virtual_destructor_v<Artist> && std::has_virtual_destructor_v<Genre> &&
              std::has_virtual_destructor_v<Playlist> && std::has_virtual_destructor_v<Mood>);
static_assert(std::is_same_v<decltype(mServicePort), int> &&
              std::is_same_v<decltype(ZIP_THRESHOLD), int>);
static_assert(std::is_same_v<decltype(getSDKVersionStr()), std::string> &&
              std::is_same_v<decltype(getSDKVersionInt()), int>);

// Never run (the items it would need come from factories a host calls only
// once it has a library to show); it has to compile and link, which pins the
// name, parameters and result of every operation a host calls.
[[maybe_unused]] void callEveryOperation(IVeloraRemoteCoordinator& service) {
  Capabilities capabilities{1};
  service.authenticate(1, "tiny-host", capabilities);
  service.disconnect(0);

  IVeloraLibraryService& library = *service.getLibraryService();
  Track* track = nullptr;
  Album* album = nullptr;
  Artist* artist = nullptr;
  Genre* genre = nullptr;
  Playlist* playlist = nullptr;
  std::vector<Track*> tracks{track};
  std::vector<Album*> albums{album};
  std::vector<Artist*> artists{artist};
  std::vector<Playlist*> playlists{playlist};
  library.setTrackInfo(track);
  library.setTrackList(tracks, 0);
  library.setPlaynextList(tracks);
  library.setAlbumList(albums, 0);
  library.setArtistList(artists, 0);
  library.setGenreList(std::vector<Genre*>{genre});
  library.setPlaylistList(playlists);
  library.setMoodList(std::vector<Mood*>{});
  library.setGenre(genre);
  library.setPlaylist(playlist);
  library.setAlbum(album);
  library.setArtist(artist);
  library.setMyLibraryItemDirty();
  library.setSearchResults(artists, albums, tracks, playlists, "term");
  library.setArtworkData("/tmp/a.jpg", "id");
  library.setLoginResponse("token");
  library.setGetLoginResponse("user", "password", "token", "user2", "password2", "service");
  library.setGetUserStashResponse("{}");
  library.setGetItemsForSkuIdResponse("{}");
  library.setGetDownloadStatusResponse("{}");
  library.setGetLocalLibraryTracks(tracks, "etag", 1, 1);
  library.setGetLocalLibraryAlbums(albums, "etag", 1, 1);
  library.setGetLocalLibraryArtists(artists, "etag", 1, 1);
  library.setGetLocalLibraryPlaylists(playlists, "etag", 1, 1);
  library.setGetDevicesResponse("{}");
  library.setGetOptionsResponse("{}");
  library.setGetLocalDownloadLocationResponse("{}");
  library.setGetArtworkLocationResponse("{}");
  library.setGetPlayStateResponse("{}");
  library.setGetAvailableYearsForArtistResponse("{}");
  library.setGetNowPlayingResponse(tracks);
  library.setGetArtistResponse(albums, 1);
  library.setGetArtistResponse(artists, 1);
  library.setGetAlbumResponse(albums, 1);
  library.setGetPlaylistResponse(playlists, 1);
  library.setScanProgressResponse(50.0f, "scanning");
  library.setGetHistoryResponse("[]");
  library.setCreatePlaylistResponse(playlists);
  library.setSearchResponse(albums);
  library.setSearchResponse(artists);
  library.setSearchResponse(playlists);
  library.setSearchResponse(tracks);
  library.setGetHeartbeatResponse("{}");
  library.setGetAppConfigResponse("{}");
  library.setPlayerResponse("{}");

  IVeloraPlaybackService& playback = *service.getPlaybackService();
  playback.setVolumeLevel(40);
  playback.setMuteState(false);
  PlaybackState state{1, "track", 200.0f, 10.0f, 1.0f, 1.0f, {0, 1.0, nullptr}, nullptr};
  playback.setPlaybackState(state);
  PlaybackMode mode{2};
  playback.setPlaybackMode(mode);

  IVeloraEqualizerService& equalizer = *service.getEqualizerService();
  EQPreset eq{"flat", 1, {}};
  std::vector<EQPreset> eqs{eq};
  equalizer.setEQState(true);
  equalizer.setEQCurrentPreset(eq);
  equalizer.setEQPresetList(eqs);
  equalizer.setGetEQPresetResponse("{}");
  equalizer.setGetEQPresetListResponse("[]");

  IVeloraIRCService& irc = *service.getIRCService();
  IRCPreset ircPreset{"room", 2};
  std::vector<IRCPreset> ircs{ircPreset};
  irc.setIRCState(true);
  irc.setIRCGain(3);
  irc.setIRCCurrentPreset(ircPreset);
  irc.setIRCPresetList(ircs);
  irc.setGetIRCPresetResponse("{}");
  irc.setGetIRCPresetListResponse("[]");

  IVeloraACService& ac = *service.getACService();
  ACPreset acPreset{"near", 3};
  std::vector<ACPreset> acs{acPreset};
  ac.setACState(true);
  ac.setACCurrentPreset(acPreset);
  ac.setACPresetList(acs);

  IVeloraHPService& hp = *service.getHPService();
  HPPreset hpPreset{"open", 4};
  std::vector<HPPreset> hps{hpPreset};
  hp.setHPState(true);
  hp.setHPCurrentPreset(hpPreset);
  hp.setHPPresetList(hps);
  hp.setGetHPPresetResponse("{}");
  hp.setGetHPPresetListResponse("[]");

  IVeloraSettingsService& settings = *service.getSettingsService();
  std::vector<const char*> devices{"Speakers", "Headphones"};
  settings.setOutputDeviceList(devices, "Speakers");
  settings.setSettingsValues(true, false, true);
}

// The order of the virtual functions is the binary contract between a host
// and the library: a host built against one release calls slots by number in
// the library of another. Under the Itanium C++ ABI (every compiler that
// targets Linux) a pointer to a virtual member holds 1 + the slot's byte
// offset in the vtable, which lets the order be read back from the header.
template <typename MemberFunction>
std::ptrdiff_t vtableSlot(MemberFunction member) {
  struct Representation {
    std::uintptr_t pointer;
    std::ptrdiff_t adjustment;
  };
  static_assert(sizeof(MemberFunction) == sizeof(Representation));
  Representation representation;
  std::memcpy(&representation, &member, sizeof representation);
  if ((representation.pointer & 1) == 0) return -1;  // not virtual
  return static_cast<std::ptrdiff_t>((representation.pointer - 1) / sizeof(void*));
}

// True when the members occupy consecutive slots from `first` on. Items start
// at 2: their virtual destructor takes the first two slots.
template <typename... MemberFunctions>
bool inVtableOrder(std::ptrdiff_t first, MemberFunctions... members) {
  std::ptrdiff_t expected = first;
  bool ordered = true;
  ((ordered = ordered && vtableSlot(members) == expected++), ...);
  return ordered;
}

void checkVtableOrder() {
  CHECK(inVtableOrder(
      0, &IVeloraRemoteServiceListener::onServicePublished,
      &IVeloraRemoteServiceListener::onServicePublishFailed,
      &IVeloraRemoteServiceListener::onRemoteConnected,
      &IVeloraRemoteServiceListener::onRemoteDisconnected,
      &IVeloraRemoteServiceListener::onRemoteAuthenticated));  // IVeloraRemoteServiceListener
  CHECK(inVtableOrder(
      0, &IVeloraLibraryServiceListener::onRequestAlbums,
      &IVeloraLibraryServiceListener::onRequestTracks,
      &IVeloraLibraryServiceListener::onRequestArtists,
      &IVeloraLibraryServiceListener::onRequestMoods, &IVeloraLibraryServiceListener::onRequestMood,
      &IVeloraLibraryServiceListener::onRequestTrack,
      &IVeloraLibraryServiceListener::onRequestPlaynext,
      &IVeloraLibraryServiceListener::onRequestGenres,
      &IVeloraLibraryServiceListener::onRequestGenre,
      &IVeloraLibraryServiceListener::onRequestPlaylists,
      &IVeloraLibraryServiceListener::onRequestPlaylist,
      &IVeloraLibraryServiceListener::onRequestAlbum,
      &IVeloraLibraryServiceListener::onRequestArtist,
      &IVeloraLibraryServiceListener::onAddToMyMusic0,
      &IVeloraLibraryServiceListener::onRequestAddToPlaylist,
      &IVeloraLibraryServiceListener::onAddToMyMusic2,
      &IVeloraLibraryServiceListener::onAddToMyMusic1,
      &IVeloraLibraryServiceListener::onAddToMyMusic3,
      &IVeloraLibraryServiceListener::onRequestCreatePlaylist,
      &IVeloraLibraryServiceListener::onRequestLibrary,
      &IVeloraLibraryServiceListener::onRequestSearch,
      &IVeloraLibraryServiceListener::onReservedSlot21,
      &IVeloraLibraryServiceListener::onRequestDeleteTrack,
      &IVeloraLibraryServiceListener::onRequestDeleteArtist,
      &IVeloraLibraryServiceListener::onRequestDeleteAlbum,
      &IVeloraLibraryServiceListener::onRequestArtwork,
      &IVeloraLibraryServiceListener::onPageServed, &IVeloraLibraryServiceListener::onLogin,
      &IVeloraLibraryServiceListener::onGetLogin, &IVeloraLibraryServiceListener::onLogout,
      &IVeloraLibraryServiceListener::onPairing, &IVeloraLibraryServiceListener::onSave,
      &IVeloraLibraryServiceListener::onGetUserStash,
      &IVeloraLibraryServiceListener::onAddStashItem,
      &IVeloraLibraryServiceListener::onGetItemsForSkuId,
      &IVeloraLibraryServiceListener::onRemoveStashItem,
      &IVeloraLibraryServiceListener::onStartDownload,
      &IVeloraLibraryServiceListener::onCancelDownload,
      &IVeloraLibraryServiceListener::onPauseDownload,
      &IVeloraLibraryServiceListener::onResumeDownload,
      &IVeloraLibraryServiceListener::onGetDownloadStatus,
      &IVeloraLibraryServiceListener::onScanFiles, &IVeloraLibraryServiceListener::onScanCancel,
      &IVeloraLibraryServiceListener::onScanGetProgress,
      &IVeloraLibraryServiceListener::onClearLocalCache,
      &IVeloraLibraryServiceListener::onGetLocalLibrary,
      &IVeloraLibraryServiceListener::onGetArtist, &IVeloraLibraryServiceListener::onGetAlbum,
      &IVeloraLibraryServiceListener::onGetArtistInfo,
      &IVeloraLibraryServiceListener::onGetAlbumInfo,
      &IVeloraLibraryServiceListener::onGetPlaylistInfo,
      &IVeloraLibraryServiceListener::onSetPlaylistInfo,
      &IVeloraLibraryServiceListener::onGetDevices, &IVeloraLibraryServiceListener::onSetDevice,
      &IVeloraLibraryServiceListener::onGetOptions, &IVeloraLibraryServiceListener::onSetOptions,
      &IVeloraLibraryServiceListener::onGetAppConfig,
      &IVeloraLibraryServiceListener::onSelectLocalDownloadLocation,
      &IVeloraLibraryServiceListener::onGetLocalDownloadLocation,
      &IVeloraLibraryServiceListener::onSelectLocalArtworkLocation,
      &IVeloraLibraryServiceListener::onGetLocalArtworkLocation,
      &IVeloraLibraryServiceListener::onAddToLibrary,
      &IVeloraLibraryServiceListener::onSetPlayState,
      &IVeloraLibraryServiceListener::onGetPlayState,
      &IVeloraLibraryServiceListener::onSetPlaybackItem,
      &IVeloraLibraryServiceListener::onShowTrackFile,
      &IVeloraLibraryServiceListener::onGetAvailableYearsForArtist,
      &IVeloraLibraryServiceListener::onGetNowPlaying, &IVeloraLibraryServiceListener::onSetHistory,
      &IVeloraLibraryServiceListener::onGetHistory, &IVeloraLibraryServiceListener::onSearch,
      &IVeloraLibraryServiceListener::onSearchTidal, &IVeloraLibraryServiceListener::onDeleteItem,
      &IVeloraLibraryServiceListener::onCreatePlaylist,
      &IVeloraLibraryServiceListener::onDeletePlaylist,
      &IVeloraLibraryServiceListener::onAddItemToPlaylist,
      &IVeloraLibraryServiceListener::onRemoveItemFromPlaylist,
      &IVeloraLibraryServiceListener::onMoveItemInPlaylist,
      &IVeloraLibraryServiceListener::onGetHeartbeat, &IVeloraLibraryServiceListener::onInputMode,
      &IVeloraLibraryServiceListener::onDeviceWindow, &IVeloraLibraryServiceListener::onNavigation,
      &IVeloraLibraryServiceListener::onQuit, &IVeloraLibraryServiceListener::onPing,
      &IVeloraLibraryServiceListener::onPlayerSetItem, &IVeloraLibraryServiceListener::onPlayerPing,
      &IVeloraLibraryServiceListener::onPlayerPlay, &IVeloraLibraryServiceListener::onPlayerPause,
      &IVeloraLibraryServiceListener::onPlayerHeartbeat));  // IVeloraLibraryServiceListener
  CHECK(inVtableOrder(
      0, &IVeloraPlaybackServiceListener::onSetVolume, &IVeloraPlaybackServiceListener::onSetMute,
      &IVeloraPlaybackServiceListener::onPlaybackCommand,
      &IVeloraPlaybackServiceListener::onMoveTrack,
      &IVeloraPlaybackServiceListener::onRequestVolume,
      &IVeloraPlaybackServiceListener::onRequestMute,
      &IVeloraPlaybackServiceListener::onRequestPlayerState,
      &IVeloraPlaybackServiceListener::onRequestMode, &IVeloraPlaybackServiceListener::onNext,
      &IVeloraPlaybackServiceListener::onPrevious,
      &IVeloraPlaybackServiceListener::onSetMode));  // IVeloraPlaybackServiceListener
  CHECK(inVtableOrder(
      0, &IVeloraEqualizerServiceListener::onSetEQState,
      &IVeloraEqualizerServiceListener::onApplyEQPreset,
      &IVeloraEqualizerServiceListener::onRequestEQState,
      &IVeloraEqualizerServiceListener::onRequestEQPresetList,
      &IVeloraEqualizerServiceListener::onRequestEQPreset,
      &IVeloraEqualizerServiceListener::onGetEQPresetList,
      &IVeloraEqualizerServiceListener::onGetEQPreset,
      &IVeloraEqualizerServiceListener::onSetEQPreset));  // IVeloraEqualizerServiceListener
  CHECK(inVtableOrder(
      0, &IVeloraHPServiceListener::onSetHPState, &IVeloraHPServiceListener::onApplyHPPreset,
      &IVeloraHPServiceListener::onRequestHPState, &IVeloraHPServiceListener::onRequestHPPresetList,
      &IVeloraHPServiceListener::onRequestHPPreset, &IVeloraHPServiceListener::onGetHPPresetList,
      &IVeloraHPServiceListener::onGetHPPreset,
      &IVeloraHPServiceListener::onSetHPPreset));  // IVeloraHPServiceListener
  CHECK(inVtableOrder(
      0, &IVeloraACServiceListener::onSetACState, &IVeloraACServiceListener::onApplyACPreset,
      &IVeloraACServiceListener::onRequestACState, &IVeloraACServiceListener::onRequestACPresetList,
      &IVeloraACServiceListener::onRequestACPreset, &IVeloraACServiceListener::onGetACPresetList,
      &IVeloraACServiceListener::onGetACPreset,
      &IVeloraACServiceListener::onSetACPreset));  // IVeloraACServiceListener
  CHECK(inVtableOrder(
      0, &IVeloraIRCServiceListener::onSetIRCState, &IVeloraIRCServiceListener::onApplyIRCPreset,
      &IVeloraIRCServiceListener::onRequestIRCState,
      &IVeloraIRCServiceListener::onRequestIRCPresetList,
      &IVeloraIRCServiceListener::onRequestIRCPreset, &IVeloraIRCServiceListener::onRequestIRCGain,
      &IVeloraIRCServiceListener::onSetIRCGain, &IVeloraIRCServiceListener::onGetIRCPresetList,
      &IVeloraIRCServiceListener::onGetIRCPreset,
      &IVeloraIRCServiceListener::onSetIRCPreset));  // IVeloraIRCServiceListener
  CHECK(inVtableOrder(
      0, &IVeloraSettingsServiceListener::onRequestOutputDevices,
      &IVeloraSettingsServiceListener::onSetOutputDevice,
      &IVeloraSettingsServiceListener::onRequestSettingsValues,
      &IVeloraSettingsServiceListener::onSetSettingsValues));  // IVeloraSettingsServiceListener
  CHECK(inVtableOrder(
      0, &IVeloraRemoteCoordinator::shutdown, &IVeloraRemoteCoordinator::startListening,
      &IVeloraRemoteCoordinator::disconnect, &IVeloraRemoteCoordinator::authenticate,
      &IVeloraRemoteCoordinator::getLibraryService, &IVeloraRemoteCoordinator::getPlaybackService,
      &IVeloraRemoteCoordinator::getEqualizerService, &IVeloraRemoteCoordinator::getIRCService,
      &IVeloraRemoteCoordinator::getACService, &IVeloraRemoteCoordinator::getHPService,
      &IVeloraRemoteCoordinator::getSettingsService,
      &IVeloraRemoteCoordinator::registerForNotification,
      &IVeloraRemoteCoordinator::unregisterFromNotification));  // IVeloraRemoteCoordinator
  CHECK(inVtableOrder(
      0, &IVeloraLibraryService::setTrackInfo, &IVeloraLibraryService::setTrackList,
      &IVeloraLibraryService::setPlaynextList, &IVeloraLibraryService::setAlbumList,
      &IVeloraLibraryService::setArtistList, &IVeloraLibraryService::setGenreList,
      &IVeloraLibraryService::setPlaylistList, &IVeloraLibraryService::setMoodList,
      &IVeloraLibraryService::setGenre, &IVeloraLibraryService::setPlaylist,
      &IVeloraLibraryService::setAlbum, &IVeloraLibraryService::setArtist,
      &IVeloraLibraryService::setMyLibraryItemDirty, &IVeloraLibraryService::setSearchResults,
      &IVeloraLibraryService::setArtworkData, &IVeloraLibraryService::registerForNotification,
      &IVeloraLibraryService::unregisterFromNotification, &IVeloraLibraryService::setLoginResponse,
      &IVeloraLibraryService::setGetLoginResponse, &IVeloraLibraryService::setGetUserStashResponse,
      &IVeloraLibraryService::setGetItemsForSkuIdResponse,
      &IVeloraLibraryService::setGetDownloadStatusResponse,
      &IVeloraLibraryService::setGetLocalLibraryTracks,
      &IVeloraLibraryService::setGetLocalLibraryAlbums,
      &IVeloraLibraryService::setGetLocalLibraryArtists,
      &IVeloraLibraryService::setGetLocalLibraryPlaylists,
      &IVeloraLibraryService::setGetDevicesResponse, &IVeloraLibraryService::setGetOptionsResponse,
      &IVeloraLibraryService::setGetLocalDownloadLocationResponse,
      &IVeloraLibraryService::setGetArtworkLocationResponse,
      &IVeloraLibraryService::setGetPlayStateResponse,
      &IVeloraLibraryService::setGetAvailableYearsForArtistResponse,
      &IVeloraLibraryService::setGetNowPlayingResponse,
      static_cast<void (IVeloraLibraryService::*)(std::vector<Album*>, int)>(
          &IVeloraLibraryService::setGetArtistResponse),
      static_cast<void (IVeloraLibraryService::*)(std::vector<Artist*>, int)>(
          &IVeloraLibraryService::setGetArtistResponse),
      &IVeloraLibraryService::setGetAlbumResponse, &IVeloraLibraryService::setGetPlaylistResponse,
      &IVeloraLibraryService::setScanProgressResponse,
      &IVeloraLibraryService::setGetHistoryResponse,
      &IVeloraLibraryService::setCreatePlaylistResponse,
      static_cast<void (IVeloraLibraryService::*)(std::vector<Album*>)>(
          &IVeloraLibraryService::setSearchResponse),
      static_cast<void (IVeloraLibraryService::*)(std::vector<Artist*>)>(
          &IVeloraLibraryService::setSearchResponse),
      static_cast<void (IVeloraLibraryService::*)(std::vector<Playlist*>)>(
          &IVeloraLibraryService::setSearchResponse),
      static_cast<void (IVeloraLibraryService::*)(std::vector<Track*>)>(
          &IVeloraLibraryService::setSearchResponse),
      &IVeloraLibraryService::setGetHeartbeatResponse,
      &IVeloraLibraryService::setGetAppConfigResponse,
      &IVeloraLibraryService::setPlayerResponse));  // IVeloraLibraryService
  CHECK(inVtableOrder(
      0, &IVeloraPlaybackService::setVolumeLevel, &IVeloraPlaybackService::setMuteState,
      &IVeloraPlaybackService::setPlaybackState, &IVeloraPlaybackService::setPlaybackMode,
      &IVeloraPlaybackService::registerForNotification,
      &IVeloraPlaybackService::unregisterFromNotification));  // IVeloraPlaybackService
  CHECK(inVtableOrder(
      0, &IVeloraEqualizerService::setEQState, &IVeloraEqualizerService::setEQCurrentPreset,
      &IVeloraEqualizerService::setEQPresetList, &IVeloraEqualizerService::registerForNotification,
      &IVeloraEqualizerService::unregisterFromNotification,
      &IVeloraEqualizerService::setGetEQPresetResponse,
      &IVeloraEqualizerService::setGetEQPresetListResponse));  // IVeloraEqualizerService
  CHECK(inVtableOrder(0, &IVeloraIRCService::setIRCState, &IVeloraIRCService::setIRCGain,
                      &IVeloraIRCService::setIRCCurrentPreset, &IVeloraIRCService::setIRCPresetList,
                      &IVeloraIRCService::registerForNotification,
                      &IVeloraIRCService::unregisterFromNotification,
                      &IVeloraIRCService::setGetIRCPresetResponse,
                      &IVeloraIRCService::setGetIRCPresetListResponse));  // IVeloraIRCService
  CHECK(inVtableOrder(0, &IVeloraACService::setACState, &IVeloraACService::setACCurrentPreset,
                      &IVeloraACService::setACPresetList,
                      &IVeloraACService::registerForNotification,
                      &IVeloraACService::unregisterFromNotification));  // IVeloraACService
  CHECK(inVtableOrder(
      0, &IVeloraHPService::setHPState, &IVeloraHPService::setHPCurrentPreset,
      &IVeloraHPService::setHPPresetList, &IVeloraHPService::registerForNotification,
      &IVeloraHPService::unregisterFromNotification, &IVeloraHPService::setGetHPPresetResponse,
      &IVeloraHPService::setGetHPPresetListResponse));  // IVeloraHPService
  CHECK(inVtableOrder(
      0, &IVeloraSettingsService::setOutputDeviceList, &IVeloraSettingsService::setSettingsValues,
      &IVeloraSettingsService::registerForNotification,
      &IVeloraSettingsService::unregisterFromNotification));  // IVeloraSettingsService
  CHECK(inVtableOrder(2, &Track::setTrackName, &Track::setArtistName, &Track::setAlbumName,
                      &Track::setArtworkPath, &Track::setArtworkID, &Track::setArtistID,
                      &Track::setAlbumID, &Track::setDuration, &Track::setInfo,
                      &Track::setSampleRate, &Track::setFileType, &Track::setAvailable,
                      &Track::setLibraryLocation, &Track::setMQA, &Track::setPath));  // Track
  CHECK(inVtableOrder(2, &Album::setAlbumName, &Album::setArtistID, &Album::setArtistName,
                      &Album::setTracks, &Album::setArtworkPath, &Album::setArtworkID,
                      &Album::setInfo, &Album::setDuration, &Album::setTrackCount,
                      &Album::setAvailable, &Album::setLibraryLocation, &Album::setMQA));  // Album
  CHECK(inVtableOrder(2, &Artist::setArtistName, &Artist::setAlbums, &Artist::setArtworkPath,
                      &Artist::setArtworkID, &Artist::setInfo, &Artist::setAlbumCount,
                      &Artist::setTrackCount, &Artist::setAvailable,
                      &Artist::setLibraryLocation));  // Artist
  CHECK(inVtableOrder(2, &Genre::setGenreName, &Genre::setAlbums, &Genre::setPlaylists,
                      &Genre::setArtworkPath, &Genre::setArtworkID, &Genre::setInfo,
                      &Genre::setLibraryLocation));  // Genre
  CHECK(inVtableOrder(2, &Playlist::setPlaylistName, &Playlist::setTracks,
                      &Playlist::setArtworkPath, &Playlist::setArtworkID, &Playlist::setInfo,
                      &Playlist::setDuration, &Playlist::setTrackCount, &Playlist::setAvailable,
                      &Playlist::setMQA, &Playlist::setLibraryLocation));  // Playlist
  CHECK(inVtableOrder(2, &Mood::setMoodName, &Mood::setArtworkPath, &Mood::setArtworkID,
                      &Mood::setLibraryLocation));  // Mood
}

// Registers two listeners of one kind on `area` and checks the answers a host
// relies on: 4 added, 2 already there, 4 removed, 1 not there.
template <typename Area, typename Listener>
void checkRegistration(Area* area, const char* name) {
  std::fprintf(stderr, "registration: %s\n", name);
  CHECK(area != nullptr);
  if (area == nullptr) return;
  Listener first;
  Listener second;
  CHECK(area->registerForNotification(&first) == 4);
  CHECK(area->registerForNotification(&first) == 2);
  CHECK(area->registerForNotification(&second) == 4);
  CHECK(area->unregisterFromNotification(&first) == 4);
  CHECK(area->unregisterFromNotification(&first) == 1);
  CHECK(area->registerForNotification(&first) == 4);
  CHECK(area->unregisterFromNotification(&second) == 4);
  CHECK(area->unregisterFromNotification(&first) == 4);
  CHECK(area->unregisterFromNotification(&second) == 1);
}

}  // namespace

int main() {
  checkVtableOrder();

  CHECK(getSDKVersionStr() == "0.4.81");
  CHECK(getSDKVersionInt() == 4081);

  // The host may move the base port and the compression threshold before it
  // starts; both are plain variables shared with the library.
  CHECK(mServicePort == 35699);
  const int defaultThreshold = ZIP_THRESHOLD;
  CHECK(defaultThreshold > 0);
  mServicePort = 40111;
  ZIP_THRESHOLD = 1024;
  CHECK(mServicePort == 40111);
  CHECK(ZIP_THRESHOLD == 1024);
  mServicePort = 35699;
  ZIP_THRESHOLD = defaultThreshold;

  IVeloraRemoteCoordinator* service = VeloraRemoteSDK::getVeloraService();
  CHECK(service != nullptr);
  CHECK(VeloraRemoteSDK::getVeloraService() == service);
  if (service == nullptr) return 1;
  CHECK(service->getLibraryService() == service->getLibraryService());
  CHECK(service->getPlaybackService() == service->getPlaybackService());

  checkRegistration<IVeloraRemoteCoordinator, RemoteListener>(service, "remote");
  checkRegistration<IVeloraLibraryService, LibraryListener>(service->getLibraryService(),
                                                            "library");
  checkRegistration<IVeloraPlaybackService, PlaybackListener>(service->getPlaybackService(),
                                                              "playback");
  checkRegistration<IVeloraEqualizerService, EqualizerListener>(service->getEqualizerService(),
                                                                "equalizer");
  checkRegistration<IVeloraIRCService, IRCListener>(service->getIRCService(), "irc");
  checkRegistration<IVeloraACService, ACListener>(service->getACService(), "ac");
  checkRegistration<IVeloraHPService, HPListener>(service->getHPService(), "hp");
  checkRegistration<IVeloraSettingsService, SettingsListener>(service->getSettingsService(),
                                                              "settings");

  // A host picks source values of its own; they must survive as 32-bit values.
  const VeloraLibraryItemSource custom = static_cast<VeloraLibraryItemSource>(123456);
  CHECK(static_cast<int32_t>(custom) == 123456);
  CHECK(sizeof custom == 4);

  // Records are filled field by field in declaration order.
  Capabilities capabilities{0x0Fu};
  CHECK(capabilities.value == 0x0Fu);
  ConnectionData connection{7, "phone", true, false, 3, "product", "token", 5u};
  CHECK(connection.code == 7 && std::string(connection.name) == "phone" && connection.authstatus &&
        !connection.disconnected && connection.version == 3 &&
        std::string(connection.product) == "product" && std::string(connection.token) == "token" &&
        connection.capabilities == 5u);
  PlaybackState state{1, "t1", 240.5f, 12.0f, 0.5f, 0.75f, {1, 2.0, "44.1"}, nullptr};
  CHECK(state.state == 1 && std::string(state.trackid) == "t1" && state.duration == 240.5f &&
        state.elapsed == 12.0f && state.lgain == 0.5f && state.rgain == 0.75f &&
        state.mqa.state == 1 && state.mqa.osr == 2.0 &&
        std::string(state.mqa.customrate) == "44.1" && state.error == nullptr);
  PlaybackMode mode{3};
  CHECK(mode.mode == 3);
  PlaybackCommand command{1, 4, "item"};
  CHECK(command.command == 1 && command.index == 4 && std::string(command.itemid) == "item");
  EQPreset eq{"bass", 9, {{1.0, 60.0, 20.0, 0.7, 2}, {2.0, 8000.0, 40.0, 1.4, 3}}};
  CHECK(std::string(eq.name) == "bass" && eq.id == 9 && eq.bands.size() == 2 &&
        eq.bands[1].order == 2.0 && eq.bands[1].fband == 8000.0 && eq.bands[1].bband == 40.0 &&
        eq.bands[1].qband == 1.4 && eq.bands[1].filter == 3);
  HPPreset hp{"open", 1};
  ACPreset ac{"near", 2};
  IRCPreset irc{"room", 3};
  CHECK(hp.id == 1 && ac.id == 2 && irc.id == 3 && std::string(irc.name) == "room");

  // Closing a service that never listened is what a host does when it quits
  // early; it must be harmless, and harmless twice.
  service->shutdown();
  service->shutdown();

  std::printf("tiny-host: %d checks, %d failed\n", checks, failures);
  return failures == 0 ? 0 : 1;
}
