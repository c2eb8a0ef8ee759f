#pragma once

// Every callback of the listener interfaces in VeloraListeners.h, once, as
// lists a host (or a test) expands to write listeners without spelling the
// 143 signatures out again: null listeners, recorders, forwarders.
//
// Each interface has a list macro taking a macro X, which it applies to every
// callback in slot order:
//
//   X(callback, kind, (type, name), (type, name), ...)
//
// `kind` is `status` when the callback ends in the `int& status` the host
// answers through, `plain` otherwise. The helpers below turn the arguments
// after `callback` into a parameter list:
//
//   #define NO_OP(callback, ...) void callback(VELORA_LISTENER_TYPES(__VA_ARGS__)) override {}
//   class Quiet : public IVeloraPlaybackServiceListener {
//     VELORA_PLAYBACK_LISTENER_CALLBACKS(NO_OP)
//   };
//
// VELORA_LISTENER_INTERFACES(I) applies I(Area, LIST) to the eight interfaces,
// where the interface is IVelora##Area##ServiceListener and LIST its list.
//
// The lists must match the interfaces exactly: VeloraNullListeners.h is built
// from them with `override` on every callback, so a list that misses, adds or
// mistypes one does not compile; the installed-package test checks the order
// against the interfaces' slots.

#include "velora/VeloraListeners.h"

// ---- Helpers. `kind` always comes first, so no list of arguments is empty.

#define VELORA_LISTENER_PARAMS(...) VELORA_LISTENER_EACH_(VELORA_LISTENER_PARAM_, __VA_ARGS__)
#define VELORA_LISTENER_TYPES(...) VELORA_LISTENER_EACH_(VELORA_LISTENER_TYPE_, __VA_ARGS__)
#define VELORA_LISTENER_NAMES(...) VELORA_LISTENER_EACH_(VELORA_LISTENER_NAME_, __VA_ARGS__)
/// 1 when the callback ends in `int& status`, else 0.
#define VELORA_LISTENER_HAS_STATUS(...) \
  VELORA_LISTENER_CAT_(VELORA_LISTENER_HAS_STATUS_, VELORA_LISTENER_FIRST_(__VA_ARGS__, ~))

#define VELORA_LISTENER_HAS_STATUS_plain 0
#define VELORA_LISTENER_HAS_STATUS_status 1
#define VELORA_LISTENER_PARAM_(type, name) type name
#define VELORA_LISTENER_TYPE_(type, name) type
#define VELORA_LISTENER_NAME_(type, name) name
#define VELORA_LISTENER_FIRST_(first, ...) first
#define VELORA_LISTENER_CAT_(a, b) VELORA_LISTENER_CAT2_(a, b)
#define VELORA_LISTENER_CAT2_(a, b) a##b
#define VELORA_LISTENER_COUNT_(...) \
  VELORA_LISTENER_COUNT2_(__VA_ARGS__, 17, 16, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0)
#define VELORA_LISTENER_COUNT2_(_1, _2, _3, _4, _5, _6, _7, _8, _9, _10, _11, _12, _13, _14, _15, \
                                _16, _17, n, ...)                                                 \
  n
#define VELORA_LISTENER_EACH_(m, ...) \
  VELORA_LISTENER_CAT_(VELORA_LISTENER_EACH_, VELORA_LISTENER_COUNT_(__VA_ARGS__))(m, __VA_ARGS__)
#define VELORA_LISTENER_EACH_1(m, kind)
#define VELORA_LISTENER_EACH_2(m, kind, p) m p
#define VELORA_LISTENER_EACH_3(m, kind, p, ...) m p, VELORA_LISTENER_EACH_2(m, kind, __VA_ARGS__)
#define VELORA_LISTENER_EACH_4(m, kind, p, ...) m p, VELORA_LISTENER_EACH_3(m, kind, __VA_ARGS__)
#define VELORA_LISTENER_EACH_5(m, kind, p, ...) m p, VELORA_LISTENER_EACH_4(m, kind, __VA_ARGS__)
#define VELORA_LISTENER_EACH_6(m, kind, p, ...) m p, VELORA_LISTENER_EACH_5(m, kind, __VA_ARGS__)
#define VELORA_LISTENER_EACH_7(m, kind, p, ...) m p, VELORA_LISTENER_EACH_6(m, kind, __VA_ARGS__)
#define VELORA_LISTENER_EACH_8(m, kind, p, ...) m p, VELORA_LISTENER_EACH_7(m, kind, __VA_ARGS__)
#define VELORA_LISTENER_EACH_9(m, kind, p, ...) m p, VELORA_LISTENER_EACH_8(m, kind, __VA_ARGS__)
#define VELORA_LISTENER_EACH_10(m, kind, p, ...) m p, VELORA_LISTENER_EACH_9(m, kind, __VA_ARGS__)
#define VELORA_LISTENER_EACH_11(m, kind, p, ...) m p, VELORA_LISTENER_EACH_10(m, kind, __VA_ARGS__)
#define VELORA_LISTENER_EACH_12(m, kind, p, ...) m p, VELORA_LISTENER_EACH_11(m, kind, __VA_ARGS__)
#define VELORA_LISTENER_EACH_13(m, kind, p, ...) m p, VELORA_LISTENER_EACH_12(m, kind, __VA_ARGS__)
#define VELORA_LISTENER_EACH_14(m, kind, p, ...) m p, VELORA_LISTENER_EACH_13(m, kind, __VA_ARGS__)
#define VELORA_LISTENER_EACH_15(m, kind, p, ...) m p, VELORA_LISTENER_EACH_14(m, kind, __VA_ARGS__)
#define VELORA_LISTENER_EACH_16(m, kind, p, ...) m p, VELORA_LISTENER_EACH_15(m, kind, __VA_ARGS__)
#define VELORA_LISTENER_EACH_17(m, kind, p, ...) m p, VELORA_LISTENER_EACH_16(m, kind, __VA_ARGS__)

#define VELORA_LISTENER_INTERFACES(I)               \
  I(Remote, VELORA_REMOTE_LISTENER_CALLBACKS)       \
  I(Library, VELORA_LIBRARY_LISTENER_CALLBACKS)     \
  I(Playback, VELORA_PLAYBACK_LISTENER_CALLBACKS)   \
  I(Equalizer, VELORA_EQUALIZER_LISTENER_CALLBACKS) \
  I(HP, VELORA_HP_LISTENER_CALLBACKS)               \
  I(AC, VELORA_AC_LISTENER_CALLBACKS)               \
  I(IRC, VELORA_IRC_LISTENER_CALLBACKS)             \
  I(Settings, VELORA_SETTINGS_LISTENER_CALLBACKS)

// IVeloraRemoteServiceListener
#define VELORA_REMOTE_LISTENER_CALLBACKS(X)                  \
  X(onServicePublished, plain, (int&, port))                 \
  X(onServicePublishFailed, plain)                           \
  X(onRemoteConnected, plain, (ConnectionData&, connection)) \
  X(onRemoteDisconnected, plain, (int&, code))               \
  X(onRemoteAuthenticated, plain, (int&, code), (bool&, authenticated), (int&, version))

// IVeloraLibraryServiceListener
#define VELORA_LIBRARY_LISTENER_CALLBACKS(X)                                                       \
  X(onRequestAlbums, plain, (int&, index), (int&, count), (VeloraLibraryItemSource&, source))      \
  X(onRequestTracks, plain, (int&, index), (int&, count), (VeloraLibraryItemSource&, source))      \
  X(onRequestArtists, plain, (int&, index), (int&, count), (VeloraLibraryItemSource&, source))     \
  X(onRequestMoods, plain)                                                                         \
  X(onRequestMood, plain, (const char*&, id))                                                      \
  X(onRequestTrack, plain, (const char*&, id))                                                     \
  X(onRequestPlaynext, plain)                                                                      \
  X(onRequestGenres, plain)                                                                        \
  X(onRequestGenre, plain, (int&, index), (int&, count), (const char*&, id))                       \
  X(onRequestPlaylists, plain, (int&, index), (int&, count), (VeloraLibraryItemSource&, source))   \
  X(onRequestPlaylist, plain, (const char*&, id))                                                  \
  X(onRequestAlbum, plain, (const char*&, id))                                                     \
  X(onRequestArtist, plain, (const char*&, id))                                                    \
  X(onAddToMyMusic0, plain, (const char*&, id))                                                    \
  X(onRequestAddToPlaylist, plain, (const char*&, id), (const char*&, playlistId))                 \
  X(onAddToMyMusic2, plain, (const char*&, id))                                                    \
  X(onAddToMyMusic1, plain, (const char*&, id))                                                    \
  X(onAddToMyMusic3, plain, (const char*&, id))                                                    \
  X(onRequestCreatePlaylist, plain, (const char*&, name))                                          \
  X(onRequestLibrary, plain, (const char*&, id))                                                   \
  X(onRequestSearch, plain, (const char*&, term))                                                  \
  X(onReservedSlot21, plain)                                                                       \
  X(onRequestDeleteTrack, plain, (const char*&, id))                                               \
  X(onRequestDeleteArtist, plain, (const char*&, id))                                              \
  X(onRequestDeleteAlbum, plain, (const char*&, id))                                               \
  X(onRequestArtwork, plain, (const char*&, id))                                                   \
  X(onPageServed, plain, (const char*&, path), (bool&, allow))                                     \
  X(onLogin, status, (const char*&, username), (const char*&, password), (const char*&, which),    \
    (int&, status))                                                                                \
  X(onGetLogin, status, (const char*&, which), (int&, status))                                     \
  X(onLogout, status, (const char*&, which), (int&, status))                                       \
  X(onPairing, status, (int&, status))                                                             \
  X(onSave, status, (int&, status))                                                                \
  X(onGetUserStash, status, (int&, status))                                                        \
  X(onAddStashItem, status, (const char*&, sku), (const char*&, url), (const char*&, title),       \
    (const char*&, mediaId), (int&, status))                                                       \
  X(onGetItemsForSkuId, status, (const char*&, sku), (int&, status))                               \
  X(onRemoveStashItem, status, (const char*&, sku), (int&, status))                                \
  X(onStartDownload, status, (const char*&, sku), (int&, status))                                  \
  X(onCancelDownload, status, (const char*&, sku), (int&, status))                                 \
  X(onPauseDownload, status, (const char*&, sku), (int&, status))                                  \
  X(onResumeDownload, status, (const char*&, sku), (int&, status))                                 \
  X(onGetDownloadStatus, status, (const char*&, sku), (int&, status))                              \
  X(onScanFiles, status, (const char*&, which), (int&, status))                                    \
  X(onScanCancel, status, (const char*&, which), (int&, status))                                   \
  X(onScanGetProgress, status, (const char*&, which), (int&, status))                              \
  X(onClearLocalCache, status, (const char*&, which), (int&, status))                              \
  X(onGetLocalLibrary, status, (const char*&, id), (const char*&, index), (const char*&, count),   \
    (const char*&, sortBy), (const char*&, reverseSort), (const char*&, etag),                     \
    (const char*&, filter), (int&, status))                                                        \
  X(onGetArtist, status, (const char*&, id), (const char*&, index), (const char*&, count),         \
    (const char*&, sortBy), (const char*&, reverseSort), (const char*&, reserved), (int&, status)) \
  X(onGetAlbum, status, (const char*&, id), (const char*&, index), (const char*&, count),          \
    (const char*&, sortBy), (const char*&, reverseSort), (int&, status))                           \
  X(onGetArtistInfo, status, (const char*&, id), (int&, status))                                   \
  X(onGetAlbumInfo, status, (const char*&, id), (int&, status))                                    \
  X(onGetPlaylistInfo, status, (const char*&, id), (int&, status))                                 \
  X(onSetPlaylistInfo, status, (const char*&, id), (const char*&, info), (const char*&, name),     \
    (const char*&, artwork), (const char*&, artist), (int&, status))                               \
  X(onGetDevices, status, (int&, status))                                                          \
  X(onSetDevice, status, (const char*&, device), (const char*&, channels),                         \
    (const char*&, sampleRate), (const char*&, bufferSize), (int&, status))                        \
  X(onGetOptions, status, (int&, status))                                                          \
  X(onSetOptions, status, (const char*&, checkForUpdates), (const char*&, maxDownloads),           \
    (const char*&, addToITunes), (const char*&, createITunesPlaylist), (const char*&, retryTime),  \
    (const char*&, retryCount), (const char*&, dsdEnabled), (const char*&, dsdFilterEnabled),      \
    (const char*&, dsdGain), (const char*&, tidalQuality), (const char*&, upSample),               \
    (const char*&, scanLevel), (const char*&, bypassMode), (const char*&, artCache),               \
    (const char*&, mqa), (int&, status))                                                           \
  X(onGetAppConfig, status, (int&, status))                                                        \
  X(onSelectLocalDownloadLocation, status, (int&, status))                                         \
  X(onGetLocalDownloadLocation, status, (int&, status))                                            \
  X(onSelectLocalArtworkLocation, status, (const char*&, id), (int&, status))                      \
  X(onGetLocalArtworkLocation, status, (const char*&, id), (int&, status))                         \
  X(onAddToLibrary, status, (const char*&, id), (int&, status))                                    \
  X(onSetPlayState, status, (const char*&, state), (int&, status))                                 \
  X(onGetPlayState, status, (int&, status))                                                        \
  X(onSetPlaybackItem, status, (const char*&, uuid), (const char*&, play), (const char*&, sortBy), \
    (const char*&, reverseSort), (const char*&, parentuuid), (int&, status))                       \
  X(onShowTrackFile, status, (const char*&, uuid), (int&, status))                                 \
  X(onGetAvailableYearsForArtist, status, (const char*&, uuid), (int&, status))                    \
  X(onGetNowPlaying, status, (int&, status))                                                       \
  X(onSetHistory, status, (const char*&, history), (int&, status))                                 \
  X(onGetHistory, status, (int&, status))                                                          \
  X(onSearch, status, (const char*&, which), (const char*&, searchTerm), (const char*&, index),    \
    (const char*&, count), (int&, status))                                                         \
  X(onSearchTidal, status, (const char*&, which), (const char*&, searchTerm),                      \
    (const char*&, index), (const char*&, count), (int&, status))                                  \
  X(onDeleteItem, status, (const char*&, uuid), (const char*&, id),                                \
    (const char*&, removeFromComputer), (int&, status))                                            \
  X(onCreatePlaylist, status, (const char*&, name), (int&, status))                                \
  X(onDeletePlaylist, status, (const char*&, uuid), (int&, status))                                \
  X(onAddItemToPlaylist, status, (const char*&, playlistUuid), (const char*&, itemUuid),           \
    (int&, status))                                                                                \
  X(onRemoveItemFromPlaylist, status, (const char*&, playlistUuid), (const char*&, itemUuid),      \
    (const char*&, removeFromComputer), (int&, status))                                            \
  X(onMoveItemInPlaylist, status, (const char*&, playlistUuid), (const char*&, itemUuid),          \
    (const char*&, toPosition), (int&, status))                                                    \
  X(onGetHeartbeat, status, (int&, status))                                                        \
  X(onInputMode, status, (const char*&, enabled), (const char*&, source), (int&, status))          \
  X(onDeviceWindow, status, (int&, status))                                                        \
  X(onNavigation, status, (const char*&, which), (int&, status))                                   \
  X(onQuit, status, (int&, status))                                                                \
  X(onPing, status, (int&, status))                                                                \
  X(onPlayerSetItem, status, (const char*&, streamLink), (const char*&, trackId),                  \
    (const char*&, isNext), (const char*&, artistName), (const char*&, recordingTitle),            \
    (const char*&, itemTitle), (const char*&, reserved), (int&, status))                           \
  X(onPlayerPing, status, (int&, status))                                                          \
  X(onPlayerPlay, status, (const char*&, playState), (const char*&, itemID), (int&, status))       \
  X(onPlayerPause, status, (int&, status))                                                         \
  X(onPlayerHeartbeat, status, (int&, status))

// IVeloraPlaybackServiceListener
#define VELORA_PLAYBACK_LISTENER_CALLBACKS(X)                      \
  X(onSetVolume, plain, (int&, volume))                            \
  X(onSetMute, plain, (bool&, mute))                               \
  X(onPlaybackCommand, plain, (PlaybackCommand&, command))         \
  X(onMoveTrack, plain, (const char*&, trackId), (int&, position)) \
  X(onRequestVolume, plain)                                        \
  X(onRequestMute, plain)                                          \
  X(onRequestPlayerState, plain)                                   \
  X(onRequestMode, plain)                                          \
  X(onNext, plain)                                                 \
  X(onPrevious, plain)                                             \
  X(onSetMode, plain, (PlaybackMode&, mode))

// IVeloraEqualizerServiceListener
#define VELORA_EQUALIZER_LISTENER_CALLBACKS(X)   \
  X(onSetEQState, plain, (bool&, enabled))       \
  X(onApplyEQPreset, plain, (EQPreset&, preset)) \
  X(onRequestEQState, plain)                     \
  X(onRequestEQPresetList, plain)                \
  X(onRequestEQPreset, plain)                    \
  X(onGetEQPresetList, status, (int&, status))   \
  X(onGetEQPreset, status, (int&, status))       \
  X(onSetEQPreset, status, (const char*&, enable), (const char*&, preset), (int&, status))

// IVeloraHPServiceListener
#define VELORA_HP_LISTENER_CALLBACKS(X)          \
  X(onSetHPState, plain, (bool&, enabled))       \
  X(onApplyHPPreset, plain, (HPPreset&, preset)) \
  X(onRequestHPState, plain)                     \
  X(onRequestHPPresetList, plain)                \
  X(onRequestHPPreset, plain)                    \
  X(onGetHPPresetList, status, (int&, status))   \
  X(onGetHPPreset, status, (int&, status))       \
  X(onSetHPPreset, status, (const char*&, enable), (const char*&, preset), (int&, status))

// IVeloraACServiceListener
#define VELORA_AC_LISTENER_CALLBACKS(X)          \
  X(onSetACState, plain, (bool&, enabled))       \
  X(onApplyACPreset, plain, (ACPreset&, preset)) \
  X(onRequestACState, plain)                     \
  X(onRequestACPresetList, plain)                \
  X(onRequestACPreset, plain)                    \
  X(onGetACPresetList, status, (int&, status))   \
  X(onGetACPreset, status, (int&, status))       \
  X(onSetACPreset, status, (const char*&, enable), (const char*&, preset), (int&, status))

// IVeloraIRCServiceListener
#define VELORA_IRC_LISTENER_CALLBACKS(X)           \
  X(onSetIRCState, plain, (bool&, enabled))        \
  X(onApplyIRCPreset, plain, (IRCPreset&, preset)) \
  X(onRequestIRCState, plain)                      \
  X(onRequestIRCPresetList, plain)                 \
  X(onRequestIRCPreset, plain)                     \
  X(onRequestIRCGain, plain)                       \
  X(onSetIRCGain, plain, (int&, gain))             \
  X(onGetIRCPresetList, status, (int&, status))    \
  X(onGetIRCPreset, status, (int&, status))        \
  X(onSetIRCPreset, status, (const char*&, enable), (const char*&, preset), (int&, status))

// IVeloraSettingsServiceListener
#define VELORA_SETTINGS_LISTENER_CALLBACKS(X)       \
  X(onRequestOutputDevices, plain)                  \
  X(onSetOutputDevice, plain, (const char*&, name)) \
  X(onRequestSettingsValues, plain)                 \
  X(onSetSettingsValues, plain, (bool&, mqa), (bool&, upsample), (bool&, dsp))
