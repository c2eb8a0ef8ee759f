#include "library/LibraryItemsImpl.h"
#include "library/LibraryEncoder.h"

using web::json::value;

namespace {

using Fields = std::vector<std::pair<utility::string_t, value>>;

value text(const std::string& s) { return value::string(s); }
// Flags travel as the numbers 0 and 1, which is what clients compare against.
value flag(bool b) { return value::number(b ? 1 : 0); }
value ordered(Fields fields) { return value::object(std::move(fields), true); }

template <typename Impl, typename Item, typename Encode>
value encodeList(const std::vector<Item*>& items, Encode encode) {
  std::vector<value> out;
  out.reserve(items.size());
  for (Item* item : items) {
    // Skip nulls and items the host made itself: only our own classes are known.
    if (auto* impl = dynamic_cast<Impl*>(item)) out.push_back(encode(impl));
  }
  return value::array(std::move(out));
}

}  // namespace

value LibraryEncoder::getTrack(TrackImpl* t, bool withArtwork) {
  Fields f;
  f.reserve(17);
  f.emplace_back("id", text(t->ID));
  f.emplace_back("name", text(t->getTrackName()));
  f.emplace_back("duration", value::number(t->getDuration()));
  f.emplace_back("artistid", text(t->getArtistID()));
  f.emplace_back("artistname", text(t->getArtistName()));
  f.emplace_back("albumname", text(t->getAlbumName()));
  f.emplace_back("albumid", text(t->getAlbumID()));
  f.emplace_back("sampleRate", value::number(t->getSampleRate()));
  f.emplace_back("fileType", text(t->getFileType()));
  // Percent-encoded so that a client can put it into a query as it is.
  f.emplace_back("path", text(web::uri::encode_data_string(t->getPath())));
  f.emplace_back("source", value::number(static_cast<int32_t>(t->source)));
  f.emplace_back("info", text(t->info));
  f.emplace_back("available", flag(t->getAvailable()));
  f.emplace_back("mqa", flag(t->getMQA()));
  f.emplace_back("libraryLocation", text(t->libraryLocation));
  f.emplace_back("artwork", text(t->getArtworkPath()));
  if (withArtwork) f.emplace_back("artworkdata", getArtwork(t->getArtworkPath(), t->artworkID));
  return ordered(std::move(f));
}

value LibraryEncoder::getAlbum(AlbumImpl* a, bool withArtwork) {
  Fields f;
  f.reserve(14);
  f.emplace_back("id", text(a->ID));
  f.emplace_back("source", value::number(static_cast<int32_t>(a->source)));
  f.emplace_back("name", text(a->getAlbumName()));
  f.emplace_back("artistid", text(a->getArtistID()));
  f.emplace_back("artistname", text(a->getArtistName()));
  f.emplace_back("info", text(a->info));
  f.emplace_back("duration", value::number(a->getDuration()));
  f.emplace_back("trackcount", value::number(a->getTrackCount()));
  f.emplace_back("tracks", getTracks(a->tracksView(), withArtwork));
  f.emplace_back("available", flag(a->getAvailable()));
  f.emplace_back("mqa", flag(a->getMQA()));
  f.emplace_back("libraryLocation", text(a->libraryLocation));
  f.emplace_back("artwork", text(a->getArtworkPath()));
  if (withArtwork) f.emplace_back("artworkdata", getArtwork(a->getArtworkPath(), a->artworkID));
  return ordered(std::move(f));
}

value LibraryEncoder::getArtist(ArtistImpl* a, bool withArtwork) {
  Fields f;
  f.reserve(10);
  f.emplace_back("id", text(a->ID));
  f.emplace_back("source", value::number(static_cast<int32_t>(a->source)));
  f.emplace_back("name", text(a->getArtistName()));
  f.emplace_back("albumcount", value::number(a->getAlbumCount()));
  f.emplace_back("albums", getAlbums(a->albumsView(), withArtwork));
  f.emplace_back("info", text(a->info));
  f.emplace_back("available", flag(a->getAvailable()));
  f.emplace_back("libraryLocation", text(a->libraryLocation));
  f.emplace_back("artwork", text(a->getArtworkPath()));
  if (withArtwork) f.emplace_back("artworkdata", getArtwork(a->getArtworkPath(), a->artworkID));
  return ordered(std::move(f));
}

value LibraryEncoder::getGenre(GenreImpl* g, bool withArtwork) {
  Fields f;
  f.reserve(9);
  f.emplace_back("id", text(g->ID));
  f.emplace_back("name", text(g->getGenreName()));
  f.emplace_back("info", text(g->info));
  // Genres have no source of their own.
  f.emplace_back("source", value::number(0));
  f.emplace_back("libraryLocation", text(g->libraryLocation));
  f.emplace_back("artwork", text(g->getArtworkPath()));
  // A genre always shows its picture, whatever its nested items do.
  f.emplace_back("artworkdata", getArtwork(g->getArtworkPath(), g->artworkID));
  f.emplace_back("albums", getAlbums(g->albumsView(), withArtwork));
  f.emplace_back("playlists", getPlaylists(g->playlistsView(), withArtwork));
  return ordered(std::move(f));
}

value LibraryEncoder::getPlaylist(PlaylistImpl* p, bool withArtwork) {
  Fields f;
  f.reserve(12);
  f.emplace_back("id", text(p->ID));
  f.emplace_back("source", value::number(static_cast<int32_t>(p->source)));
  f.emplace_back("name", text(p->getPlaylistName()));
  f.emplace_back("tracks", getTracks(p->tracksView(), withArtwork));
  f.emplace_back("duration", value::number(p->getDuration()));
  f.emplace_back("trackcount", value::number(p->getTrackCount()));
  f.emplace_back("info", text(p->info));
  f.emplace_back("libraryLocation", text(p->libraryLocation));
  f.emplace_back("artwork", text(p->getArtworkPath()));
  // Clients hide unavailable playlists; every playlist the host lists is playable.
  f.emplace_back("available", flag(true));
  f.emplace_back("mqa", flag(p->getMQA()));
  if (withArtwork) f.emplace_back("artworkdata", getArtwork(p->getArtworkPath(), p->artworkID));
  return ordered(std::move(f));
}

value LibraryEncoder::getMood(MoodImpl* m) {
  return ordered({{"id", text(m->ID)},
                  {"name", text(m->getMoodName())},
                  {"artwork", text(m->getArtworkPath())},
                  {"artworkdata", getArtwork(m->getArtworkPath(), m->artworkID)}});
}

value LibraryEncoder::getTracks(const std::vector<Track*>& list, bool withArtwork) {
  return encodeList<TrackImpl>(list, [&](TrackImpl* t) { return getTrack(t, withArtwork); });
}

value LibraryEncoder::getAlbums(const std::vector<Album*>& list, bool withArtwork) {
  return encodeList<AlbumImpl>(list, [&](AlbumImpl* a) { return getAlbum(a, withArtwork); });
}

value LibraryEncoder::getArtists(const std::vector<Artist*>& list, bool withArtwork) {
  return encodeList<ArtistImpl>(list, [&](ArtistImpl* a) { return getArtist(a, withArtwork); });
}

value LibraryEncoder::getPlaylists(const std::vector<Playlist*>& list, bool withArtwork) {
  return encodeList<PlaylistImpl>(list,
                                  [&](PlaylistImpl* p) { return getPlaylist(p, withArtwork); });
}

value LibraryEncoder::getGenres(const std::vector<Genre*>& list, bool withArtwork) {
  return encodeList<GenreImpl>(list, [&](GenreImpl* g) { return getGenre(g, withArtwork); });
}

value LibraryEncoder::getMoods(const std::vector<Mood*>& list) {
  return encodeList<MoodImpl>(list, [&](MoodImpl* m) { return getMood(m); });
}
