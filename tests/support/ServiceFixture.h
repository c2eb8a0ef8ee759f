#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "host/Observable.h"
#include "service/VeloraRestService.h"
#include "support/TestHttp.h"
#include "velora/VeloraRemoteSDK.h"

namespace velora_test {

// A publisher off the network: records each port and answers `result`.
class FakeNotifier : public IServiceNotifier {
 public:
  int result = 0;

  int pubishService(int port) override {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      published_.push_back(port);
    }
    if (result == 0) listeners_.stable_fire(&IServiceNotifierListener::onServicePublishSuccess);
    return result;
  }
  int registerForNotification(IServiceNotifierListener* l) override {
    return listeners_.subscribe(l);
  }
  int unregisterFromNotification(IServiceNotifierListener* l) override {
    return listeners_.cancel_subscription(l);
  }
  std::vector<int> published() {
    std::lock_guard<std::mutex> lock(mutex_);
    return published_;
  }

 private:
  detail::ObservableBase<IServiceNotifierListener> listeners_;
  std::mutex mutex_;
  std::vector<int> published_;
};

class RecordingRemoteListener : public NullVeloraRemoteServiceListener {
 public:
  void onServicePublished(int& port) override {
    std::lock_guard<std::mutex> lock(mutex_);
    publishedPorts_.push_back(port);
  }
  void onServicePublishFailed() override {
    std::lock_guard<std::mutex> lock(mutex_);
    ++failures_;
  }
  std::vector<int> publishedPorts() {
    std::lock_guard<std::mutex> lock(mutex_);
    return publishedPorts_;
  }
  int failures() {
    std::lock_guard<std::mutex> lock(mutex_);
    return failures_;
  }

 private:
  std::mutex mutex_;
  std::vector<int> publishedPorts_;
  int failures_ = 0;
};

// A service of the test's own, with a fake publisher and a temporary pages folder.
class ServiceUnderTest {
 public:
  ServiceUnderTest()
      : notifier(std::make_shared<FakeNotifier>()),
        service(std::make_unique<VeloraRestService>(
            VeloraRestService::Options{notifier, pages.path()})) {}

  // Serves from a free base port; returns the port served. Another process
  // may take the base before the bind, so a moved service starts over.
  int start() {
    for (int attempt = 1;; ++attempt) {
      base = findFreePortBlock();
      mServicePort = base;
      captureStdout([this] { service->startListening(); });
      if (service->currentPort() == base || attempt == 5) return service->currentPort();
      service->shutdown();
    }
  }
  int port() const { return service->currentPort(); }

  TempDir pages;
  std::shared_ptr<FakeNotifier> notifier;
  std::unique_ptr<VeloraRestService> service;
  int base = 0;
};

}  // namespace velora_test
