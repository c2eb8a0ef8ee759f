// A tiny host built against the installed package. Compiling it checks the
// public headers from outside the source tree: the SDK's null listeners (and
// with them the callback lists) build, and every record is
// aggregate-initialised. Running it checks the slot order of the interfaces,
// the binary contract, and what a host relies on before it starts listening.

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
static_assert(sizeof(ConnectionData::name) == 40 && sizeof(ConnectionData::product) == 40 &&
              sizeof(ConnectionData::token) == 40);

// A host built against one release calls slots by number in the library of
// another. Under the Itanium C++ ABI (every compiler that targets Linux) a
// pointer to a virtual member holds 1 + the slot's byte offset in the vtable,
// which lets the order be read back from the header.
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
  // The listeners, in the order of the installed callback lists.
#define SLOT(callback, ...) , &Listener::callback
#define LISTENER_ORDER(Area, CALLBACKS)                       \
  {                                                           \
    using Listener = IVelora##Area##ServiceListener;          \
    std::fprintf(stderr, "slot order: %s listener\n", #Area); \
    CHECK(inVtableOrder(0 CALLBACKS(SLOT)));                  \
  }
  VELORA_LISTENER_INTERFACES(LISTENER_ORDER)
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
template <typename Listener, typename Area>
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

  checkRegistration<NullVeloraRemoteServiceListener>(service, "remote");
  checkRegistration<NullVeloraLibraryServiceListener>(service->getLibraryService(), "library");
  checkRegistration<NullVeloraPlaybackServiceListener>(service->getPlaybackService(), "playback");
  checkRegistration<NullVeloraEqualizerServiceListener>(service->getEqualizerService(),
                                                        "equalizer");
  checkRegistration<NullVeloraIRCServiceListener>(service->getIRCService(), "irc");
  checkRegistration<NullVeloraACServiceListener>(service->getACService(), "ac");
  checkRegistration<NullVeloraHPServiceListener>(service->getHPService(), "hp");
  checkRegistration<NullVeloraSettingsServiceListener>(service->getSettingsService(), "settings");

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
