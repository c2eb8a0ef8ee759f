#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "support/TestHttp.h"

// The real velora-host program, started as a user would start it, with its
// console captured. Tests talk to it over HTTP like any remote client.
namespace refhost_test {

class HostProcess {
 public:
  // Starts VELORA_HOST_EXE with `args` (a private --cache folder is added
  // unless the arguments name one).
  explicit HostProcess(std::vector<std::string> args);
  // Interrupts the program if it still runs, and kills it if it will not stop.
  ~HostProcess();
  HostProcess(const HostProcess&) = delete;
  HostProcess& operator=(const HostProcess&) = delete;

  // The port of the printed web-remote address; 0 when the program did not
  // print one within `timeoutMs` (it exited, or hangs).
  int waitForPort(int timeoutMs = 60000);
  // Everything the program printed so far (standard output and error).
  std::string output() const;
  // Sends Ctrl-C and waits; the exit status, or -1 when it had to be killed.
  int interrupt(int timeoutMs = 15000);
  const std::string& cacheFolder() const { return cache_; }

 private:
  velora_test::TempDir dir_;
  std::string cache_;
  std::string log_;
  int pid_ = -1;
};

// Raw value text of the first "key": after `from` in a JSON text: a string
// without its quotes, or a number, true, false, an object or an array as
// written. Empty when the key is absent.
std::string jsonValue(const std::string& json, const std::string& key, std::size_t from = 0);

// The objects and arrays directly inside a JSON array text, each as its own
// text (plain values in the array are skipped).
std::vector<std::string> jsonElements(const std::string& array);

// Polls "status" until a 200 reply satisfies `wanted`; that reply's body, or
// empty after `timeoutMs`.
template <typename Pred>
std::string pollStatus(int port, Pred wanted, int timeoutMs = 15000) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
  while (std::chrono::steady_clock::now() < deadline) {
    const velora_test::HttpReply reply = velora_test::httpGet(port, "/status", 5000);
    if (reply.status == 200 && wanted(reply.body)) return reply.body;
  }
  return {};
}

}  // namespace refhost_test
