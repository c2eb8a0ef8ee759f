#include "HostProcess.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <regex>
#include <sstream>
#include <thread>

namespace refhost_test {

namespace {

int waitExit(int pid, int timeoutMs) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
  while (std::chrono::steady_clock::now() < deadline) {
    int status = 0;
    const int done = ::waitpid(pid, &status, WNOHANG);
    if (done == pid) return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    if (done < 0) return -1;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  return -2;  // still running
}

// Walks a JSON text from `from`, hiding what is inside strings: `visit(i, c)`
// sees every other character and returns true to stop there. Where it
// stopped, or npos at the end.
template <typename Visit>
std::size_t scanOutsideStrings(const std::string& json, std::size_t from, Visit visit) {
  bool inString = false;
  for (std::size_t i = from; i < json.size(); ++i) {
    const char c = json[i];
    if (inString) {
      if (c == '\\') {
        ++i;
      } else if (c == '"') {
        inString = false;
      }
    } else if (c == '"') {
      inString = true;
    } else if (visit(i, c)) {
      return i;
    }
  }
  return std::string::npos;
}

}  // namespace

HostProcess::HostProcess(std::vector<std::string> args) {
  cache_ = dir_.path() + "/cache";
  log_ = dir_.path() + "/console.log";
  bool hasCache = false;
  for (const std::string& a : args) hasCache = hasCache || a == "--cache";
  if (!hasCache) {
    args.push_back("--cache");
    args.push_back(cache_);
  }
  std::vector<std::string> argv{VELORA_HOST_EXE};
  argv.insert(argv.end(), args.begin(), args.end());

  pid_ = ::fork();
  if (pid_ == 0) {
    std::FILE* out = std::fopen(log_.c_str(), "w");
    if (out == nullptr) ::_exit(126);
    ::dup2(::fileno(out), STDOUT_FILENO);
    ::dup2(::fileno(out), STDERR_FILENO);
    std::vector<char*> raw;
    for (std::string& a : argv) raw.push_back(a.data());
    raw.push_back(nullptr);
    ::execv(raw[0], raw.data());
    ::_exit(127);
  }
}

HostProcess::~HostProcess() {
  if (pid_ > 0) interrupt(10000);
}

std::string HostProcess::output() const {
  std::ifstream in(log_);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

int HostProcess::waitForPort(int timeoutMs) {
  static const std::regex address(R"(web remote: http://[^:/\s]+:(\d+)/)");
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
  while (std::chrono::steady_clock::now() < deadline) {
    std::smatch match;
    const std::string text = output();
    if (std::regex_search(text, match, address)) return std::stoi(match[1]);
    int status = 0;
    if (pid_ <= 0 || ::waitpid(pid_, &status, WNOHANG) == pid_) {
      pid_ = -1;
      return 0;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  return 0;
}

int HostProcess::interrupt(int timeoutMs) {
  if (pid_ <= 0) return -1;
  ::kill(pid_, SIGINT);
  int status = waitExit(pid_, timeoutMs);
  if (status == -2) {
    ::kill(pid_, SIGKILL);
    waitExit(pid_, 5000);
    status = -1;
  }
  pid_ = -1;
  return status;
}

std::string jsonValue(const std::string& json, const std::string& key, std::size_t from) {
  const std::string quoted = "\"" + key + "\":";
  const std::size_t at = json.find(quoted, from);
  if (at == std::string::npos) return {};
  std::size_t i = at + quoted.size();
  if (i >= json.size()) return {};
  if (json[i] == '"') {
    std::string out;
    for (++i; i < json.size() && json[i] != '"'; ++i) {
      if (json[i] == '\\' && i + 1 < json.size()) ++i;
      out += json[i];
    }
    return out;
  }
  if (json[i] == '{' || json[i] == '[') {
    int depth = 0;
    const std::size_t end = scanOutsideStrings(json, i, [&](std::size_t, char c) {
      if (c == '{' || c == '[') ++depth;
      return (c == '}' || c == ']') && --depth == 0;
    });
    return end == std::string::npos ? std::string() : json.substr(i, end - i + 1);
  }
  const std::size_t end = json.find_first_of(",}]", i);
  return json.substr(i, end == std::string::npos ? std::string::npos : end - i);
}

std::vector<std::string> jsonElements(const std::string& array) {
  std::vector<std::string> out;
  int depth = 0;
  std::size_t start = 0;
  scanOutsideStrings(array, 0, [&](std::size_t i, char c) {
    if (c == '{' || c == '[') {
      if (++depth == 2) start = i;
    } else if (c == '}' || c == ']') {
      if (depth-- == 2) out.push_back(array.substr(start, i - start + 1));
    }
    return false;
  });
  return out;
}

}  // namespace refhost_test
