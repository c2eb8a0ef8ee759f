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
  state_.publish(&StateDocuments::library, "track", encoder_.getTrack(impl, true));
}

void VeloraRestService::setTrackList(std::vector<Track*> tracks, int /*index*/) {
  state_.publish(&StateDocuments::library, "tracks", encoder_.getTracks(tracks, true));
}

void VeloraRestService::setPlaynextList(std::vector<Track*> tracks) {
  state_.publish(&StateDocuments::library, "playnext", encoder_.getTracks(tracks, true));
}

void VeloraRestService::setAlbumList(std::vector<Album*> albums, int /*index*/) {
  state_.publish(&StateDocuments::library, "albums", encoder_.getAlbums(albums, true));
}

void VeloraRestService::setArtistList(std::vector<Artist*> artists, int /*index*/) {
  state_.publish(&StateDocuments::library, "artists", encoder_.getArtists(artists, true));
}

void VeloraRestService::setGenreList(std::vector<Genre*> genres) {
  state_.publish(&StateDocuments::library, "genres", encoder_.getGenres(genres, true));
}

void VeloraRestService::setPlaylistList(std::vector<Playlist*> playlists) {
  state_.publish(&StateDocuments::library, "playlists", encoder_.getPlaylists(playlists, true));
}

void VeloraRestService::setMoodList(std::vector<Mood*> moods) {
  state_.publish(&StateDocuments::library, "moods", encoder_.getMoods(moods));
}

void VeloraRestService::setGenre(Genre* genre) {
  auto* impl = dynamic_cast<GenreImpl*>(genre);
  if (impl == nullptr) return;
  state_.publish(&StateDocuments::library, "genre", encoder_.getGenre(impl, true));
}

void VeloraRestService::setPlaylist(Playlist* playlist) {
  auto* impl = dynamic_cast<PlaylistImpl*>(playlist);
  if (impl == nullptr) return;
  state_.publish(&StateDocuments::library, "playlist", encoder_.getPlaylist(impl, true));
}

void VeloraRestService::setAlbum(Album* album) {
  auto* impl = dynamic_cast<AlbumImpl*>(album);
  if (impl == nullptr) return;
  state_.publish(&StateDocuments::library, "album", encoder_.getAlbum(impl, true));
}

void VeloraRestService::setArtist(Artist* artist) {
  auto* impl = dynamic_cast<ArtistImpl*>(artist);
  if (impl == nullptr) return;
  state_.publish(&StateDocuments::library, "artist", encoder_.getArtist(impl, true));
}

void VeloraRestService::setMyLibraryItemDirty() {
  state_.publish(&StateDocuments::updated, "all", value::boolean(true));
}

void VeloraRestService::setSearchResults(std::vector<Artist*> artists, std::vector<Album*> albums,
                                         std::vector<Track*> tracks,
                                         std::vector<Playlist*> playlists, const char* searchText) {
  value results = value::object(Fields{{"albums", encoder_.getAlbums(albums, true)},
                                       {"artists", encoder_.getArtists(artists, true)},
                                       {"playlists", encoder_.getPlaylists(playlists, true)},
                                       {"tracks", encoder_.getTracks(tracks, true)},
                                       {"search", value::string(to_string_t(searchText))}},
                                true);
  state_.publish(&StateDocuments::library, "search", std::move(results));
}

// Answers to single requests are encoded without pictures: clients fetch
// those separately.

void VeloraRestService::setGetNowPlayingResponse(std::vector<Track*> tracks) {
  state_.store(&ResponseSlots::nowPlaying, encoder_.getTracks(tracks, false));
}

void VeloraRestService::setGetArtistResponse(std::vector<Album*> albums, int /*totalCount*/) {
  state_.store(&ResponseSlots::artist, encoder_.getAlbums(albums, false));
}

void VeloraRestService::setGetArtistResponse(std::vector<Artist*> artists, int /*totalCount*/) {
  state_.store(&ResponseSlots::artist, encoder_.getArtists(artists, false));
}

void VeloraRestService::setGetAlbumResponse(std::vector<Album*> albums, int /*totalCount*/) {
  state_.store(&ResponseSlots::album, encoder_.getAlbums(albums, false));
}

void VeloraRestService::setGetPlaylistResponse(std::vector<Playlist*> playlists,
                                               int /*totalCount*/) {
  state_.store(&ResponseSlots::playlist, encoder_.getPlaylists(playlists, false));
}

void VeloraRestService::setCreatePlaylistResponse(std::vector<Playlist*> playlists) {
  state_.store(&ResponseSlots::playlist, encoder_.getPlaylists(playlists, false));
}

void VeloraRestService::setSearchResponse(std::vector<Album*> albums) {
  state_.store(&ResponseSlots::search, encoder_.getAlbums(albums, false));
}

void VeloraRestService::setSearchResponse(std::vector<Artist*> artists) {
  state_.store(&ResponseSlots::search, encoder_.getArtists(artists, false));
}

void VeloraRestService::setSearchResponse(std::vector<Playlist*> playlists) {
  state_.store(&ResponseSlots::search, encoder_.getPlaylists(playlists, false));
}

void VeloraRestService::setSearchResponse(std::vector<Track*> tracks) {
  state_.store(&ResponseSlots::search, encoder_.getTracks(tracks, false));
}

void VeloraRestService::setScanProgressResponse(float percentComplete, const char* message) {
  state_.store(&ResponseSlots::scanProgress,
               value::object(Fields{{"percentComplete", value::number(double{percentComplete})},
                                    {"message", value::string(to_string_t(message))}},
                             true));
}

void VeloraRestService::setLoginResponse(const char* userToken) {
  state_.store(&ResponseSlots::login,
               value::object(Fields{{"userToken", value::string(to_string_t(userToken))}}, true));
}

void VeloraRestService::setGetLoginResponse(const char* username, const char* password,
                                            const char* userToken, const char* tidalUsername,
                                            const char* tidalPassword, const char* service) {
  state_.store(&ResponseSlots::login,
               value::object(Fields{{"username", value::string(to_string_t(username))},
                                    {"password", value::string(to_string_t(password))},
                                    {"userToken", value::string(to_string_t(userToken))},
                                    {"tidalUsername", value::string(to_string_t(tidalUsername))},
                                    {"tidalPassword", value::string(to_string_t(tidalPassword))},
                                    {"service", value::string(to_string_t(service))}},
                             true));
}

void VeloraRestService::setGetLocalLibraryTracks(std::vector<Track*> tracks, const char* etag,
                                                 int itemCount, int totalCount) {
  state_.storeLocalLibraryPage(encoder_.getTracks(tracks, false), etag, itemCount, totalCount);
}

void VeloraRestService::setGetLocalLibraryAlbums(std::vector<Album*> albums, const char* etag,
                                                 int itemCount, int totalCount) {
  state_.storeLocalLibraryPage(encoder_.getAlbums(albums, false), etag, itemCount, totalCount);
}

void VeloraRestService::setGetLocalLibraryArtists(std::vector<Artist*> artists, const char* etag,
                                                  int itemCount, int totalCount) {
  state_.storeLocalLibraryPage(encoder_.getArtists(artists, false), etag, itemCount, totalCount);
}

void VeloraRestService::setGetLocalLibraryPlaylists(std::vector<Playlist*> playlists,
                                                    const char* etag, int itemCount,
                                                    int totalCount) {
  state_.storeLocalLibraryPage(encoder_.getPlaylists(playlists, false), etag, itemCount,
                               totalCount);
}

void VeloraRestService::setArtworkData(const char* location, const char* id) {
  // The file is read before the cache is locked; readers are not held up by it.
  value artwork = artwork_.getArtwork(to_string_t(location), to_string_t(id));
  state_.publish(&StateDocuments::library, "artwork", std::move(artwork));
}
