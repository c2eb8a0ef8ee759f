#include "support/TestHttp.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <thread>

#include <gtest/gtest.h>

namespace velora_test {
namespace {

sockaddr_in address(int port, in_addr_t host) {
  sockaddr_in addr{};
  addr.sin_family = AF_INET;
  addr.sin_addr.s_addr = htonl(host);
  addr.sin_port = htons(static_cast<uint16_t>(port));
  return addr;
}

bool portIsFree(int port) {
  const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
  const sockaddr_in addr = address(port, INADDR_ANY);
  const bool ok = fd >= 0 && ::bind(fd, reinterpret_cast<const sockaddr*>(&addr), sizeof addr) == 0;
  ::close(fd);
  return ok;
}

std::string lower(std::string s) {
  std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return std::tolower(c); });
  return s;
}

}  // namespace

int findFreePortBlock(int count) {
  // A client socket of a test beside this one may take a port inside the
  // ephemeral range between our check and the service's bind: stay below it,
  // or above it when too little is left below.
  int low = 32768, high = 60999;
  std::ifstream("/proc/sys/net/ipv4/ip_local_port_range") >> low >> high;
  const bool below = low - count - 10000 >= 2000;
  int first = below ? 10000 : high + 1, last = (below ? low : 65536) - count;
  if (first > last) first = 10000;
  std::uniform_int_distribution<int> pick(first, last);
  std::mt19937 rng(std::random_device{}());
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

int connectTo(int port) {
  const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
  const sockaddr_in addr = address(port, INADDR_LOOPBACK);
  if (fd >= 0 && ::connect(fd, reinterpret_cast<const sockaddr*>(&addr), sizeof addr) == 0) {
    return fd;
  }
  ::close(fd);
  return -1;
}

HttpReply readReply(int fd, int timeoutMs) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
  std::string raw;
  size_t headEnd = std::string::npos, length = std::string::npos;
  char buffer[65536];
  while (headEnd == std::string::npos || length == std::string::npos ||
         raw.size() < headEnd + 4 + length) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                          deadline - std::chrono::steady_clock::now())
                          .count();
    pollfd pfd{fd, POLLIN, 0};
    if (left <= 0 || ::poll(&pfd, 1, static_cast<int>(left)) <= 0) break;
    const ssize_t n = ::recv(fd, buffer, sizeof buffer, 0);
    if (n <= 0) break;
    raw.append(buffer, static_cast<size_t>(n));
    if (headEnd == std::string::npos && (headEnd = raw.find("\r\n\r\n")) != std::string::npos) {
      const std::string head = lower(raw.substr(0, headEnd));
      const auto at = head.find("\r\ncontent-length:");
      if (at != std::string::npos) length = std::strtoul(head.c_str() + at + 17, nullptr, 10);
    }
  }
  HttpReply reply;
  // A body cut short by a close is a failed request to every client.
  if (headEnd == std::string::npos ||
      (length != std::string::npos && raw.size() < headEnd + 4 + length)) {
    return reply;
  }
  reply.body = raw.substr(headEnd + 4, length);
  std::istringstream head(raw.substr(0, headEnd));
  std::string line;
  std::getline(head, line);
  reply.status = std::atoi(line.c_str() + std::min(line.size(), line.find(' ') + 1));
  while (std::getline(head, line)) {
    line.erase(line.find_last_not_of('\r') + 1);
    const auto colon = line.find(':');
    if (colon == std::string::npos) continue;
    const auto value = std::min(line.size(), line.find_first_not_of(' ', colon + 1));
    reply.headers[lower(line.substr(0, colon))] = line.substr(value);
  }
  return reply;
}

HttpReply httpRequest(int port, const std::string& method, const std::string& target,
                      const std::string& body, int timeoutMs, const std::string& headers) {
  std::string request = method + " " + target +
                        " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port) +
                        "\r\nConnection: close\r\n" + headers;
  if (!body.empty() || method == "POST" || method == "PUT") {
    request +=
        "Content-Type: application/json\r\nContent-Length: " + std::to_string(body.size()) + "\r\n";
  }
  request += "\r\n" + body;
  const int fd = connectTo(port);
  if (fd < 0) return {};
  for (size_t sent = 0; sent < request.size();) {
    const ssize_t n = ::send(fd, request.data() + sent, request.size() - sent, MSG_NOSIGNAL);
    if (n <= 0) break;
    sent += static_cast<size_t>(n);
  }
  HttpReply reply = readReply(fd, timeoutMs);
  ::close(fd);
  return reply;
}

void abandonRequest(int port, const std::string& target, int afterMs, bool reset) {
  const int fd = connectTo(port);
  if (fd < 0) return;
  const std::string request = "GET " + target + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n";
  if (::send(fd, request.data(), request.size(), MSG_NOSIGNAL) > 0 && afterMs > 0) {
    std::this_thread::sleep_for(std::chrono::milliseconds(afterMs));
  }
  if (reset) {
    linger hard{1, 0};
    ::setsockopt(fd, SOL_SOCKET, SO_LINGER, &hard, sizeof hard);
  }
  ::close(fd);
}

std::string captureStdout(const std::function<void()>& fn) {
  testing::internal::CaptureStdout();
  try {
    fn();
  } catch (...) {
    testing::internal::GetCapturedStdout();  // give the output back before failing on it
    throw;
  }
  return testing::internal::GetCapturedStdout();
}

TempDir::TempDir() : path_((std::filesystem::temp_directory_path() / "velora-test-XXXXXX")) {
  if (::mkdtemp(path_.data()) == nullptr) ADD_FAILURE() << "mkdtemp failed";
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
