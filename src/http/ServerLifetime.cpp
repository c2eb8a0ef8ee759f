#include "http/ServerLifetime.h"

#include <dirent.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <cpprest/details/http_server.h>
#include <cpprest/details/http_server_api.h>
#include <cpprest/http_listener.h>

#include "util/Support.h"

namespace web::http::experimental::details {
// The library's own server; exported, though its header is private.
std::unique_ptr<http_server> make_http_asio_server();
}  // namespace web::http::experimental::details

namespace {

using web::http::experimental::details::http_server;
using web::http::experimental::details::http_server_api;
using web::http::experimental::details::make_http_asio_server;
using web::http::experimental::listener::http_listener;
using web::http::experimental::listener::details::http_listener_impl;

// The listener that holds the registry open; it is never bound.
constexpr const char* kAnchorHost = "velora-anchor.invalid";

// The process's TCP sockets whose own port is `port`: the listening one and
// the connections it accepted.
struct PortSockets {
  int listening = -1;
  std::vector<int> connections;
};

int localPort(int fd) {
  sockaddr_storage address{};
  socklen_t length = sizeof address;
  if (getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0) return -1;
  if (address.ss_family == AF_INET) {
    return ntohs(reinterpret_cast<const sockaddr_in&>(address).sin_port);
  }
  if (address.ss_family == AF_INET6) {
    return ntohs(reinterpret_cast<const sockaddr_in6&>(address).sin6_port);
  }
  return -1;
}

bool isListening(int fd) {
  int listening = 0;
  socklen_t size = sizeof listening;
  return getsockopt(fd, SOL_SOCKET, SO_ACCEPTCONN, &listening, &size) == 0 && listening;
}

PortSockets socketsOnPort(int port) {
  PortSockets found;
  DIR* fds = opendir("/proc/self/fd");
  if (!fds) return found;
  while (const dirent* entry = readdir(fds)) {
    const int fd = std::atoi(entry->d_name);
    if (fd <= 2 || fd == dirfd(fds)) continue;
    if (localPort(fd) != port) continue;
    if (isListening(fd)) {
      found.listening = fd;
    } else {
      found.connections.push_back(fd);
    }
  }
  closedir(fds);
  return found;
}

// Puts an idle listening socket where the port's listening socket was: the
// port is released, new clients are refused, and an accept on the descriptor
// finds nothing to take (a failing one would be retried in a loop). The idle
// socket is non-blocking, as the library expects its acceptor to be, and
// outside the library's poller, so it never reports anything.
void parkAcceptor(int fd) {
  const int idle = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (idle < 0) return;
  sockaddr_un address{};
  address.sun_family = AF_UNIX;  // bound to a fresh abstract name
  if (bind(idle, reinterpret_cast<sockaddr*>(&address), sizeof(sa_family_t)) == 0 &&
      listen(idle, 1) == 0) {
    dup3(idle, fd, O_CLOEXEC);
  }
  close(idle);
}

// Shuts every connection of the port down until none is left: each ends
// through its own handler, which sees the end of its stream. Connections
// accepted just before the acceptor was parked show up in a later round.
void endConnections(int port) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(2);
  int quietRounds = 0;
  while (quietRounds < 3 && std::chrono::steady_clock::now() < deadline) {
    const PortSockets sockets = socketsOnPort(port);
    for (int fd : sockets.connections) {
      // The number may have been closed and reused since the scan: act on a
      // copy that is checked to be one of the port's connections still.
      const int copy = fcntl(fd, F_DUPFD_CLOEXEC, 0);
      if (copy < 0) continue;
      if (localPort(copy) == port && !isListening(copy)) ::shutdown(copy, SHUT_RDWR);
      close(copy);
    }
    quietRounds = sockets.connections.empty() ? quietRounds + 1 : 0;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
}

// Everything the registry's server keeps. It lives in static storage and is
// never destroyed, so that what is still queued for a closed server meets
// live memory even while the process exits.
struct Servers {
  struct Port {
    std::unique_ptr<http_server> server;
    std::set<http_listener_impl*> listeners;
  };
  std::mutex mutex;
  std::unique_ptr<http_server> responder = make_http_asio_server();
  std::map<std::string, Port> ports;  // by host:port
  // A closed server keeps its port listener, a few hundred bytes. It stays
  // for the life of the process: work queued for it in the instant before
  // the close may still run on it.
  std::vector<std::unique_ptr<http_server>> retired;
};

std::string hostPort(const web::uri& uri) {
  return utility::conversions::str_tolower(web::uri::decode(uri.host())) + ":" +
         std::to_string(uri.port());
}

class RetainingServer : public http_server {
 public:
  // The servers outlive this object: the registry destroys it only as the
  // process exits, when the sockets go with the process and stopping
  // servers could meet a worker pool already torn down.
  explicit RetainingServer(Servers& servers) : servers_(servers) {}

  pplx::task<void> start() override { return pplx::task_from_result(); }

  pplx::task<void> stop() override { return pplx::task_from_result(); }

  // Listeners on the same host and port share its server, as they would
  // share the library's: each listener's path is its own there.
  pplx::task<void> register_listener(http_listener_impl* listener) override {
    if (listener->uri().host() == kAnchorHost) return pplx::task_from_result();
    const std::string key = hostPort(listener->uri());
    std::lock_guard<std::mutex> lock(servers_.mutex);
    auto it = servers_.ports.find(key);
    if (it == servers_.ports.end()) {
      auto server = make_http_asio_server();
      server->start().wait();
      try {
        server->register_listener(listener).wait();  // binds, or throws
      } catch (...) {
        server->stop().wait();  // nothing ever reached it
        throw;
      }
      it = servers_.ports.emplace(key, Servers::Port{std::move(server), {}}).first;
    } else {
      it->second.server->register_listener(listener).wait();
    }
    it->second.listeners.insert(listener);
    return pplx::task_from_result();
  }

  pplx::task<void> unregister_listener(http_listener_impl* listener) override {
    std::unique_ptr<http_server> server;
    {
      std::lock_guard<std::mutex> lock(servers_.mutex);
      auto it = servers_.ports.find(hostPort(listener->uri()));
      if (it == servers_.ports.end() || it->second.listeners.erase(listener) == 0) {
        return pplx::task_from_result();
      }
      // From here on the server answers the listener's paths 404 and calls
      // none of its handlers.
      it->second.server->unregister_listener(listener).wait();
      if (!it->second.listeners.empty()) return pplx::task_from_result();
      server = std::move(it->second.server);
      servers_.ports.erase(it);
    }
    const int port = listener->uri().port();
    const PortSockets sockets = socketsOnPort(port);
    if (sockets.listening >= 0) parkAcceptor(sockets.listening);
    endConnections(port);
    // With no connection left to race, the library's own stop only cancels
    // the parked accept (freeing the socket it holds for the next client)
    // and closes the idle socket.
    server->stop().wait();
    std::lock_guard<std::mutex> lock(servers_.mutex);
    servers_.retired.push_back(std::move(server));
    return pplx::task_from_result();
  }

  // Answering reads only the reply's own connection, so any of the
  // library's servers sends it, even one made for another listener.
  pplx::task<void> respond(web::http::http_response response) override {
    return servers_.responder->respond(std::move(response));
  }

 private:
  Servers& servers_;
};

bool install() {
  static Servers* const servers = new Servers;
  try {
    http_server_api::register_server_api(std::make_unique<RetainingServer>(*servers));
  } catch (const std::exception&) {
    return false;  // the host's listeners came first
  }
  // Never closed, never destroyed: it must outlive every other listener,
  // including those closed while the process exits.
  static http_listener* const anchor =
      new http_listener(web::uri(std::string("http://") + kAnchorHost + "/"));
  anchor->open().wait();
  return true;
}

}  // namespace

bool keepServersAfterClose() {
  static const bool installed = install();
  return installed;
}
