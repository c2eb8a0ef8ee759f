#pragma once

#include <string>
#include <vector>

#include "velora/VeloraLibraryItems.h"

// The concrete library items behind the factories. The service reads them
// through the getters (and the public base fields) while it encodes them.

// Hosts hand texts over as C strings that may be freed after the call; a
// null pointer reads as the empty text rather than bringing the host down.
inline std::string copyText(char const* text) { return text ? std::string(text) : std::string(); }

class VeloraLibraryItem {
 public:
  VeloraLibraryItem(VeloraLibraryItemSource source, char const* id)
      : source(source), ID(copyText(id)) {}
  // Genres carry no source of their own.
  explicit VeloraLibraryItem(char const* id) : ID(copyText(id)) {}

  void setInfo(char const* text) { info = copyText(text); }

  std::string info;
  VeloraLibraryItemSource source = VeloraSourceLocal;
  std::string ID;
  std::string artworkID;
};

class TrackImpl : public Track, public VeloraLibraryItem {
 public:
  // A track made without a source.
  TrackImpl() : VeloraLibraryItem(VeloraSourceUnspecified, "") {}
  TrackImpl(VeloraLibraryItemSource source, char const* id) : VeloraLibraryItem(source, id) {}

  void setTrackName(char const* v) override { trackName = copyText(v); }
  void setArtistName(char const* v) override { artistName = copyText(v); }
  void setAlbumName(char const* v) override { albumName = copyText(v); }
  void setArtworkPath(char const* v) override { artworkPath = copyText(v); }
  void setArtworkID(char const* v) override { artworkID = copyText(v); }
  void setArtistID(char const* v) override { artistID = copyText(v); }
  void setAlbumID(char const* v) override { albumID = copyText(v); }
  void setDuration(int v) override { duration = v; }
  void setInfo(char const* v) override { VeloraLibraryItem::setInfo(v); }
  void setSampleRate(int v) override { sampleRate = v; }
  void setFileType(char const* v) override { fileType = copyText(v); }
  void setAvailable(bool v) override { available = v; }
  void setLibraryLocation(char const* v) override { libraryLocation = copyText(v); }
  void setMQA(bool v) override { MQA = v; }
  void setPath(char const* v) override { path = copyText(v); }

  std::string getTrackName() const { return trackName; }
  std::string getArtistID() const { return artistID; }
  std::string getArtistName() const { return artistName; }
  std::string getAlbumID() const { return albumID; }
  std::string getAlbumName() const { return albumName; }
  std::string getArtworkPath() const { return artworkPath; }
  int getDuration() const { return duration; }
  int getSampleRate() const { return sampleRate; }
  std::string getFileType() const { return fileType; }
  bool getAvailable() const { return available; }
  bool getMQA() const { return MQA; }
  std::string getPath() const { return path; }

  std::string libraryLocation;

 private:
  std::string trackName, artistName, albumName, artworkPath, artistID, albumID;
  int duration = 0;
  std::string fileType;
  int sampleRate = 0;
  std::string path;
  bool available = false;
  bool MQA = false;
};

class AlbumImpl : public Album, public VeloraLibraryItem {
 public:
  AlbumImpl(VeloraLibraryItemSource source, char const* id) : VeloraLibraryItem(source, id) {}

  void setAlbumName(char const* v) override { albumName = copyText(v); }
  void setArtistID(char const* v) override { artistID = copyText(v); }
  void setArtistName(char const* v) override { artistName = copyText(v); }
  void setTracks(std::vector<Track*> v) override { tracks = std::move(v); }
  void setArtworkPath(char const* v) override { artworkPath = copyText(v); }
  void setArtworkID(char const* v) override { artworkID = copyText(v); }
  void setInfo(char const* v) override { VeloraLibraryItem::setInfo(v); }
  void setDuration(int v) override { duration = v; }
  void setTrackCount(int v) override { trackCount = v; }
  void setAvailable(bool v) override { available = v; }
  void setLibraryLocation(char const* v) override { libraryLocation = copyText(v); }
  void setMQA(bool v) override { MQA = v; }

  std::string getAlbumName() const { return albumName; }
  std::string getArtistID() const { return artistID; }
  std::string getArtistName() const { return artistName; }
  std::string getArtworkPath() const { return artworkPath; }
  std::vector<Track*> getTracks() const { return tracks; }
  const std::vector<Track*>& tracksView() const { return tracks; }
  int getDuration() const { return duration; }
  int getTrackCount() const { return trackCount; }
  bool getAvailable() const { return available; }
  bool getMQA() const { return MQA; }

  std::string libraryLocation;

 private:
  std::string albumName, artistID, artistName, artworkPath;
  std::vector<Track*> tracks;
  int duration = 0;
  int trackCount = 0;
  bool available = false;
  bool MQA = false;
};

class ArtistImpl : public Artist, public VeloraLibraryItem {
 public:
  ArtistImpl(VeloraLibraryItemSource source, char const* id) : VeloraLibraryItem(source, id) {}

  void setArtistName(char const* v) override { artistName = copyText(v); }
  void setAlbums(std::vector<Album*> v) override { albums = std::move(v); }
  void setArtworkPath(char const* v) override { artworkPath = copyText(v); }
  void setArtworkID(char const* v) override { artworkID = copyText(v); }
  void setInfo(char const* v) override { VeloraLibraryItem::setInfo(v); }
  void setAlbumCount(int v) override { albumCount = v; }
  void setTrackCount(int v) override { trackCount = v; }
  void setAvailable(bool v) override { available = v; }
  void setLibraryLocation(char const* v) override { libraryLocation = copyText(v); }

  std::string getArtistName() const { return artistName; }
  std::string getArtworkPath() const { return artworkPath; }
  std::vector<Album*> getAlbums() const { return albums; }
  const std::vector<Album*>& albumsView() const { return albums; }
  int getAlbumCount() const { return albumCount; }
  int getTrackCount() const { return trackCount; }
  bool getAvailable() const { return available; }

  std::string libraryLocation;

 private:
  std::string artistName, artworkPath;
  std::vector<Album*> albums;
  int albumCount = 0;
  int trackCount = 0;
  bool available = false;
};

class GenreImpl : public Genre, public VeloraLibraryItem {
 public:
  explicit GenreImpl(char const* id) : VeloraLibraryItem(id) {}

  void setGenreName(char const* v) override { genreName = copyText(v); }
  void setAlbums(std::vector<Album*> v) override { albums = std::move(v); }
  void setPlaylists(std::vector<Playlist*> v) override { playlists = std::move(v); }
  void setArtworkPath(char const* v) override { artworkPath = copyText(v); }
  void setArtworkID(char const* v) override { artworkID = copyText(v); }
  void setInfo(char const* v) override { VeloraLibraryItem::setInfo(v); }
  void setLibraryLocation(char const* v) override { libraryLocation = copyText(v); }

  std::string getGenreName() const { return genreName; }
  std::string getArtworkPath() const { return artworkPath; }
  std::vector<Album*> getAlbums() const { return albums; }
  std::vector<Playlist*> getPlaylists() const { return playlists; }
  const std::vector<Album*>& albumsView() const { return albums; }
  const std::vector<Playlist*>& playlistsView() const { return playlists; }

  std::string libraryLocation;

 private:
  std::string genreName, artworkPath;
  std::vector<Album*> albums;
  std::vector<Playlist*> playlists;
};

class PlaylistImpl : public Playlist, public VeloraLibraryItem {
 public:
  PlaylistImpl(VeloraLibraryItemSource source, char const* id) : VeloraLibraryItem(source, id) {}

  void setPlaylistName(char const* v) override { playlistName = copyText(v); }
  void setTracks(std::vector<Track*> v) override { tracks = std::move(v); }
  void setArtworkPath(char const* v) override { artworkPath = copyText(v); }
  void setArtworkID(char const* v) override { artworkID = copyText(v); }
  void setInfo(char const* v) override { VeloraLibraryItem::setInfo(v); }
  void setDuration(int v) override { duration = v; }
  void setTrackCount(int v) override { trackCount = v; }
  void setAvailable(bool v) override { available = v; }
  void setMQA(bool v) override { MQA = v; }
  void setLibraryLocation(char const* v) override { libraryLocation = copyText(v); }

  std::string getPlaylistName() const { return playlistName; }
  std::vector<Track*> getTracks() const { return tracks; }
  const std::vector<Track*>& tracksView() const { return tracks; }
  std::string getArtworkPath() const { return artworkPath; }
  int getDuration() const { return duration; }
  int getTrackCount() const { return trackCount; }
  bool getMQA() const { return MQA; }

  std::string libraryLocation;

 private:
  std::string playlistName;
  std::vector<Track*> tracks;
  std::string artworkPath;
  int duration = 0;
  int trackCount = 0;
  bool available = true;
  bool MQA = false;
};

class MoodImpl : public Mood, public VeloraLibraryItem {
 public:
  explicit MoodImpl(char const* id) : VeloraLibraryItem(VeloraSourceMood, id) {}

  void setMoodName(char const* v) override { moodName = copyText(v); }
  void setArtworkPath(char const* v) override { artworkPath = copyText(v); }
  void setArtworkID(char const* v) override { artworkID = copyText(v); }
  void setLibraryLocation(char const* v) override { libraryLocation = copyText(v); }

  std::string getMoodName() const { return moodName; }
  std::string getArtworkPath() const { return artworkPath; }

  std::string libraryLocation;

 private:
  std::string moodName, artworkPath;
};
