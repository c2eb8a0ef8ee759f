#include <functional>

#include <gtest/gtest.h>

#include "support/ServiceFixture.h"

using namespace velora_test;
using web::http::http_request;
using web::json::value;

namespace {

// A bare listener whose every GET is answered by `handler`, so the reply
// helpers can be driven one at a time and read back over a real connection.
class ReplyBench {
 public:
  explicit ReplyBench(std::function<void(http_request&)> handler)
      : port_(findFreePortBlock(1)), listener_("http://127.0.0.1:" + std::to_string(port_)) {
    listener_.support(web::http::methods::GET,
                      [handler](http_request request) { handler(request); });
    listener_.open().wait();
  }
  ~ReplyBench() { listener_.close().wait(); }
  HttpReply get() { return httpGet(port_, "/"); }

 private:
  int port_;
  web::http::experimental::listener::http_listener listener_;
};

void expectCorsHeaders(const HttpReply& reply) {
  EXPECT_EQ("*", reply.header("Access-Control-Allow-Origin"));
  EXPECT_EQ("*", reply.header("Access-Control-Allow-Methods"));
  EXPECT_EQ("Origin,Content-Type,Accept,X-Requested-With",
            reply.header("Access-Control-Allow-Headers"));
}

class RepliesTest : public ::testing::Test {
 protected:
  HttpReply replyWith(std::function<void(VeloraRestService&, http_request&)> helper) {
    ReplyBench bench([&](http_request& r) { helper(*sut.service, r); });
    return bench.get();
  }
  ServiceUnderTest sut;
};

TEST_F(RepliesTest, SuccessIsABareJsonStringWithCorsHeaders) {
  const HttpReply reply = replyWith([](auto& s, auto& r) { s.returnSuccess(r, "SUCCESS"); });
  EXPECT_EQ(200, reply.status);
  EXPECT_EQ("\"SUCCESS\"", reply.body);
  EXPECT_EQ("application/json", reply.header("Content-Type"));
  expectCorsHeaders(reply);
}

TEST_F(RepliesTest, FailureCarriesTheGivenStatusAndText) {
  const HttpReply reply =
      replyWith([](auto& s, auto& r) { s.returnFailure(r, "handlePlayerPause FAILED", 401); });
  EXPECT_EQ(401, reply.status);
  EXPECT_EQ("\"handlePlayerPause FAILED\"", reply.body);
  expectCorsHeaders(reply);

  const HttpReply quoted =
      replyWith([](auto& s, auto& r) { s.returnFailure(r, "say \"hi\"\n", 404); });
  EXPECT_EQ(404, quoted.status);
  EXPECT_EQ("\"say \\\"hi\\\"\\n\"", quoted.body);
}

TEST_F(RepliesTest, EmptySuccessOnlyWhenNothingWasSent) {
  const HttpReply silent = replyWith([](auto& s, auto& r) { s.returnSuccessIfNeeded(r); });
  EXPECT_EQ(200, silent.status);
  EXPECT_EQ("\"\"", silent.body);
  expectCorsHeaders(silent);

  const HttpReply answered = replyWith([](auto& s, auto& r) {
    s.returnFailure(r, "Ping FAILED", 401);
    s.returnSuccessIfNeeded(r);
  });
  EXPECT_EQ(401, answered.status);
  EXPECT_EQ("\"Ping FAILED\"", answered.body);
}

TEST_F(RepliesTest, NullValueIsEmptyOnlyWhenAskedTo) {
  value null;
  const HttpReply omitted = replyWith([&](auto& s, auto& r) { s.returnValue(r, null, true); });
  EXPECT_EQ(200, omitted.status);
  EXPECT_EQ("", omitted.body);
  expectCorsHeaders(omitted);

  const HttpReply kept = replyWith([&](auto& s, auto& r) { s.returnValue(r, null, false); });
  EXPECT_EQ("null", kept.body);

  value doc = value::parse(R"({"b":1,"a":[true,"x"]})");
  const HttpReply object = replyWith([&](auto& s, auto& r) { s.returnValue(r, doc, true); });
  EXPECT_EQ(R"({"b":1,"a":[true,"x"]})", object.body);
}

TEST_F(RepliesTest, LocalLibraryAnswerLeavesWithoutArtwork) {
  sut.service->Init();
  value page = value::parse(
      R"({"tracks":[{"id":"t1","artworkdata":{"imagedata":"AAAA"}},{"id":"t2"}],"etag":"e"})");
  {
    std::lock_guard<std::mutex> lock(sut.service->cache().stateMutex);
    sut.service->cache().slots.localLibrary = page;
  }
  value sent = page;
  const HttpReply reply = replyWith([&](auto& s, auto& r) {
    std::lock_guard<std::mutex> lock(s.cache().stateMutex);
    s.returnValue(r, sent, false);
  });
  const value body = value::parse(reply.body);
  EXPECT_TRUE(body.at("tracks").at(0).at("artworkdata").is_null());
  EXPECT_TRUE(body.at("tracks").at(1).at("artworkdata").is_null());

  // Any other value goes out untouched.
  value other = value::parse(R"({"artwork":"x","artworkdata":{"id":"1"}})");
  const HttpReply untouched = replyWith([&](auto& s, auto& r) { s.returnValue(r, other, false); });
  EXPECT_EQ(R"({"artwork":"x","artworkdata":{"id":"1"}})", untouched.body);
}

TEST_F(RepliesTest, LibraryGoesOnlyToClientsWithoutToken) {
  sut.service->Init();
  {
    std::lock_guard<std::mutex> lock(sut.service->cache().stateMutex);
    sut.service->cache().docs.library["albums"] = value::array();
  }
  const HttpReply plain = replyWith([](auto& s, auto& r) { s.returnLibrary(r, false); });
  EXPECT_EQ(200, plain.status);
  EXPECT_EQ(R"({"albums":[]})", plain.body);
  expectCorsHeaders(plain);

  const HttpReply withToken = replyWith([](auto& s, auto& r) { s.returnLibrary(r, true); });
  EXPECT_EQ(200, withToken.status);
  EXPECT_EQ("", withToken.body);
  EXPECT_EQ("", withToken.header("Access-Control-Allow-Origin"));
}

TEST(ContentTypes, ExtensionsMatchExactly) {
  const std::pair<const char*, const char*> cases[] = {
      {"/index.html", "text/html"},  {"/app.js", "application/javascript"},
      {"/app.JS", "text/html"},      {"/style.css", "text/css"},
      {"/cover.png", "image/png"},   {"/cover.jpg", "image/jpeg"},
      {"/cover.jpeg", "text/html"},  {"/README", "text/html"},
      {"/dir.v2/file", "text/html"}, {"", "text/html"},
  };
  for (const auto& [path, type] : cases) {
    EXPECT_EQ(type, VeloraRestService::getContentType(path)) << path;
  }
}

TEST(DeleteArtworkData, EveryObjectAtAnyDepthLosesItsPictures) {
  value v = value::parse(
      R"({"artworkdata":{"imagedata":"x"},"albums":[{"tracks":[{"id":1},7,"s"]}],"n":null})");
  deleteARD(v);
  EXPECT_TRUE(v.at("artworkdata").is_null());
  EXPECT_TRUE(v.at("albums").at(0).at("artworkdata").is_null());
  EXPECT_TRUE(v.at("albums").at(0).at("tracks").at(0).at("artworkdata").is_null());
  EXPECT_EQ(7, v.at("albums").at(0).at("tracks").at(1).as_integer());
  EXPECT_TRUE(v.at("n").is_null());

  value scalar = value::number(3);
  deleteARD(scalar);
  EXPECT_EQ(3, scalar.as_integer());
}

}  // namespace
