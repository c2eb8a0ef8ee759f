#include <random>
#include <set>

#include <gtest/gtest.h>

#include "service/RouteRequest.h"
#include "support/RoutedService.h"

using namespace velora_test;

namespace {

class RoutingTest : public RoutedService {};

TEST(RouteTable, EveryRowIsReachableAndUnique) {
  std::set<std::string> seen;
  for (const auto& row : VeloraRestService::routeTable()) {
    const std::string segment = row.segment;
    EXPECT_TRUE(seen.insert(segment).second) << "duplicate " << segment;
    EXPECT_NE(nullptr, row.handler) << segment;
    if (row.lowerCase) {
      EXPECT_EQ(utility::conversions::str_tolower(segment), segment)
          << segment << " can never match once lower-cased";
    }
  }
  EXPECT_EQ("authenticate", std::string(VeloraRestService::routeTable().front().segment));
}

// Requests are taken apart by our own splitters; any difference from the
// HTTP library's would change which keys a handler sees.
TEST(RouteSplitting, AgreesWithTheHttpLibraryOnEveryShape) {
  std::vector<std::string> cases = {
      "",        "/",           "//",          "/ping", "/a//b/", "a/b", "/%2F/x",
      "k=v",     "k=v&",        "&k=v",        "=v",    "k=",     "k",   "a=1&a=2",
      "a=1;b=2", "a=1&b=2;c=3", "a=1;b=2&c=3", "a==b",  "&&",     ";;",  "x=%26&y",
  };
  std::mt19937 rng(7);
  const std::string alphabet = "ab/=&;%2 ";
  for (int i = 0; i < 5000; ++i) {
    std::string s(rng() % 14, ' ');
    for (char& c : s) c = alphabet[rng() % alphabet.size()];
    cases.push_back(s);
  }
  for (const std::string& text : cases) {
    EXPECT_EQ(web::uri::split_path(text), splitPath(text)) << '"' << text << '"';
    EXPECT_EQ(web::uri::split_query(text), splitQuery(text)) << '"' << text << '"';
  }
}

TEST_F(RoutingTest, UnknownFirstSegmentsAnswer400WithThePath) {
  const HttpReply reply = get("/nowhere/at%20all?x=1");
  EXPECT_EQ(400, reply.status);
  EXPECT_EQ("\"/nowhere/at all\"", reply.body);
  EXPECT_EQ("*", reply.header("Access-Control-Allow-Origin"));
  EXPECT_EQ(400, get("/").status);
  EXPECT_TRUE(host.calls().empty());
}

TEST_F(RoutingTest, CaseMattersExceptForThePlayerRoutes) {
  EXPECT_EQ(400, get("/Ping").status);
  EXPECT_EQ(0, host.count("onPing"));
  EXPECT_EQ("\"SUCCESS\"", get("/ping").body);

  const HttpReply player = get("/PlayerPing");
  EXPECT_EQ(200, player.status);
  EXPECT_EQ("", player.body);  // nothing stored yet
  EXPECT_EQ(1, host.count("onPlayerPing"));
  EXPECT_EQ(200, get("/PLAYERHEARTBEAT").status);
  EXPECT_EQ(1, host.count("onPlayerHeartbeat"));
}

TEST_F(RoutingTest, ClientControlAnswersByTheHostsStatus) {
  struct Case {
    const char* target;
    const char* callback;
    const char* failure;
  };
  const Case cases[] = {
      {"/pairing", "onPairing", "Ping FAILED"},
      {"/save", "onSave", "Save FAILED"},
      {"/quit", "onQuit", "Quit FAILED"},
      {"/ping", "onPing", "Ping FAILED"},
      {"/getHeartbeat", "onGetHeartbeat", "GetHeartbeat FAILED"},
      {"/playerping", "onPlayerPing", "handlePlayerPing FAILED"},
      {"/playerheartbeat", "onPlayerHeartbeat", "handlePlayerHeartBeat FAILED"},
      {"/playerpause", "onPlayerPause", "handlePlayerPause FAILED"},
  };
  for (const Case& c : cases) {
    host.answer(c.callback, 3);
    const HttpReply refused = get(c.target);
    EXPECT_EQ(401, refused.status) << c.target;
    EXPECT_EQ(std::string("\"") + c.failure + "\"", refused.body) << c.target;
    host.answer(c.callback, 0);
    EXPECT_EQ(200, get(c.target).status) << c.target;
  }
}

TEST_F(RoutingTest, PlayerAnswersComeFromTheirSlots) {
  host.onCall("onPlayerPing", [this] { s.setPlayerResponse(R"({"playing":true})"); });
  EXPECT_EQ(R"({"playing":true})", get("/playerping").body);
  host.onCall("onGetHeartbeat", [this] { s.setGetHeartbeatResponse(R"({"beat":1})"); });
  EXPECT_EQ(R"({"beat":1})", get("/getHeartbeat").body);
  host.onCall("onPlayerPlay", [] {});
  EXPECT_EQ(R"({"playing":true})", get("/playerplay?playState=play&itemID=t7").body);
  EXPECT_EQ("'play' 't7'", host.last("onPlayerPlay"));
}

TEST_F(RoutingTest, LogAndDebugOnlyAcknowledge) {
  EXPECT_EQ("\"\"", get("/log?message=hello").body);
  EXPECT_EQ("\"\"", get("/debug").body);
  EXPECT_TRUE(host.calls().empty());
}

TEST_F(RoutingTest, PutAndDeleteAreAlwaysAcknowledged) {
  EXPECT_EQ(200, httpRequest(port, "PUT", "/ping", "x").status);
  EXPECT_EQ(200, httpRequest(port, "DELETE", "/status").status);
  EXPECT_TRUE(host.calls().empty());
}

}  // namespace
