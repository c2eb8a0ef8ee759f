#pragma once

// Pieces the C++ benchmarks share: the result rows bench/run-all.sh collects,
// a publisher that stays off the network, a free loopback port and a raw
// HTTP/1.1 client that measures up to the last byte of a reply.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "discovery/ServiceNotifier.h"

namespace bench {

// One row of the results table: section, measure, value, unit, target and
// verdict ("met", "missed", or "-" when the figure has no target).
inline void result(const char* section, const std::string& measure, double value, const char* unit,
                   const char* target = "-", const char* verdict = "-") {
  std::printf("RESULT\t%s\t%s\t%.3f\t%s\t%s\t%s\n", section, measure.c_str(), value, unit, target,
              verdict);
  std::fflush(stdout);
}
inline const char* verdict(bool met) { return met ? "met" : "missed"; }

// Publishing the port over DNS-SD has nothing to do with what is measured.
class QuietNotifier : public IServiceNotifier {
 public:
  int pubishService(int) override { return 0; }
  int registerForNotification(IServiceNotifierListener*) override { return 0; }
  int unregisterFromNotification(IServiceNotifierListener*) override { return 0; }
};

// A port nobody listens on, with the nine after it (the service tries ten
// from its base), below the ephemeral range where clients' ports come and go.
inline int freePortBlock() {
  for (int base = 20000 + (getpid() % 100) * 100; base < 32000; base += 10) {
    bool free = true;
    for (int p = base; p < base + 10 && free; ++p) {
      const int fd = socket(AF_INET, SOCK_STREAM, 0);
      const int one = 1;
      setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
      sockaddr_in a{};
      a.sin_family = AF_INET;
      a.sin_port = htons(static_cast<uint16_t>(p));
      a.sin_addr.s_addr = htonl(INADDR_ANY);
      free = bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) == 0;
      close(fd);
    }
    if (free) return base;
  }
  throw std::runtime_error("no free port block");
}

// Runs `fn` with std::cout silenced (the service logs its start there).
template <typename Fn>
void quietly(Fn fn) {
  std::ostringstream sink;
  auto* old = std::cout.rdbuf(sink.rdbuf());
  try {
    fn();
  } catch (...) {
    std::cout.rdbuf(old);
    throw;
  }
  std::cout.rdbuf(old);
}

// A keep-alive HTTP/1.1 connection to 127.0.0.1 that sends GETs and reads
// each reply whole (headers, then Content-Length bytes of body).
class RawClient {
 public:
  explicit RawClient(int port) : port_(port) {
    fd_ = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_port = htons(static_cast<uint16_t>(port));
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(fd_, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0)
      throw std::runtime_error("connect failed");
    const int one = 1;
    setsockopt(fd_, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
  }
  ~RawClient() { close(fd_); }
  RawClient(const RawClient&) = delete;
  RawClient& operator=(const RawClient&) = delete;

  void send(const std::string& path) {
    const std::string request =
        "GET " + path + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port_) + "\r\n\r\n";
    if (::send(fd_, request.data(), request.size(), MSG_NOSIGNAL) !=
        static_cast<ssize_t>(request.size()))
      throw std::runtime_error("send failed");
  }

  // Reads one reply; returns its status code and leaves the body in body().
  int read() {
    size_t headerEnd;
    while ((headerEnd = buffer_.find("\r\n\r\n")) == std::string::npos) fill();
    const std::string head = buffer_.substr(0, headerEnd);
    const int status = std::atoi(head.c_str() + head.find(' ') + 1);
    size_t length = 0;
    std::string lower = head;
    std::transform(lower.begin(), lower.end(), lower.begin(), ::tolower);
    const auto at = lower.find("content-length:");
    if (at != std::string::npos) length = std::strtoul(lower.c_str() + at + 15, nullptr, 10);
    while (buffer_.size() < headerEnd + 4 + length) fill();
    body_ = buffer_.substr(headerEnd + 4, length);
    buffer_.erase(0, headerEnd + 4 + length);
    return status;
  }
  const std::string& body() const { return body_; }
  int fd() const { return fd_; }

 private:
  void fill() {
    char chunk[1 << 16];
    const ssize_t n = recv(fd_, chunk, sizeof chunk, 0);
    if (n <= 0) throw std::runtime_error("connection closed");
    buffer_.append(chunk, static_cast<size_t>(n));
  }
  int port_;
  int fd_;
  std::string buffer_;
  std::string body_;
};

// The q-quantile (0..1) of `v`, which it sorts.
inline double quantile(std::vector<double>& v, double q) {
  std::sort(v.begin(), v.end());
  const size_t i = std::min(v.size() - 1, static_cast<size_t>(q * static_cast<double>(v.size())));
  return v[i];
}

}  // namespace bench
