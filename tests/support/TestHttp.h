#pragma once

#include <functional>
#include <map>
#include <string>

namespace velora_test {

// A block of `count` consecutive ports free on loopback now, picked at random
// outside the kernel's range for client sockets.
int findFreePortBlock(int count = 10);

struct HttpReply {
  int status = 0;                              // 0 when no whole reply came
  std::map<std::string, std::string> headers;  // names lower-cased
  std::string body;

  std::string header(const std::string& name) const;
};

// A connected loopback socket, or -1.
int connectTo(int port);
// Reads one reply from `fd`: until the declared body is complete or the peer closes.
HttpReply readReply(int fd, int timeoutMs = 5000);

// One request over a fresh connection. `target` goes on the request line as
// given; `headers` are extra lines, each ending in "\r\n".
HttpReply httpRequest(int port, const std::string& method, const std::string& target,
                      const std::string& body = "", int timeoutMs = 5000,
                      const std::string& headers = "");
inline HttpReply httpGet(int port, const std::string& target, int timeoutMs = 5000) {
  return httpRequest(port, "GET", target, "", timeoutMs);
}

// Sends a GET and closes `afterMs` later without reading, as a client that
// goes away does; with `reset`, by a reset.
void abandonRequest(int port, const std::string& target, int afterMs, bool reset = false);

// Runs `fn` with standard output captured and returns what it printed.
std::string captureStdout(const std::function<void()>& fn);

// A temporary folder, removed with its contents.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::string& path() const { return path_; }
  // Writes `content` to `relative` (creating folders); returns the full path.
  std::string write(const std::string& relative, const std::string& content) const;

 private:
  std::string path_;
};

}  // namespace velora_test
