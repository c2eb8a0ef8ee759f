#include "RemoteClients.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace {

// The reference host holds nothing back from a client it approved.
constexpr uint32_t kGrantedCapabilities = 0xFFFFFFFFu;
constexpr const char* kProduct = "velora-host";

// The service fills fixed-size text fields; stop at the field's end even if
// no NUL byte made it in.
std::string fieldText(const char* field, size_t size) {
  return std::string(field, strnlen(field, size));
}

}  // namespace

RemoteClients::RemoteClients(Console& console, IVeloraRemoteCoordinator& service, Approval approval,
                             std::string hostName)
    : console_(console), service_(service), approval_(approval), hostName_(std::move(hostName)) {
  if (approval_ == Approval::Prompt) prompter_ = std::thread([this] { promptLoop(); });
}

RemoteClients::~RemoteClients() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
  }
  wake_.notify_all();
  if (prompter_.joinable()) prompter_.join();
}

void RemoteClients::onServicePublished(int& port) {
  // The service reports its base port, not the one it bound; the host finds
  // and prints that one itself.
  console_.call("onServicePublished", port);
  publication_ = Publication::Published;
  console_.say("DNS-SD: published as _veloraplayer._tcp on " + hostName_ +
               "; remote apps on this network can find it");
}

void RemoteClients::onServicePublishFailed() {
  console_.call("onServicePublishFailed");
  publication_ = Publication::Failed;
}

void RemoteClients::onRemoteConnected(ConnectionData& connection) {
  const std::string name = fieldText(connection.name, sizeof connection.name);
  console_.call("onRemoteConnected", connection.code, name.c_str(), connection.version);
  if (approval_ == Approval::Auto) {
    approve(connection.code);
    return;
  }
  {
    std::lock_guard<std::mutex> lock(mutex_);
    waiting_.push_back({connection.code, name});
  }
  wake_.notify_all();
}

void RemoteClients::onRemoteDisconnected(int& code) { console_.call("onRemoteDisconnected", code); }

void RemoteClients::onRemoteAuthenticated(int& code, bool& authenticated, int& version) {
  console_.call("onRemoteAuthenticated", code, authenticated, version);
}

void RemoteClients::approve(int code) {
  Capabilities capabilities{kGrantedCapabilities};
  service_.authenticate(code, kProduct, capabilities);
  console_.say("approved client " + std::to_string(code));
}

void RemoteClients::promptLoop() {
  bool inputOpen = true;
  for (;;) {
    Request request;
    {
      std::unique_lock<std::mutex> lock(mutex_);
      wake_.wait(lock, [this] { return stopping_ || !waiting_.empty(); });
      if (stopping_) return;
      request = waiting_.front();
      waiting_.pop_front();
    }
    const std::string who = request.name + " (code " + std::to_string(request.code) + ")";
    if (!inputOpen) {
      console_.say("no console to ask: " + who + " stays unapproved");
      continue;
    }
    console_.say("Approve " + who + "? [y/N]");
    std::string answer;
    inputOpen = readLine(answer);
    if (answer == "y" || answer == "Y" || answer == "yes") {
      approve(request.code);
    } else {
      console_.say(who + " stays unapproved");
    }
  }
}

bool RemoteClients::readLine(std::string& line) {
  line.clear();
  while (!stopping_) {
    // Wait in short steps so that a stop request is seen while nobody types.
    pollfd input{STDIN_FILENO, POLLIN, 0};
    const int ready = ::poll(&input, 1, 200);
    if (ready <= 0) continue;
    char c = 0;
    const ssize_t got = ::read(STDIN_FILENO, &c, 1);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return false;
    if (c == '\n') return true;
    if (c != '\r') line += c;
  }
  return false;
}
