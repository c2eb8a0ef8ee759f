#include "service/VeloraRestService.h"

// Library views pushed by the host. Items are encoded into the state cache by
// the library encoders; until those exist the views are accepted and dropped.

void VeloraRestService::setTrackInfo(Track*) {}
void VeloraRestService::setTrackList(std::vector<Track*>, int) {}
void VeloraRestService::setPlaynextList(std::vector<Track*>) {}
void VeloraRestService::setAlbumList(std::vector<Album*>, int) {}
void VeloraRestService::setArtistList(std::vector<Artist*>, int) {}
void VeloraRestService::setGenreList(std::vector<Genre*>) {}
void VeloraRestService::setPlaylistList(std::vector<Playlist*>) {}
void VeloraRestService::setMoodList(std::vector<Mood*>) {}
void VeloraRestService::setGenre(Genre*) {}
void VeloraRestService::setPlaylist(Playlist*) {}
void VeloraRestService::setAlbum(Album*) {}
void VeloraRestService::setArtist(Artist*) {}
void VeloraRestService::setMyLibraryItemDirty() {}
void VeloraRestService::setSearchResults(std::vector<Artist*>, std::vector<Album*>,
                                         std::vector<Track*>, std::vector<Playlist*>,
                                         const char*) {}
void VeloraRestService::setArtworkData(const char*, const char*) {}
void VeloraRestService::setLoginResponse(const char*) {}
void VeloraRestService::setGetLoginResponse(const char*, const char*, const char*, const char*,
                                            const char*, const char*) {}
void VeloraRestService::setGetLocalLibraryTracks(std::vector<Track*>, const char*, int, int) {}
void VeloraRestService::setGetLocalLibraryAlbums(std::vector<Album*>, const char*, int, int) {}
void VeloraRestService::setGetLocalLibraryArtists(std::vector<Artist*>, const char*, int, int) {}
void VeloraRestService::setGetLocalLibraryPlaylists(std::vector<Playlist*>, const char*, int,
                                                    int) {}
void VeloraRestService::setGetNowPlayingResponse(std::vector<Track*>) {}
void VeloraRestService::setGetArtistResponse(std::vector<Album*>, int) {}
void VeloraRestService::setGetArtistResponse(std::vector<Artist*>, int) {}
void VeloraRestService::setGetAlbumResponse(std::vector<Album*>, int) {}
void VeloraRestService::setGetPlaylistResponse(std::vector<Playlist*>, int) {}
void VeloraRestService::setScanProgressResponse(float, const char*) {}
void VeloraRestService::setCreatePlaylistResponse(std::vector<Playlist*>) {}
void VeloraRestService::setSearchResponse(std::vector<Album*>) {}
void VeloraRestService::setSearchResponse(std::vector<Artist*>) {}
void VeloraRestService::setSearchResponse(std::vector<Playlist*>) {}
void VeloraRestService::setSearchResponse(std::vector<Track*>) {}
