#include <gtest/gtest.h>

#include "support/RoutedService.h"

using namespace velora_test;

namespace {

class PostTest : public RoutedService {
 protected:
  HttpReply post(const std::string& target, const std::string& body) {
    return httpRequest(port, "POST", target, body);
  }
};

constexpr const char* kPreset =
    R"({"name":"Warm","id":3,"paramset":[{"order":1,"fband":100,"bband":2,"qband":0.5,"filter":1}]})";

TEST_F(PostTest, ATokenIsRequiredAndUnknownTokensAreIgnored) {
  EXPECT_EQ(403, post("/equalizer/setpreset", kPreset).status);
  EXPECT_EQ(200, post("/equalizer/setpreset?token=nobody", kPreset).status);
  EXPECT_EQ(403, post("/anything", "{}").status);
  EXPECT_TRUE(host.calls().empty());
}

TEST_F(PostTest, PostedPresetsReachTheHostAfterTheReply) {
  const std::string token = pair(1);
  host.clear();
  EXPECT_EQ(200, post("/equalizer/setpreset?token=" + token, kPreset).status);
  ASSERT_TRUE(host.waitFor("onApplyEQPreset", 1));
  EXPECT_EQ("{'Warm',3,[(1.000000,100.000000,2.000000,0.500000,1)]}", host.last("onApplyEQPreset"));

  EXPECT_EQ(200, post("/irc/setpreset?token=" + token, R"({"name":"Hall","id":9})").status);
  ASSERT_TRUE(host.waitFor("onApplyIRCPreset", 1));
  EXPECT_EQ("{'Hall',9}", host.last("onApplyIRCPreset"));

  // A disconnected client's token still opens the door.
  get("/disconnect?code=1");
  EXPECT_EQ(200, post("/irc/setpreset?token=" + token, R"({"name":"Room","id":2})").status);
  EXPECT_TRUE(host.waitFor("onApplyIRCPreset", 2));
}

TEST_F(PostTest, BadBodiesAreAcceptedAndDropped) {
  const std::string token = pair(1);
  host.clear();
  for (const char* body : {"{", "", "[]", R"({"name":"x"})", R"({"name":1,"id":2,"paramset":[]})",
                           R"({"name":"x","id":2,"paramset":[{"order":"a"}]})"}) {
    EXPECT_EQ(200, post("/equalizer/setpreset?token=" + token, body).status) << body;
  }
  EXPECT_EQ(200, post("/equalizer/setpreset?token=" + token, kPreset).status);
  ASSERT_TRUE(host.waitFor("onApplyEQPreset", 1));
  EXPECT_EQ(1, host.count("onApplyEQPreset"));
  EXPECT_EQ("\"SUCCESS\"", get("/ping").body);
}

TEST_F(PostTest, SharedArtworkReachesOtherClients) {
  const std::string token = pair(1);
  s.Init();
  EXPECT_EQ(200,
            post("/artwork/cachedata?token=" + token, R"({"id":"a1","url":"https://x/1"})").status);
  const HttpReply status = get("/status");
  ASSERT_EQ(200, status.status);
  EXPECT_EQ(R"({"id":"a1","url":"https://x/1"})",
            web::json::value::parse(status.body).at("library").at("artwork").serialize());
}

}  // namespace
