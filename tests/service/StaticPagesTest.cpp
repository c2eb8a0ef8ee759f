#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <mutex>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "support/ServiceFixture.h"

using namespace velora_test;

namespace {

// Decides page requests for files outside the pages folder.
class PageGate : public NullVeloraLibraryServiceListener {
 public:
  std::atomic<bool> allow{false};
  std::atomic<int> asked{0};
  std::string lastPath() {
    std::lock_guard<std::mutex> lock(mutex_);
    return lastPath_;
  }
  void onPageServed(const char*& path, bool& allowed) override {
    std::lock_guard<std::mutex> lock(mutex_);
    lastPath_ = path;
    ++asked;
    allowed = allow;
  }

 private:
  std::mutex mutex_;
  std::string lastPath_;
};

class StaticPagesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    sut.pages.write("index.html", "<html>remote</html>");
    sut.pages.write("sub/nested.html", "nested");
    sut.service->registerForNotification(&gate);
    port = sut.start();
  }

  ServiceUnderTest sut;
  PageGate gate;
  int port = 0;
};

constexpr const char* kMinutes = "public, max-age=300";

TEST_F(StaticPagesTest, PagesAreServedWithTheirContentTypeAndCaching) {
  // Validators a browser sends with a cached copy get the whole file anyway.
  const HttpReply index = httpRequest(port, "GET", "/", "", 5000,
                                      "If-None-Match: *\r\nIf-Modified-Since: Fri, 1 Jan 2100 "
                                      "00:00:00 GMT\r\n");
  EXPECT_EQ(200, index.status);
  EXPECT_EQ("<html>remote</html>", index.body);
  EXPECT_EQ("text/html", index.header("Content-Type"));
  EXPECT_EQ("no-cache", index.header("Cache-Control")) << "an updated remote shows at once";
  EXPECT_EQ("", index.header("Access-Control-Allow-Origin")) << "a file is not a JSON reply";
  EXPECT_EQ("nested", httpGet(port, "/sub/nested%2Ehtml").body);
  const std::string png("\x89PNG\r\n\x1a\n\0\0", 10);
  for (const auto& [file, type, caching] :
       std::initializer_list<std::tuple<const char*, const char*, const char*>>{
           {"app.js", "application/javascript", kMinutes},
           {"sw.js", "application/javascript", "no-cache"},
           {"app.3f9a2c1b.js", "application/javascript", "public, max-age=31536000, immutable"},
           {"app.3f9a2c.js", "application/javascript", kMinutes},  // too short for a hash
           {"style.css", "text/css", kMinutes},
           {"shout.JS", "text/html", kMinutes},  // only lower-case extensions are known
           {"img/cover.png", "image/png", kMinutes}}) {
    sut.pages.write(file, png);
    const HttpReply reply = httpGet(port, std::string("/") + file);
    EXPECT_EQ(type, reply.header("Content-Type")) << file;
    EXPECT_EQ(caching, reply.header("Cache-Control")) << file;
    EXPECT_EQ(png, reply.body) << file;
  }
  EXPECT_EQ(0, gate.asked.load());
}

TEST_F(StaticPagesTest, UnknownPathsAreAnsweredWithTheDecodedPath) {
  const HttpReply missing = httpGet(port, "/no%20such%20page?x=1");
  EXPECT_EQ(400, missing.status);
  EXPECT_EQ("\"/no such page\"", missing.body);
  EXPECT_EQ("application/json", missing.header("Content-Type"));
  EXPECT_EQ("*", missing.header("Access-Control-Allow-Origin"));
  EXPECT_EQ("*", missing.header("Access-Control-Allow-Methods"));
  EXPECT_EQ("Origin,Content-Type,Accept,X-Requested-With",
            missing.header("Access-Control-Allow-Headers"));
  EXPECT_EQ(400, httpGet(port, "/sub").status) << "a folder is not a page";
  std::filesystem::remove(sut.pages.path() + "/index.html");
  EXPECT_EQ("\"/\"", httpGet(port, "/").body);
}

TEST_F(StaticPagesTest, NothingOutsideThePagesFolderIsServedFromIt) {
  TempDir outside;  // beside the pages folder, reachable only by climbing out
  const std::filesystem::path up =
      std::filesystem::relative(outside.write("secret.txt", "do not serve"),
                                sut.pages.path());  // ../velora-test-x/secret.txt
  const std::string beside = up.lexically_relative("..").string();
  for (const std::string& target :
       {"/" + up.string(), "/%2e%2e/" + beside, "/sub/../../" + beside, "/..%2F" + beside}) {
    const HttpReply reply = httpGet(port, target);
    EXPECT_NE(200, reply.status) << target;
    EXPECT_EQ(std::string::npos, reply.body.find("do not serve")) << target;
  }
  // A NUL byte cannot cut a name short to reach another file.
  EXPECT_EQ(400, httpGet(port, "/index.html%00.png").status);
}

TEST_F(StaticPagesTest, HostDecidesOnFilesNamedByTheirOwnPath) {
  TempDir elsewhere;
  const std::string file = elsewhere.write("cover.jpg", "jpegbytes");
  const HttpReply refused = httpGet(port, file);
  EXPECT_EQ(403, refused.status);
  EXPECT_EQ("", refused.body);
  EXPECT_EQ(file, gate.lastPath());
  gate.allow = true;
  const HttpReply served = httpGet(port, file);
  EXPECT_EQ(200, served.status);
  EXPECT_EQ("jpegbytes", served.body);
  EXPECT_EQ("image/jpeg", served.header("Content-Type"));
  EXPECT_EQ(kMinutes, served.header("Cache-Control"));
  EXPECT_NE(200, httpGet(port, elsewhere.path()).status) << "allowing a folder streams nothing";
  EXPECT_EQ(200, httpGet(port, "/index.html").status);
}

// More keep-alive clients than the service has workers, each asking for a
// large page again and again: every reply is whole and the service goes on.
TEST_F(StaticPagesTest, ManyPagesAtOnceAreAllServedAndTheServiceGoesOn) {
  std::string page;
  for (int i = 0; page.size() < 100 * 1024; ++i) page += "<p>line " + std::to_string(i) + "</p>\n";
  sut.pages.write("big.html", page);
  std::atomic<int> whole{0};
  std::vector<std::thread> clients;
  for (int c = 0; c < 16; ++c) {
    clients.emplace_back([&] {
      const int fd = connectTo(port);
      const std::string request = "GET /big.html HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n";
      for (int i = 0; i < 20 && fd >= 0; ++i) {
        if (::send(fd, request.data(), request.size(), MSG_NOSIGNAL) < 0) break;
        const HttpReply reply = readReply(fd);
        if (reply.status != 200 || reply.body != page) break;
        ++whole;
      }
      ::close(fd);
    });
  }
  for (auto& t : clients) t.join();
  EXPECT_EQ(16 * 20, whole.load());
  EXPECT_EQ("<html>remote</html>", httpGet(port, "/index.html", 3000).body);
  EXPECT_EQ(200, httpGet(port, "/ping", 3000).status);
}

}  // namespace
