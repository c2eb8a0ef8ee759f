#include <gtest/gtest.h>

#include "library/LibraryItemsImpl.h"
#include "support/ServiceFixture.h"

using namespace velora_test;

namespace {

// Items released at the end of each test, as a host would.
class EncoderTest : public ::testing::Test {
 protected:
  ~EncoderTest() override {
    for (auto* i : tracks_) i->Release();
    for (auto* i : albums_) i->Release();
    for (auto* i : artists_) i->Release();
    for (auto* i : playlists_) i->Release();
    for (auto* i : genres_) i->Release();
  }

  Track* track(const char* id, const char* path = "/Music/A B.flac") {
    Track* t = Track::getTrack(id);
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
    tracks_.push_back(t);
    return t;
  }
  Album* album(const char* id, std::vector<Track*> tracks) {
    Album* a = Album::getAlbum(static_cast<VeloraLibraryItemSource>(2), id);
    a->setAlbumName("Album");
    a->setArtistID("ar1");
    a->setArtistName("Artist");
    a->setTracks(std::move(tracks));
    a->setDuration(400);
    a->setTrackCount(2);
    a->setMQA(true);
    albums_.push_back(a);
    return a;
  }
  std::string json(const web::json::value& v) { return v.serialize(); }

  ServiceUnderTest sut;
  VeloraRestService& s = *sut.service;
  std::vector<Track*> tracks_;
  std::vector<Album*> albums_;
  std::vector<Artist*> artists_;
  std::vector<Playlist*> playlists_;
  std::vector<Genre*> genres_;
};

constexpr const char* kTrackNoArt =
    R"({"id":"t1","name":"Song","duration":215,"artistid":"ar1","artistname":"Artist",)"
    R"("albumname":"Album","albumid":"al1","sampleRate":96000,"fileType":"flac",)"
    R"("path":"%2FMusic%2FA%20B.flac","source":0,"info":"i","available":1,"mqa":0,)"
    R"("libraryLocation":"local","artwork":""})";

TEST_F(EncoderTest, TrackKeysOrderAndTypes) {
  auto* t = dynamic_cast<TrackImpl*>(track("t1"));
  EXPECT_EQ(kTrackNoArt, json(s.getTrack(t, false)));
  std::string withArt = kTrackNoArt;
  withArt.insert(withArt.size() - 1, R"(,"artworkdata":{"id":"aw1"})");
  EXPECT_EQ(withArt, json(s.getTrack(t, true)));
}

TEST_F(EncoderTest, AlbumNestsItsTracksAndPassesTheFlagDown) {
  auto* a = dynamic_cast<AlbumImpl*>(album("al1", {track("t1")}));
  EXPECT_EQ(std::string(R"({"id":"al1","source":2,"name":"Album","artistid":"ar1",)"
                        R"("artistname":"Artist","info":"","duration":400,"trackcount":2,)"
                        R"("tracks":[)") +
                kTrackNoArt + R"(],"available":0,"mqa":1,"libraryLocation":"","artwork":""})",
            json(s.getAlbum(a, false)));
  const auto withArt = s.getAlbum(a, true);
  EXPECT_EQ(R"({"id":""})", withArt.at("artworkdata").serialize());
  EXPECT_EQ(R"({"id":"aw1"})", withArt.at("tracks").at(0).at("artworkdata").serialize());
}

TEST_F(EncoderTest, ArtistLeavesOutItsTrackCount) {
  Artist* ar = Artist::getArtist(VeloraSourceLocal, "ar1");
  artists_.push_back(ar);
  ar->setArtistName("Artist");
  ar->setAlbumCount(1);
  ar->setTrackCount(9);
  ar->setAvailable(true);
  ar->setAlbums({nullptr});
  EXPECT_EQ(R"({"id":"ar1","source":0,"name":"Artist","albumcount":1,"albums":[],"info":"",)"
            R"("available":1,"libraryLocation":"","artwork":""})",
            json(s.getArtist(dynamic_cast<ArtistImpl*>(ar), false)));
}

TEST_F(EncoderTest, PlaylistIsAlwaysAvailable) {
  Playlist* p = Playlist::getPlaylist(VeloraSourceStreaming, "p1");
  playlists_.push_back(p);
  p->setPlaylistName("Mix");
  p->setAvailable(false);
  p->setTrackCount(0);
  EXPECT_EQ(R"({"id":"p1","source":1,"name":"Mix","tracks":[],"duration":0,"trackcount":0,)"
            R"("info":"","libraryLocation":"","artwork":"","available":1,"mqa":0})",
            json(s.getPlaylist(dynamic_cast<PlaylistImpl*>(p), false)));
}

TEST_F(EncoderTest, GenreAlwaysCarriesItsPictureButNotItsChildren) {
  Genre* g = Genre::getGenre("g1");
  genres_.push_back(g);
  g->setGenreName("Jazz");
  g->setArtworkID("gw");
  g->setAlbums({album("al1", {})});
  EXPECT_EQ(R"({"id":"g1","name":"Jazz","info":"","source":0,"libraryLocation":"",)"
            R"("artwork":"","artworkdata":{"id":"gw"},"albums":[{"id":"al1","source":2,)"
            R"("name":"Album","artistid":"ar1","artistname":"Artist","info":"","duration":400,)"
            R"("trackcount":2,"tracks":[],"available":0,"mqa":1,"libraryLocation":"",)"
            R"("artwork":""}],"playlists":[]})",
            json(s.getGenre(dynamic_cast<GenreImpl*>(g), false)));
}

// A class of the host's own, which the encoders cannot read.
class HostTrack : public Track {
 public:
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
};

TEST_F(EncoderTest, ListsSkipNullsAndForeignItems) {
  HostTrack foreign;
  const auto list = s.getTracks({nullptr, &foreign, track("t1"), nullptr}, false);
  ASSERT_EQ(1u, list.size());
  EXPECT_EQ("t1", list.at(0).at("id").as_string());
  EXPECT_EQ("[]", json(s.getTracks({}, true)));
  EXPECT_EQ("[]", json(s.getAlbums({nullptr}, true)));
}

TEST_F(EncoderTest, PathsAreEncodedForQueries) {
  auto* t = dynamic_cast<TrackImpl*>(track("t2", "C:\\Mü sic/é&?=#+.flac"));
  EXPECT_EQ("C%3A%5CM%C3%BC%20sic%2F%C3%A9%26%3F%3D%23%2B.flac",
            s.getTrack(t, false).at("path").as_string());
}

}  // namespace
