#include "library/LibraryRoutes.h"

// The "library" area: its second segment picks what the client asks for. Most
// requests only ask the host to push a view, and answer with the library
// document: to a client without a token at once, to one with a token through
// its "status" poll. Browsing asks the host for one view; the host pushes it
// (setAlbum, setGetArtistResponse, ...) from inside the callback and the
// reply carries it. Optional keys are read only as far as the query has pairs
// for them: the first at 2 pairs, the next at 3, and so on.

namespace {
using L = IVeloraLibraryServiceListener;
using web::http::status_codes;

constexpr Outcome kLibrary = answering(SuccessReply::library());
// Requests about one item fail without its id.
constexpr Outcome kById{"Item ID not found", 404, SuccessReply::library()};

Outcome notFoundOr(SuccessReply reply) { return {"Item ID not found", 404, reply}; }

Arg id() { return arg::text("id").needed(); }
// Paging values of the list requests; -1 leaves the choice to the host.
std::vector<Arg> page() {
  return {arg::count("index", -1), arg::count("count", -1), arg::count("source", 0)};
}

// The whole library, for clients that start from nothing; an unknown
// sub-route is refused with its path.
Answer wholeLibrary(Call& c) {
  if (c.r.segments.size() >= 2) return Replies::text(status_codes::BadRequest, c.r.decodedPath);
  CText itemId(c.r.text("id"));
  c.u.hub.fire(&L::onRequestLibrary, itemId);
  return reply(c, SuccessReply::library());
}

Answer addToMyMusic(Call& c) {
  RouteRequest& r = c.r;
  if (!r.has("id")) return Replies::text(status_codes::NotFound, "Item ID not found");
  static void (L::*const byType[])(const char*&) = {&L::onAddToMyMusic0, &L::onAddToMyMusic1,
                                                    &L::onAddToMyMusic2, &L::onAddToMyMusic3};
  const int type = r.has("type") ? r.number("type") : -1;
  if (type < 0 || type > 3) return Replies::text(status_codes::BadRequest, "Unknown type");
  CText itemId(r.text("id"));
  c.u.hub.fire(byType[type], itemId);
  return reply(c, SuccessReply::library());
}

Answer addToPlaylist(Call& c) {
  RouteRequest& r = c.r;
  if (!r.has("id")) return Replies::text(status_codes::NotFound, "Item ID not found");
  if (!r.has("playlistid")) return Replies::text(status_codes::BadRequest, "Missing playlistid");
  CText itemId(r.text("id"));
  CText playlist(r.text("playlistid"));
  c.u.hub.fire(&L::onRequestAddToPlaylist, itemId, playlist);
  return reply(c, SuccessReply::library());
}

// Rows for a sub-route and its "v2" name.
void both(RouteList& rows, const std::string& path, const char* name, const Handler& run) {
  rows.push_back({"GET", path, name, run});
  const size_t slash = path.find('/', 8);
  std::string v2 = path;
  v2.insert(slash == std::string::npos ? path.size() : slash, "v2");
  rows.push_back({"GET", v2, name, run});
}
}  // namespace

const RouteList& libraryRoutes() {
  static const RouteList routes = [] {
    using namespace arg;
    RouteList rows;
    both(rows, "library/track/delete", "routeLibrary",
         tell(&L::onRequestDeleteTrack, kById, {id()}));
    both(rows, "library/track", "routeLibrary", tell(&L::onRequestTrack, kById, {id()}));
    both(rows, "library/album/delete", "routeLibrary",
         tell(&L::onRequestDeleteAlbum, kById, {id()}));
    both(rows, "library/album", "handleGetAlbum",
         ask(&L::onGetAlbum, notFoundOr(SuccessReply::fromDocument(&StateDocuments::library, true)),
             {id(), after("index", 2, "-1"), after("count", 3, "-1"), after("sortBy", 4, "0"),
              after("reverseSort", 5, "0")}));
    both(rows, "library/artist/delete", "routeLibrary",
         tell(&L::onRequestDeleteArtist, kById, {id()}));
    both(rows, "library/artist", "handleGetArtist",
         ask(&L::onGetArtist, notFoundOr(SuccessReply::fromSlot(&ResponseSlots::artist, true)),
             {id(), after("index", 2, "-1"), after("count", 3, "-1"), after("sortBy", 4, "1"),
              after("reverseSort", 5, "0"), fixed("")}));
    const RouteList more = {
        {"GET", "library/artwork", "routeLibrary", tell(&L::onRequestArtwork, kById, {id()})},
        {"GET", "library/search", "routeLibrary",
         tell(&L::onRequestSearch, kLibrary, {decoded("param")})},
        {"GET", "library/playnext", "routeLibrary", tell(&L::onRequestPlaynext, kLibrary)},
        {"GET",
         "library/genres",
         "routeLibrary",
         tell(&L::onRequestGenre, kLibrary, {count("index", -1), count("count", -1), text("id")}),
         {"id"}},
        {"GET", "library/genres", "routeLibrary", tell(&L::onRequestGenres, kLibrary)},
        {"GET", "library/playlist/create", "routeLibrary",
         tell(&L::onRequestCreatePlaylist, {"Missing name", 400, SuccessReply::library()},
              {decoded("name").needed()})},
        {"GET",
         "library/playlist",
         "routeLibrary",
         tell(&L::onRequestPlaylist, kLibrary, {text("id")}),
         {"id"}},
        {"GET", "library/playlist", "routeLibrary", tell(&L::onRequestPlaylists, kLibrary, page())},
        {"GET",
         "library/mood",
         "routeLibrary",
         tell(&L::onRequestMood, kLibrary, {text("id")}),
         {"id"}},
        {"GET", "library/mood", "routeLibrary", tell(&L::onRequestMoods, kLibrary)},
        {"GET", "library/addtomymusic", "routeLibrary", addToMyMusic},
        {"GET", "library/addtoplaylist", "routeLibrary", addToPlaylist},
        {"GET", "library/artistInfo", "handleGetArtistInfo",
         ask(&L::onGetArtistInfo, notFoundOr(SuccessReply::fromSlot(&ResponseSlots::artist, true)),
             {id()})},
        {"GET", "library/albumInfo", "handleGetAlbumInfo",
         ask(&L::onGetAlbumInfo, notFoundOr(SuccessReply::fromSlot(&ResponseSlots::album, true)),
             {id()})},
        {"GET", "library/playlistInfo", "handleGetPlaylistInfo",
         ask(&L::onGetPlaylistInfo,
             notFoundOr(SuccessReply::fromSlot(&ResponseSlots::playlist, true)), {id()})},
        // The failure names the get handler; clients match it as it is.
        {"GET", "library/setPlaylistInfo", "handleSetPlaylistInfo",
         ask(&L::onSetPlaylistInfo,
             {"handleGetPlaylistInfo FAILED", 401, {}, false, 404, "Item ID not found"},
             {id(), after("info", 2, ""), after("name", 3, ""), after("artwork", 4, ""),
              after("artist", 5, "")})},
        {"GET", "library/tracks", "routeLibrary", tell(&L::onRequestTracks, kLibrary, page())},
        {"GET", "library/artists", "routeLibrary", tell(&L::onRequestArtists, kLibrary, page())},
        {"GET", "library/albums", "routeLibrary", tell(&L::onRequestAlbums, kLibrary, page())},
        {"GET", "library", "routeLibrary", wholeLibrary},
        // A client shares a picture it holds; others collect it with "status".
        {"POST", "artwork/cachedata", "handle_post",
         [](Call& c) {
           return applyBody(c, [&state = c.u.state](const web::json::value& body) {
             state.publish(&StateDocuments::library, "artwork", body);
           });
         }},
    };
    rows.insert(rows.end(), more.begin(), more.end());
    return rows;
  }();
  return routes;
}
