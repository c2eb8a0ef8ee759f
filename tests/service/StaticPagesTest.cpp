#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

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

// Asks for `target` `times` over one keep-alive connection, as a browser
// does; counts the replies that are 200 with exactly `expected` as body.
int pagesOverOneConnection(int port, const std::string& target, const std::string& expected,
                           int times) {
  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  timeval timeout{5, 0};
  setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
  sockaddr_in a{};
  a.sin_family = AF_INET;
  a.sin_port = htons(static_cast<uint16_t>(port));
  a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  int whole = 0;
  if (connect(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) == 0) {
    const std::string request = "GET " + target + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n";
    std::string buffer;
    char chunk[16384];
    for (int i = 0; i < times; ++i) {
      if (send(fd, request.data(), request.size(), MSG_NOSIGNAL) < 0) break;
      size_t end;
      bool closed = false;
      while ((end = buffer.find("\r\n\r\n")) == std::string::npos && !closed) {
        const ssize_t n = recv(fd, chunk, sizeof chunk, 0);
        closed = n <= 0;
        if (!closed) buffer.append(chunk, static_cast<size_t>(n));
      }
      if (closed) break;
      const std::string head = buffer.substr(0, end);
      const auto at = head.find("Content-Length: ");
      const size_t length = at == std::string::npos ? 0 : std::stoul(head.substr(at + 16));
      while (buffer.size() < end + 4 + length && !closed) {
        const ssize_t n = recv(fd, chunk, sizeof chunk, 0);
        closed = n <= 0;
        if (!closed) buffer.append(chunk, static_cast<size_t>(n));
      }
      if (closed) break;
      if (head.rfind("HTTP/1.1 200", 0) == 0 && buffer.compare(end + 4, length, expected) == 0)
        ++whole;
      buffer.erase(0, end + 4 + length);
    }
  }
  close(fd);
  return whole;
}

TEST_F(StaticPagesTest, ManyPagesAtOnceAreAllServedAndTheServiceGoesOn) {
  // More keep-alive clients at once than the service has worker threads,
  // each asking for a page of some size again and again: every one gets the
  // whole page each time, and the service still answers afterwards.
  std::string page;
  for (int i = 0; page.size() < 100 * 1024; ++i) page += "<p>line " + std::to_string(i) + "</p>\n";
  sut.pages.write("big.html", page);
  std::atomic<int> whole{0};
  std::vector<std::thread> clients;
  for (int c = 0; c < 16; ++c) {
    clients.emplace_back([&] { whole += pagesOverOneConnection(port, "/big.html", page, 20); });
  }
  for (auto& t : clients) t.join();
  EXPECT_EQ(16 * 20, whole.load());
  EXPECT_EQ("<html>remote</html>", httpGet(port, "/index.html", 3000).body);
  EXPECT_EQ(200, httpGet(port, "/ping", 3000).status);
}

}  // namespace
