#include <functional>

#include <gtest/gtest.h>

#include "support/ServiceFixture.h"

using namespace velora_test;
using web::json::value;

namespace {

struct StateCase {
  const char* name;
  std::function<void(VeloraRestService&)> set;
  value StateDocuments::*document;
  const char* expected;  // the whole document after the call
};

class StateSetters : public ::testing::TestWithParam<StateCase> {};

// Each state setter replaces one key of one document and raises the flag.
TEST_P(StateSetters, WriteTheirKeyAndRaiseTheFlag) {
  ServiceUnderTest sut;
  VeloraRestService& s = *sut.service;
  s.Init();
  GetParam().set(s);
  EXPECT_TRUE(s.changeFlag());
  std::lock_guard<std::mutex> lock(s.cache().stateMutex);
  EXPECT_EQ(GetParam().expected, (s.cache().docs.*GetParam().document).serialize());
}

EQPreset eqPreset() { return EQPreset{"Warm", 3, {{1, 100.5, 2, 0.7, 1}, {2, 8000, 1.5, 1, 2}}}; }

const StateCase kStateCases[] = {
    {"volume", [](auto& s) { s.setVolumeLevel(40); }, &StateDocuments::playback,
     R"({"volumelevel":40})"},
    {"mute", [](auto& s) { s.setMuteState(true); }, &StateDocuments::playback,
     R"({"mutestate":true})"},
    {"mode",
     [](auto& s) {
       PlaybackMode m{2};
       s.setPlaybackMode(m);
     },
     &StateDocuments::playback, R"({"playbackmode":2})"},
    {"stateFull",
     [](auto& s) {
       PlaybackState st{1, "t9", 200.5f, 12.25f, -3.5f, -4.0f, {1, 88200.0, "2x"}, "oops"};
       s.setPlaybackState(st);
     },
     &StateDocuments::playback,
     R"({"playbackstate":{"duration":200.5,"elapsed":12.25,"trackid":"t9","error":"oops",)"
     R"("state":1,"lgain":-3.5,"rgain":-4,"mqa":{"state":1,"osr":88200,"customrate":"2x"}}})"},
    {"stateSparse",
     [](auto& s) {
       PlaybackState st{0, nullptr, 0, 0, 0, 0, {0, 0, nullptr}, nullptr};
       s.setPlaybackState(st);
     },
     &StateDocuments::playback,
     R"({"playbackstate":{"duration":0,"elapsed":0,"state":0,"lgain":0,"rgain":0,)"
     R"("mqa":{"state":0,"osr":0}}})"},
    {"eqState", [](auto& s) { s.setEQState(true); }, &StateDocuments::equalizer,
     R"({"enabled":true})"},
    {"eqPreset",
     [](auto& s) {
       EQPreset p = eqPreset();
       s.setEQCurrentPreset(p);
     },
     &StateDocuments::equalizer,
     R"({"preset":{"name":"Warm","id":3,"paramset":[{"order":1,"fband":100.5,"bband":2,)"
     R"("qband":0.69999999999999996,"filter":1},{"order":2,"fband":8000,"bband":1.5,)"
     R"("qband":1,"filter":2}]}})"},
    {"eqList",
     [](auto& s) {
       std::vector<EQPreset> list{EQPreset{"Flat", 1, {}}};
       s.setEQPresetList(list);
     },
     &StateDocuments::equalizer, R"({"presetlist":[{"name":"Flat","id":1,"paramset":[]}]})"},
    {"ircGain", [](auto& s) { s.setIRCGain(-6); }, &StateDocuments::irc, R"({"gain":-6})"},
    {"ircPreset",
     [](auto& s) {
       IRCPreset p{"Hall", 7};
       s.setIRCCurrentPreset(p);
     },
     &StateDocuments::irc, R"({"preset":{"name":"Hall","id":7},"id":7})"},
    {"ircList",
     [](auto& s) {
       std::vector<IRCPreset> list{{"A", 1}, {"B", 2}};
       s.setIRCPresetList(list);
     },
     &StateDocuments::irc, R"({"presetlist":[{"name":"A","id":1},{"name":"B","id":2}]})"},
    {"acPreset",
     [](auto& s) {
       ACPreset p{"Room", 4};
       s.setACCurrentPreset(p);
     },
     &StateDocuments::ac, R"({"preset":{"name":"Room","id":4}})"},
    {"hpState", [](auto& s) { s.setHPState(false); }, &StateDocuments::ooyh,
     R"({"enabled":false})"},
    {"hpList",
     [](auto& s) {
       std::vector<HPPreset> list{{nullptr, 0}};
       s.setHPPresetList(list);
     },
     &StateDocuments::ooyh, R"({"presetlist":[{"name":"","id":0}]})"},
    {"settingsValues", [](auto& s) { s.setSettingsValues(true, false, true); },
     &StateDocuments::settings, R"({"values":{"mqa":true,"upsample":false,"dsp":true}})"},
    {"outputDevices",
     [](auto& s) {
       std::vector<const char*> none;
       s.setOutputDeviceList(none, "DAC");
     },
     &StateDocuments::settings, R"({"outputdevices":{"current":"DAC","list":[]}})"},
    {"dirty", [](auto& s) { s.setMyLibraryItemDirty(); }, &StateDocuments::updated,
     R"({"all":true})"},
    {"emptyTracks", [](auto& s) { s.setTrackList({}, 5); }, &StateDocuments::library,
     R"({"tracks":[]})"},
    {"moods",
     [](auto& s) {
       Mood* m = Mood::getMood("m1");
       m->setMoodName("Calm");
       m->setArtworkID("mw");
       s.setMoodList({m, nullptr});
       m->Release();
     },
     &StateDocuments::library,
     R"({"moods":[{"id":"m1","name":"Calm","artwork":"","artworkdata":{"id":"mw"}}]})"},
    {"search", [](auto& s) { s.setSearchResults({}, {}, {}, {}, "blue"); },
     &StateDocuments::library,
     R"({"search":{"albums":[],"artists":[],"playlists":[],"tracks":[],"search":"blue"}})"},
};

INSTANTIATE_TEST_SUITE_P(All, StateSetters, ::testing::ValuesIn(kStateCases),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(StateSetterRules, KeysAccumulateAndSingleItemsMustBeOurOwn) {
  ServiceUnderTest sut;
  VeloraRestService& s = *sut.service;
  s.Init();
  s.setVolumeLevel(10);
  s.setVolumeLevel(20);
  s.setMuteState(false);
  EXPECT_EQ(R"({"volumelevel":20,"mutestate":false})", s.cache().docs.playback.serialize());

  // Null or foreign single items change nothing and wake nobody.
  s.changeFeed().clear();
  s.setAlbum(nullptr);
  s.setTrackInfo(nullptr);
  s.setGenre(nullptr);
  EXPECT_FALSE(s.changeFlag());
  EXPECT_EQ("{}", s.cache().docs.library.serialize());

  Track* t = Track::getTrack("t1");
  s.setTrackInfo(t);
  t->Release();
  EXPECT_TRUE(s.changeFlag());
  EXPECT_EQ("t1", s.cache().docs.library.at("track").at("id").as_string());
}

TEST(AnswerSetterRules, EncodedAnswersSkipPicturesAndWakeNobody) {
  ServiceUnderTest sut;
  VeloraRestService& s = *sut.service;
  s.Init();
  Album* a = Album::getAlbum(VeloraSourceLocal, "al1");
  Playlist* p = Playlist::getPlaylist(VeloraSourceLocal, "p1");
  s.setGetAlbumResponse({a}, 1);
  s.setCreatePlaylistResponse({p});
  s.setScanProgressResponse(42.5f, "Scanning");
  s.setLoginResponse("tok");
  s.setGetLocalLibraryAlbums({a}, "etag-1", 1, 10);
  s.setGetLocalLibraryTracks({}, "etag-2", 0, 0);
  a->Release();
  p->Release();
  EXPECT_FALSE(s.changeFlag());

  const ResponseSlots& slots = s.cache().slots;
  EXPECT_FALSE(slots.album.at(0).has_field("artworkdata"));
  EXPECT_EQ("p1", slots.playlist.at(0).at("id").as_string());
  EXPECT_EQ(R"({"percentComplete":42.5,"message":"Scanning"})", slots.scanProgress.serialize());
  EXPECT_EQ(R"({"userToken":"tok"})", slots.login.serialize());
  // Every page lands under "tracks", whatever it lists.
  EXPECT_EQ(R"({"tracks":[],"itemCount":0,"totalCount":0,"etag":"etag-2"})",
            slots.localLibrary.serialize());

  s.setGetLoginResponse("u", "p", "t", nullptr, "tp", "svc");
  EXPECT_EQ(R"({"username":"u","password":"p","userToken":"t","tidalUsername":"",)"
            R"("tidalPassword":"tp","service":"svc"})",
            slots.login.serialize());
  s.setLoginResponse("only");
  EXPECT_EQ(R"({"userToken":"only"})", slots.login.serialize());
}

}  // namespace
