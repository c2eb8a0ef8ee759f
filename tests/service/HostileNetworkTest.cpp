#include <gtest/gtest.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <thread>

#include "http/RequestReader.h"
#include "support/RoutedService.h"

using namespace velora_test;
using Clock = std::chrono::steady_clock;

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kPlainAllocator = false;
#else
constexpr bool kPlainAllocator = true;
#endif

constexpr const char* kPreset = R"({"name":"Warm","id":3,"paramset":[]})";

void sendAll(int fd, const char* data, size_t size) {
  for (size_t sent = 0; sent < size;) {
    const ssize_t n = ::send(fd, data + sent, size - sent, MSG_NOSIGNAL);
    if (n <= 0) return;  // the service may close before taking it all
    sent += static_cast<size_t>(n);
  }
}

// `head`, then `bodySize` bytes: the preset, padded with many small objects (a
// large document to parse) when `padded`, else with spaces; or only `fill`. The
// body lives in pages of its own, so that this process's heap shows only what
// the service holds.
HttpReply raw(int port, const std::string& head, size_t bodySize = 0, bool padded = false,
              char fill = ' ') {
  const int fd = connectTo(port);
  if (fd < 0) return {};
  sendAll(fd, head.data(), head.size());
  if (bodySize > 0) {
    void* pages =
        mmap(nullptr, bodySize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    char* body = static_cast<char*>(pages);
    const std::string open = R"({"name":"Warm","id":3,"paramset":[],"pad":[)", unit = R"({"a":1},)";
    memset(body, fill, bodySize);
    if (padded && bodySize > open.size() + 3) {
      memcpy(body, open.data(), open.size());
      size_t at = open.size();
      for (; at + unit.size() + 3 <= bodySize; at += unit.size())
        memcpy(body + at, unit.data(), unit.size());
      memcpy(body + at, "0]}", 3);
    } else if (fill == ' ') {
      memcpy(body, kPreset, std::min(strlen(kPreset), bodySize));
    }
    sendAll(fd, body, bodySize);
    munmap(pages, bodySize);
  }
  HttpReply reply = readReply(fd, 10000);
  ::close(fd);
  return reply;
}

std::string head(const std::string& target, const std::string& extra = "") {
  return "GET " + target + " HTTP/1.1\r\nHost: x\r\n" + extra + "\r\n";
}

size_t residentBytes() {
  std::ifstream statm("/proc/self/statm");
  size_t pages = 0, resident = 0;
  statm >> pages >> resident;
  return resident * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

// Whether the peer closed `fd` within `ms`.
bool closedWithin(int fd, int ms) {
  pollfd p{fd, POLLIN, 0};
  if (poll(&p, 1, ms) <= 0) return false;
  char byte;
  return ::recv(fd, &byte, 1, MSG_DONTWAIT) == 0;
}

class HostileNetworkTest : public RoutedService {};

TEST_F(HostileNetworkTest, OversizedRequestsGetTheirStatusAndTheServiceGoesOn) {
  const std::string token = pair(1);
  host.clear();
  const std::string longPath = "/" + std::string(RequestLimits::kLine, 'a');
  std::string manyHeaders;
  for (int i = 0; i < 70; ++i)
    manyHeaders += "X-Filler-" + std::to_string(i) + ": " + std::string(1000, 'v') + "\r\n";
  std::string tinyHeaders;
  for (int i = 0; i < 20000; ++i) tinyHeaders += "A: b\r\n";
  const std::string huge = std::to_string(RequestLimits::kBody + 1);
  const std::string post = "POST /equalizer/setpreset?token=" + token + " HTTP/1.1\r\nHost: x\r\n";
  struct Case {
    const char* name;
    std::string head;
    size_t body;
    int status;
  } cases[] = {
      {"path just under the limit", head(longPath.substr(0, RequestLimits::kLine - 20)), 0, 400},
      {"path over the limit", head(longPath), 0, 414},
      {"70 KB of headers", head("/ping", manyHeaders), 0, 431},
      {"20,000 headers", head("/ping", tinyHeaders), 0, 431},
      {"line ends without CR", "GET /ping HTTP/1.1\nHost: x\n\n", 0, 400},
      {"not HTTP", "\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03\r\n\r\n", 0, 400},
      {"TRACE is not echoed", "TRACE /ping HTTP/1.1\r\nHost: x\r\nCookie: secret\r\n\r\n", 0, 405},
      {"declared body over the limit, no token",
       "POST /equalizer/setpreset HTTP/1.1\r\nHost: x\r\nContent-Length: " + huge + "\r\n\r\n", 0,
       403},
      {"body over the limit, sent", post + "Content-Length: " + huge + "\r\n\r\n",
       RequestLimits::kBody + 1, 200},
      {"chunked body over the limit", post + "Transfer-Encoding: chunked\r\n\r\n2000001\r\n",
       RequestLimits::kBody + 1, 200},
  };
  for (const Case& c : cases) {
    const HttpReply reply = raw(port, c.head, c.body);
    EXPECT_EQ(c.status, reply.status) << c.name;
    EXPECT_EQ(std::string::npos, reply.body.find("secret")) << c.name;
    EXPECT_EQ("\"SUCCESS\"", get("/ping").body) << "after " << c.name;
  }
  // The oversized presets were valid JSON: had they been parsed, they would have fired.
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  EXPECT_EQ(0, host.count("onApplyEQPreset"));
  EXPECT_EQ(200, raw(port, post + "Content-Length: 2000000\r\n\r\n", 2000000).status);
  EXPECT_TRUE(host.waitFor("onApplyEQPreset", 1));
}

TEST_F(HostileNetworkTest, MemoryReturnsAfterLargeRequests) {
  if (!kPlainAllocator) GTEST_SKIP() << "the sanitizers' allocators keep freed memory";
  const std::string token = pair(1);
  const std::string post = "POST /equalizer/setpreset?token=" + token + " HTTP/1.1\r\nHost: x\r\n";
  raw(port, post + "Content-Length: 100\r\n\r\n", 100);
  const size_t baseline = residentBytes();
  for (size_t size : {size_t{1} << 21, size_t{30} << 20, size_t{6} << 20}) {
    const std::string length = "Content-Length: " + std::to_string(size) + "\r\n\r\n";
    EXPECT_EQ(200, raw(port, post + length, size, true).status);
  }
  EXPECT_EQ(414, raw(port, "GET /", 16 << 20, false, 'p').status);
  ASSERT_TRUE(host.waitFor("onApplyEQPreset", 3));
  size_t now = residentBytes();
  for (auto until = Clock::now() + std::chrono::seconds(5);
       now > baseline + (20 << 20) && Clock::now() < until;) {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    now = residentBytes();
  }
  EXPECT_LT(now, baseline + (20 << 20)) << "baseline " << baseline;
}

TEST_F(HostileNetworkTest, PipelinedRequestsAreAnsweredInOrder) {
  sut.pages.write("page.html", "hello world");
  const int fd = connectTo(port);
  const std::string five = head("/ping") + "HEAD /page.html HTTP/1.1\r\nHost: x\r\n\r\n" +
                           head("/first") + head("/second", "Content-Length: 0\r\n") +
                           head("/ping", "Connection: close\r\n");
  sendAll(fd, five.data(), five.size());
  std::string all;
  char buffer[4096];
  for (ssize_t n; (n = ::recv(fd, buffer, sizeof buffer, 0)) > 0;) all.append(buffer, n);
  ::close(fd);
  size_t at = 0;
  for (const char* body :
       {"\"SUCCESS\"", "Content-Length: 11", "\"/first\"", "\"/second\"", "\"SUCCESS\""}) {
    const size_t found = all.find(body, at);
    ASSERT_NE(std::string::npos, found) << body << " in\n" << all;
    at = found + 1;
  }
  // The page's headers, and no body: the next reply follows them at once.
  const size_t page = all.find("\r\n\r\n", all.find("Content-Length: 11"));
  EXPECT_EQ(0, all.compare(page + 4, 9, "HTTP/1.1 ")) << all;
}

TEST_F(HostileNetworkTest, ConnectionsThatSendNoHeadAreClosed) {
  const int silent = connectTo(port);
  const int partial = connectTo(port);
  sendAll(partial, "GET /ping HTTP/1.1\r\n", 20);
  const int kept = connectTo(port);  // answered, then idle well under a minute
  const std::string ping = head("/ping");
  sendAll(kept, ping.data(), ping.size());
  EXPECT_EQ(200, readReply(kept).status);
  const auto start = Clock::now();
  EXPECT_TRUE(closedWithin(silent, 13000));
  EXPECT_TRUE(closedWithin(partial, 2000));
  EXPECT_GE(Clock::now() - start, std::chrono::seconds(8));
  EXPECT_FALSE(closedWithin(kept, 0));
  sendAll(kept, ping.data(), ping.size());
  EXPECT_EQ(200, readReply(kept).status);
  for (int fd : {silent, partial, kept}) ::close(fd);
}

TEST_F(HostileNetworkTest, NearTheDescriptorLimitNewConnectionsAreRefusedAtOnce) {
  rlimit saved{};
  ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &saved));
  const int inUse = connectTo(port);
  const std::string ping = head("/ping");
  sendAll(inUse, ping.data(), ping.size());
  ASSERT_EQ(200, readReply(inUse).status);
  // New descriptors take the lowest free numbers: room for about 20 more
  // connections, each two descriptors in this process.
  const int lowestFree = dup(0);
  ::close(lowestFree);
  rlimit tight = saved;
  tight.rlim_cur = static_cast<rlim_t>(lowestFree) + 64 + 40;
  ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &tight));
  // Each kept-alive connection is answered before the next one opens, so
  // that the service takes its descriptors as they come.
  std::vector<int> opened;
  bool refusedAtOnce = false;
  for (int fd; !refusedAtOnce && opened.size() < 100 && (fd = connectTo(port)) >= 0;) {
    opened.push_back(fd);
    sendAll(fd, ping.data(), ping.size());
    const auto asked = Clock::now();
    if (readReply(fd, 3000).status == 200) continue;
    refusedAtOnce = Clock::now() - asked < std::chrono::seconds(1);
    break;
  }
  setrlimit(RLIMIT_NOFILE, &saved);
  EXPECT_TRUE(refusedAtOnce) << opened.size() << " connections";
  EXPECT_GE(opened.size(), 8u);
  EXPECT_FALSE(closedWithin(opened.front(), 0));
  sendAll(inUse, ping.data(), ping.size());
  EXPECT_EQ(200, readReply(inUse).status);
  for (int fd : opened) ::close(fd);
  ::close(inUse);
  EXPECT_EQ(200, get("/ping").status);
}

}  // namespace
