#pragma once

#include <vector>

#include "velora/VeloraExport.h"
#include "velora/VeloraTypes.h"

// Library items as the host builds them. Obtain an item from its factory, fill
// it with the setters (every text is copied at once, so the host may free its
// buffer right after a call), hand it to a service setter and free it with
// Release() once that call has returned. The service keeps only JSON made from
// the item, never the item. An item does not own the items in its child
// vectors: release each one separately.
//
// Hosts may derive their own classes from these interfaces; the service then
// ignores such items (only items from the factories are encoded).

class VELORA_API Track {
 public:
  virtual ~Track();
  virtual void setTrackName(char const* name) = 0;
  virtual void setArtistName(char const* name) = 0;
  virtual void setAlbumName(char const* name) = 0;
  virtual void setArtworkPath(char const* path) = 0;
  virtual void setArtworkID(char const* id) = 0;
  virtual void setArtistID(char const* id) = 0;
  virtual void setAlbumID(char const* id) = 0;
  virtual void setDuration(int seconds) = 0;
  virtual void setInfo(char const* info) = 0;
  virtual void setSampleRate(int hertz) = 0;
  virtual void setFileType(char const* type) = 0;
  virtual void setAvailable(bool available) = 0;
  virtual void setLibraryLocation(char const* location) = 0;
  virtual void setMQA(bool mqa) = 0;
  virtual void setPath(char const* path) = 0;

  static Track* getTrack(VeloraLibraryItemSource source, char const* id);
  static Track* getTrack(char const* id);
  /// Destroys the item. Safe on a null pointer.
  void Release();
};

class VELORA_API Album {
 public:
  virtual ~Album();
  virtual void setAlbumName(char const* name) = 0;
  virtual void setArtistID(char const* id) = 0;
  virtual void setArtistName(char const* name) = 0;
  virtual void setTracks(std::vector<Track*> tracks) = 0;
  virtual void setArtworkPath(char const* path) = 0;
  virtual void setArtworkID(char const* id) = 0;
  virtual void setInfo(char const* info) = 0;
  virtual void setDuration(int seconds) = 0;
  virtual void setTrackCount(int count) = 0;
  virtual void setAvailable(bool available) = 0;
  virtual void setLibraryLocation(char const* location) = 0;
  virtual void setMQA(bool mqa) = 0;

  static Album* getAlbum(VeloraLibraryItemSource source, char const* id);
  /// Destroys the item (not its tracks). Safe on a null pointer.
  void Release();
};

class VELORA_API Artist {
 public:
  virtual ~Artist();
  virtual void setArtistName(char const* name) = 0;
  virtual void setAlbums(std::vector<Album*> albums) = 0;
  virtual void setArtworkPath(char const* path) = 0;
  virtual void setArtworkID(char const* id) = 0;
  virtual void setInfo(char const* info) = 0;
  virtual void setAlbumCount(int count) = 0;
  virtual void setTrackCount(int count) = 0;
  virtual void setAvailable(bool available) = 0;
  virtual void setLibraryLocation(char const* location) = 0;

  static Artist* getArtist(VeloraLibraryItemSource source, char const* id);
  /// Destroys the item (not its albums). Safe on a null pointer.
  void Release();
};

class Playlist;

class VELORA_API Genre {
 public:
  virtual ~Genre();
  virtual void setGenreName(char const* name) = 0;
  virtual void setAlbums(std::vector<Album*> albums) = 0;
  virtual void setPlaylists(std::vector<Playlist*> playlists) = 0;
  virtual void setArtworkPath(char const* path) = 0;
  virtual void setArtworkID(char const* id) = 0;
  virtual void setInfo(char const* info) = 0;
  virtual void setLibraryLocation(char const* location) = 0;

  static Genre* getGenre(char const* id);
  /// Destroys the item (not its albums or playlists). Safe on a null pointer.
  void Release();
};

class VELORA_API Playlist {
 public:
  virtual ~Playlist();
  virtual void setPlaylistName(char const* name) = 0;
  virtual void setTracks(std::vector<Track*> tracks) = 0;
  virtual void setArtworkPath(char const* path) = 0;
  virtual void setArtworkID(char const* id) = 0;
  virtual void setInfo(char const* info) = 0;
  virtual void setDuration(int seconds) = 0;
  virtual void setTrackCount(int count) = 0;
  virtual void setAvailable(bool available) = 0;
  virtual void setMQA(bool mqa) = 0;
  virtual void setLibraryLocation(char const* location) = 0;

  static Playlist* getPlaylist(VeloraLibraryItemSource source, char const* id);
  /// Destroys the item (not its tracks). Safe on a null pointer.
  void Release();
};

class VELORA_API Mood {
 public:
  virtual ~Mood();
  virtual void setMoodName(char const* name) = 0;
  virtual void setArtworkPath(char const* path) = 0;
  virtual void setArtworkID(char const* id) = 0;
  virtual void setLibraryLocation(char const* location) = 0;

  static Mood* getMood(char const* id);
  /// Destroys the item. Safe on a null pointer.
  void Release();
};
