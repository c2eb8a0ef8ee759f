#include <atomic>
#include <filesystem>

#include <gtest/gtest.h>

#include "support/ServiceFixture.h"

using namespace velora_test;

namespace {

// Decides page requests for files outside the pages folder.
class PageGate : public NullVeloraLibraryServiceListener {
 public:
  std::atomic<bool> allow{false};
  std::string lastPath() {
    std::lock_guard<std::mutex> lock(mutex_);
    return lastPath_;
  }
  int asked() { return asked_.load(); }

  void onPageServed(const char*& path, bool& allowed) override {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      lastPath_ = path;
    }
    ++asked_;
    allowed = allow.load();
  }

 private:
  std::mutex mutex_;
  std::string lastPath_;
  std::atomic<int> asked_{0};
};

class StaticPagesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    sut.pages.write("index.html", "<html>remote</html>");
    sut.pages.write("app.js", "console.log(1);");
    sut.pages.write("style.css", "body{}");
    sut.pages.write("img/cover.png", std::string("\x89PNG\r\n\x1a\n\0\0", 10));
    sut.pages.write("shout.JS", "x");
    sut.pages.write("sub/nested.html", "nested");
    sut.service->registerForNotification(&gate);
    port = sut.start();
  }

  ServiceUnderTest sut;
  PageGate gate;
  int port = 0;
};

TEST_F(StaticPagesTest, PagesAreServedWithTheirContentType) {
  const HttpReply index = httpGet(port, "/");
  EXPECT_EQ(200, index.status);
  EXPECT_EQ("<html>remote</html>", index.body);
  EXPECT_EQ("text/html", index.header("Content-Type"));
  // Files are not JSON replies: no cross-origin headers.
  EXPECT_EQ("", index.header("Access-Control-Allow-Origin"));

  EXPECT_EQ("application/javascript", httpGet(port, "/app.js").header("Content-Type"));
  EXPECT_EQ("text/css", httpGet(port, "/style.css").header("Content-Type"));
  EXPECT_EQ("text/html", httpGet(port, "/shout.JS").header("Content-Type"));
  EXPECT_EQ("nested", httpGet(port, "/sub/nested.html").body);
  EXPECT_EQ("nested", httpGet(port, "/sub/nested%2Ehtml").body);

  const HttpReply png = httpGet(port, "/img/cover.png");
  EXPECT_EQ("image/png", png.header("Content-Type"));
  EXPECT_EQ(10u, png.body.size());
  EXPECT_EQ("10", png.header("Content-Length"));
  EXPECT_EQ(0, gate.asked());
}

TEST_F(StaticPagesTest, UnknownPathsAreAnsweredWithTheDecodedPath) {
  const HttpReply missing = httpGet(port, "/no%20such%20page");
  EXPECT_EQ(400, missing.status);
  EXPECT_EQ("\"/no such page\"", missing.body);
  EXPECT_EQ("*", missing.header("Access-Control-Allow-Origin"));

  // A folder is not a page.
  EXPECT_EQ(400, httpGet(port, "/sub").status);
  std::filesystem::remove(sut.pages.path() + "/index.html");
  const HttpReply root = httpGet(port, "/");
  EXPECT_EQ(400, root.status);
  EXPECT_EQ("\"/\"", root.body);
}

TEST_F(StaticPagesTest, NothingOutsideThePagesFolderIsServedFromIt) {
  // A secret beside the pages folder, reachable only by climbing out of it.
  TempDir outside;
  const std::string secret = outside.write("secret.txt", "do not serve");
  const std::filesystem::path relative =
      std::filesystem::relative(secret, sut.pages.path());  // ../velora-test-xxx/secret.txt
  for (const std::string& target :
       {"/" + relative.string(), "/%2e%2e/" + relative.lexically_relative("..").string(),
        "/sub/../../" + relative.lexically_relative("..").string(),
        "/..%2F" + relative.lexically_relative("..").string()}) {
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

  // Allowing a folder does not stream a folder.
  const HttpReply folder = httpGet(port, elsewhere.path());
  EXPECT_NE(200, folder.status);
  EXPECT_EQ(200, httpGet(port, "/app.js").status);
}

TEST_F(StaticPagesTest, OtherMethodsAreAcknowledged) {
  EXPECT_EQ(200, httpRequest(port, "PUT", "/anything", "{}").status);
  EXPECT_EQ(200, httpRequest(port, "DELETE", "/anything").status);
  EXPECT_EQ(403, httpRequest(port, "POST", "/equalizer/setpreset", "{}").status);
}

TEST_F(StaticPagesTest, OddRequestsGetAnAnswerAndServingGoesOn) {
  const std::string huge(16 * 1024, 'a');
  EXPECT_NE(0, httpGet(port, "/" + huge).status);
  EXPECT_NE(0, httpGet(port, "/%zz%%/..%").status);
  EXPECT_NE(0, httpGet(port, "/%ff%fe%00").status);
  EXPECT_EQ(200, httpGet(port, "/app.js").status);
}

}  // namespace
