#include <unistd.h>

#include <array>
#include <chrono>
#include <future>
#include <thread>

#include <gtest/gtest.h>

#include "support/RoutedService.h"

using namespace velora_test;
using web::json::value;

namespace {

class StrictModeTest : public RoutedService {
 protected:
  HttpReply call(const std::string& method, const std::string& target,
                 const std::string& headers = "") {
    return httpRequest(port, method, target, method == "POST" ? "{}" : "", 5000, headers);
  }
  static std::string with(const std::string& target, const std::string& token) {
    return target + (target.find('?') == std::string::npos ? "?" : "&") + "token=" + token;
  }
  static std::string bearer(const std::string& token) {
    return "Authorization: Bearer " + token + "\r\n";
  }
  void strict(bool on, const char* origins = "") { s.setStrictMode(on, origins); }
};

TEST_F(StrictModeTest, OnlyApprovedClientsPassTheGateOnEveryMethod) {
  const std::string approved = pair(1);
  const std::string pending = value::parse(get("/authenticate?code=2").body)["token"].as_string();
  const std::string gone = pair(3);
  s.disconnect(3, false);
  struct Row {
    const char* method;
    const char* target;
    // Default mode by client: none, unknown, pending, approved, disconnected,
    // approved through the header. Strict mode lets only the approved ones by.
    std::array<int, 6> unstrict;
  };
  const Row rows[] = {{"GET", "/ping", {200, 200, 200, 200, 200, 200}},
                      {"GET", "/status", {200, 200, 200, 200, 200, 200}},
                      {"POST", "/equalizer/setpreset", {403, 200, 200, 200, 200, 403}},
                      {"PUT", "/equalizer/setpreset", {200, 200, 200, 200, 200, 200}},
                      {"DELETE", "/queue/1", {200, 200, 200, 200, 200, 200}}};
  for (bool on : {false, true}) {
    strict(on);
    for (const Row& row : rows) {
      for (size_t i = 0; i < row.unstrict.size(); ++i) {
        const std::string token[] = {"", "nobody", pending, approved, gone, ""};
        const std::string target = token[i].empty() ? row.target : with(row.target, token[i]);
        s.Notify();  // "status" answers at once
        host.clear();
        const HttpReply reply = call(row.method, target, i == 5 ? bearer(approved) : "");
        const bool admitted = i == 3 || i == 5;
        const int expected = on ? (admitted ? 200 : 401) : row.unstrict[i];
        EXPECT_EQ(expected, reply.status) << row.method << " " << target << " strict " << on;
        if (expected == 401) {
          EXPECT_EQ("\"Unauthorized\"", reply.body) << row.target;
          EXPECT_EQ("", calls()) << row.target;
        }
      }
    }
  }
}

TEST_F(StrictModeTest, TokensGoOnlyToTheirHoldersAndEndOnlyByThem) {
  strict(true);
  const std::string mine = pair(5), other = pair(6);
  EXPECT_EQ(2, host.count("onRemoteConnected"));
  for (const std::string& guess :
       {std::string("/authenticate?code=5"), with("/authenticate?code=5", "nobody"),
        with("/authenticate?code=5", other)}) {
    const HttpReply reply = get(guess);
    EXPECT_EQ(401, reply.status) << guess;
    EXPECT_EQ(std::string::npos, reply.body.find(mine)) << guess;
  }
  const HttpReply holder = call("GET", "/authenticate?code=5", bearer(mine));
  ASSERT_EQ(200, holder.status);
  EXPECT_EQ(mine, value::parse(holder.body).at("token").as_string());
  EXPECT_TRUE(value::parse(holder.body).at("authstatus").as_bool());

  // Another client cannot end this one's session, nor can a request without its token.
  EXPECT_EQ(401, get(with("/disconnect?code=5", other)).status);
  EXPECT_EQ(401, get("/disconnect?code=5").status);
  EXPECT_EQ(0, host.count("onRemoteDisconnected"));
  EXPECT_EQ(200, get(with("/ping", mine)).status);

  // Its own disconnect reaches its feed, and every "status" poll, by code.
  const value feed = value::parse(get(with("/changes?wait=0", mine)).body);
  const std::string cursor = "/changes?wait=5&since=" + feed.at("seq").serialize() +
                             "&epoch=" + feed.at("epoch").as_string();
  auto parked = std::async(std::launch::async, [&] { return get(with(cursor, mine), 8000); });
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  EXPECT_EQ(200, get(with("/disconnect?code=5", mine)).status);
  EXPECT_EQ("5", host.last("onRemoteDisconnected"));
  const std::string note = R"({"code":5,"fromremote":true})";
  EXPECT_NE(std::string::npos, parked.get().body.find(note));
  const HttpReply status = get(with("/status", other));
  EXPECT_EQ(note, value::parse(status.body).at("disconnect").serialize());
  EXPECT_EQ(std::string::npos, status.body.find(mine));

  // Pairing again takes the old token and gives a new one, which the host approves anew.
  host.clear();
  const HttpReply again = get(with("/authenticate?code=5&name=Again", mine));
  ASSERT_EQ(200, again.status);
  const std::string renewed = value::parse(again.body).at("token").as_string();
  EXPECT_NE(mine, renewed);
  EXPECT_FALSE(value::parse(again.body).at("authstatus").as_bool());
  EXPECT_FALSE(value::parse(again.body).at("disconnected").as_bool());
  EXPECT_EQ("onRemoteConnected {5,'Phone',3}", calls());
  EXPECT_EQ(401, get(with("/authenticate?code=5", mine)).status);
  EXPECT_EQ(401, get(with("/ping", renewed)).status);
  Capabilities caps{7};
  s.authenticate(5, "Velora Test", caps);
  EXPECT_EQ(200, get(with("/ping", renewed)).status);
  EXPECT_EQ(401, get(with("/ping", mine)).status);
}

TEST_F(StrictModeTest, OnlyAllowedOriginsGetCrossOriginHeaders) {
  const std::string token = pair(1);
  strict(true, " https://Remote.example.org/ ,http://localhost:8080");
  for (const std::string origin : {"https://remote.EXAMPLE.org", "http://localhost:8080"}) {
    for (const std::string& target : {with("/ping", token), std::string("/ping")}) {
      const HttpReply reply = call("GET", target, "Origin: " + origin + "\r\n");
      EXPECT_EQ(origin, reply.header("Access-Control-Allow-Origin")) << target;
      EXPECT_EQ("Origin", reply.header("Vary"));
      EXPECT_EQ("*", reply.header("Access-Control-Allow-Methods"));
      EXPECT_EQ("Origin,Content-Type,Accept,X-Requested-With",
                reply.header("Access-Control-Allow-Headers"));
    }
  }
  for (const std::string origin :
       {"Origin: https://evil.example\r\n", "Origin: http://localhost:8081\r\n",
        "Origin: https://remote.example.org.evil.example\r\n", "Origin: null\r\n", ""}) {
    const HttpReply reply = call("GET", with("/ping", token), origin);
    EXPECT_EQ(200, reply.status);
    for (const char* name : {"Access-Control-Allow-Origin", "Access-Control-Allow-Methods",
                             "Access-Control-Allow-Headers", "Vary"}) {
      EXPECT_EQ("", reply.header(name)) << origin << name;
    }
  }
}

TEST_F(StrictModeTest, TheLongestWaitingPendingClientsAreDroppedFirst) {
  const std::string approved = pair(1);
  pair(2);
  s.disconnect(2, false);
  strict(true);
  for (int code = 100; code <= static_cast<int>(Connections::kStrictPendingLimit) + 100; ++code) {
    ASSERT_EQ(200, get("/authenticate?code=" + std::to_string(code)).status);
  }
  EXPECT_EQ(401, get("/authenticate?code=101").status) << "still waiting";
  EXPECT_EQ(200, get("/authenticate?code=100").status) << "dropped, so a new client";
  EXPECT_EQ(401, get("/authenticate?code=2").status) << "disconnected records stay";
  EXPECT_EQ(200, get(with("/ping", approved)).status);

  // Without strict mode the bound is far higher, by the same rule.
  strict(false);
  Connections& c = s.connections();
  for (int code = 0; code < static_cast<int>(Connections::kPendingLimit); ++code) {
    c.pair(1000 + code, "Flood", 1);
  }
  std::lock_guard<std::mutex> lock(c.mutex);
  EXPECT_EQ(nullptr, c.getConnection(100)) << "dropped first";
  EXPECT_EQ(nullptr, c.getConnection(132));
  EXPECT_NE(nullptr, c.getConnection(1000));
  EXPECT_NE(nullptr, c.getConnection(1));
  EXPECT_NE(nullptr, c.getConnection(2));
}

TEST_F(StrictModeTest, PagesNeverReachPastANulNorOutOfTheFolderByALink) {
  TempDir outside;
  const std::string elsewhere = outside.write("cover.jpg", "jpeg");
  sut.pages.write("cover.jpg", "jpeg");
  const std::string inside = sut.pages.write("index.html", "<html>remote</html>");
  const std::string secret = outside.write("secret.txt", "do not serve");
  ASSERT_EQ(0, ::symlink(secret.c_str(), (sut.pages.path() + "/leak.txt").c_str()));
  ASSERT_EQ(0, ::symlink(inside.c_str(), (sut.pages.path() + "/alias.html").c_str()));
  for (bool on : {false, true}) {
    strict(on);
    for (const std::string& target : {elsewhere + "%00.html", std::string("/cover.jpg%00.html")}) {
      const HttpReply reply = get(target);
      EXPECT_EQ(400, reply.status) << target;
      EXPECT_EQ("application/json", reply.header("Content-Type")) << target;
    }
    EXPECT_EQ(0, host.count("onPageServed"));
    EXPECT_EQ(on ? "\"/leak.txt\"" : "do not serve", get("/leak.txt").body);
    EXPECT_EQ("<html>remote</html>", get("/alias.html").body);
  }
}

TEST_F(StrictModeTest, HeadAnswersPagesAsGetAndNothingElse) {
  sut.pages.write("empty.html", "");
  const HttpReply page = call("GET", "/empty.html"), head = call("HEAD", "/empty.html");
  EXPECT_EQ(page.status, head.status);
  EXPECT_EQ(page.headers, head.headers);
  for (const char* target : {"/ping", "/authenticate?code=9", "/no-such-page"}) {
    const HttpReply refused = call("HEAD", target);
    EXPECT_EQ(405, refused.status) << target;
    EXPECT_EQ("GET, POST, PUT, DELETE", refused.header("Allow")) << target;
  }
  EXPECT_EQ("", calls());
}

}  // namespace
