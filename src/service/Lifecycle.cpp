#include <iostream>
#include <memory>

#include <pplx/threadpool.h>

#include "discovery/BonjourNotifier.h"
#include "service/VeloraRestService.h"
#include "util/Support.h"

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
std::shared_ptr<VeloraRestService> serviceHolder = std::make_shared<VeloraRestService>();
}  // namespace

IVeloraRemoteCoordinator* VeloraRemoteSDK::getVeloraService() { return serviceHolder.get(); }

int setVeloraQueueExtension(IVeloraQueueExtensionListener* listener) {
  return serviceHolder->setQueueExtension(listener);
}

void setVeloraStrictMode(bool enabled, const char* allowedOrigins) {
  serviceHolder->setStrictMode(enabled, allowedOrigins ? allowedOrigins : "");
}

std::string getSDKVersionStr() { return kVersion; }
int getSDKVersionInt() { return kVersionNumber; }

VeloraRestService::VeloraRestService() : VeloraRestService(Options{}) {}

VeloraRestService::VeloraRestService(Options options)
    : pagesFolder_(std::move(options.pagesFolder)),
      pages_(hub_, replies_, pagesFolder_, strict_),
      notifier_(std::move(options.notifier)) {
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
  state_.changes.newEpoch();
  for (port_ = mServicePort; port_ < mServicePort + kPortAttempts; ++port_) {
    const int port = port_;
    try {
      log_str("Try to bind with port:", port);
      transport_.open(port, [this](web::http::http_request r) { router_.handle(std::move(r)); });
      const int status = notifier_->pubishService(port);
      std::cout << "Service published on port" << port << " with status " << status << std::endl;
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
  if (!transport_.isOpen()) return;
  // The change wakes one waiting poll with what is pending; every other poll
  // is answered at once rather than after the listener is gone.
  closing_ = true;
  Notify();
  state_.feed.releaseAll();
  state_.changes.releaseAll();
  replies_.drain(std::chrono::seconds(2));
  transport_.close();
  closing_ = false;
}

void VeloraRestService::onServicePublishSuccess() {
  int port = mServicePort;
  hub_.fire(&IVeloraRemoteServiceListener::onServicePublished, port);
}

void VeloraRestService::onServicePublishError() {
  hub_.fire(&IVeloraRemoteServiceListener::onServicePublishFailed);
}

// The reply helpers send at once; routes return their replies to the router.

void VeloraRestService::returnSuccess(web::http::http_request& request, std::string text) {
  replies_.send(request, Replies::text(web::http::status_codes::OK, std::move(text)));
}

void VeloraRestService::returnFailure(web::http::http_request& request, std::string text,
                                      unsigned short status) {
  replies_.send(request, Replies::text(status, std::move(text)));
}

void VeloraRestService::returnValue(web::http::http_request& request, web::json::value& value,
                                    bool omitNull) {
  replies_.send(request, replies_.fromCache(value, omitNull));
}

void VeloraRestService::returnLibrary(web::http::http_request& request, bool hasToken) {
  replies_.send(request, replies_.library(hasToken));
}

void VeloraRestService::returnSuccessIfNeeded(web::http::http_request& request) {
  if (!request.get_response().is_done()) returnSuccess(request, "");
}
