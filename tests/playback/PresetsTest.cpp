#include <gtest/gtest.h>

#include "support/RoutedService.h"

using namespace velora_test;

namespace {

class PresetsTest : public RoutedService {
 protected:
  void SetUp() override {
    RoutedService::SetUp();
    s.Init();
  }
};

TEST_F(PresetsTest, EachStageReadsItsSharedAnswer) {
  s.setGetEQPresetResponse(R"({"name":"Flat","id":1})");
  s.setGetEQPresetListResponse(R"([{"name":"Flat","id":1},{"name":"Warm","id":2}])");
  // The list came last, so both requests return it.
  EXPECT_EQ(R"([{"name":"Flat","id":1},{"name":"Warm","id":2}])", get("/getEQ").body);
  EXPECT_EQ(get("/getEQ").body, get("/getEQPresetList").body);
  EXPECT_EQ(get("/getEQ").body, get("/getEq").body);

  s.setGetHPPresetListResponse(R"(["hp"])");
  for (const char* target :
       {"/getHP", "/getHp", "/getHPPresetList", "/getAC", "/getACPresetList"}) {
    EXPECT_EQ(R"(["hp"])", get(target).body) << target;
  }
  s.setGetIRCPresetResponse(R"({"name":"Hall","id":7})");
  EXPECT_EQ(R"({"name":"Hall","id":7})", get("/getIRCPresetList").body);
  EXPECT_EQ(1, host.count("onGetIRCPresetList"));
  EXPECT_EQ(2, host.count("onGetACPresetList") + host.count("onGetACPreset"));
}

TEST_F(PresetsTest, ANeverSetAnswerIsTheLiteralNull) {
  ServiceUnderTest fresh;
  RecordingHost other;
  other.attach(*fresh.service);
  const int p = fresh.start();
  EXPECT_EQ("null", httpGet(p, "/getIRC").body);
}

TEST_F(PresetsTest, FailuresKeepTheirOwnTexts) {
  struct Case {
    const char* target;
    const char* callback;
    const char* failure;
    int status;
  };
  const Case cases[] = {
      {"/getEQPresetList", "onGetEQPresetList", "handleGetEQPresetList FAILED", 401},
      {"/getEQ", "onGetEQPreset", "handleGetEQPreset FAILED", 401},
      {"/setEQ?enable=1&preset=2", "onSetEQPreset", "SetEQPreset FAILED", 400},
      {"/getHPPresetList", "onGetHPPresetList", "handleGetHPPresetList FAILED", 401},
      {"/getHP", "onGetHPPreset", "handleGetHPPreset FAILED", 401},
      {"/setHp?enable=1&preset=2", "onSetHPPreset", "handleSetHPPreset FAILED", 400},
      {"/getACPresetList", "onGetACPresetList", "handleGetACPresetList FAILED", 401},
      {"/getAC", "onGetACPreset", "handleGetIRCPreset FAILED", 401},
      {"/setAC?enable=1&preset=2", "onSetACPreset", "handleSetACPreset FAILED", 400},
      {"/getIRCPresetList", "onGetIRCPresetList", "handleGetIRCPresetList FAILED", 401},
      {"/getIRC", "onGetIRCPreset", "handleGetIRCPreset FAILED", 401},
      {"/setIRC?enable=0&preset=2", "onSetIRCPreset", "handleSetIRCPreset FAILED", 400},
  };
  for (const Case& c : cases) {
    host.answer(c.callback, 9);
    const HttpReply reply = get(c.target);
    EXPECT_EQ(c.status, reply.status) << c.target;
    EXPECT_EQ(std::string("\"") + c.failure + "\"", reply.body) << c.target;
  }
  // One spelling only for the IRC and AC commands.
  EXPECT_EQ(400, get("/getIrc").status);
  EXPECT_EQ(400, get("/setAc?enable=1&preset=1").status);
}

TEST_F(PresetsTest, SettingAPresetNeedsBothKeys) {
  EXPECT_EQ("\"SUCCESS\"", get("/setEQ?enable=true&preset=Warm").body);
  EXPECT_EQ("'true' 'Warm'", host.last("onSetEQPreset"));
  EXPECT_EQ(400, get("/setEQ?preset=Warm").status);
  EXPECT_EQ(400, get("/setIRC?enable=1").status);
  EXPECT_EQ(1, host.count("onSetEQPreset"));
  EXPECT_EQ(0, host.count("onSetIRCPreset"));
}

TEST_F(PresetsTest, StageStateArrivesThroughStatus) {
  host.onCall("onRequestIRCPreset", [this] {
    IRCPreset p{"Hall", 7};
    s.setIRCCurrentPreset(p);
    s.setIRCGain(-3);
  });
  get("/irc/getpreset");
  const auto status = web::json::value::parse(get("/status").body);
  EXPECT_EQ(R"({"preset":{"name":"Hall","id":7},"id":7,"gain":-3})", status.at("irc").serialize());
}

}  // namespace
