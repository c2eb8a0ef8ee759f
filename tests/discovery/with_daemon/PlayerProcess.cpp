#include "PlayerProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <regex>
#include <sstream>
#include <thread>

extern char** environ;

namespace velora_test {
namespace {

constexpr const char* kPlayerFlag = "--velora-player";
// The player gives up on a phone that never lets go, so no test run leaves
// a player (and its publication) behind.
constexpr unsigned kPlayerLifetimeSeconds = 90;

void writeAll(int fd, const std::string& text) {
  for (size_t done = 0; done < text.size();) {
    const ssize_t n = ::write(fd, text.data() + done, text.size() - done);
    if (n <= 0) return;
    done += static_cast<size_t>(n);
  }
}

std::vector<std::string> split(const std::string& line, char sep) {
  std::vector<std::string> fields;
  std::string field;
  std::istringstream in(line);
  while (std::getline(in, field, sep)) fields.push_back(field);
  return fields;
}

}  // namespace

PlayerProcess::PlayerProcess(const std::string& scenario, int basePort) {
  char path[] = "/tmp/velora-player-XXXXXX";
  const int outFd = ::mkostemp(path, O_CLOEXEC);
  if (outFd < 0) return;
  outputPath_ = path;

  // Only the player's ends of the pipes stay open across the exec.
  int reportPipe[2];
  int releasePipe[2];
  if (::pipe2(reportPipe, O_CLOEXEC) != 0) {
    ::close(outFd);
    return;
  }
  if (::pipe2(releasePipe, O_CLOEXEC) != 0) {
    ::close(outFd);
    ::close(reportPipe[0]);
    ::close(reportPipe[1]);
    return;
  }
  ::fcntl(reportPipe[1], F_SETFD, 0);
  ::fcntl(releasePipe[0], F_SETFD, 0);

  const std::string base = std::to_string(basePort);
  const std::string reportFd = std::to_string(reportPipe[1]);
  const std::string releaseFd = std::to_string(releasePipe[0]);
  std::vector<std::string> args = {"velora-player", kPlayerFlag, scenario, base, reportFd,
                                   releaseFd};
  std::vector<char*> argv;
  for (auto& a : args) argv.push_back(a.data());
  argv.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, outFd, STDOUT_FILENO);
  if (::posix_spawn(&pid_, "/proc/self/exe", &actions, nullptr, argv.data(), environ) != 0) {
    pid_ = -1;
  }
  posix_spawn_file_actions_destroy(&actions);

  ::close(outFd);
  ::close(reportPipe[1]);
  ::close(releasePipe[0]);
  reportFd_ = reportPipe[0];
  releaseFd_ = releasePipe[1];
}

PlayerProcess::~PlayerProcess() {
  stop();
  if (!outputPath_.empty()) ::unlink(outputPath_.c_str());
}

bool PlayerProcess::waitForReport(std::chrono::milliseconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (!complete_ && reportFd_ >= 0) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                          deadline - std::chrono::steady_clock::now())
                          .count();
    if (left <= 0) break;
    pollfd pfd{reportFd_, POLLIN, 0};
    if (::poll(&pfd, 1, static_cast<int>(left)) <= 0) break;
    char buffer[4096];
    const ssize_t n = ::read(reportFd_, buffer, sizeof buffer);
    if (n <= 0) break;  // the player died before reporting
    received_.append(buffer, static_cast<size_t>(n));
    size_t eol;
    while ((eol = received_.find('\n')) != std::string::npos) {
      const std::string line = received_.substr(0, eol);
      received_.erase(0, eol + 1);
      if (line == "end") {
        complete_ = true;
        break;
      }
      const auto eq = line.find('=');
      if (eq != std::string::npos) report_[line.substr(0, eq)] = line.substr(eq + 1);
    }
  }
  return complete_;
}

std::string PlayerProcess::value(const std::string& key) const {
  const auto it = report_.find(key);
  return it == report_.end() ? std::string() : it->second;
}

std::string PlayerProcess::output() const {
  std::ifstream in(outputPath_);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

void PlayerProcess::stop() {
  if (releaseFd_ >= 0) {
    ::close(releaseFd_);
    releaseFd_ = -1;
  }
  if (reportFd_ >= 0) {
    ::close(reportFd_);
    reportFd_ = -1;
  }
  if (pid_ <= 0) return;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  int status = 0;
  while (::waitpid(pid_, &status, WNOHANG) == 0) {
    if (std::chrono::steady_clock::now() > deadline) {
      std::cerr << "player " << pid_ << " did not exit; killing it\n";
      ::kill(pid_, SIGKILL);
      ::waitpid(pid_, &status, 0);
      break;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  pid_ = -1;
}

bool runPlayerIfAsked(int argc, char** argv, const std::map<std::string, PlayerScenario>& scenarios,
                      int& exitCode) {
  if (argc < 6 || std::strcmp(argv[1], kPlayerFlag) != 0) return false;
  const auto scenario = scenarios.find(argv[2]);
  const int basePort = std::atoi(argv[3]);
  const int reportFd = std::atoi(argv[4]);
  const int releaseFd = std::atoi(argv[5]);
  ::alarm(kPlayerLifetimeSeconds);

  PlayerReport report;
  bool handedOver = false;
  const auto handOver = [&] {
    if (handedOver) return;
    handedOver = true;
    std::cout.flush();
    std::string text;
    for (const auto& [key, value] : report) text += key + "=" + value + "\n";
    writeAll(reportFd, text + "end\n");
    ::close(reportFd);
    // Stay alive, and published, until the phone closes its end.
    char c;
    while (::read(releaseFd, &c, 1) > 0) {
    }
  };
  if (scenario == scenarios.end()) {
    report["error"] = std::string("unknown scenario ") + argv[2];
  } else {
    try {
      scenario->second(basePort, report, handOver);
    } catch (const std::exception& e) {
      report["error"] = e.what();
    }
  }
  handOver();
  exitCode = report.count("error") ? 1 : 0;
  return true;
}

std::string joinInts(const std::vector<int>& values) {
  std::string text;
  for (int v : values) text += (text.empty() ? "" : ",") + std::to_string(v);
  return text;
}

std::vector<BrowsedService> browsePlayers(std::string* raw) {
  std::vector<BrowsedService> services;
  std::string output;
  // -t: stop once the daemon has told everything it knows; -r: resolve, so
  // the lines carry the port; -p: one parsable line per service.
  FILE* pipe = ::popen("timeout 10 avahi-browse -r -p -t _veloraplayer._tcp 2>&1", "r");
  if (pipe == nullptr) return services;
  char buffer[4096];
  size_t n;
  while ((n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) output.append(buffer, n);
  const int rc = ::pclose(pipe);

  std::istringstream lines(output);
  std::string line;
  while (std::getline(lines, line)) {
    // =;interface;protocol;name;type;domain;host;address;port;txt
    const auto f = split(line, ';');
    if (f.size() < 9 || f[0] != "=") continue;
    BrowsedService s;
    s.interface = f[1];
    s.protocol = f[2];
    s.name = f[3];
    s.host = f[6];
    s.address = f[7];
    s.port = std::atoi(f[8].c_str());
    services.push_back(s);
  }
  if (raw != nullptr) *raw = output + "[avahi-browse exit status " + std::to_string(rc) + "]";
  return services;
}

std::optional<BrowsedService> waitForPlayer(const std::function<bool(const BrowsedService&)>& match,
                                            std::chrono::milliseconds limit, std::string* raw) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  for (;;) {
    for (const auto& s : browsePlayers(raw)) {
      if (match(s)) return s;
    }
    if (std::chrono::steady_clock::now() > deadline) return std::nullopt;
    std::this_thread::sleep_for(std::chrono::milliseconds(250));
  }
}

std::optional<PublicationLine> findPublicationLine(const std::string& output) {
  static const std::regex line("Service published on port(\\d+) with status (-?\\d+)");
  std::smatch m;
  if (!std::regex_search(output, m, line)) return std::nullopt;
  return PublicationLine{std::stoi(m[1]), std::stoi(m[2])};
}

}  // namespace velora_test
