#include <gtest/gtest.h>

#include "support/RoutedService.h"

using namespace velora_test;

namespace {

class TransportTest : public RoutedService {
 protected:
  void SetUp() override {
    RoutedService::SetUp();
    s.Init();
  }
};

std::string encode(const std::string& s) { return web::uri::encode_data_string(s); }

constexpr const char* kItem =
    R"({"item":{"title":"Live","recording":{"title":"Song","artistName":"Band"}},)"
    R"("streamObj":{"trackId":12345,"streamLink":"https://s/1.flac"}})";

TEST_F(TransportTest, SetItemUnpacksTheClientsJson) {
  EXPECT_EQ("\"SUCCESS\"", get("/playersetitem?item=" + encode(kItem) + "&isNext=1").body);
  EXPECT_EQ("'https://s/1.flac' '12345' '1' 'Band' 'Song' 'Live' ''", host.last("onPlayerSetItem"));
  host.answer("onPlayerSetItem", 2);
  const HttpReply refused = get("/PlayerSetItem?item=" + encode(kItem));
  EXPECT_EQ(401, refused.status);
  EXPECT_EQ("\"PlayerSetURL FAILED\"", refused.body);
  EXPECT_EQ("'https://s/1.flac' '12345' '' 'Band' 'Song' 'Live' ''", host.last("onPlayerSetItem"));
}

TEST_F(TransportTest, SetItemRefusesWhatItCannotRead) {
  for (const std::string& item :
       {std::string(), encode("{"), encode(R"({"item":{}})"),
        encode(R"({"item":{"title":1,"recording":{"title":"a","artistName":"b"}},)"
               R"("streamObj":{"trackId":1,"streamLink":"x"}})"),
        encode(R"({"item":{"title":"t","recording":{"title":"a","artistName":"b"}},)"
               R"("streamObj":{"trackId":"12","streamLink":"x"}})")}) {
    const HttpReply reply = get("/playersetitem" + (item.empty() ? "" : "?item=" + item));
    EXPECT_EQ(401, reply.status) << item;
    EXPECT_EQ("\"PlayerSetURL FAILED\"", reply.body);
  }
  EXPECT_EQ(0, host.count("onPlayerSetItem"));
}

TEST_F(TransportTest, PlaybackItemReadsItsOptionsByCount) {
  get("/setPlaybackItem?uuid=u&play=1&sortBy=2");
  EXPECT_EQ("'u' '1' '2' '' ''", host.last("onSetPlaybackItem"));
  // Three pairs: parentuuid is not read, whatever its name.
  get("/setPlaybackItem?uuid=u&play=1&parentuuid=p");
  EXPECT_EQ("'u' '1' '' '' ''", host.last("onSetPlaybackItem"));
  get("/setPlaybackItem?uuid=u&play=1&sortBy=2&reverseSort=1&parentuuid=p");
  EXPECT_EQ("'u' '1' '2' '1' 'p'", host.last("onSetPlaybackItem"));
  EXPECT_EQ(400, get("/setPlaybackItem?uuid=u").status);
  EXPECT_EQ(3, host.count("onSetPlaybackItem"));
  host.answer("onSetPlaybackItem", 1);
  EXPECT_EQ("\"SetPlaybackItem FAILED\"", get("/setPlaybackItem?uuid=u&play=0").body);
}

TEST_F(TransportTest, CommandsAndTheirFailureTexts) {
  struct Case {
    const char* target;
    const char* callback;
    const char* args;
    const char* failure;
    int failureStatus;
  };
  const Case cases[] = {
      {"/setPlayState?state=play", "onSetPlayState", "'play'", "SetPlayState FAILED", 401},
      {"/inputmode?source=usb&enabled=1", "onInputMode", "'1' 'usb'", "Set Input Mode FAILED", 401},
      {"/inputMode?source=usb", "onInputMode", "'' 'usb'", "Set Input Mode FAILED", 401},
      {"/navigation?which=up", "onNavigation", "'up'", "handleSetHPPreset FAILED", 400},
  };
  for (const Case& c : cases) {
    EXPECT_EQ("\"SUCCESS\"", get(c.target).body) << c.target;
    EXPECT_EQ(c.args, host.last(c.callback)) << c.target;
    host.answer(c.callback, 5);
    const HttpReply refused = get(c.target);
    EXPECT_EQ(c.failureStatus, refused.status) << c.target;
    EXPECT_EQ(std::string("\"") + c.failure + "\"", refused.body);
    host.answer(c.callback, 0);
  }
}

TEST_F(TransportTest, PlayStateAndNowPlayingComeFromTheHostsAnswers) {
  EXPECT_EQ("{}", get("/getPlayState").body);
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
  host.answer("onGetNowPlaying", 1);
  EXPECT_EQ("\"GetNowPlaying FAILED\"", get("/getNowPlaying").body);
  host.answer("onGetPlayState", 1);
  EXPECT_EQ("\"GetPlayState FAILED\"", get("/getPlayState").body);
}

TEST_F(TransportTest, PlaybackStateArrivesThroughStatus) {
  host.onCall("onNext", [this] {
    PlaybackState st{2, "t2", 180.0f, 0.5f, 1.0f, 1.0f, {0, 44100.0, nullptr}, nullptr};
    s.setPlaybackState(st);
    Track* t = Track::getTrack("t2");
    s.setTrackInfo(t);
    t->Release();
  });
  EXPECT_EQ("\"SUCCESS\"", get("/playback/next").body);
  const auto status = web::json::value::parse(get("/status").body);
  EXPECT_EQ(R"({"playbackstate":{"duration":180,"elapsed":0.5,"trackid":"t2","state":2,)"
            R"("lgain":1,"rgain":1,"mqa":{"state":0,"osr":44100}}})",
            status.at("playback").serialize());
  EXPECT_EQ("t2", status.at("library").at("track").at("id").as_string());
}

}  // namespace
