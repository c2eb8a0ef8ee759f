#include <gtest/gtest.h>

#include "support/RoutedService.h"

using namespace velora_test;

namespace {

class PlaybackRoutes : public RoutedService {};

std::string encode(const std::string& s) { return web::uri::encode_data_string(s); }

// The preset and transport routes: what each request fires, how it reads
// its keys, and the failure text each refusal answers with (several are
// another handler's, and stay so).
TEST_F(PlaybackRoutes, KeysReachTheHostAndRefusalsKeepTheirTexts) {
  expectRoutes({
      {"/getEQPresetList", "onGetEQPresetList", 200, nullptr, 9, 401,
       R"("handleGetEQPresetList FAILED")"},
      {"/getEQ", "onGetEQPreset", 200, nullptr, 9, 401, R"("handleGetEQPreset FAILED")"},
      {"/setEQ?enable=true&preset=Warm", "onSetEQPreset 'true' 'Warm'", 200, R"("SUCCESS")", 9, 400,
       R"("SetEQPreset FAILED")"},
      {"/setEQ?preset=Warm", "", 400, nullptr},
      {"/getHPPresetList", "onGetHPPresetList", 200, nullptr, 9, 401,
       R"("handleGetHPPresetList FAILED")"},
      {"/getHP", "onGetHPPreset", 200, nullptr, 9, 401, R"("handleGetHPPreset FAILED")"},
      {"/setHp?enable=1&preset=2", "onSetHPPreset '1' '2'", 200, R"("SUCCESS")", 9, 400,
       R"("handleSetHPPreset FAILED")"},
      {"/getACPresetList", "onGetACPresetList", 200, nullptr, 9, 401,
       R"("handleGetACPresetList FAILED")"},
      {"/getAC", "onGetACPreset", 200, nullptr, 9, 401, R"("handleGetIRCPreset FAILED")"},
      {"/setAC?enable=1&preset=2", "onSetACPreset '1' '2'", 200, R"("SUCCESS")", 9, 400,
       R"("handleSetACPreset FAILED")"},
      {"/getIRCPresetList", "onGetIRCPresetList", 200, nullptr, 9, 401,
       R"("handleGetIRCPresetList FAILED")"},
      {"/getIRC", "onGetIRCPreset", 200, nullptr, 9, 401, R"("handleGetIRCPreset FAILED")"},
      {"/setIRC?enable=0&preset=2", "onSetIRCPreset '0' '2'", 200, R"("SUCCESS")", 9, 400,
       R"("handleSetIRCPreset FAILED")"},
      {"/setIRC?enable=1", "", 400, nullptr},
      // One spelling only for the IRC and AC commands.
      {"/getIrc", "", 400, nullptr},
      {"/setAc?enable=1&preset=1", "", 400, nullptr},

      {"/setPlayState?state=play", "onSetPlayState 'play'", 200, R"("SUCCESS")", 5, 401,
       R"("SetPlayState FAILED")"},
      {"/inputmode?source=usb&enabled=1", "onInputMode '1' 'usb'", 200, R"("SUCCESS")", 5, 401,
       R"("Set Input Mode FAILED")"},
      {"/inputMode?source=usb", "onInputMode '' 'usb'"},
      {"/navigation?which=up", "onNavigation 'up'", 200, R"("SUCCESS")", 5, 400,
       R"("handleSetHPPreset FAILED")"},
      {"/setPlaybackItem?uuid=u&play=1&sortBy=2", "onSetPlaybackItem 'u' '1' '2' '' ''", 200,
       R"("SUCCESS")", 1, 401, R"("SetPlaybackItem FAILED")"},
      // Three pairs: parentuuid is not read, whatever its name.
      {"/setPlaybackItem?uuid=u&play=1&parentuuid=p", "onSetPlaybackItem 'u' '1' '' '' ''"},
      {"/setPlaybackItem?uuid=u&play=1&sortBy=2&reverseSort=1&parentuuid=p",
       "onSetPlaybackItem 'u' '1' '2' '1' 'p'"},
      {"/setPlaybackItem?uuid=u", "", 400, nullptr},
      {"/getPlayState", "onGetPlayState", 200, "", 1, 401, R"("GetPlayState FAILED")"},
      {"/getNowPlaying", "onGetNowPlaying", 200, nullptr, 1, 401, R"("GetNowPlaying FAILED")"},
  });
}

constexpr const char* kItem =
    R"({"item":{"title":"Live","recording":{"title":"Song","artistName":"Band"}},)"
    R"("streamObj":{"trackId":12345,"streamLink":"https://s/1.flac"}})";

TEST_F(PlaybackRoutes, SetItemUnpacksTheClientsJsonAndRefusesWhatItCannotRead) {
  EXPECT_EQ("\"SUCCESS\"", get("/playersetitem?item=" + encode(kItem) + "&isNext=1").body);
  EXPECT_EQ("'https://s/1.flac' '12345' '1' 'Band' 'Song' 'Live' ''", host.last("onPlayerSetItem"));
  host.answer("onPlayerSetItem", 2);
  const HttpReply refused = get("/PlayerSetItem?item=" + encode(kItem));
  EXPECT_EQ(401, refused.status);
  EXPECT_EQ("\"PlayerSetURL FAILED\"", refused.body);
  EXPECT_EQ("'https://s/1.flac' '12345' '' 'Band' 'Song' 'Live' ''", host.last("onPlayerSetItem"));
  host.clear();
  for (const std::string& item :
       {std::string(), "?item=" + encode("{"), "?item=" + encode(R"({"item":{}})"),
        "?item=" + encode(R"({"item":{"title":1,"recording":{"title":"a","artistName":"b"}},)"
                          R"("streamObj":{"trackId":1,"streamLink":"x"}})"),
        "?item=" + encode(R"({"item":{"title":"t","recording":{"title":"a","artistName":"b"}},)"
                          R"("streamObj":{"trackId":"12","streamLink":"x"}})")}) {
    EXPECT_EQ(401, get("/playersetitem" + item).status) << item;
  }
  EXPECT_EQ("", calls());
}

// The stages share answer slots: the EQ list came last, so both EQ requests
// return it, and the AC stage reads the headphone stage's slot.
TEST_F(PlaybackRoutes, AnswersComeFromTheSlotsTheStagesShare) {
  EXPECT_EQ("null", get("/getIRC").body) << "never set";
  s.setGetEQPresetResponse(R"({"name":"Flat","id":1})");
  s.setGetEQPresetListResponse(R"(["eq"])");
  s.setGetHPPresetListResponse(R"(["hp"])");
  s.setGetIRCPresetResponse(R"(["irc"])");
  for (const auto& [target, body] : std::initializer_list<std::pair<const char*, const char*>>{
           {"/getEQ", R"(["eq"])"},
           {"/getEq", R"(["eq"])"},
           {"/getEQPresetList", R"(["eq"])"},
           {"/getHP", R"(["hp"])"},
           {"/getHp", R"(["hp"])"},
           {"/getHPPresetList", R"(["hp"])"},
           {"/getAC", R"(["hp"])"},
           {"/getACPresetList", R"(["hp"])"},
           {"/getIRCPresetList", R"(["irc"])"},
       }) {
    EXPECT_EQ(body, get(target).body) << target;
  }
  host.onCall("onGetPlayState", [this] { s.setGetPlayStateResponse(R"({"state":"paused"})"); });
  EXPECT_EQ(R"({"state":"paused"})", get("/getPlayState").body);
  host.onCall("onGetNowPlaying", [this] {
    Track* t = Track::getTrack("np1");
    t->setArtworkPath("/never/read.jpg");
    s.setGetNowPlayingResponse({t});
    t->Release();
  });
  const auto now = web::json::value::parse(get("/getNowPlaying").body);
  EXPECT_EQ("np1", now.at(0).at("id").as_string());
  EXPECT_FALSE(now.at(0).has_field("artworkdata"));
}

// State the host sets from inside a request's callback reaches "status".
TEST_F(PlaybackRoutes, StageAndTransportStateArriveThroughStatus) {
  s.Init();
  host.onCall("onRequestIRCPreset", [this] { s.setIRCGain(-3); });
  host.onCall("onNext", [this] {
    s.setPlaybackState(lv(PlaybackState{2, "t2", 180.0f, 0, 1, 1, {0, 0, nullptr}, nullptr}));
    Track* t = Track::getTrack("t2");
    s.setTrackInfo(t);
    t->Release();
  });
  get("/irc/getpreset");
  EXPECT_EQ("\"SUCCESS\"", get("/playback/next").body);
  const auto status = web::json::value::parse(get("/status").body);
  EXPECT_EQ(-3, status.at("irc").at("gain").as_integer());
  EXPECT_EQ("t2", status.at("playback").at("playbackstate").at("trackid").as_string());
  EXPECT_EQ("t2", status.at("library").at("track").at("id").as_string());
}

}  // namespace
