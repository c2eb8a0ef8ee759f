#include <gtest/gtest.h>

#include "support/RoutedService.h"

using namespace velora_test;

namespace {

class BrowseTest : public RoutedService {
 protected:
  void SetUp() override {
    RoutedService::SetUp();
    s.Init();
  }
};

TEST_F(BrowseTest, OptionalKeysAreReadByCount) {
  get("/library/album?id=a1");
  EXPECT_EQ("'a1' '-1' '-1' '0' '0'", host.last("onGetAlbum"));
  // Two pairs unlock only the first optional key, whichever keys they are.
  get("/library/albumv2?id=a1&reverseSort=1");
  EXPECT_EQ("'a1' '-1' '-1' '0' '0'", host.last("onGetAlbum"));
  get("/library/album?id=a1&index=5&count=10&sortBy=2&reverseSort=1");
  EXPECT_EQ("'a1' '5' '10' '2' '1'", host.last("onGetAlbum"));
  get("/library/artist?id=ar1&index=0");
  EXPECT_EQ("'ar1' '0' '-1' '1' '0' ''", host.last("onGetArtist"));
  get("/library/setPlaylistInfo?id=p1&info=i&name=Mix");
  EXPECT_EQ("'p1' 'i' 'Mix' '' ''", host.last("onSetPlaylistInfo"));
  // The per-item requests are not what these routes ask.
  EXPECT_EQ(0, host.count("onRequestAlbum"));
  EXPECT_EQ(0, host.count("onRequestArtist"));
}

TEST_F(BrowseTest, RepliesCarryWhatTheHostPushed) {
  host.onCall("onGetAlbum", [this] {
    Album* a = Album::getAlbum(VeloraSourceLocal, "a1");
    s.setAlbum(a);
    a->Release();
  });
  const auto album = web::json::value::parse(get("/library/album?id=a1").body);
  EXPECT_EQ("a1", album.at("album").at("id").as_string());

  host.onCall("onGetArtist", [this] {
    Artist* ar = Artist::getArtist(VeloraSourceLocal, "ar1");
    s.setGetArtistResponse(std::vector<Artist*>{ar}, 1);
    ar->Release();
  });
  const auto artist = web::json::value::parse(get("/library/artistv2?id=ar1").body);
  EXPECT_EQ("ar1", artist.at(0).at("id").as_string());
  // Info requests share the artist's answer.
  EXPECT_EQ(artist.serialize(), get("/library/artistInfo?id=ar1").body);

  host.onCall("onGetPlaylistInfo", [this] {
    Playlist* p = Playlist::getPlaylist(VeloraSourceLocal, "p9");
    s.setGetPlaylistResponse({p}, 1);
    p->Release();
  });
  EXPECT_EQ(
      "p9",
      web::json::value::parse(get("/library/playlistInfo?id=p9").body).at(0).at("id").as_string());
  EXPECT_EQ("{}", get("/library/albumInfo?id=a1").body);
}

TEST_F(BrowseTest, FailuresAndMissingIds) {
  for (const char* target :
       {"/library/album?id=x", "/library/artist?id=x", "/library/artistInfo?id=x",
        "/library/albumInfo?id=x", "/library/playlistInfo?id=x"}) {
    host.answer("onGetAlbum", 1);
    host.answer("onGetArtist", 1);
    host.answer("onGetArtistInfo", 1);
    host.answer("onGetAlbumInfo", 1);
    host.answer("onGetPlaylistInfo", 1);
    const HttpReply reply = get(target);
    EXPECT_EQ(404, reply.status) << target;
    EXPECT_EQ("\"Item ID not found\"", reply.body) << target;
  }
  host.answer("onSetPlaylistInfo", 1);
  const HttpReply set = get("/library/setPlaylistInfo?id=p1");
  EXPECT_EQ(401, set.status);
  EXPECT_EQ("\"handleGetPlaylistInfo FAILED\"", set.body);

  host.clear();
  EXPECT_EQ(404, get("/library/album").status);
  EXPECT_EQ(404, get("/library/playlistInfo?index=1").status);
  EXPECT_TRUE(host.calls().empty());
}

TEST_F(BrowseTest, LibrarySubRoutesAskTheHost) {
  struct Case {
    const char* target;
    const char* call;
  };
  const Case cases[] = {
      {"/library/track?id=t1", "onRequestTrack 't1'"},
      {"/library/trackv2/delete?id=t1", "onRequestDeleteTrack 't1'"},
      {"/library/album/delete?id=a1", "onRequestDeleteAlbum 'a1'"},
      {"/library/artistv2/delete?id=ar1", "onRequestDeleteArtist 'ar1'"},
      {"/library/artwork?id=w1", "onRequestArtwork 'w1'"},
      {"/library/search?param=blue%20note", "onRequestSearch 'blue note'"},
      {"/library/playnext", "onRequestPlaynext"},
      {"/library/genres", "onRequestGenres"},
      {"/library/genres?id=g1&index=0&count=20", "onRequestGenre 0 20 'g1'"},
      {"/library/playlist", "onRequestPlaylists -1 -1 0"},
      {"/library/playlist?id=p1", "onRequestPlaylist 'p1'"},
      {"/library/playlist/create?name=Road%20Trip", "onRequestCreatePlaylist 'Road Trip'"},
      {"/library/mood", "onRequestMoods"},
      {"/library/mood?id=m1", "onRequestMood 'm1'"},
      {"/library/addtomymusic?id=x&type=0", "onAddToMyMusic0 'x'"},
      {"/library/addtomymusic?id=x&type=1", "onAddToMyMusic1 'x'"},
      {"/library/addtomymusic?id=x&type=2", "onAddToMyMusic2 'x'"},
      {"/library/addtomymusic?id=x&type=3", "onAddToMyMusic3 'x'"},
      {"/library/addtoplaylist?id=x&playlistid=p1", "onRequestAddToPlaylist 'x' 'p1'"},
      {"/library/tracks?index=10&count=50&source=1", "onRequestTracks 10 50 1"},
      {"/library/artists?index=0&count=5", "onRequestArtists 0 5 0"},
      {"/library/albums", "onRequestAlbums -1 -1 0"},
      {"/library", "onRequestLibrary ''"},
  };
  for (const Case& c : cases) {
    host.clear();
    const HttpReply reply = get(c.target);
    EXPECT_EQ(200, reply.status) << c.target;
    EXPECT_EQ(std::vector<std::string>{c.call}, host.calls()) << c.target;
  }
}

TEST_F(BrowseTest, ClientsWithATokenGetTheLibraryThroughStatus) {
  host.onCall("onRequestGenres", [this] {
    Genre* g = Genre::getGenre("g1");
    s.setGenreList({g});
    g->Release();
  });
  const HttpReply plain = get("/library/genres");
  EXPECT_EQ("g1", web::json::value::parse(plain.body).at("genres").at(0).at("id").as_string());
  EXPECT_EQ("*", plain.header("Access-Control-Allow-Origin"));

  const HttpReply withToken = get("/library/genres?token=abc");
  EXPECT_EQ(200, withToken.status);
  EXPECT_EQ("", withToken.body);
  const auto status = web::json::value::parse(get("/status").body);
  EXPECT_EQ("g1", status.at("library").at("genres").at(0).at("id").as_string());
}

TEST_F(BrowseTest, BadLibraryRequests) {
  host.clear();
  EXPECT_EQ(400, get("/library/nothing").status);
  EXPECT_EQ(400, get("/library/addtomymusic?id=x&type=4").status);
  EXPECT_EQ(500, get("/library/addtomymusic?id=x&type=four").status);
  EXPECT_EQ(400, get("/library/addtoplaylist?id=x").status);
  EXPECT_EQ(404, get("/library/track").status);
  EXPECT_EQ(400, get("/library/playlist/create").status);
  EXPECT_EQ(500, get("/library/tracks?index=first").status);
  EXPECT_TRUE(host.calls().empty());
}

}  // namespace
