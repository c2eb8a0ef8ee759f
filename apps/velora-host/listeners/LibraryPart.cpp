#include "listeners/Areas.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>

#include "listeners/Items.h"
#include "listeners/Json.h"

namespace refhost {

const char* transportName(Transport t) {
  switch (t) {
    case Transport::Playing:
      return "playing";
    case Transport::Paused:
      return "paused";
    case Transport::Stopped:
      return "stopped";
  }
  return "stopped";
}

Kind kindOf(const std::string& which) {
  if (which == "track" || which == "tracks" || which.empty()) return Kind::Tracks;
  if (which == "album" || which == "albums") return Kind::Albums;
  if (which == "artist" || which == "artists") return Kind::Artists;
  if (which == "playlist" || which == "playlists") return Kind::Playlists;
  return Kind::Unknown;
}

std::string folded(std::string s) {
  std::transform(s.begin(), s.end(), s.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return s;
}

std::vector<const CatalogPlaylist*> playlistsNamed(const Catalog& catalog,
                                                   const std::string& term) {
  std::vector<const CatalogPlaylist*> out;
  const std::string lowered = folded(term);
  for (const CatalogPlaylist* p : catalog.playlists()) {
    if (folded(p->name).find(lowered) != std::string::npos) out.push_back(p);
  }
  return out;
}

std::string decoded(const char* value) {
  const std::string t = text(value);
  std::string out;
  for (std::size_t i = 0; i < t.size(); ++i) {
    if (t[i] == '%' && i + 2 < t.size() && std::isxdigit(static_cast<unsigned char>(t[i + 1])) &&
        std::isxdigit(static_cast<unsigned char>(t[i + 2]))) {
      out += static_cast<char>(std::stoi(t.substr(i + 1, 2), nullptr, 16));
      i += 2;
    } else {
      out += t[i];
    }
  }
  return out;
}

int number(const char* value, int fallback) {
  const std::string t = text(value);
  if (t.empty()) return fallback;
  char* end = nullptr;
  const long v = std::strtol(t.c_str(), &end, 10);
  return *end == '\0' ? static_cast<int>(v) : fallback;
}

int LibraryPart::answer(void (IVeloraLibraryService::*setter)(const char*),
                        const std::string& json) {
  (library().*setter)(json.c_str());
  return kOk;
}

void LibraryPart::answerDownloadLocation() {
  const std::string json = JsonObject().add("location", host_.player.downloadFolder()).str();
  library().setGetLocalDownloadLocationResponse(json.c_str());
}

void LibraryPart::publishPlaylist(const std::string& id) {
  LibraryItems items(host_.player);
  if (Playlist* playlist = items.playlist(id)) library().setPlaylist(playlist);
  publishPlaylists();
}

void LibraryPart::publishPlaylists() {
  LibraryItems items(host_.player);
  library().setPlaylistList(items.list(&Catalog::playlists));
  host_.publish.libraryChanged();
}

// "My music" is the host's favourites playlist; the four kinds of item
// (track, album, artist, playlist) all add their tracks to it.
void LibraryPart::addToMyMusic(int type, const std::string& id) {
  static const char* kFavouritesName = "My Music";
  std::string favourites = host_.player.withLibrary([&](const LibraryView& lib) {
    for (const CatalogPlaylist* p : lib.catalog.playlists()) {
      if (p->name == kFavouritesName) return p->id;
    }
    return std::string();
  });
  if (favourites.empty()) favourites = host_.player.createPlaylist(kFavouritesName);
  if (host_.player.addToPlaylist(favourites, id)) {
    publishPlaylist(favourites);
  } else {
    host_.console.say("nothing to add to My Music for " + id + " (type " + std::to_string(type) +
                      ")");
  }
}

}  // namespace refhost
