#include "support/TestHttp.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <random>
#include <thread>
#include <utility>

#include <gtest/gtest.h>

namespace velora_test {
namespace {

bool portIsFree(int port) {
  const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
  if (fd < 0) return false;
  sockaddr_in addr{};
  addr.sin_family = AF_INET;
  addr.sin_addr.s_addr = htonl(INADDR_ANY);
  addr.sin_port = htons(static_cast<uint16_t>(port));
  const bool ok = ::bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0;
  ::close(fd);
  return ok;
}

std::string lower(std::string s) {
  std::transform(s.begin(), s.end(), s.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return s;
}

// The first and last base port worth trying. Outgoing connections take their
// local ports from the kernel's ephemeral range, and the tests running beside
// this one open thousands of them: a block picked inside that range can lose
// a port to a client socket between the check and the service's bind. So the
// block comes from below the range, or from above it when too little is left
// below.
std::pair<int, int> baseRange(int count) {
  constexpr int kLowest = 10000;  // clear of the well-known and registered services
  constexpr int kEnough = 2000;
  int low = 32768, high = 60999;  // the kernel's default
  std::ifstream range("/proc/sys/net/ipv4/ip_local_port_range");
  int readLow = 0, readHigh = 0;
  if (range >> readLow >> readHigh && readLow <= readHigh) {
    low = readLow;
    high = readHigh;
  }
  if (low - count - kLowest >= kEnough) return {kLowest, low - count};
  if (65535 - count - high >= kEnough) return {high + 1, 65535 - count};
  return {kLowest, 65535 - count};
}

}  // namespace

int findFreePortBlock(int count) {
  std::mt19937 rng(std::random_device{}());
  const auto [first, last] = baseRange(count);
  std::uniform_int_distribution<int> pick(first, last);
  for (int attempt = 0; attempt < 200; ++attempt) {
    const int base = pick(rng);
    bool free = true;
    for (int p = base; p < base + count && free; ++p) free = portIsFree(p);
    if (free) return base;
  }
  ADD_FAILURE() << "no block of " << count << " free ports";
  return 0;
}

std::string HttpReply::header(const std::string& name) const {
  auto it = headers.find(lower(name));
  return it == headers.end() ? std::string() : it->second;
}

HttpReply httpRequest(int port, const std::string& method, const std::string& target,
                      const std::string& body, int timeoutMs, const std::string& headers) {
  HttpReply reply;
  const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
  if (fd < 0) return reply;
  sockaddr_in addr{};
  addr.sin_family = AF_INET;
  addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  addr.sin_port = htons(static_cast<uint16_t>(port));
  if (::connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0) {
    ::close(fd);
    return reply;
  }
  std::string request = method + " " + target +
                        " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port) +
                        "\r\nConnection: close\r\n" + headers;
  if (!body.empty() || method == "POST" || method == "PUT") {
    request +=
        "Content-Type: application/json\r\nContent-Length: " + std::to_string(body.size()) + "\r\n";
  }
  request += "\r\n" + body;
  for (size_t sent = 0; sent < request.size();) {
    const ssize_t n = ::send(fd, request.data() + sent, request.size() - sent, MSG_NOSIGNAL);
    if (n <= 0) {
      ::close(fd);
      return reply;
    }
    sent += static_cast<size_t>(n);
  }

  // Read until the server closes or the declared body is complete.
  std::string raw;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
  size_t headerEnd = std::string::npos;
  long long contentLength = -1;
  char buffer[65536];
  for (;;) {
    if (headerEnd != std::string::npos && contentLength >= 0 &&
        raw.size() >= headerEnd + 4 + static_cast<size_t>(contentLength)) {
      break;
    }
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                          deadline - std::chrono::steady_clock::now())
                          .count();
    if (left <= 0) break;
    pollfd pfd{fd, POLLIN, 0};
    if (::poll(&pfd, 1, static_cast<int>(left)) <= 0) break;
    const ssize_t n = ::recv(fd, buffer, sizeof buffer, 0);
    if (n <= 0) break;
    raw.append(buffer, static_cast<size_t>(n));
    if (headerEnd == std::string::npos) {
      headerEnd = raw.find("\r\n\r\n");
      if (headerEnd != std::string::npos) {
        const std::string head = lower(raw.substr(0, headerEnd));
        const auto cl = head.find("\r\ncontent-length:");
        if (cl != std::string::npos) contentLength = std::atoll(head.c_str() + cl + 17);
      }
    }
  }
  ::close(fd);
  if (headerEnd == std::string::npos) return reply;

  const std::string head = raw.substr(0, headerEnd);
  size_t lineEnd = head.find("\r\n");
  const std::string statusLine = head.substr(0, lineEnd);
  const auto sp = statusLine.find(' ');
  if (sp != std::string::npos) reply.status = std::atoi(statusLine.c_str() + sp + 1);
  while (lineEnd != std::string::npos) {
    const size_t start = lineEnd + 2;
    lineEnd = head.find("\r\n", start);
    const std::string line =
        head.substr(start, lineEnd == std::string::npos ? std::string::npos : lineEnd - start);
    const auto colon = line.find(':');
    if (colon == std::string::npos) continue;
    std::string value = line.substr(colon + 1);
    value.erase(0, value.find_first_not_of(' '));
    reply.headers[lower(line.substr(0, colon))] = value;
  }
  reply.body = raw.substr(headerEnd + 4);
  if (contentLength >= 0 && reply.body.size() < static_cast<size_t>(contentLength)) {
    // Cut short by the server closing: every client takes that as a failed
    // request, not as a reply with part of a body.
    return HttpReply{};
  }
  if (contentLength >= 0 && reply.body.size() > static_cast<size_t>(contentLength)) {
    reply.body.resize(static_cast<size_t>(contentLength));
  }
  return reply;
}

void abandonRequest(int port, const std::string& target, int afterMs, bool reset) {
  const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
  if (fd < 0) return;
  sockaddr_in addr{};
  addr.sin_family = AF_INET;
  addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  addr.sin_port = htons(static_cast<uint16_t>(port));
  if (::connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0) {
    const std::string request = "GET " + target +
                                " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port) +
                                "\r\nConnection: close\r\n\r\n";
    if (::send(fd, request.data(), request.size(), MSG_NOSIGNAL) > 0 && afterMs > 0) {
      std::this_thread::sleep_for(std::chrono::milliseconds(afterMs));
    }
    if (reset) {
      linger hard{1, 0};
      ::setsockopt(fd, SOL_SOCKET, SO_LINGER, &hard, sizeof hard);
    }
  }
  ::close(fd);
}

std::string captureStdout(const std::function<void()>& fn) {
  testing::internal::CaptureStdout();
  try {
    fn();
  } catch (...) {
    // Give standard output back before the failure is reported on it.
    testing::internal::GetCapturedStdout();
    throw;
  }
  return testing::internal::GetCapturedStdout();
}

TempDir::TempDir() {
  std::string pattern = (std::filesystem::temp_directory_path() / "velora-test-XXXXXX").string();
  if (::mkdtemp(pattern.data()) == nullptr) ADD_FAILURE() << "mkdtemp failed";
  path_ = pattern;
}

TempDir::~TempDir() {
  std::error_code ec;
  std::filesystem::remove_all(path_, ec);
}

std::string TempDir::write(const std::string& relative, const std::string& content) const {
  const std::filesystem::path full = std::filesystem::path(path_) / relative;
  std::filesystem::create_directories(full.parent_path());
  std::ofstream(full, std::ios::binary) << content;
  return full.string();
}

}  // namespace velora_test
