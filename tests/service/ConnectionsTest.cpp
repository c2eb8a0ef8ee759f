#include <gtest/gtest.h>

#include "support/RoutedService.h"

using namespace velora_test;
using web::json::value;

namespace {

class ConnectionsTest : public RoutedService {
 protected:
  value authenticate(int code, const std::string& extra = "&name=My%20Phone&version=3") {
    const HttpReply reply = get("/authenticate?code=" + std::to_string(code) + extra);
    EXPECT_EQ(200, reply.status);
    EXPECT_EQ("", reply.header("Access-Control-Allow-Origin"));
    return value::parse(reply.body);
  }
  value disconnectDocument() {
    std::lock_guard<std::mutex> lock(s.cache().stateMutex);
    return s.cache().docs.disconnect;
  }
};

TEST_F(ConnectionsTest, PairingTakesRepeatedCallsAndTheHostsApproval) {
  const value first = authenticate(1234);
  EXPECT_EQ(3u, first.size());
  EXPECT_FALSE(first.at("authstatus").as_bool());
  EXPECT_FALSE(first.at("disconnected").as_bool());
  const std::string token = first.at("token").as_string();
  EXPECT_EQ(36u, token.size());
  EXPECT_EQ(std::vector<std::string>{"onRemoteConnected {1234,'My Phone',3}"}, host.calls());

  EXPECT_EQ(first.serialize(), authenticate(1234).serialize());
  EXPECT_EQ(1, host.count("onRemoteConnected"));

  Capabilities caps{0x15};
  s.authenticate(1234, "Velora Studio", caps);
  EXPECT_EQ("1234 true 3", host.last("onRemoteAuthenticated"));
  const value approved = authenticate(1234);
  EXPECT_EQ(R"({"token":")" + token + R"(","authstatus":true,"disconnected":false,"name":")" +
                getHostName() + R"(","product":"Velora Studio","capabilities":21})",
            approved.serialize());
  EXPECT_EQ(1, host.count("onRemoteConnected"));
}

TEST_F(ConnectionsTest, ApprovingAnUnknownCodeIsReported) {
  Capabilities caps{1};
  s.authenticate(99, "x", caps);
  EXPECT_EQ("99 false 0", host.last("onRemoteAuthenticated"));
}

TEST_F(ConnectionsTest, LongNamesAreCutAndACodeIsRequired) {
  const std::string longName(60, 'n');
  authenticate(5, "&name=" + longName + "&version=1");
  EXPECT_EQ("{5,'" + std::string(39, 'n') + "',1}", host.last("onRemoteConnected"));
  EXPECT_EQ(400, get("/authenticate?name=x").status);
  EXPECT_EQ(500, get("/authenticate?code=abc").status);
  EXPECT_EQ(1, host.count("onRemoteConnected"));
}

TEST_F(ConnectionsTest, RemoteDisconnectTellsTheHostOnlyAboutApprovedClients) {
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
  EXPECT_TRUE(s.changeFlag());

  // A disconnected client that authenticates again is pending once more.
  const value again = authenticate(1);
  EXPECT_EQ(approved, again.at("token").as_string());
  EXPECT_FALSE(again.at("authstatus").as_bool());
  EXPECT_EQ("{}", disconnectDocument().serialize());

  EXPECT_EQ(200, get("/disconnect").status);          // no code: nothing happens
  EXPECT_EQ(200, get("/disconnect?code=77").status);  // unknown: nothing either
  EXPECT_EQ(1, host.count("onRemoteDisconnected"));
}

TEST_F(ConnectionsTest, HostDisconnectOfZeroEndsEveryApprovedClient) {
  pair(1);
  pair(2);
  pair(3);
  authenticate(4);
  host.clear();
  std::string log = captureStdout([&] { s.disconnect(0); });
  EXPECT_EQ(3, host.count("onRemoteDisconnected"));
  EXPECT_NE(std::string::npos, log.find("Calling disconnect for 1\n"));
  EXPECT_NE(std::string::npos, log.find("Calling disconnect for 3\n"));
  EXPECT_EQ("false", disconnectDocument().at("fromremote").serialize());

  // Another code is ended once, however many clients were approved.
  pair(5);
  pair(6);
  host.clear();
  captureStdout([&] { s.disconnect(5); });
  EXPECT_EQ(std::vector<std::string>{"onRemoteDisconnected 5"}, host.calls());
}

TEST_F(ConnectionsTest, StatusLinesListEveryClient) {
  pair(11);
  authenticate(12);
  const std::string out = captureStdout([&] { s.printStatus(); });
  const std::string token11 = authenticate(11).at("token").as_string();
  EXPECT_NE(std::string::npos,
            out.find("Auth code: 11 Status: 1 Capabilities: 7 Token: " + token11 + "\n"));
  EXPECT_NE(std::string::npos, out.find("Auth code: 12 Status: 0 Capabilities: 0 Token: "));
}

}  // namespace
