#pragma once

#include <mutex>
#include <map>
#include <string>
#include <vector>

#include <cpprest/json.h>

#include "library/LibraryItemsImpl.h"

// Pictures of library items as JSON: the file's bytes in base64, or, for a
// web location, its https address; a picture seen before may go by its
// digest alone.
class Artwork {
 public:
  // The picture at `location` (a file, or a web address) as a JSON object.
  web::json::value getArtwork(std::string location, std::string id);
  // Whether the picture was seen before; fills `digest` when it was.
  bool containedInMap(std::string const& base64, std::string const& location, std::string& digest);

 private:
  // Digests of pictures already sent, and where each was last seen.
  std::mutex mutex_;
  std::map<std::string, std::string> digests_;
};

// Library items become JSON at once; `withArtwork` adds (and passes down to
// nested lists) the picture of each item. Items the host made itself, or
// null ones, are skipped in lists: only our own classes are known.
class LibraryEncoder {
 public:
  explicit LibraryEncoder(Artwork& artwork) : artwork_(artwork) {}

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

 private:
  web::json::value getArtwork(std::string location, std::string id) {
    return artwork_.getArtwork(std::move(location), std::move(id));
  }
  Artwork& artwork_;
};
