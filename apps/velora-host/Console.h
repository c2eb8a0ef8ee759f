#pragma once

#include <iostream>
#include <mutex>
#include <sstream>
#include <string>

// The host's one output channel. Callbacks arrive on the service's request
// threads, several at once, so every line is written whole under a mutex.
class Console {
 public:
  // Callbacks are not logged when quiet (for load measurements).
  void setQuiet(bool quiet) { quiet_ = quiet; }

  // Prints "[host] <name> <arg> <arg>..." as one line.
  template <typename... Args>
  void call(const char* name, const Args&... args) {
    if (quiet_) return;
    std::ostringstream line;
    line << name;
    (append(line, args), ...);
    say(line.str());
  }

  // Prints "[host] <text>" as one line.
  void say(const std::string& text) {
    std::lock_guard<std::mutex> lock(mutex_);
    std::cout << "[host] " << text << std::endl;
  }

 private:
  // Texts are quoted so that an empty one stays visible; the service passes
  // null for a parameter the client left out.
  static void append(std::ostringstream& line, const char* text) {
    if (text == nullptr) {
      line << " (null)";
    } else {
      line << " \"" << text << '"';
    }
  }
  static void append(std::ostringstream& line, bool value) { line << (value ? " true" : " false"); }
  template <typename T>
  static void append(std::ostringstream& line, const T& value) {
    line << ' ' << value;
  }

  std::mutex mutex_;
  bool quiet_ = false;
};
