#pragma once

#include <functional>
#include <map>
#include <string>

namespace velora_test {

// A block of `count` consecutive TCP ports that are free on loopback right
// now, picked at random so that test processes running side by side rarely
// collide, and outside the range the kernel hands out to client sockets.
int findFreePortBlock(int count = 10);

struct HttpReply {
  int status = 0;                              // 0 when no reply came
  std::map<std::string, std::string> headers;  // names lower-cased
  std::string body;

  std::string header(const std::string& name) const;
};

// One request over a fresh loopback connection. `target` goes on the request
// line exactly as given, so tests can send paths a browser never would.
// `headers` are extra header lines, each ending in "\r\n".
HttpReply httpRequest(int port, const std::string& method, const std::string& target,
                      const std::string& body = "", int timeoutMs = 5000,
                      const std::string& headers = "");
inline HttpReply httpGet(int port, const std::string& target, int timeoutMs = 5000) {
  return httpRequest(port, "GET", target, "", timeoutMs);
}

// Sends a GET of `target` and closes the connection `afterMs` later without
// reading anything, as a client that gives up or goes away does. With
// `reset` the connection ends with a reset instead of an orderly close.
void abandonRequest(int port, const std::string& target, int afterMs, bool reset = false);

// Runs `fn` with standard output captured and returns what it printed.
std::string captureStdout(const std::function<void()>& fn);

// A temporary folder removed with everything in it when the object dies.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::string& path() const { return path_; }
  // Writes `content` to `relative` (creating folders) and returns the full path.
  std::string write(const std::string& relative, const std::string& content) const;

 private:
  std::string path_;
};

}  // namespace velora_test
