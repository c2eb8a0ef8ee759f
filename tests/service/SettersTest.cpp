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

// Each state setter writes its key into one document, delivered once.
TEST_F(Setters, EachStateReachesTheRemoteInItsDocumentOnce) {
  // The whole of `document` as a remote collects it, every other one empty.
  const auto delivers = [this](const std::string& document, const char* expected) {
    const value delivered = status();
    EXPECT_EQ(expected, delivered.at(document).serialize());
    for (const char* other : {"settings", "equalizer", "irc", "ac", "ooyh", "playback", "library",
                              "disconnect", "updated"}) {
      EXPECT_TRUE(other == document || delivered.at(other).size() == 0) << other << " " << expected;
    }
  };
  s.setVolumeLevel(40);
  delivers("playback", R"({"volumelevel":40})");
  s.setMuteState(true);
  delivers("playback", R"({"mutestate":true})");
  s.setPlaybackMode(lv(PlaybackMode{2}));
  delivers("playback", R"({"playbackmode":2})");
  s.setPlaybackState(
      lv(PlaybackState{1, "t9", 200.5f, 12.25f, -3.5f, -4.0f, {1, 88200.0, "2x"}, "oops"}));
  delivers(
      "playback",
      R"({"playbackstate":{"duration":200.5,"elapsed":12.25,"trackid":"t9","error":"oops",)"
      R"("state":1,"lgain":-3.5,"rgain":-4,"mqa":{"state":1,"osr":88200,"customrate":"2x"}}})");
  s.setPlaybackState(lv(PlaybackState{0, nullptr, 0, 0, 0, 0, {0, 0, nullptr}, nullptr}));
  delivers("playback", R"({"playbackstate":{"duration":0,"elapsed":0,"state":0,"lgain":0,)"
                       R"("rgain":0,"mqa":{"state":0,"osr":0}}})");
  // Keys of one document accumulate until they are collected.
  s.setVolumeLevel(10);
  s.setVolumeLevel(20);
  s.setMuteState(false);
  delivers("playback", R"({"volumelevel":20,"mutestate":false})");

  s.setEQState(true);
  delivers("equalizer", R"({"enabled":true})");
  s.setEQCurrentPreset(lv(EQPreset{"Warm", 3, {{1, 100.5, 2, 0.7, 1}, {2, 8000, 1.5, 1, 2}}}));
  delivers("equalizer",
           R"({"preset":{"name":"Warm","id":3,"paramset":[{"order":1,"fband":100.5,"bband":2,)"
           R"("qband":0.69999999999999996,"filter":1},{"order":2,"fband":8000,"bband":1.5,)"
           R"("qband":1,"filter":2}]}})");
  s.setEQPresetList(lv(std::vector<EQPreset>{{"Flat", 1, {}}}));
  delivers("equalizer", R"({"presetlist":[{"name":"Flat","id":1,"paramset":[]}]})");
  s.setIRCGain(-6);
  delivers("irc", R"({"gain":-6})");
  s.setIRCCurrentPreset(lv(IRCPreset{"Hall", 7}));
  delivers("irc", R"({"preset":{"name":"Hall","id":7},"id":7})");
  s.setIRCPresetList(lv(std::vector<IRCPreset>{{"A", 1}, {"B", 2}}));
  delivers("irc", R"({"presetlist":[{"name":"A","id":1},{"name":"B","id":2}]})");
  s.setACCurrentPreset(lv(ACPreset{"Room", 4}));
  delivers("ac", R"({"preset":{"name":"Room","id":4}})");
  s.setHPState(false);
  delivers("ooyh", R"({"enabled":false})");
  s.setHPPresetList(lv(std::vector<HPPreset>{{nullptr, 0}}));
  delivers("ooyh", R"({"presetlist":[{"name":"","id":0}]})");
  s.setSettingsValues(true, false, true);
  delivers("settings", R"({"values":{"mqa":true,"upsample":false,"dsp":true}})");
  s.setOutputDeviceList(lv(std::vector<const char*>{}), "DAC");
  delivers("settings", R"({"outputdevices":{"current":"DAC","list":[]}})");

  s.setMyLibraryItemDirty();
  delivers("updated", R"({"all":true})");
  s.setTrackList({}, 5);
  delivers("library", R"({"tracks":[]})");
  Mood* m = Mood::getMood("m1");
  m->setMoodName("Calm");
  m->setArtworkID("mw");
  s.setMoodList({m, nullptr});
  m->Release();
  delivers("library",
           R"({"moods":[{"id":"m1","name":"Calm","artwork":"","artworkdata":{"id":"mw"}}]})");
  s.setSearchResults({}, {}, {}, {}, "blue");
  delivers("library",
           R"({"search":{"albums":[],"artists":[],"playlists":[],"tracks":[],"search":"blue"}})");
}

// Null items and answers to a request change no document, so a waiting poll
// stays asleep; a broken answer throws and keeps the one before.
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
  s.setGetHPPresetResponse(R"({"name":"Flat","id":1})");
  EXPECT_EQ(304, get("/status").status);
  EXPECT_EQ(R"({"name":"Flat","id":1})", get("/getHP").body);

  s.setGetDevicesResponse(R"(["DAC"])");
  for (const char* broken :
       {"{", "", "{\"a\":}", "[1,2", "nul", static_cast<const char*>(nullptr)}) {
    EXPECT_THROW(s.setGetDevicesResponse(broken), std::exception) << (broken ? broken : "null");
  }
  EXPECT_THROW(s.setPlayerResponse("{oops"), std::exception);
  EXPECT_EQ(R"(["DAC"])", get("/getDevices").body);
  // The stash is kept as text; emptying the documents keeps it.
  s.setGetUserStashResponse("[]");
  s.Init();
  EXPECT_EQ("[]", get("/getStash").body);
  s.setGetUserStashResponse(nullptr);
  EXPECT_EQ(500, get("/getStash").status);
}

}  // namespace
