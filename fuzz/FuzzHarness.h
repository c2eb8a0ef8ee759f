#pragma once

// What the fuzz targets share: a task scheduler that counts the HTTP
// library's tasks, a service with a recording host and one approved client,
// and requests built in memory and answered without a socket.
//
// Every input is handled to the end before the next one starts: a target
// waits for each request's reply and then for every task the request set
// going (the reply's own continuation, a POST body applied after the reply,
// a "status" answer built off the feed's thread). A finding is thus reported
// against the input that caused it, and an input that leaves a request
// unanswered is itself a finding.

#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include <cpprest/http_msg.h>
#include <pplx/pplxtasks.h>
#include <pplx/threadpool.h>

#include "host/Observable.h"
#include "service/VeloraRestService.h"
#include "support/RecordingHost.h"

namespace velora_fuzz {

// Runs every task on the HTTP library's thread pool, as its default scheduler
// does, and counts those not yet finished. A continuation scheduled by a
// running task is counted before that task ends, so a count of zero means the
// whole chain is done.
class CountingScheduler final : public pplx::scheduler_interface {
 public:
  void schedule(pplx::TaskProc_t proc, void* param) override {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      ++pending_;
    }
    Job* job = new Job{this, proc, param};
    crossplat::threadpool::shared_instance().service().post([job] { run(job); });
  }

  // True once no task is pending; false when `limit` passed first.
  bool drain(std::chrono::milliseconds limit) {
    std::unique_lock<std::mutex> lock(mutex_);
    return idle_.wait_for(lock, limit, [this] { return pending_ == 0; });
  }

 private:
  struct Job {
    CountingScheduler* self;
    pplx::TaskProc_t proc;
    void* param;
  };
  static void run(void* p) {
    std::unique_ptr<Job> job(static_cast<Job*>(p));
    job->proc(job->param);
    std::lock_guard<std::mutex> lock(job->self->mutex_);
    if (--job->self->pending_ == 0) job->self->idle_.notify_all();
  }

  std::mutex mutex_;
  std::condition_variable idle_;
  long pending_ = 0;
};

inline CountingScheduler& scheduler() {
  static auto* counting = [] {
    // Only possible before the first task: the library fixes its scheduler
    // on first use.
    auto s = std::make_shared<CountingScheduler>();
    pplx::set_ambient_scheduler(s);
    return s.get();  // the library holds it for the life of the process
  }();
  return *counting;
}

// Stops the run with a message libFuzzer reports as a crash of this input.
[[noreturn]] inline void fail(const std::string& what) {
  std::fprintf(stderr, "velora fuzz: %s\n", what.c_str());
  std::abort();
}

// A publisher that never touches the network.
class SilentNotifier : public IServiceNotifier {
 public:
  int pubishService(int) override { return 0; }
  int registerForNotification(IServiceNotifierListener*) override { return 0; }
  int unregisterFromNotification(IServiceNotifierListener*) override { return 0; }
};

// A pages folder with a few files, made once per process and removed at exit.
inline const std::string& pagesFolder() {
  static char name[] = "/tmp/velora-fuzz-pages-XXXXXX";
  static const std::string folder = [] {
    if (mkdtemp(name) == nullptr) fail("cannot make a pages folder");
    const std::string root = name;
    const std::string sub = root + "/sub";
    if (mkdir(sub.c_str(), 0700) != 0) fail("cannot make a pages folder");
    for (const char* file : {"/index.html", "/app.js", "/style.css", "/sub/nested.html"}) {
      FILE* f = std::fopen((root + file).c_str(), "w");
      if (f == nullptr) fail("cannot write a page");
      std::fputs("<p>page</p>\n", f);
      std::fclose(f);
    }
    // The string may be gone by then; the buffer is not.
    std::atexit([] {
      const std::string rm = std::string("rm -rf '") + name + "'";
      if (std::system(rm.c_str()) != 0) std::fprintf(stderr, "could not remove %s\n", name);
    });
    return root;
  }();
  return folder;
}

// Sets the process up once: the counting scheduler must be in place before
// the first task is made, and the service's console lines would drown
// libFuzzer's own (which go to standard error).
inline void initialize() {
  scheduler();
  pagesFolder();
  if (std::freopen("/dev/null", "w", stdout) == nullptr) fail("cannot silence stdout");
}

constexpr int kClientCode = 5;
constexpr const char* kClientToken = "fuzz-token";

// A fresh service per input, as the host sees it after loading the library
// (no Init(): the documents start null), with a recording host on every
// listener (the queue extension too) and one client that paired with code 5 and was approved. The
// client's token is fixed so that inputs can name it.
class FuzzService {
 public:
  FuzzService()
      : service(std::make_unique<VeloraRestService>(
            VeloraRestService::Options{std::make_shared<SilentNotifier>(), pagesFolder()})) {
    host.attach(*service);
    service->setQueueExtension(&host);
    auto client = service->connections().createConnection(kClientCode, "Fuzz", 3);
    std::snprintf(client->token, sizeof client->token, "%s", kClientToken);
    Capabilities caps{7};
    service->authenticate(kClientCode, "Velora Fuzz", caps);
  }
  ~FuzzService() {
    // Nothing may still run against the service when it goes.
    if (!scheduler().drain(std::chrono::seconds(5))) fail("tasks still running at the end");
  }

  VeloraRestService& operator*() { return *service; }
  VeloraRestService* operator->() { return service.get(); }

  velora_test::RecordingHost host;  // outlives the service it listens to
  std::unique_ptr<VeloraRestService> service;
};

// Builds the request the listener would hand over, calls the entry point,
// and waits (bounded) for the reply and everything it set going. Returns the
// reply's status, or 0 when the URI is one the HTTP library refuses before
// any handler sees it.
inline int handle(VeloraRestService& s, const web::http::method& method, const std::string& uri,
                  const std::string& body) {
  web::http::http_request request(method);
  try {
    request.set_request_uri(web::uri(uri));
  } catch (const web::uri_exception&) {
    return 0;  // the listener answers 400 itself
  }
  request.set_body(body, "application/json");
  // The listener reports the body read in full before the handlers look.
  request._get_impl()->_complete(body.size());
  // A "status" poll is answered at once with what is pending instead of
  // being parked for its second.
  s.Notify();

  auto replied = request.get_response();
  s.router().handle(request);

  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  for (;;) {
    if (!scheduler().drain(std::chrono::seconds(5))) fail("a task ran for seconds: " + uri);
    if (replied.is_done()) break;
    if (std::chrono::steady_clock::now() > deadline) fail("no reply to " + method + " " + uri);
    std::this_thread::sleep_for(std::chrono::microseconds(50));
  }
  // The reply's continuation is scheduled by the thread that replied.
  if (!scheduler().drain(std::chrono::seconds(5))) fail("a task ran for seconds: " + uri);
  return replied.get().status_code();
}

}  // namespace velora_fuzz
