#include <iostream>
#include <memory>

#include <pplx/threadpool.h>

#include "discovery/BonjourNotifier.h"
#include "service/ServerLifetime.h"
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
  keepServersAfterClose();
  changes_.newEpoch();
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
  changes_.releaseAll();
  {
    std::unique_lock<std::mutex> lock(inflightMutex_);
    drained_.wait_for(lock, std::chrono::seconds(2), [this] { return inflight_ == 0; });
  }
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
