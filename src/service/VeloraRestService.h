#pragma once

// The process's remote-control service, as the host sees it: the service
// interfaces and their setters. The work is done by small units it owns,
// from the bottom up: the listener hub (host/), the state store with its two
// change feeds and the connections (host/), the replies, the transport and
// the route rows (http/), the library encoder (library/) and the router
// (service/), which runs the route tables of every area.

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

#include "discovery/ServiceNotifier.h"
#include "host/Connections.h"
#include "host/ListenerHub.h"
#include "host/StateStore.h"
#include "http/Replies.h"
#include "http/StaticPages.h"
#include "http/Transport.h"
#include "library/LibraryEncoder.h"
#include "service/Setters.h"
#include "service/Router.h"
#include "velora/VeloraRemoteSDK.h"
#include "velora/VeloraStrictMode.h"

#define VELORA_REGISTRY(L)                                                 \
  int registerForNotification(L* l) override { return hub_.subscribe(l); } \
  int unregisterFromNotification(L* l) override { return hub_.cancel(l); }
#define VELORA_DECLARE_SETTER(name, params) void name params override;
#define VELORA_DECLARE_ANSWER(setter, ...) void setter(const char* json) override;

class VeloraRestService : public IVeloraRemoteCoordinator,
                          public IVeloraLibraryService,
                          public IVeloraPlaybackService,
                          public IVeloraEqualizerService,
                          public IVeloraIRCService,
                          public IVeloraACService,
                          public IVeloraHPService,
                          public IVeloraSettingsService,
                          public IServiceNotifierListener {
 public:
  struct Options {
    // Publisher of the port; a DNS-SD publisher when empty.
    std::shared_ptr<IServiceNotifier> notifier;
    // Folder of the web pages; the executable's folder + "/../bin/pages" when empty.
    std::string pagesFolder;
  };
  VeloraRestService();
  explicit VeloraRestService(Options options);
  ~VeloraRestService() override;
  VeloraRestService(const VeloraRestService&) = delete;
  VeloraRestService& operator=(const VeloraRestService&) = delete;

  // IVeloraRemoteCoordinator
  void shutdown() override;
  void startListening() override;
  void disconnect(int code) override { connections_.disconnectByHost(code); }
  void disconnect(int code, bool fromRemote) { connections_.disconnect(code, fromRemote); }
  void authenticate(int code, const char* product, Capabilities& capabilities) override {
    connections_.approve(code, product, capabilities);
  }
  IVeloraLibraryService* getLibraryService() override { return this; }
  IVeloraPlaybackService* getPlaybackService() override { return this; }
  IVeloraEqualizerService* getEqualizerService() override { return this; }
  IVeloraIRCService* getIRCService() override { return this; }
  IVeloraACService* getACService() override { return this; }
  IVeloraHPService* getHPService() override { return this; }
  IVeloraSettingsService* getSettingsService() override { return this; }
  VELORA_REGISTRY(IVeloraRemoteServiceListener)
  VELORA_REGISTRY(IVeloraLibraryServiceListener)
  VELORA_REGISTRY(IVeloraPlaybackServiceListener)
  VELORA_REGISTRY(IVeloraEqualizerServiceListener)
  VELORA_REGISTRY(IVeloraIRCServiceListener)
  VELORA_REGISTRY(IVeloraACServiceListener)
  VELORA_REGISTRY(IVeloraHPServiceListener)
  VELORA_REGISTRY(IVeloraSettingsServiceListener)
  // setVeloraQueueExtension, for this service.
  int setQueueExtension(IVeloraQueueExtensionListener* l) { return hub_.setQueueExtension(l); }
  // setVeloraStrictMode, for this service.
  void setStrictMode(bool enabled, const std::string& allowedOrigins) {
    strict_.set(enabled, allowedOrigins);
  }

  // The service interfaces' setters, defined by area.
  VELORA_LIBRARY_SETTERS(VELORA_DECLARE_SETTER)
  VELORA_STATE_SETTERS(VELORA_DECLARE_SETTER)
  VELORA_JSON_ANSWERS(VELORA_DECLARE_ANSWER)

  // IServiceNotifierListener
  void onServicePublishSuccess() override;
  void onServicePublishError() override;

  // Raises the change flag and wakes one "status" poll.
  void Notify() { state_.feed.raise(); }
  // Empties every state document and answer slot.
  void Init() { state_.cache.reset(); }
  // One console line per known remote client.
  void printStatus() { connections_.printStatus(); }

  // The port being tried or served (0 before the first startListening()).
  int currentPort() const { return port_.load(); }
  StateCache& cache() { return state_.cache; }
  ChangeFeed& changeFeed() { return state_.feed; }
  bool changeFlag() { return state_.feed.raised(); }
  ChangeStore& changeStore() { return state_.changes; }
  Connections& connections() { return connections_; }
  LibraryEncoder& encoder() { return encoder_; }
  Artwork& artwork() { return artwork_; }
  Replies& replies() { return replies_; }
  Router& router() { return router_; }

  // The reply helpers, by the names clients' developers know.
  static void addResponseHeaders(web::http::http_response& r) { Replies::addResponseHeaders(r); }
  static std::string getContentType(std::string path) { return Replies::getContentType(path); }
  void returnSuccess(web::http::http_request& request, std::string text);
  void returnFailure(web::http::http_request& request, std::string text, unsigned short status);
  // The caller holds the lock of the slot it passes.
  void returnValue(web::http::http_request& request, web::json::value& value, bool omitNull);
  void returnLibrary(web::http::http_request& request, bool hasToken);
  void returnSuccessIfNeeded(web::http::http_request& request);

 private:
  ListenerHub hub_;
  StateStore state_;
  StrictMode strict_;
  Connections connections_{hub_, state_, strict_};
  Artwork artwork_;
  LibraryEncoder encoder_{artwork_};
  Replies replies_{state_.cache, strict_};
  std::atomic<bool> closing_{false};
  Units units_{hub_, state_, replies_, connections_, closing_, strict_};
  std::string pagesFolder_;
  StaticPages pages_;
  Router router_{units_, pages_};
  std::shared_ptr<IServiceNotifier> notifier_;
  // Guards the transport: startListening() and shutdown() may race.
  std::mutex listenerMutex_;
  Transport transport_;
  std::atomic<int> port_{0};
};

#undef VELORA_REGISTRY
#undef VELORA_DECLARE_ANSWER
#undef VELORA_DECLARE_SETTER
