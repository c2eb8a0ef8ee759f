#include <functional>

#include <gtest/gtest.h>

#include "support/RoutedService.h"

using namespace velora_test;
using web::json::value;

namespace {

class LibraryRoutes : public RoutedService {
 protected:
  void SetUp() override {
    RoutedService::SetUp();
    s.Init();
  }
  ~LibraryRoutes() override {
    for (auto& release : releases_) release();
  }
  template <typename T>
  T* keep(T* item) {
    releases_.push_back([item] { item->Release(); });
    return item;
  }
  Track* track(const char* id, const char* path = "/Music/A B.flac") {
    Track* t = keep(Track::getTrack(id));
    t->setTrackName("Song");
    t->setArtistName("Artist");
    t->setAlbumName("Album");
    t->setArtistID("ar1");
    t->setAlbumID("al1");
    t->setArtworkID("aw1");
    t->setDuration(215);
    t->setSampleRate(96000);
    t->setFileType("flac");
    t->setPath(path);
    t->setInfo("i");
    t->setAvailable(true);
    t->setLibraryLocation("local");
    return t;
  }
  Album* album(const char* id, std::vector<Track*> tracks) {
    Album* a = keep(Album::getAlbum(static_cast<VeloraLibraryItemSource>(2), id));
    a->setAlbumName("Album");
    a->setArtistID("ar1");
    a->setArtistName("Artist");
    a->setTracks(std::move(tracks));
    a->setDuration(400);
    a->setTrackCount(2);
    a->setMQA(true);
    return a;
  }
  // What the library routes send for a genre whose picture lies at `location`.
  value genreArtwork(const std::string& location) {
    Genre* g = keep(Genre::getGenre("g1"));
    g->setArtworkPath(location.c_str());
    g->setArtworkID("gw");
    captureStdout([&] { s.setGenreList({g}); });
    return value::parse(get("/library/genres").body).at("genres").at(0).at("artworkdata");
  }
  value status() { return value::parse(get("/status").body); }

  std::vector<std::function<void()>> releases_;
  TempDir files;
};

TEST_F(LibraryRoutes, KeysReachTheHostAndMissingItemsAnswer404) {
  expectRoutes({
      {"/library/album?id=a1", "onGetAlbum 'a1' '-1' '-1' '0' '0'", 200, nullptr, 1, 404,
       R"("Item ID not found")"},
      // Two pairs unlock only the first optional key, whichever keys they are.
      {"/library/albumv2?id=a1&reverseSort=1", "onGetAlbum 'a1' '-1' '-1' '0' '0'", 200, nullptr},
      {"/library/album?id=a1&index=5&count=10&sortBy=2&reverseSort=1",
       "onGetAlbum 'a1' '5' '10' '2' '1'", 200, nullptr},
      {"/library/artist?id=ar1&index=0", "onGetArtist 'ar1' '0' '-1' '1' '0' ''", 200, nullptr, 1,
       404, R"("Item ID not found")"},
      {"/library/artistInfo?id=x", "onGetArtistInfo 'x'", 200, nullptr, 1, 404,
       R"("Item ID not found")"},
      {"/library/albumInfo?id=x", "onGetAlbumInfo 'x'", 200, "{}", 1, 404,
       R"("Item ID not found")"},
      {"/library/playlistInfo?id=x", "onGetPlaylistInfo 'x'", 200, nullptr, 1, 404,
       R"("Item ID not found")"},
      {"/library/setPlaylistInfo?id=p1&info=i&name=Mix", "onSetPlaylistInfo 'p1' 'i' 'Mix' '' ''",
       200, nullptr, 1, 401, R"("handleGetPlaylistInfo FAILED")"},
      {"/library/album", "", 404, nullptr},
      {"/library/playlistInfo?index=1", "", 404, nullptr},
      {"/library/track?id=t1", "onRequestTrack 't1'", 200, nullptr},
      {"/library/trackv2/delete?id=t1", "onRequestDeleteTrack 't1'", 200, nullptr},
      {"/library/album/delete?id=a1", "onRequestDeleteAlbum 'a1'", 200, nullptr},
      {"/library/artistv2/delete?id=ar1", "onRequestDeleteArtist 'ar1'", 200, nullptr},
      {"/library/artwork?id=w1", "onRequestArtwork 'w1'", 200, nullptr},
      {"/library/search?param=blue%20note", "onRequestSearch 'blue note'", 200, nullptr},
      {"/library/playnext", "onRequestPlaynext", 200, nullptr},
      {"/library/genres", "onRequestGenres", 200, nullptr},
      {"/library/genres?id=g1&index=0&count=20", "onRequestGenre 0 20 'g1'", 200, nullptr},
      {"/library/playlist", "onRequestPlaylists -1 -1 0", 200, nullptr},
      {"/library/playlist?id=p1", "onRequestPlaylist 'p1'", 200, nullptr},
      {"/library/playlist/create?name=Road%20Trip", "onRequestCreatePlaylist 'Road Trip'", 200,
       nullptr},
      {"/library/mood", "onRequestMoods", 200, nullptr},
      {"/library/mood?id=m1", "onRequestMood 'm1'", 200, nullptr},
      {"/library/addtomymusic?id=x&type=0", "onAddToMyMusic0 'x'", 200, nullptr},
      {"/library/addtomymusic?id=x&type=1", "onAddToMyMusic1 'x'", 200, nullptr},
      {"/library/addtomymusic?id=x&type=2", "onAddToMyMusic2 'x'", 200, nullptr},
      {"/library/addtomymusic?id=x&type=3", "onAddToMyMusic3 'x'", 200, nullptr},
      {"/library/addtoplaylist?id=x&playlistid=p1", "onRequestAddToPlaylist 'x' 'p1'", 200,
       nullptr},
      {"/library/tracks?index=10&count=50&source=1", "onRequestTracks 10 50 1", 200, nullptr},
      {"/library/artists?index=0&count=5", "onRequestArtists 0 5 0", 200, nullptr},
      {"/library/albums", "onRequestAlbums -1 -1 0", 200, nullptr},
      {"/library", "onRequestLibrary ''", 200, nullptr},
      {"/library/nothing", "", 400, nullptr},
      {"/library/addtomymusic?id=x&type=4", "", 400, nullptr},
      {"/library/addtomymusic?id=x&type=four", "", 500, nullptr},
      {"/library/addtoplaylist?id=x", "", 400, nullptr},
      {"/library/track", "", 404, nullptr},
      {"/library/playlist/create", "", 400, nullptr},
      {"/library/tracks?index=first", "", 500, nullptr},
  });
}

constexpr const char* kTrack =
    R"({"id":"t1","name":"Song","duration":215,"artistid":"ar1","artistname":"Artist",)"
    R"("albumname":"Album","albumid":"al1","sampleRate":96000,"fileType":"flac",)"
    R"("path":"%2FMusic%2FA%20B.flac","source":0,"info":"i","available":1,"mqa":0,)"
    R"("libraryLocation":"local","artwork":""})";

// Key order, number flags and nesting are what the shipped remotes parse.
TEST_F(LibraryRoutes, ItemsAreEncodedWithTheirKeysInOrder) {
  host.onCall("onGetNowPlaying", [this] {
    static struct Foreign : Track {  // a class of the host's own, which no encoder can read
      void setTrackName(char const*) override {}
      void setArtistName(char const*) override {}
      void setAlbumName(char const*) override {}
      void setArtworkPath(char const*) override {}
      void setArtworkID(char const*) override {}
      void setArtistID(char const*) override {}
      void setAlbumID(char const*) override {}
      void setDuration(int) override {}
      void setInfo(char const*) override {}
      void setSampleRate(int) override {}
      void setFileType(char const*) override {}
      void setAvailable(bool) override {}
      void setLibraryLocation(char const*) override {}
      void setMQA(bool) override {}
      void setPath(char const*) override {}
    } foreign;
    s.setGetNowPlayingResponse({nullptr, &foreign, track("t1"), nullptr,
                                track("t2", "C:\\M\xc3\xbc sic/\xc3\xa9&?=#+.flac")});
  });
  const value now = value::parse(get("/getNowPlaying").body);
  ASSERT_EQ(2u, now.size());
  EXPECT_EQ(kTrack, now.at(0).serialize());
  EXPECT_EQ("C%3A%5CM%C3%BC%20sic%2F%C3%A9%26%3F%3D%23%2B.flac", now.at(1).at("path").as_string());

  s.setTrackInfo(track("t1"));
  std::string withArt = kTrack;
  withArt.insert(withArt.size() - 1, R"(,"artworkdata":{"id":"aw1"})");
  EXPECT_EQ(withArt, status().at("library").at("track").serialize());

  // An album answer leaves the pictures out; the album pushed as news has them.
  const std::string albumHead =
      R"({"id":"al1","source":2,"name":"Album","artistid":"ar1","artistname":"Artist","info":"",)"
      R"("duration":400,"trackcount":2,"tracks":[)";
  const std::string albumTail = R"(],"available":0,"mqa":1,"libraryLocation":"","artwork":"")";
  host.onCall("onGetAlbumInfo",
              [this] { s.setGetAlbumResponse({album("al1", {track("t1")})}, 1); });
  EXPECT_EQ("[" + albumHead + kTrack + albumTail + "}]", get("/library/albumInfo?id=al1").body);
  host.onCall("onGetAlbum", [this] { s.setAlbum(album("al1", {track("t1")})); });
  EXPECT_EQ(albumHead + withArt + albumTail + R"(,"artworkdata":{"id":""}})",
            value::parse(get("/library/album?id=al1").body).at("album").serialize());

  host.onCall("onGetArtist", [this] {
    Artist* ar = keep(Artist::getArtist(VeloraSourceLocal, "ar1"));
    ar->setArtistName("Artist");
    ar->setAlbumCount(1);
    ar->setTrackCount(9);  // never sent
    ar->setAvailable(true);
    ar->setAlbums({nullptr});
    s.setGetArtistResponse(std::vector<Artist*>{ar}, 1);
  });
  const std::string artist = get("/library/artistv2?id=ar1").body;
  EXPECT_EQ(R"([{"id":"ar1","source":0,"name":"Artist","albumcount":1,"albums":[],"info":"",)"
            R"("available":1,"libraryLocation":"","artwork":""}])",
            artist);
  EXPECT_EQ(artist, get("/library/artistInfo?id=ar1").body) << "info shares the artist's answer";

  host.onCall("onGetPlaylistInfo", [this] {
    Playlist* p = keep(Playlist::getPlaylist(VeloraSourceStreaming, "p1"));
    p->setPlaylistName("Mix");
    p->setAvailable(false);  // a playlist is always available
    s.setGetPlaylistResponse({p}, 1);
  });
  EXPECT_EQ(R"([{"id":"p1","source":1,"name":"Mix","tracks":[],"duration":0,"trackcount":0,)"
            R"("info":"","libraryLocation":"","artwork":"","available":1,"mqa":0}])",
            get("/library/playlistInfo?id=p1").body);

  Genre* g = keep(Genre::getGenre("g1"));
  g->setGenreName("Jazz");
  g->setArtworkID("gw");
  g->setAlbums({album("al1", {})});
  s.setGenreList({g});
  // A genre always carries its picture but not its albums' children; a
  // client with a token collects the library through "status" instead.
  const HttpReply withToken = get("/library/genres?token=abc");
  EXPECT_EQ("", withToken.body);
  EXPECT_EQ("", withToken.header("Access-Control-Allow-Origin"));
  EXPECT_EQ(R"([{"id":"g1","name":"Jazz","info":"","source":0,"libraryLocation":"",)"
            R"("artwork":"","artworkdata":{"id":"gw"},"albums":[)" +
                albumHead + albumTail + R"(,"artworkdata":{"id":""}}],"playlists":[]}])",
            status().at("library").at("genres").serialize());
}

TEST_F(LibraryRoutes, PicturesAreSentInlineByUrlOrNotAtAll) {
  EXPECT_EQ(R"({"id":"gw","url":"https://img.example.com/c/1.jpg?size=600"})",
            genreArtwork("http://img.example.com/c/1.jpg?size=600").serialize());
  EXPECT_EQ(R"({"id":"gw","url":"https://cdn.example.org:8443/x.png"})",
            genreArtwork("ftp://cdn.example.org:8443/x.png").serialize());
  EXPECT_EQ(R"({"id":"gw"})", genreArtwork("").serialize());
  EXPECT_EQ(R"({"id":"gw"})", genreArtwork("no such file %%").serialize());
  // Files are sent whole, small ones too, each time they are asked for.
  for (const std::string& bytes : {std::string(100, '\x7f'), std::string(3000, '\0')}) {
    std::string data = bytes;
    for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<char>(data[i] + i * 7);
    const std::string file = files.write("cover.jpg", data);
    const value art = genreArtwork(file);
    const auto decoded = utility::conversions::from_base64(art.at("imagedata").as_string());
    EXPECT_EQ(data, std::string(decoded.begin(), decoded.end()));
    EXPECT_FALSE(art.has_field("sha1"));
    EXPECT_EQ(art.serialize(), genreArtwork(file).serialize());
  }

  status();  // delivered once: the next change is news on its own
  captureStdout([&] {
    s.setArtworkData("http://a/1.jpg", "one");
    s.setArtworkData(nullptr, "two");
  });
  EXPECT_EQ(R"({"id":"two"})", status().at("library").at("artwork").serialize());
}

}  // namespace
