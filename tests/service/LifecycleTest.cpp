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

// Keeps a TCP port busy (bound and listening on all interfaces) while alive.
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

int countOccurrences(const std::string& text, const std::string& needle) {
  int n = 0;
  for (size_t at = text.find(needle); at != std::string::npos; at = text.find(needle, at + 1)) {
    ++n;
  }
  return n;
}

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

  ServiceUnderTest sut;
  RecordingRemoteListener remote;
};

TEST_F(LifecycleTest, ServesTheBasePortAndPublishesIt) {
  const std::string log = startListening();
  EXPECT_EQ(sut.base, sut.port());
  EXPECT_NE(std::string::npos,
            log.find("Try to bind with port: " + std::to_string(sut.base) + "\n"));
  EXPECT_NE(std::string::npos,
            log.find("Service published on port" + std::to_string(sut.base) + " with status 0\n"));
  EXPECT_EQ(std::vector<int>{sut.base}, sut.notifier->published());
  EXPECT_EQ(std::vector<int>{sut.base}, remote.publishedPorts());
  EXPECT_EQ(400, httpGet(sut.port(), "/anything").status);
  startListening();  // again: the listener is replaced on the same port
  EXPECT_EQ(sut.base, sut.port());
  EXPECT_EQ(400, httpGet(sut.port(), "/x").status);
}

TEST_F(LifecycleTest, BusyBasePortMovesOnButListenersHearTheBasePort) {
  PortBlocker busy(sut.base);
  const std::string log = startListening();
  EXPECT_EQ(sut.base + 1, sut.port());
  EXPECT_EQ(2, countOccurrences(log, "Try to bind with port: "));
  EXPECT_EQ(1, countOccurrences(log, "unable to bind HTTP listener"));
  // The publisher is given the port really served; the host is told the base.
  EXPECT_EQ(std::vector<int>{sut.base + 1}, sut.notifier->published());
  EXPECT_EQ(std::vector<int>{sut.base}, remote.publishedPorts());
  EXPECT_EQ(400, httpGet(sut.base + 1, "/anything").status);
}

TEST_F(LifecycleTest, TenBusyPortsEndQuietlyAfterTenErrorLines) {
  std::vector<std::unique_ptr<PortBlocker>> busy;
  for (int p = sut.base; p < sut.base + 10; ++p) busy.push_back(std::make_unique<PortBlocker>(p));
  const std::string log = startListening();
  EXPECT_EQ(10, countOccurrences(log, "Try to bind with port: "));
  EXPECT_EQ(10, countOccurrences(log, "unable to bind HTTP listener"));
  EXPECT_EQ(0, countOccurrences(log, "Service published"));
  EXPECT_EQ(sut.base + 10, sut.port());
  EXPECT_TRUE(sut.notifier->published().empty());
  EXPECT_TRUE(remote.publishedPorts().empty());
  EXPECT_EQ(0, remote.failures());
  // A later attempt, once the ports are free again, succeeds from the base.
  busy.clear();
  startListening();
  EXPECT_EQ(sut.base, sut.port());
}

TEST_F(LifecycleTest, FailedPublicationIsPrintedAndServingGoesOn) {
  sut.notifier->result = -65537;
  const std::string log = startListening();
  EXPECT_NE(std::string::npos, log.find("Service published on port" + std::to_string(sut.base) +
                                        " with status -65537\n"));
  EXPECT_TRUE(remote.publishedPorts().empty());
  EXPECT_EQ(400, httpGet(sut.port(), "/anything").status);
}

TEST_F(LifecycleTest, ShutdownClosesOnceAndListeningCanStartAgain) {
  sut.service->shutdown();  // nothing to close yet

  startListening();
  const int port = sut.port();
  ASSERT_EQ(400, httpGet(port, "/x").status);
  sut.service->shutdown();
  EXPECT_EQ(0, httpGet(port, "/x", 1000).status);
  sut.service->shutdown();

  startListening();
  EXPECT_EQ(400, httpGet(sut.port(), "/x").status);
  EXPECT_EQ(2u, remote.publishedPorts().size());
}

// A browser keeps its connections open between requests. Closing the
// service must end them, not leave them talking to a listener that is gone
// (which would answer 404 even after the service is back).
TEST_F(LifecycleTest, ShutdownEndsKeptAliveConnections) {
  startListening();
  const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in addr{};
  addr.sin_family = AF_INET;
  addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  addr.sin_port = htons(static_cast<uint16_t>(sut.port()));
  ASSERT_EQ(0, ::connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr));
  const std::string request = "GET /x HTTP/1.1\r\nHost: remote\r\n\r\n";
  ASSERT_EQ(static_cast<ssize_t>(request.size()),
            ::send(fd, request.data(), request.size(), MSG_NOSIGNAL));
  // The whole reply (head and body may come in separate writes), and the
  // connection stays open.
  std::string reply;
  char buffer[4096];
  while (reply.find("\"/x\"") == std::string::npos) {
    pollfd pfd{fd, POLLIN, 0};
    ASSERT_EQ(1, ::poll(&pfd, 1, 2000)) << reply;
    const ssize_t n = ::recv(fd, buffer, sizeof buffer, 0);
    ASSERT_GT(n, 0) << reply;
    reply.append(buffer, static_cast<size_t>(n));
  }
  EXPECT_EQ(0u, reply.find("HTTP/1.1 400"));

  sut.service->shutdown();
  pollfd pfd{fd, POLLIN, 0};
  ASSERT_EQ(1, ::poll(&pfd, 1, 2000)) << "the kept connection was left open";
  char byte;
  EXPECT_LE(::recv(fd, &byte, 1, 0), 0);
  ::close(fd);

  startListening();
  EXPECT_EQ(400, httpGet(sut.port(), "/x").status);
}

// A host may serve paths of its own on the service's port with listeners of
// the same HTTP library: they share the port, and it closes with the last.
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
  EXPECT_EQ(400, httpGet(port, "/x").status);
  sut.service->shutdown();
  EXPECT_EQ("mine", httpGet(port, "/host").body);
  own.close().wait();
  EXPECT_EQ(0, httpGet(port, "/host", 1000).status);

  startListening();
  EXPECT_EQ(400, httpGet(sut.port(), "/x").status);
}

TEST(ServiceConstruction, LogsItsVersionAndTheProcessHasOneService) {
  std::unique_ptr<VeloraRestService> own;
  const std::string log = captureStdout([&] {
    own = std::make_unique<VeloraRestService>(
        VeloraRestService::Options{std::make_shared<FakeNotifier>(), ""});
  });
  EXPECT_EQ("Velora Remote Service initiated. Version: 0.4.81\n", log);
  IVeloraRemoteCoordinator* service = VeloraRemoteSDK::getVeloraService();
  ASSERT_NE(nullptr, service);
  EXPECT_EQ(service, VeloraRemoteSDK::getVeloraService());
  EXPECT_EQ(service->getLibraryService(), service->getLibraryService());
  EXPECT_NE(nullptr, service->getSettingsService());
  EXPECT_EQ("0.4.81", getSDKVersionStr());
  EXPECT_EQ(4081, getSDKVersionInt());
  EXPECT_EQ(104857600, ZIP_THRESHOLD);
}

}  // namespace
