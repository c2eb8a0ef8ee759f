#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cpprest/http_listener.h>
#include <gtest/gtest.h>

#include "support/ServiceFixture.h"

using namespace velora_test;

namespace {

// Keeps a port bound and listening on all interfaces while alive.
class PortBlocker {
 public:
  explicit PortBlocker(int port) : fd_(::socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_ANY);
    addr.sin_port = htons(static_cast<uint16_t>(port));
    EXPECT_EQ(0, ::bind(fd_, reinterpret_cast<sockaddr*>(&addr), sizeof addr)) << port;
    ::listen(fd_, 4);
  }
  ~PortBlocker() { ::close(fd_); }

 private:
  int fd_;
};

class LifecycleTest : public ::testing::Test {
 protected:
  void SetUp() override {
    sut.service->registerForNotification(&remote);
    sut.base = findFreePortBlock();
    mServicePort = sut.base;
  }
  std::string startListening() {
    return captureStdout([this] { sut.service->startListening(); });
  }
  bool serves(int port) { return httpGet(port, "/x").status == 400; }

  ServiceUnderTest sut;
  RecordingRemoteListener remote;
};

TEST_F(LifecycleTest, ServesTheBasePortAndPublishesIt) {
  startListening();
  EXPECT_EQ(sut.base, sut.port());
  EXPECT_EQ(std::vector<int>{sut.base}, sut.notifier->published());
  EXPECT_EQ(std::vector<int>{sut.base}, remote.publishedPorts());
  EXPECT_TRUE(serves(sut.base));
  startListening();  // again: the listener is replaced on the same port
  EXPECT_EQ(sut.base, sut.port());
  EXPECT_TRUE(serves(sut.base));
}

TEST_F(LifecycleTest, BusyBasePortMovesOnButListenersHearTheBasePort) {
  PortBlocker busy(sut.base);
  startListening();
  EXPECT_EQ(sut.base + 1, sut.port());
  // The publisher is given the port really served; the host is told the base.
  EXPECT_EQ(std::vector<int>{sut.base + 1}, sut.notifier->published());
  EXPECT_EQ(std::vector<int>{sut.base}, remote.publishedPorts());
  EXPECT_TRUE(serves(sut.base + 1));
}

TEST_F(LifecycleTest, TenBusyPortsEndQuietlyAfterTenErrorLines) {
  std::vector<std::unique_ptr<PortBlocker>> busy;
  for (int p = sut.base; p < sut.base + 10; ++p) busy.push_back(std::make_unique<PortBlocker>(p));
  const std::string log = startListening();
  const std::string error = "unable to bind HTTP listener";
  int errors = 0;
  for (size_t at = log.find(error); at != std::string::npos; at = log.find(error, at + 1)) ++errors;
  EXPECT_EQ(10, errors) << log;
  EXPECT_TRUE(sut.notifier->published().empty());
  EXPECT_TRUE(remote.publishedPorts().empty());
  EXPECT_EQ(0, remote.failures());
  busy.clear();  // once the ports are free, a later attempt starts from the base
  startListening();
  EXPECT_EQ(sut.base, sut.port());
}

TEST_F(LifecycleTest, FailedPublicationIsPrintedAndServingGoesOn) {
  sut.notifier->result = -65537;
  EXPECT_NE(std::string::npos,
            startListening().find("Service published on port" + std::to_string(sut.base) +
                                  " with status -65537\n"));
  EXPECT_TRUE(remote.publishedPorts().empty());
  EXPECT_TRUE(serves(sut.port()));
}

TEST_F(LifecycleTest, ShutdownClosesOnceAndListeningCanStartAgain) {
  sut.service->shutdown();  // nothing to close yet
  startListening();
  const int port = sut.port();
  ASSERT_TRUE(serves(port));
  sut.service->shutdown();
  EXPECT_EQ(0, httpGet(port, "/x", 1000).status);
  sut.service->shutdown();
  startListening();
  EXPECT_TRUE(serves(sut.port()));
  EXPECT_EQ(2u, remote.publishedPorts().size());
}

// A browser keeps its connection between requests: closing the service must
// end it, not leave it talking to a listener that is gone (answering 404).
TEST_F(LifecycleTest, ShutdownEndsKeptAliveConnections) {
  startListening();
  const int fd = connectTo(sut.port());
  ASSERT_GE(fd, 0);
  const std::string request = "GET /x HTTP/1.1\r\nHost: remote\r\n\r\n";
  ASSERT_GT(::send(fd, request.data(), request.size(), MSG_NOSIGNAL), 0);
  EXPECT_EQ(400, readReply(fd, 2000).status);
  sut.service->shutdown();
  pollfd pfd{fd, POLLIN, 0};
  ASSERT_EQ(1, ::poll(&pfd, 1, 2000)) << "the kept connection was left open";
  char byte;
  EXPECT_LE(::recv(fd, &byte, 1, 0), 0);
  ::close(fd);
  startListening();
  EXPECT_TRUE(serves(sut.port()));
}

// A host may serve paths of its own on the service's port with the same HTTP
// library: they share the port, and it closes with the last.
TEST_F(LifecycleTest, HostListenersShareThePortAndItClosesWithTheLast) {
  startListening();
  const int port = sut.port();
  web::uri_builder uri("http://0.0.0.0");
  uri.set_port(port);
  uri.set_path("/host");
  web::http::experimental::listener::http_listener own(uri.to_uri());
  own.support([](web::http::http_request r) { r.reply(200, "mine"); });
  ASSERT_NO_THROW(own.open().wait());
  EXPECT_EQ("mine", httpGet(port, "/host").body);
  EXPECT_TRUE(serves(port));
  sut.service->shutdown();
  EXPECT_EQ("mine", httpGet(port, "/host").body);
  own.close().wait();
  EXPECT_EQ(0, httpGet(port, "/host", 1000).status);
  startListening();
  EXPECT_TRUE(serves(sut.port()));
}

}  // namespace
