#include "library/LibraryItemsImpl.h"
#include "service/VeloraRestService.h"
#include "util/Support.h"

using utility::conversions::to_string_t;
using web::json::value;

// Library views pushed by the host. Each is encoded (pictures included)
// before any lock is taken, then published in the "library" document.

namespace {
using Fields = std::vector<std::pair<utility::string_t, value>>;
}  // namespace

void VeloraRestService::setTrackInfo(Track* track) {
  auto* impl = dynamic_cast<TrackImpl*>(track);
  if (impl == nullptr) return;
  publishState(&StateDocuments::library, "track", getTrack(impl, true));
}

void VeloraRestService::setTrackList(std::vector<Track*> tracks, int /*index*/) {
  publishState(&StateDocuments::library, "tracks", getTracks(tracks, true));
}

void VeloraRestService::setPlaynextList(std::vector<Track*> tracks) {
  publishState(&StateDocuments::library, "playnext", getTracks(tracks, true));
}

void VeloraRestService::setAlbumList(std::vector<Album*> albums, int /*index*/) {
  publishState(&StateDocuments::library, "albums", getAlbums(albums, true));
}

void VeloraRestService::setArtistList(std::vector<Artist*> artists, int /*index*/) {
  publishState(&StateDocuments::library, "artists", getArtists(artists, true));
}

void VeloraRestService::setGenreList(std::vector<Genre*> genres) {
  publishState(&StateDocuments::library, "genres", getGenres(genres, true));
}

void VeloraRestService::setPlaylistList(std::vector<Playlist*> playlists) {
  publishState(&StateDocuments::library, "playlists", getPlaylists(playlists, true));
}

void VeloraRestService::setMoodList(std::vector<Mood*> moods) {
  publishState(&StateDocuments::library, "moods", getMoods(moods));
}

void VeloraRestService::setGenre(Genre* genre) {
  auto* impl = dynamic_cast<GenreImpl*>(genre);
  if (impl == nullptr) return;
  publishState(&StateDocuments::library, "genre", getGenre(impl, true));
}

void VeloraRestService::setPlaylist(Playlist* playlist) {
  auto* impl = dynamic_cast<PlaylistImpl*>(playlist);
  if (impl == nullptr) return;
  publishState(&StateDocuments::library, "playlist", getPlaylist(impl, true));
}

void VeloraRestService::setAlbum(Album* album) {
  auto* impl = dynamic_cast<AlbumImpl*>(album);
  if (impl == nullptr) return;
  publishState(&StateDocuments::library, "album", getAlbum(impl, true));
}

void VeloraRestService::setArtist(Artist* artist) {
  auto* impl = dynamic_cast<ArtistImpl*>(artist);
  if (impl == nullptr) return;
  publishState(&StateDocuments::library, "artist", getArtist(impl, true));
}

void VeloraRestService::setMyLibraryItemDirty() {
  publishState(&StateDocuments::updated, "all", value::boolean(true));
}

void VeloraRestService::setSearchResults(std::vector<Artist*> artists, std::vector<Album*> albums,
                                         std::vector<Track*> tracks,
                                         std::vector<Playlist*> playlists, const char* searchText) {
  value results = value::object(Fields{{"albums", getAlbums(albums, true)},
                                       {"artists", getArtists(artists, true)},
                                       {"playlists", getPlaylists(playlists, true)},
                                       {"tracks", getTracks(tracks, true)},
                                       {"search", value::string(to_string_t(searchText))}},
                                true);
  publishState(&StateDocuments::library, "search", std::move(results));
}

// Answers to single requests are encoded without pictures: clients fetch
// those separately.

void VeloraRestService::setGetNowPlayingResponse(std::vector<Track*> tracks) {
  storeSlot(&ResponseSlots::nowPlaying, getTracks(tracks, false));
}

void VeloraRestService::setGetArtistResponse(std::vector<Album*> albums, int /*totalCount*/) {
  storeSlot(&ResponseSlots::artist, getAlbums(albums, false));
}

void VeloraRestService::setGetArtistResponse(std::vector<Artist*> artists, int /*totalCount*/) {
  storeSlot(&ResponseSlots::artist, getArtists(artists, false));
}

void VeloraRestService::setGetAlbumResponse(std::vector<Album*> albums, int /*totalCount*/) {
  storeSlot(&ResponseSlots::album, getAlbums(albums, false));
}

void VeloraRestService::setGetPlaylistResponse(std::vector<Playlist*> playlists,
                                               int /*totalCount*/) {
  storeSlot(&ResponseSlots::playlist, getPlaylists(playlists, false));
}

void VeloraRestService::setCreatePlaylistResponse(std::vector<Playlist*> playlists) {
  storeSlot(&ResponseSlots::playlist, getPlaylists(playlists, false));
}

void VeloraRestService::setSearchResponse(std::vector<Album*> albums) {
  storeSlot(&ResponseSlots::search, getAlbums(albums, false));
}

void VeloraRestService::setSearchResponse(std::vector<Artist*> artists) {
  storeSlot(&ResponseSlots::search, getArtists(artists, false));
}

void VeloraRestService::setSearchResponse(std::vector<Playlist*> playlists) {
  storeSlot(&ResponseSlots::search, getPlaylists(playlists, false));
}

void VeloraRestService::setSearchResponse(std::vector<Track*> tracks) {
  storeSlot(&ResponseSlots::search, getTracks(tracks, false));
}

void VeloraRestService::setScanProgressResponse(float percentComplete, const char* message) {
  storeSlot(&ResponseSlots::scanProgress,
            value::object(Fields{{"percentComplete", value::number(double{percentComplete})},
                                 {"message", value::string(to_string_t(message))}},
                          true));
}

void VeloraRestService::setLoginResponse(const char* userToken) {
  storeSlot(&ResponseSlots::login,
            value::object(Fields{{"userToken", value::string(to_string_t(userToken))}}, true));
}

void VeloraRestService::setGetLoginResponse(const char* username, const char* password,
                                            const char* userToken, const char* tidalUsername,
                                            const char* tidalPassword, const char* service) {
  storeSlot(&ResponseSlots::login,
            value::object(Fields{{"username", value::string(to_string_t(username))},
                                 {"password", value::string(to_string_t(password))},
                                 {"userToken", value::string(to_string_t(userToken))},
                                 {"tidalUsername", value::string(to_string_t(tidalUsername))},
                                 {"tidalPassword", value::string(to_string_t(tidalPassword))},
                                 {"service", value::string(to_string_t(service))}},
                          true));
}

// The four local-library pages share one answer, always under "tracks".
void VeloraRestService::storeLocalLibraryPage(value items, const char* etag, int itemCount,
                                              int totalCount) {
  value etagText = value::string(to_string_t(etag));
  std::lock_guard<std::mutex> lock(cache_.stateMutex);
  value& page = cache_.slots.localLibrary;
  if (!page.is_object()) page = value::object(true);
  page["tracks"] = std::move(items);
  page["itemCount"] = value::number(itemCount);
  page["totalCount"] = value::number(totalCount);
  page["etag"] = std::move(etagText);
}

void VeloraRestService::setGetLocalLibraryTracks(std::vector<Track*> tracks, const char* etag,
                                                 int itemCount, int totalCount) {
  storeLocalLibraryPage(getTracks(tracks, false), etag, itemCount, totalCount);
}

void VeloraRestService::setGetLocalLibraryAlbums(std::vector<Album*> albums, const char* etag,
                                                 int itemCount, int totalCount) {
  storeLocalLibraryPage(getAlbums(albums, false), etag, itemCount, totalCount);
}

void VeloraRestService::setGetLocalLibraryArtists(std::vector<Artist*> artists, const char* etag,
                                                  int itemCount, int totalCount) {
  storeLocalLibraryPage(getArtists(artists, false), etag, itemCount, totalCount);
}

void VeloraRestService::setGetLocalLibraryPlaylists(std::vector<Playlist*> playlists,
                                                    const char* etag, int itemCount,
                                                    int totalCount) {
  storeLocalLibraryPage(getPlaylists(playlists, false), etag, itemCount, totalCount);
}
