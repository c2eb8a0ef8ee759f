#include <gtest/gtest.h>

#include "support/ServiceFixture.h"

using namespace velora_test;
using web::json::value;

namespace {

TEST(AnswerSetters, StoreTheParsedAnswerAndKeepItOnBadJson) {
  ServiceUnderTest sut;
  VeloraRestService& s = *sut.service;
  s.Init();

  s.setGetDevicesResponse(R"({"devices":["DAC","Speakers"],"current":"DAC"})");
  EXPECT_EQ(R"({"devices":["DAC","Speakers"],"current":"DAC"})",
            s.cache().slots.devices.serialize());

  for (const char* broken : {"{", "", "{\"a\":}", "[1,2", "nul"}) {
    EXPECT_THROW(s.setGetDevicesResponse(broken), std::exception) << broken;
  }
  EXPECT_THROW(s.setGetDevicesResponse(nullptr), std::exception);
  EXPECT_EQ(R"({"devices":["DAC","Speakers"],"current":"DAC"})",
            s.cache().slots.devices.serialize());

  EXPECT_THROW(s.setPlayerResponse("{oops"), std::exception);
  s.setPlayerResponse(R"({"state":"playing"})");
  EXPECT_EQ(R"({"state":"playing"})", s.cache().player.player.serialize());
}

TEST(AnswerSetters, SharedSlotsHoldWhicheverAnswerCameLast) {
  ServiceUnderTest sut;
  VeloraRestService& s = *sut.service;
  s.setGetOptionsResponse(R"({"options":1})");
  s.setGetAppConfigResponse(R"({"config":2})");
  EXPECT_EQ(R"({"config":2})", s.cache().slots.options.serialize());

  s.setGetHPPresetResponse(R"({"name":"Flat","id":1})");
  s.setGetHPPresetListResponse(R"([{"name":"Flat","id":1}])");
  EXPECT_TRUE(s.cache().slots.hpPreset.is_array());

  // The stash answer is kept as text, even when it is not JSON.
  s.setGetUserStashResponse("not json");
  EXPECT_EQ("not json", s.cache().userStash);
  s.setGetUserStashResponse(nullptr);
  EXPECT_EQ("", s.cache().userStash);
  s.setGetUserStashResponse("[]");
  s.Init();
  EXPECT_EQ("[]", s.cache().userStash);
}

}  // namespace
