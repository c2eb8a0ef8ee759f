#include <random>
#include <set>

#include <gtest/gtest.h>

#include "http/RouteRequest.h"
#include "support/RoutedService.h"

using namespace velora_test;
using web::json::value;

namespace {

class RoutingTest : public RoutedService {
 protected:
  value authenticate(int code, const std::string& extra = "&name=My%20Phone&version=3") {
    const HttpReply reply = get("/authenticate?code=" + std::to_string(code) + extra);
    EXPECT_EQ(200, reply.status);
    EXPECT_EQ("", reply.header("Access-Control-Allow-Origin"));
    return value::parse(reply.body);
  }
  value disconnectDocument() { return value::parse(get("/status").body).at("disconnect"); }
};

TEST(RouteTable, EveryRowIsReachableAndUnique) {
  std::set<std::string> seen;
  for (const auto& row : Router::routes()) {
    std::string key = std::string(row.method) + " " + row.path;
    for (const char* q : row.when) key += std::string(" ?") + q;
    EXPECT_TRUE(seen.insert(key).second) << "duplicate " << key;
    EXPECT_TRUE(static_cast<bool>(row.run)) << key;
    EXPECT_TRUE(!row.lowerCase || utility::conversions::str_tolower(row.path) == row.path) << key;
  }
}

// Our splitters must take requests apart exactly as the HTTP library's do.
TEST(RouteSplitting, AgreesWithTheHttpLibraryOnEveryShape) {
  std::vector<std::string> cases = {
      "",  "/",       "//",      "/a//b/",      "a/b",  "/%2F/x", "k=v&", "&k=v",   "=v",
      "k", "a=1&a=2", "a=1;b=2", "a=1&b=2;c=3", "a==b", "&&",     ";;",   "x=%26&y"};
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

TEST_F(RoutingTest, RoutesAnswerByTheHostsStatusWithTheirOwnTexts) {
  expectRoutes({
      {"/", "", 400, nullptr},
      {"/Ping", "", 400, nullptr},  // case matters, except for the player routes
      {"/pairing", "onPairing", 200, nullptr, 3, 401, R"("Ping FAILED")"},
      {"/save", "onSave", 200, nullptr, 3, 401, R"("Save FAILED")"},
      {"/quit", "onQuit", 200, nullptr, 3, 401, R"("Quit FAILED")"},
      {"/ping", "onPing", 200, R"("SUCCESS")", 3, 401, R"("Ping FAILED")"},
      {"/getHeartbeat", "onGetHeartbeat", 200, nullptr, 3, 401, R"("GetHeartbeat FAILED")"},
      {"/PlayerPing", "onPlayerPing", 200, "", 3, 401, R"("handlePlayerPing FAILED")"},
      {"/PLAYERHEARTBEAT", "onPlayerHeartbeat", 200, nullptr, 3, 401,
       R"("handlePlayerHeartBeat FAILED")"},
      {"/playerpause", "onPlayerPause", 200, nullptr, 3, 401, R"("handlePlayerPause FAILED")"},
      {"/log?message=hello", "", 200, R"("")"},
      {"/debug", "", 200, R"("")"},
      {"/authenticate?name=x", "", 400, nullptr},
      {"/authenticate?code=abc", "", 500, nullptr},
      {"/nowhere/%22hi%22?x=1", "", 400, R"("/nowhere/\"hi\"")"},
      {"/irc?enable=1&gain=5", "onSetIRCState true"},
      {"/irc?gain=5", "onSetIRCGain 5"},
      {"/irc/gain", "onRequestIRCGain"},
      {"/irc/list", "onRequestIRCPresetList"},
      {"/equalizer/list", "onRequestEQPresetList"},
      {"/ooyh/state", "onRequestHPState"},
      {"/ac/getpreset", "onRequestACPreset"},
      {"/ac?enable=yes", "onSetACState false"},
      {"/equalizer/list?enable=true", "onSetEQState true"},
      {"/equalizer/gain", ""},  // gain is the IRC stage's alone
      {"/ooyh/anything", ""},
      {"/irc", "", 500, nullptr},
      {"/irc?gain=loud", "", 500, nullptr},
      {"/irc?gain=99999999999", "", 500, nullptr},
      {"/EQUALIZER/list", "", 400, nullptr},

      {"/playback?volume=40&mute=true", "onSetVolume 40"},
      {"/playback?mute=1", "onSetMute true"},
      {"/playback/play?itemid=t9&item=3", "onPlaybackCommand {0,3,'t9'}"},
      {"/playback/pause?itemid=t9&item=3", "onPlaybackCommand {1,0,'t9'}"},
      {"/playback/pause", "onPlaybackCommand {1,0,''}"},
      {"/playback/next", "onNext"},
      {"/playback/previous", "onPrevious"},
      {"/playback/mode?mode=2", "onSetMode {2}"},
      // A move names its track only when the client's id comes along.
      {"/playback/move?trackid=t1&position=4", "onMoveTrack '' 4"},
      {"/playback/move?trackid=t1&position=4&token=x", "onMoveTrack 't1' 4"},
      {"/playback", "", 200, R"("")"},
      {"/playback?volume=loud", "", 500, nullptr},
      {"/playback/play", "", 400, nullptr},
      {"/playback/mode", "", 400, nullptr},
      {"/playback/move?trackid=t1", "", 500, nullptr},
      {"/settings/output?name=My%20DAC", "onSetOutputDevice 'My DAC'", 200, R"("")"},
      {"/settings/output", "onRequestOutputDevices", 200, R"("")"},
      {"/settings/values?mqa=1&upsample=0", "onRequestSettingsValues", 200, R"("")"},
      {"/settings/values?mqa=1&upsample=0&dsp=2", "onSetSettingsValues true false false", 200,
       R"("")"},
      {"/settings", "", 500, nullptr},

  });
  EXPECT_EQ(200, httpRequest(port, "PUT", "/ping", "x").status);
  EXPECT_EQ(200, httpRequest(port, "DELETE", "/status").status);
  EXPECT_EQ("", calls());

  // Answers the host stores from inside the callback; "playerplay" shares the player's.
  host.onCall("onPlayerPing", [this] { s.setPlayerResponse(R"({"playing":true})"); });
  EXPECT_EQ(R"({"playing":true})", get("/playerping").body);
  host.onCall("onGetHeartbeat", [this] { s.setGetHeartbeatResponse(R"({"beat":1})"); });
  EXPECT_EQ(R"({"beat":1})", get("/getHeartbeat").body);
  EXPECT_EQ(R"({"playing":true})", get("/playerplay?playState=play&itemID=t7").body);
  EXPECT_EQ("'play' 't7'", host.last("onPlayerPlay"));

  EXPECT_EQ("null", get("/playback/getvolume").body) << "nothing pushed yet";
  host.onCall("onRequestVolume", [this] { s.setVolumeLevel(33); });
  EXPECT_EQ(R"({"volumelevel":33})", get("/playback/getvolume").body);
  EXPECT_EQ(R"({"volumelevel":33})", get("/playback/getmode").body);
  EXPECT_EQ(1, host.count("onRequestMode"));
}

TEST_F(RoutingTest, PairingTakesRepeatedCallsAndTheHostsApproval) {
  const value first = authenticate(1234);
  const std::string token = first.at("token").as_string();
  EXPECT_EQ(36u, token.size());
  EXPECT_EQ(R"({"token":")" + token + R"(","authstatus":false,"disconnected":false})",
            first.serialize());
  EXPECT_EQ("onRemoteConnected {1234,'My Phone',3}", calls());
  EXPECT_EQ(first.serialize(), authenticate(1234).serialize());
  EXPECT_EQ(1, host.count("onRemoteConnected"));

  Capabilities caps{0x15};
  s.authenticate(1234, "Velora Studio", caps);
  EXPECT_EQ("1234 true 3", host.last("onRemoteAuthenticated"));
  EXPECT_EQ(R"({"token":")" + token + R"(","authstatus":true,"disconnected":false,"name":")" +
                getHostName() + R"(","product":"Velora Studio","capabilities":21})",
            authenticate(1234).serialize());
  EXPECT_EQ(1, host.count("onRemoteConnected"));
  s.authenticate(99, "x", caps);
  EXPECT_EQ("99 false 0", host.last("onRemoteAuthenticated"));

  authenticate(5, "&name=" + std::string(60, 'n') + "&version=1");
  EXPECT_EQ("{5,'" + std::string(39, 'n') + "',1}", host.last("onRemoteConnected"));
}

TEST_F(RoutingTest, DisconnectsReachTheHostOnlyForApprovedClients) {
  s.Init();
  const std::string approved = pair(1);
  const std::string pending = authenticate(2).at("token").as_string();
  host.clear();
  EXPECT_EQ(200, get("/disconnect?code=2").status);
  EXPECT_EQ(0, host.count("onRemoteDisconnected"));
  EXPECT_EQ(R"({"token":")" + pending + R"(","fromremote":true})",
            disconnectDocument().serialize());
  get("/disconnect?code=1");
  EXPECT_EQ("1", host.last("onRemoteDisconnected"));
  EXPECT_EQ(R"({"token":")" + approved + R"(","fromremote":true})",
            disconnectDocument().serialize());

  // A disconnected client that authenticates again is pending once more.
  const value again = authenticate(1);
  EXPECT_EQ(approved, again.at("token").as_string());
  EXPECT_FALSE(again.at("authstatus").as_bool());
  EXPECT_EQ(200, get("/disconnect").status);          // no code: nothing happens
  EXPECT_EQ(200, get("/disconnect?code=77").status);  // unknown: nothing either
  EXPECT_EQ(1, host.count("onRemoteDisconnected"));

  // The host's disconnect of 0 ends every approved client; of another code,
  // that client once, however many are approved.
  for (int code : {1, 3, 4}) pair(code);
  authenticate(5);
  host.clear();
  captureStdout([&] { s.disconnect(0); });
  EXPECT_EQ(3, host.count("onRemoteDisconnected"));
  EXPECT_EQ("false", disconnectDocument().at("fromremote").serialize());
  pair(6);
  host.clear();
  captureStdout([&] { s.disconnect(6); });
  EXPECT_EQ("onRemoteDisconnected 6", calls());
}

}  // namespace
