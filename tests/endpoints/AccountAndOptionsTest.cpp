#include "EndpointsTestBase.h"

using namespace velora_test;

namespace {

class AccountTest : public EndpointsTest {};

TEST_F(AccountTest, LoginDecodesTheCredentialsOnly) {
  host.onCall("onLogin", [this] { s.setLoginResponse("session-1"); });
  const HttpReply reply = get("/login?username=me%40home&password=p%26w&which=a%40b");
  EXPECT_EQ(R"({"userToken":"session-1"})", reply.body);
  EXPECT_EQ("'me@home' 'p&w' 'a%40b'", host.last("onLogin"));
}

TEST_F(AccountTest, UnreachableServerAndRefusals) {
  host.answer("onLogin", 7);
  HttpReply reply = get("/login?username=u&password=p&which=w");
  EXPECT_EQ(503, reply.status);
  EXPECT_EQ("\"Connection to Tarn Server Failed.\"", reply.body);
  host.answer("onLogin", 2);
  reply = get("/login?username=u&password=p&which=w");
  EXPECT_EQ(401, reply.status);
  EXPECT_EQ("\"Quit FAILED\"", reply.body);
  EXPECT_EQ(401, get("/login?username=u&password=p").status);
  EXPECT_EQ(2, host.count("onLogin"));

  host.answer("onGetLogin", 7);
  EXPECT_EQ(503, get("/getLogin").status);
  EXPECT_EQ("''", host.last("onGetLogin"));
  host.answer("onGetLogin", 1);
  EXPECT_EQ("\"GetLogin FAILED\"", get("/getLogin?which=x").body);

  // Logout does not tell an unreachable server apart.
  host.answer("onLogout", 7);
  reply = get("/logout?which=x");
  EXPECT_EQ(401, reply.status);
  EXPECT_EQ("\"Logout FAILED\"", reply.body);
}

TEST_F(AccountTest, GetLoginAnswersWithTheStoredAccount) {
  host.onCall("onGetLogin", [this] { s.setGetLoginResponse("u", "p", "t", "tu", "tp", "svc"); });
  EXPECT_EQ(R"({"username":"u","password":"p","userToken":"t","tidalUsername":"tu",)"
            R"("tidalPassword":"tp","service":"svc"})",
            get("/getLogin?which=a").body);
  EXPECT_EQ("\"SUCCESS\"", get("/logout?which=a").body);
}

class OptionsTest : public EndpointsTest {};

TEST_F(OptionsTest, LaterOptionsAreReadOnlyWithEnoughPairs) {
  const std::string six =
      "checkForUpdates=1&maxDownloads=2&addToITunes=3&createITunesPlaylist=4&retryTime=5&"
      "retryCount=6";
  get("/setOptions?" + six);
  EXPECT_EQ("'1' '2' '3' '4' '5' '6' '' '' '' '' '' '' '' '' ''", host.last("onSetOptions"));
  get("/setOptions?" + six + "&dsdEnabled=a&dsdFilterEnabled=b");
  EXPECT_EQ("'1' '2' '3' '4' '5' '6' 'a' 'b' '' '' '' '' '' '' ''", host.last("onSetOptions"));
  get("/setOptions?" + six +
      "&dsdEnabled=a&dsdFilterEnabled=b&dsdGain=c&tidalQuality=d&upSample=e&scanLevel=f&"
      "bypassMode=g&artCache=h&mqa=i&remoteEnabled=j&showTidalInfo=k");
  EXPECT_EQ("'1' '2' '3' '4' '5' '6' 'a' 'b' 'c' 'd' 'e' 'f' 'g' 'h' 'i'",
            host.last("onSetOptions"));
  host.answer("onSetOptions", 1);
  const HttpReply stale = get("/setOptions?" + six);
  EXPECT_EQ(400, stale.status);
  EXPECT_EQ("\"Options Stale\"", stale.body);
}

TEST_F(OptionsTest, OptionsAndConfigurationShareOneAnswer) {
  s.setGetOptionsResponse(R"({"options":1})");
  s.setGetAppConfigResponse(R"({"config":2})");
  EXPECT_EQ(R"({"config":2})", get("/getOptions").body);
  EXPECT_EQ(R"({"config":2})", get("/getAppConfig").body);
  host.onCall("onSelectLocalDownloadLocation",
              [this] { s.setGetLocalDownloadLocationResponse(R"({"path":"/dl"})"); });
  EXPECT_EQ(R"({"path":"/dl"})", get("/selectLocalDownloadLocation").body);
  EXPECT_EQ(R"({"path":"/dl"})", get("/addToLibrary?id=t1").body);
}

TEST_F(OptionsTest, CommandsAndTheirTexts) {
  checkCommands({
      {"/setDevice?currentDevice=DAC&currentChannels=2&currentSampleRate=96000&"
       "currentBufferSize=512",
       "onSetDevice", "'DAC' '2' '96000' '512'", "SetDevice FAILED"},
      {"/deviceWindow?which=main", "onDeviceWindow", "", "handleDeviceWindow FAILED"},
  });
  checkCommands(
      {
          {"/getDevices", "onGetDevices", "", "Get Devices FAILED"},
          {"/getOptions", "onGetOptions", "", "GetOptions FAILED"},
          {"/getAppConfig", "onGetAppConfig", "", "GetAppConfig FAILED"},
          {"/selectLocalArtworkLocation?id=x", "onSelectLocalArtworkLocation", "'x'",
           "handleLocalSelectArtworkLocation FAILED"},
          {"/getLocalArtworkLocation?id=x", "onGetLocalArtworkLocation", "'x'",
           "handleGetLocalArtworkLocation FAILED"},
          {"/selectLocalDownloadLocation", "onSelectLocalDownloadLocation", "",
           "SelectLocalDownloadLocation FAILED"},
          {"/getLocalDownloadLocation", "onGetLocalDownloadLocation", "",
           "GetLocalDownloadLocation FAILED"},
      },
      nullptr);
}

}  // namespace
