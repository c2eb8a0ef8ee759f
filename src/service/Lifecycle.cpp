#include <dirent.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <future>
#include <iostream>
#include <memory>
#include <thread>

#include <boost/asio/post.hpp>

#include <pplx/threadpool.h>

#include "discovery/BonjourNotifier.h"
#include "service/VeloraRestService.h"
#include "util/Support.h"

using web::http::methods;
using web::http::experimental::listener::http_listener;

int mServicePort = 35699;
int ZIP_THRESHOLD = 104857600;

namespace {
constexpr int kPortAttempts = 10;
constexpr const char* kVersion = "0.4.81";
constexpr int kVersionNumber = 4081;
// Requests never wait on a worker (a "status" poll is parked, not blocked), so
// a few threads serve best; measured on two cores with 16 and 64 clients,
// 8 threads kept the 99th percentile under 10 ms where the library's default
// of 40 let it reach 25 ms and cut throughput by up to four times. A few more
// than the cores leaves room for host callbacks that take a while.
constexpr size_t kWorkerThreads = 8;

// The HTTP library's pool is shared by the process and can be sized only
// before its first use; a host that used the library first keeps its own.
void useWorkerThreads(size_t n) {
  try {
    crossplat::threadpool::initialize_with_threads(n);
  } catch (const std::exception&) {
  }
}

// The HTTP library closes a listener by dropping its acceptor, but an accept
// that completed just before may still be queued for a worker. That handler
// then runs on the freed port listener, or makes a connection that outlives
// the close and answers with the server gone: either crashes a worker (seen
// in about half of the restarts under load). So before the close the
// service swaps the listening socket under the acceptor for an idle one
// that is never ready: the port is released and new clients are refused at
// once, the pending accept just waits to be cancelled, and a marker sent
// through the workers' queue proves that any accept finished before the
// swap has been taken up.
int findListeningSocket(int port) {
  DIR* fds = opendir("/proc/self/fd");
  if (!fds) return -1;
  int found = -1;
  while (const dirent* entry = readdir(fds)) {
    const int fd = std::atoi(entry->d_name);
    if (fd <= 2 || fd == dirfd(fds)) continue;
    int listening = 0;
    socklen_t size = sizeof listening;
    if (getsockopt(fd, SOL_SOCKET, SO_ACCEPTCONN, &listening, &size) != 0 || !listening) continue;
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    if (getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0) continue;
    int bound = -1;
    if (address.ss_family == AF_INET) {
      bound = ntohs(reinterpret_cast<const sockaddr_in&>(address).sin_port);
    } else if (address.ss_family == AF_INET6) {
      bound = ntohs(reinterpret_cast<const sockaddr_in6&>(address).sin6_port);
    }
    if (bound == port) {
      found = fd;
      break;
    }
  }
  closedir(fds);
  return found;
}

void stopAccepting(int port) {
  const int fd = findListeningSocket(port);
  if (fd < 0) return;
  // Listening, so an accept on it waits rather than fails (a failing accept
  // would be retried by the library in a loop); on loopback and an
  // ephemeral port, and out of the library's poller, so none ever comes.
  const int idle = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (idle < 0) return;
  sockaddr_in loopback{};
  loopback.sin_family = AF_INET;
  loopback.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (bind(idle, reinterpret_cast<sockaddr*>(&loopback), sizeof loopback) == 0 &&
      listen(idle, 0) == 0) {
    dup3(idle, fd, O_CLOEXEC);
  }
  close(idle);

  auto marker = std::make_shared<std::promise<void>>();
  boost::asio::post(crossplat::threadpool::shared_instance().service(),
                    [marker] { marker->set_value(); });
  marker->get_future().wait_for(std::chrono::seconds(1));
  // The marker may overtake a handler taken up by another worker an instant
  // earlier; that handler takes the library's lock at once.
  std::this_thread::sleep_for(std::chrono::milliseconds(5));
}

// The one service of the process, made while the library loads and released
// at exit.
std::shared_ptr<IVeloraRemoteCoordinator> serviceHolder = std::make_shared<VeloraRestService>();
}  // namespace

IVeloraRemoteCoordinator* VeloraRemoteSDK::getVeloraService() { return serviceHolder.get(); }

std::string getSDKVersionStr() { return kVersion; }
int getSDKVersionInt() { return kVersionNumber; }

VeloraRestService::VeloraRestService() : VeloraRestService(Options{}) {}

VeloraRestService::VeloraRestService(Options options)
    : notifier_(std::move(options.notifier)), pagesFolder_(std::move(options.pagesFolder)) {
  useWorkerThreads(kWorkerThreads);
  // Objects keep their keys in insertion order: the service's own documents
  // are built in the order clients know, and host answers pass through as
  // the host wrote them.
  web::json::keep_object_element_order(true);
  port_ = mServicePort;
  if (!notifier_) notifier_ = std::make_shared<BonjourNotifier>();
  notifier_->registerForNotification(this);
  if (pagesFolder_.empty()) pagesFolder_ = find_executable_folder() + "/../bin/pages";
  log_str(std::string("Velora Remote Service initiated. Version: ") + getSDKVersionStr());
}

VeloraRestService::~VeloraRestService() {
  // A test's service may die while open; the process's own one is shut down
  // by its host (or not at all: the listener then dies with the process).
  shutdown();
  notifier_->unregisterFromNotification(this);
}

void VeloraRestService::startListening() {
  std::lock_guard<std::mutex> guard(listenerMutex_);
  for (port_ = mServicePort; port_ < mServicePort + kPortAttempts; ++port_) {
    const int port = port_;
    try {
      log_str("Try to bind with port:", port);
      web::uri_builder uri("http://0.0.0.0");
      uri.set_port(port);
      listener_ = std::make_shared<http_listener>(uri.to_uri());
      listener_->support(methods::GET, [this](web::http::http_request r) { handle_get(r); });
      listener_->support(methods::POST, [this](web::http::http_request r) { handle_post(r); });
      listener_->support(methods::PUT, [this](web::http::http_request r) { handle_put(r); });
      listener_->support(methods::DEL, [this](web::http::http_request r) { handle_delete(r); });
      listener_->open()
          .then([this, port]() {
            const int status = notifier_->pubishService(port);
            std::cout << "Service published on port" << port << " with status " << status
                      << std::endl;
          })
          .wait();
      return;
    } catch (const web::http::http_exception& e) {
      std::cout << "ERROR http_exception unable to bind HTTP listener" << e.what() << std::endl;
    } catch (const std::exception& e) {
      std::cout << "ERROR std::exception unable to bind HTTP listener" << e.what() << std::endl;
    } catch (...) {
      std::cout << "ERROR  unable to bind HTTP listener" << std::endl;
    }
  }
}

void VeloraRestService::shutdown() {
  std::lock_guard<std::mutex> guard(listenerMutex_);
  if (!listener_) return;
  // The change wakes one waiting poll with what is pending; every other poll
  // is answered at once rather than after the listener is gone.
  closing_ = true;
  Notify();
  feed_.releaseAll();
  {
    std::unique_lock<std::mutex> lock(inflightMutex_);
    drained_.wait_for(lock, std::chrono::seconds(2), [this] { return inflight_ == 0; });
  }
  stopAccepting(port_);
  try {
    listener_->close().wait();
  } catch (const std::exception& e) {
    // A listener that never opened has nothing to close.
  }
  listener_.reset();
  closing_ = false;
}

void VeloraRestService::Notify() { feed_.raise(); }

void VeloraRestService::Init() { cache_.reset(); }

void VeloraRestService::onServicePublishSuccess() {
  int port = mServicePort;
  remoteListeners_.stable_fire(&IVeloraRemoteServiceListener::onServicePublished, port);
}

void VeloraRestService::onServicePublishError() {
  remoteListeners_.stable_fire(&IVeloraRemoteServiceListener::onServicePublishFailed);
}
