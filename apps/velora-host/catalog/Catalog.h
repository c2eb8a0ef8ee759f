#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

// The reference host's music library: plain records with identifiers that
// remote clients see, and lookups by those identifiers. It knows nothing about
// the remote-control service; the host's listeners turn these records into
// library items when a client asks for them.
//
// A Catalog is not thread-safe. The host keeps one behind its own mutex; the
// builders (the sample library and the folder indexer) fill a fresh one.
namespace refhost {

struct CatalogTrack {
  std::string id;
  std::string title;
  std::string artistId;
  std::string albumId;
  std::string path;      // the audio file, or empty for generated tracks
  std::string fileType;  // "FLAC", "WAV", "MP3", ...
  int number = 0;        // position on the album, from 1
  int duration = 0;      // seconds
  int sampleRate = 44100;
  int bitDepth = 16;
  bool mqa = false;
};

struct CatalogAlbum {
  std::string id;
  std::string title;
  std::string artistId;
  std::string genreId;
  std::string coverPath;  // an image file, or empty when the album has none
  std::string info;
  int year = 0;
  std::vector<std::string> trackIds;  // in album order
};

struct CatalogArtist {
  std::string id;
  std::string name;
  std::string info;
  std::vector<std::string> albumIds;  // in the order they were added
};

struct CatalogGenre {
  std::string id;
  std::string name;
  std::vector<std::string> albumIds;
};

struct CatalogMood {
  std::string id;
  std::string name;
  std::string coverPath;
  std::vector<std::string> trackIds;
};

struct CatalogPlaylist {
  std::string id;
  std::string name;
  std::string info;
  std::vector<std::string> trackIds;
};

class Catalog {
 public:
  // Adding an item whose id is already present replaces it. Albums register
  // themselves with their artist and genre, tracks with their album, so
  // builders add artists and genres first, then albums, then tracks.
  void addArtist(CatalogArtist artist);
  void addGenre(CatalogGenre genre);
  void addAlbum(CatalogAlbum album);
  void addTrack(CatalogTrack track);
  void addMood(CatalogMood mood);
  void addPlaylist(CatalogPlaylist playlist);
  bool removePlaylist(const std::string& id);

  // Null when there is no such item.
  const CatalogTrack* track(const std::string& id) const;
  const CatalogAlbum* album(const std::string& id) const;
  const CatalogArtist* artist(const std::string& id) const;
  const CatalogGenre* genre(const std::string& id) const;
  const CatalogMood* mood(const std::string& id) const;
  const CatalogPlaylist* playlist(const std::string& id) const;
  CatalogPlaylist* playlist(const std::string& id);

  // Every item of a kind in display order: artists and albums by name,
  // tracks by album then number, genres, moods and playlists as added.
  std::vector<const CatalogTrack*> tracks() const;
  std::vector<const CatalogAlbum*> albums() const;
  std::vector<const CatalogArtist*> artists() const;
  std::vector<const CatalogGenre*> genres() const;
  std::vector<const CatalogMood*> moods() const;
  std::vector<const CatalogPlaylist*> playlists() const;

  // Sum of the album's track durations, in seconds.
  int albumDuration(const CatalogAlbum& album) const;
  // Tracks of an artist over all of their albums, in album order.
  std::vector<const CatalogTrack*> artistTracks(const std::string& artistId) const;

  // Case-insensitive substring match on titles and names (ASCII folding).
  struct SearchResult {
    std::vector<const CatalogArtist*> artists;
    std::vector<const CatalogAlbum*> albums;
    std::vector<const CatalogTrack*> tracks;
  };
  SearchResult search(const std::string& term) const;

  std::size_t trackCount() const { return tracks_.size(); }
  std::size_t albumCount() const { return albums_.size(); }
  std::size_t artistCount() const { return artists_.size(); }
  bool empty() const { return tracks_.empty(); }

 private:
  // A track's number on its album, taking the one being added into account.
  int numberOf(const std::string& id, const CatalogTrack& incoming) const;

  std::map<std::string, CatalogTrack> tracks_;
  std::map<std::string, CatalogAlbum> albums_;
  std::map<std::string, CatalogArtist> artists_;
  std::map<std::string, CatalogGenre> genres_;
  std::map<std::string, CatalogMood> moods_;
  std::map<std::string, CatalogPlaylist> playlists_;
  // Insertion order for the kinds that are listed as added.
  std::vector<std::string> genreOrder_;
  std::vector<std::string> moodOrder_;
  std::vector<std::string> playlistOrder_;
};

}  // namespace refhost
