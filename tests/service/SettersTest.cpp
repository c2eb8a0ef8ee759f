#include <functional>

#include <gtest/gtest.h>

#include "support/RoutedService.h"

using namespace velora_test;
using web::json::value;

namespace {

class Setters : public RoutedService {
 protected:
  void SetUp() override {
    RoutedService::SetUp();
    s.Init();
  }
  value status() { return value::parse(get("/status").body); }
};

struct StateCase {
  std::function<void(VeloraRestService&)> set;
  const char* document;
  const char* expected;  // the whole document a remote collects after the call
};

// Each state setter writes its key into one document and wakes the poll,
// which delivers it once.
TEST_F(Setters, EachStateReachesTheRemoteInItsDocumentOnce) {
  const StateCase cases[] = {
      {[](auto& s) { s.setVolumeLevel(40); }, "playback", R"({"volumelevel":40})"},
      {[](auto& s) { s.setMuteState(true); }, "playback", R"({"mutestate":true})"},
      {[](auto& s) {
         PlaybackMode m{2};
         s.setPlaybackMode(m);
       },
       "playback", R"({"playbackmode":2})"},
      {[](auto& s) {
         PlaybackState st{1, "t9", 200.5f, 12.25f, -3.5f, -4.0f, {1, 88200.0, "2x"}, "oops"};
         s.setPlaybackState(st);
       },
       "playback",
       R"({"playbackstate":{"duration":200.5,"elapsed":12.25,"trackid":"t9","error":"oops",)"
       R"("state":1,"lgain":-3.5,"rgain":-4,"mqa":{"state":1,"osr":88200,"customrate":"2x"}}})"},
      {[](auto& s) {
         PlaybackState st{0, nullptr, 0, 0, 0, 0, {0, 0, nullptr}, nullptr};
         s.setPlaybackState(st);
       },
       "playback",
       R"({"playbackstate":{"duration":0,"elapsed":0,"state":0,"lgain":0,"rgain":0,)"
       R"("mqa":{"state":0,"osr":0}}})"},
      {[](auto& s) { s.setEQState(true); }, "equalizer", R"({"enabled":true})"},
      {[](auto& s) {
         EQPreset p{"Warm", 3, {{1, 100.5, 2, 0.7, 1}, {2, 8000, 1.5, 1, 2}}};
         s.setEQCurrentPreset(p);
       },
       "equalizer",
       R"({"preset":{"name":"Warm","id":3,"paramset":[{"order":1,"fband":100.5,"bband":2,)"
       R"("qband":0.69999999999999996,"filter":1},{"order":2,"fband":8000,"bband":1.5,)"
       R"("qband":1,"filter":2}]}})"},
      {[](auto& s) {
         std::vector<EQPreset> list{EQPreset{"Flat", 1, {}}};
         s.setEQPresetList(list);
       },
       "equalizer", R"({"presetlist":[{"name":"Flat","id":1,"paramset":[]}]})"},
      {[](auto& s) { s.setIRCGain(-6); }, "irc", R"({"gain":-6})"},
      {[](auto& s) {
         IRCPreset p{"Hall", 7};
         s.setIRCCurrentPreset(p);
       },
       "irc", R"({"preset":{"name":"Hall","id":7},"id":7})"},
      {[](auto& s) {
         std::vector<IRCPreset> list{{"A", 1}, {"B", 2}};
         s.setIRCPresetList(list);
       },
       "irc", R"({"presetlist":[{"name":"A","id":1},{"name":"B","id":2}]})"},
      {[](auto& s) {
         ACPreset p{"Room", 4};
         s.setACCurrentPreset(p);
       },
       "ac", R"({"preset":{"name":"Room","id":4}})"},
      {[](auto& s) { s.setHPState(false); }, "ooyh", R"({"enabled":false})"},
      {[](auto& s) {
         std::vector<HPPreset> list{{nullptr, 0}};
         s.setHPPresetList(list);
       },
       "ooyh", R"({"presetlist":[{"name":"","id":0}]})"},
      {[](auto& s) { s.setSettingsValues(true, false, true); }, "settings",
       R"({"values":{"mqa":true,"upsample":false,"dsp":true}})"},
      {[](auto& s) {
         std::vector<const char*> none;
         s.setOutputDeviceList(none, "DAC");
       },
       "settings", R"({"outputdevices":{"current":"DAC","list":[]}})"},
      {[](auto& s) { s.setMyLibraryItemDirty(); }, "updated", R"({"all":true})"},
      {[](auto& s) { s.setTrackList({}, 5); }, "library", R"({"tracks":[]})"},
      {[](auto& s) {
         Mood* m = Mood::getMood("m1");
         m->setMoodName("Calm");
         m->setArtworkID("mw");
         s.setMoodList({m, nullptr});
         m->Release();
       },
       "library",
       R"({"moods":[{"id":"m1","name":"Calm","artwork":"","artworkdata":{"id":"mw"}}]})"},
      {[](auto& s) { s.setSearchResults({}, {}, {}, {}, "blue"); }, "library",
       R"({"search":{"albums":[],"artists":[],"playlists":[],"tracks":[],"search":"blue"}})"},
      // Keys of one document accumulate until they are collected.
      {[](auto& s) {
         s.setVolumeLevel(10);
         s.setVolumeLevel(20);
         s.setMuteState(false);
       },
       "playback", R"({"volumelevel":20,"mutestate":false})"},
  };
  for (const StateCase& c : cases) {
    c.set(s);
    const value delivered = status();
    EXPECT_EQ(c.expected, delivered.at(c.document).serialize());
    for (const char* other : {"settings", "equalizer", "irc", "ac", "ooyh", "playback", "library",
                              "disconnect", "updated"}) {
      EXPECT_TRUE(other == std::string(c.document) || delivered.at(other).size() == 0) << other;
    }
  }
}

// Null or foreign single items and answers to a request change no document,
// so a waiting poll stays asleep.
TEST_F(Setters, AnswersAndNullItemsWakeNobody) {
  s.setAlbum(nullptr);
  s.setTrackInfo(nullptr);
  s.setGenre(nullptr);
  Album* a = Album::getAlbum(VeloraSourceLocal, "al1");
  s.setGetAlbumResponse({a}, 1);
  s.setGetLocalLibraryAlbums({a}, "etag-1", 1, 10);
  a->Release();
  s.setScanProgressResponse(42.5f, "Scanning");
  s.setLoginResponse("tok");
  EXPECT_EQ(304, get("/status").status);

  // A broken answer throws and keeps the one before.
  s.setGetDevicesResponse(R"({"devices":["DAC"],"current":"DAC"})");
  for (const char* broken : {"{", "", "{\"a\":}", "[1,2", "nul"}) {
    EXPECT_THROW(s.setGetDevicesResponse(broken), std::exception) << broken;
  }
  EXPECT_THROW(s.setGetDevicesResponse(nullptr), std::exception);
  EXPECT_THROW(s.setPlayerResponse("{oops"), std::exception);
  EXPECT_EQ(R"({"devices":["DAC"],"current":"DAC"})", get("/getDevices").body);

  s.setGetLocalLibraryTracks({}, "etag-2", 0, 0);
  EXPECT_EQ(R"({"tracks":[],"itemCount":0,"totalCount":0,"etag":"etag-2","artworkdata":null})",
            get("/getLocalLibrary?id=tracks").body)
      << "every page lands under \"tracks\", whatever it lists";
  Track* t = Track::getTrack("t1");
  t->setArtworkID("aw1");
  s.setGetLocalLibraryTracks({t}, "etag-3", 1, 1);
  t->Release();
  const value page = value::parse(get("/getLocalLibrary?id=tracks").body);
  EXPECT_TRUE(page.at("tracks").at(0).at("artworkdata").is_null()) << "pages carry no pictures";
  s.setGetLoginResponse("u", "p", "t", nullptr, "tp", "svc");
  s.setGetHPPresetResponse(R"({"name":"Flat","id":1})");
  EXPECT_EQ(R"({"username":"u","password":"p","userToken":"t","tidalUsername":"",)"
            R"("tidalPassword":"tp","service":"svc"})",
            get("/getLogin").body);
  EXPECT_EQ(R"({"name":"Flat","id":1})", get("/getHP").body);
  // The stash answer is kept as text; emptying the documents keeps it.
  s.setGetUserStashResponse("[]");
  s.Init();
  EXPECT_EQ("[]", get("/getStash").body);
  s.setGetUserStashResponse(nullptr);
  EXPECT_EQ(500, get("/getStash").status);
}

}  // namespace
