#include "service/VeloraRestService.h"

using web::http::status_codes;
using L = IVeloraLibraryServiceListener;

// The "library" area: its second segment picks what the client asks for. Most
// requests only ask the host to push a view, and answer with the library
// document: to a client without a token at once, to one with a token through
// its "status" poll.

namespace {

struct LibraryRoute {
  const char* segment;
  void (VeloraRestService::*handler)(RouteRequest&);
};

bool deleting(const RouteRequest& r) { return path(r.segments, 2, false) == "delete"; }

// Paging values of the list requests; -1 leaves the choice to the host.
int pageValue(const RouteRequest& r, const char* key) { return r.has(key) ? r.number(key) : -1; }

// Asks for one page of a list: index, count and source as the client gave them.
template <typename Fire>
void requestPage(const RouteRequest& r, Fire fire) {
  int index = pageValue(r, "index");
  int count = pageValue(r, "count");
  auto source = static_cast<VeloraLibraryItemSource>(r.has("source") ? r.number("source") : 0);
  fire(index, count, source);
}

}  // namespace

void VeloraRestService::routeLibrary(RouteRequest& r) {
  using S = VeloraRestService;
  static const LibraryRoute routes[] = {
      {"track", &S::libraryTrack},
      {"trackv2", &S::libraryTrack},
      {"artwork", &S::libraryArtwork},
      {"search", &S::librarySearch},
      {"playnext", &S::libraryPlaynext},
      {"genres", &S::libraryGenres},
      {"playlist", &S::libraryPlaylist},
      {"mood", &S::libraryMood},
      {"album", &S::libraryAlbum},
      {"albumv2", &S::libraryAlbum},
      {"artist", &S::libraryArtist},
      {"artistv2", &S::libraryArtist},
      {"addtomymusic", &S::libraryAddToMyMusic},
      {"addtoplaylist", &S::libraryAddToPlaylist},
      {"artistInfo", &S::handleGetArtistInfo},
      {"albumInfo", &S::handleGetAlbumInfo},
      {"playlistInfo", &S::handleGetPlaylistInfo},
      {"setPlaylistInfo", &S::handleSetPlaylistInfo},
      {"tracks", &S::libraryTracks},
      {"artists", &S::libraryArtists},
      {"albums", &S::libraryAlbums},
  };

  if (r.segments.size() < 2) {
    // The whole library, for clients that start from nothing.
    CText id(r.text("id"));
    libraryListeners_.stable_fire(&L::onRequestLibrary, id);
    returnLibrary(r.http, r.has("token"));
    return;
  }
  for (const auto& route : routes) {
    if (r.segment(1) == route.segment) {
      (this->*route.handler)(r);
      if (!r.http.get_response().is_done()) returnLibrary(r.http, r.has("token"));
      return;
    }
  }
  returnFailure(r.http, r.decodedPath, status_codes::BadRequest);
}

void VeloraRestService::libraryTrack(RouteRequest& r) {
  if (!requireId(r)) return;
  CText id(r.text("id"));
  libraryListeners_.stable_fire(deleting(r) ? &L::onRequestDeleteTrack : &L::onRequestTrack, id);
}

void VeloraRestService::libraryArtwork(RouteRequest& r) {
  if (!requireId(r)) return;
  CText id(r.text("id"));
  libraryListeners_.stable_fire(&L::onRequestArtwork, id);
}

void VeloraRestService::librarySearch(RouteRequest& r) {
  CText term(r.decoded("param"));
  libraryListeners_.stable_fire(&L::onRequestSearch, term);
}

void VeloraRestService::libraryPlaynext(RouteRequest&) {
  libraryListeners_.stable_fire(&L::onRequestPlaynext);
}

void VeloraRestService::libraryGenres(RouteRequest& r) {
  if (!r.has("id")) {
    libraryListeners_.stable_fire(&L::onRequestGenres);
    return;
  }
  int index = pageValue(r, "index");
  int count = pageValue(r, "count");
  CText id(r.text("id"));
  libraryListeners_.stable_fire(&L::onRequestGenre, index, count, id);
}

void VeloraRestService::libraryPlaylist(RouteRequest& r) {
  if (path(r.segments, 2, false) == "create") {
    if (!r.has("name")) {
      returnFailure(r.http, "Missing name", status_codes::BadRequest);
      return;
    }
    CText name(r.decoded("name"));
    libraryListeners_.stable_fire(&L::onRequestCreatePlaylist, name);
  } else if (r.has("id")) {
    CText id(r.text("id"));
    libraryListeners_.stable_fire(&L::onRequestPlaylist, id);
  } else {
    requestPage(r, [this](int& i, int& c, VeloraLibraryItemSource& src) {
      libraryListeners_.stable_fire(&L::onRequestPlaylists, i, c, src);
    });
  }
}

void VeloraRestService::libraryMood(RouteRequest& r) {
  if (r.has("id")) {
    CText id(r.text("id"));
    libraryListeners_.stable_fire(&L::onRequestMood, id);
  } else {
    libraryListeners_.stable_fire(&L::onRequestMoods);
  }
}

void VeloraRestService::libraryAlbum(RouteRequest& r) {
  if (!deleting(r)) return handleGetAlbum(r);
  if (!requireId(r)) return;
  CText id(r.text("id"));
  libraryListeners_.stable_fire(&L::onRequestDeleteAlbum, id);
}

void VeloraRestService::libraryArtist(RouteRequest& r) {
  if (!deleting(r)) return handleGetArtist(r);
  if (!requireId(r)) return;
  CText id(r.text("id"));
  libraryListeners_.stable_fire(&L::onRequestDeleteArtist, id);
}

void VeloraRestService::libraryAddToMyMusic(RouteRequest& r) {
  if (!requireId(r)) return;
  static void (L::*const byType[])(const char*&) = {&L::onAddToMyMusic0, &L::onAddToMyMusic1,
                                                    &L::onAddToMyMusic2, &L::onAddToMyMusic3};
  const int type = r.has("type") ? r.number("type") : -1;
  if (type < 0 || type > 3) {
    returnFailure(r.http, "Unknown type", status_codes::BadRequest);
    return;
  }
  CText id(r.text("id"));
  libraryListeners_.stable_fire(byType[type], id);
}

void VeloraRestService::libraryAddToPlaylist(RouteRequest& r) {
  if (!requireId(r)) return;
  if (!r.has("playlistid")) {
    returnFailure(r.http, "Missing playlistid", status_codes::BadRequest);
    return;
  }
  CText id(r.text("id"));
  CText playlist(r.text("playlistid"));
  libraryListeners_.stable_fire(&L::onRequestAddToPlaylist, id, playlist);
}

void VeloraRestService::libraryTracks(RouteRequest& r) {
  requestPage(r, [this](int& i, int& c, VeloraLibraryItemSource& s) {
    libraryListeners_.stable_fire(&L::onRequestTracks, i, c, s);
  });
}

void VeloraRestService::libraryArtists(RouteRequest& r) {
  requestPage(r, [this](int& i, int& c, VeloraLibraryItemSource& s) {
    libraryListeners_.stable_fire(&L::onRequestArtists, i, c, s);
  });
}

void VeloraRestService::libraryAlbums(RouteRequest& r) {
  requestPage(r, [this](int& i, int& c, VeloraLibraryItemSource& s) {
    libraryListeners_.stable_fire(&L::onRequestAlbums, i, c, s);
  });
}
