#pragma once

// The route transcript: one host, one service, and a list of cases that drive
// every route the way a remote client does. Each case is written down as text
// (request, status, headers, body, the host's callbacks, console lines), so
// two builds of the library can be compared line by line.

#include <atomic>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "support/RecordingHost.h"

namespace transcript {

struct Reply {
  int status = 0;  // 0 when no reply came
  std::vector<std::pair<std::string, std::string>> headers;
  std::string body;
};

// The host: records every callback and, unlike a test host, may allow a file
// that a client names by its own path.
class Host : public velora_test::RecordingHost {
 public:
  std::atomic<bool> allowPages{false};

  // Recorded with the host's answer.
  void onPageServed(const char*& path, bool& allow) override {
    allow = allowPages.load();
    RecordingHost::onPageServed(path, allow);
  }
};

struct Case {
  // GET, POST, PUT, DELETE, HEAD, OPTIONS, or HOST for a call the host makes
  // on the service (`host`) with no request at all.
  std::string method;
  // The request target; "${name}" is replaced by a value an earlier case kept.
  std::string target;
  std::string body;
  std::vector<std::pair<std::string, std::string>> headers;
  // Statuses the host answers with during this case only.
  std::vector<std::pair<std::string, int>> statuses;
  // HOST cases: the call; others: run just before the request.
  std::function<void()> host;
  // Runs after the case with its reply, to keep values for later cases.
  std::function<void(const Reply&)> after;
  // A callback that comes after the reply (POST bodies are applied later).
  std::string awaits;
  // Extra text for the case's heading (what a HOST case does).
  std::string note;
};

struct Env {
  IVeloraRemoteCoordinator* service = nullptr;
  Host* host = nullptr;
  std::string pagesDir;  // the service's pages, beside the executable
  std::string hostDir;   // a folder of files the host may serve by path
  std::map<std::string, std::string> vars;
};

// Sets up the host's answers and pushes the state a host starts with.
void prepareHost(Env& env);
std::vector<Case> buildCases(Env& env);

}  // namespace transcript
