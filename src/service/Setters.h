#pragma once

// The setters the service implements, listed once for the façade's
// declarations; each is defined in the file of its area (LibrarySetters.cpp,
// StateSetters.cpp), and the JSON answers in AnswerSetters.cpp.

#define VELORA_LIBRARY_SETTERS(X)                                                                  \
  X(setTrackInfo, (Track * track))                                                                 \
  X(setTrackList, (std::vector<Track*> tracks, int index))                                         \
  X(setPlaynextList, (std::vector<Track*> tracks))                                                 \
  X(setAlbumList, (std::vector<Album*> albums, int index))                                         \
  X(setArtistList, (std::vector<Artist*> artists, int index))                                      \
  X(setGenreList, (std::vector<Genre*> genres))                                                    \
  X(setPlaylistList, (std::vector<Playlist*> playlists))                                           \
  X(setMoodList, (std::vector<Mood*> moods))                                                       \
  X(setGenre, (Genre * genre))                                                                     \
  X(setPlaylist, (Playlist * playlist))                                                            \
  X(setAlbum, (Album * album))                                                                     \
  X(setArtist, (Artist * artist))                                                                  \
  X(setMyLibraryItemDirty, ())                                                                     \
  X(setSearchResults,                                                                              \
    (std::vector<Artist*> artists, std::vector<Album*> albums, std::vector<Track*> tracks,         \
     std::vector<Playlist*> playlists, const char* searchText))                                    \
  X(setArtworkData, (const char* location, const char* id))                                        \
  X(setLoginResponse, (const char* userToken))                                                     \
  X(setGetLoginResponse,                                                                           \
    (const char* username, const char* password, const char* userToken, const char* tidalUsername, \
     const char* tidalPassword, const char* service))                                              \
  X(setGetUserStashResponse, (const char* json))                                                   \
  X(setGetLocalLibraryTracks,                                                                      \
    (std::vector<Track*> items, const char* etag, int itemCount, int totalCount))                  \
  X(setGetLocalLibraryAlbums,                                                                      \
    (std::vector<Album*> items, const char* etag, int itemCount, int totalCount))                  \
  X(setGetLocalLibraryArtists,                                                                     \
    (std::vector<Artist*> items, const char* etag, int itemCount, int totalCount))                 \
  X(setGetLocalLibraryPlaylists,                                                                   \
    (std::vector<Playlist*> items, const char* etag, int itemCount, int totalCount))               \
  X(setGetNowPlayingResponse, (std::vector<Track*> tracks))                                        \
  X(setGetArtistResponse, (std::vector<Album*> albums, int totalCount))                            \
  X(setGetArtistResponse, (std::vector<Artist*> artists, int totalCount))                          \
  X(setGetAlbumResponse, (std::vector<Album*> albums, int totalCount))                             \
  X(setGetPlaylistResponse, (std::vector<Playlist*> playlists, int totalCount))                    \
  X(setScanProgressResponse, (float percentComplete, const char* message))                         \
  X(setCreatePlaylistResponse, (std::vector<Playlist*> playlists))                                 \
  X(setSearchResponse, (std::vector<Album*> albums))                                               \
  X(setSearchResponse, (std::vector<Artist*> artists))                                             \
  X(setSearchResponse, (std::vector<Playlist*> playlists))                                         \
  X(setSearchResponse, (std::vector<Track*> tracks))

#define VELORA_STATE_SETTERS(X)                                                   \
  X(setVolumeLevel, (int level))                                                  \
  X(setMuteState, (bool muted))                                                   \
  X(setPlaybackState, (PlaybackState & state))                                    \
  X(setPlaybackMode, (PlaybackMode & mode))                                       \
  X(setEQState, (bool enabled))                                                   \
  X(setEQCurrentPreset, (EQPreset & preset))                                      \
  X(setEQPresetList, (std::vector<EQPreset> & presets))                           \
  X(setIRCState, (bool enabled))                                                  \
  X(setIRCGain, (int gain))                                                       \
  X(setIRCCurrentPreset, (IRCPreset & preset))                                    \
  X(setIRCPresetList, (std::vector<IRCPreset> & presets))                         \
  X(setACState, (bool enabled))                                                   \
  X(setACCurrentPreset, (ACPreset & preset))                                      \
  X(setACPresetList, (std::vector<ACPreset> & presets))                           \
  X(setHPState, (bool enabled))                                                   \
  X(setHPCurrentPreset, (HPPreset & preset))                                      \
  X(setHPPresetList, (std::vector<HPPreset> & presets))                           \
  X(setOutputDeviceList, (std::vector<const char*> & names, const char* current)) \
  X(setSettingsValues, (bool mqa, bool upsample, bool dsp))

// The host's answers given as JSON text, each with the slot it fills (in the
// state cache's `slots`, or, for the player application's own answers, in
// `player`). Some answers share a slot on purpose.
#define VELORA_JSON_ANSWERS(X)                                    \
  X(setGetItemsForSkuIdResponse, slots, itemsForSku)              \
  X(setGetDownloadStatusResponse, slots, downloadStatus)          \
  X(setGetDevicesResponse, slots, devices)                        \
  X(setGetOptionsResponse, slots, options)                        \
  X(setGetAppConfigResponse, slots, options)                      \
  X(setGetLocalDownloadLocationResponse, slots, downloadLocation) \
  X(setGetArtworkLocationResponse, slots, artworkLocation)        \
  X(setGetPlayStateResponse, slots, playState)                    \
  X(setGetAvailableYearsForArtistResponse, slots, availableYears) \
  X(setGetHistoryResponse, slots, history)                        \
  X(setGetEQPresetResponse, slots, eqPreset)                      \
  X(setGetEQPresetListResponse, slots, eqPreset)                  \
  X(setGetHPPresetResponse, slots, hpPreset)                      \
  X(setGetHPPresetListResponse, slots, hpPreset)                  \
  X(setGetIRCPresetResponse, slots, ircPreset)                    \
  X(setGetIRCPresetListResponse, slots, ircPreset)                \
  X(setGetHeartbeatResponse, player, heartbeat)                   \
  X(setPlayerResponse, player, player)
