#pragma once

// A host that records every callback as a line ("onSetVolume 40") and answers
// each status as the test asked (0 by default). An action registered for a
// callback runs inside it, as a host stores its answer through a setter.

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "velora/VeloraRemoteSDK.h"

namespace velora_test {

class RecordingHost : public IVeloraRemoteServiceListener,
                      public IVeloraLibraryServiceListener,
                      public IVeloraPlaybackServiceListener,
                      public IVeloraEqualizerServiceListener,
                      public IVeloraHPServiceListener,
                      public IVeloraACServiceListener,
                      public IVeloraIRCServiceListener,
                      public IVeloraSettingsServiceListener,
                      public IVeloraQueueExtensionListener {
 public:
  // Status that `callback` reports from now on.
  void answer(const std::string& callback, int status) {
    std::lock_guard<std::mutex> lock(mutex_);
    statuses_[callback] = status;
  }
  // Runs inside `callback`, before its status is set.
  void onCall(const std::string& callback, std::function<void()> action) {
    std::lock_guard<std::mutex> lock(mutex_);
    actions_[callback] = std::move(action);
  }
  std::vector<std::string> calls() {
    std::lock_guard<std::mutex> lock(mutex_);
    return calls_;
  }
  void clear() {
    std::lock_guard<std::mutex> lock(mutex_);
    calls_.clear();
  }
  // The arguments of the last call of `callback` ("" when none).
  std::string last(const std::string& callback) {
    std::lock_guard<std::mutex> lock(mutex_);
    for (auto it = calls_.rbegin(); it != calls_.rend(); ++it) {
      if (named(*it, callback)) return it->substr(std::min(it->size(), callback.size() + 1));
    }
    return "";
  }
  int count(const std::string& callback) {
    std::lock_guard<std::mutex> lock(mutex_);
    return countLocked(callback);
  }
  // Waits until `callback` has been called `n` times in all.
  bool waitFor(const std::string& callback, int n, int timeoutMs = 3000) {
    std::unique_lock<std::mutex> lock(mutex_);
    return called_.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                            [&] { return countLocked(callback) >= n; });
  }
  // Registers every listener with the service; the queue extension is the
  // test's to register.
  void attach(IVeloraRemoteCoordinator& s) {
    s.registerForNotification(static_cast<IVeloraRemoteServiceListener*>(this));
    s.getLibraryService()->registerForNotification(this);
    s.getPlaybackService()->registerForNotification(this);
    s.getEqualizerService()->registerForNotification(this);
    s.getIRCService()->registerForNotification(this);
    s.getACService()->registerForNotification(this);
    s.getHPService()->registerForNotification(this);
    s.getSettingsService()->registerForNotification(this);
  }

// Every callback records itself; the list writes them all.
#define VELORA_TEST_RECORDED(callback, ...)                                    \
  void callback(VELORA_LISTENER_PARAMS(__VA_ARGS__)) override {                \
    record<VELORA_LISTENER_HAS_STATUS(__VA_ARGS__)>(                           \
        #callback, std::forward_as_tuple(VELORA_LISTENER_NAMES(__VA_ARGS__))); \
  }
#define VELORA_TEST_RECORDED_AREA(Area, CALLBACKS) CALLBACKS(VELORA_TEST_RECORDED)
  VELORA_LISTENER_INTERFACES(VELORA_TEST_RECORDED_AREA)
#undef VELORA_TEST_RECORDED_AREA
#undef VELORA_TEST_RECORDED
  void onSeek(float& seconds, int& result) override {
    record<true>("onSeek", std::tie(seconds, result));
  }
  void onAppendToQueue(const char*& itemId, int& result) override {
    record<true>("onAppendToQueue", std::tie(itemId, result));
  }
  void onRemoveFromQueue(int& index, int& result) override {
    record<true>("onRemoveFromQueue", std::tie(index, result));
  }
  void onClearQueue(int& result) override { record<true>("onClearQueue", std::tie(result)); }
  void onPlayNext(const char*& itemId, int& result) override {
    record<true>("onPlayNext", std::tie(itemId, result));
  }

 private:
  static std::string fmt(int v) { return std::to_string(v); }
  static std::string fmt(bool v) { return v ? "true" : "false"; }
  static std::string fmt(float v) {
    std::ostringstream s;
    s << v;
    return s.str();
  }
  static std::string fmt(const char* v) { return v ? "'" + std::string(v) + "'" : "(null)"; }
  static std::string fmt(VeloraLibraryItemSource v) { return std::to_string(static_cast<int>(v)); }
  static std::string fmt(const PlaybackCommand& v) {
    return "{" + std::to_string(v.command) + "," + std::to_string(v.index) + "," + fmt(v.itemid) +
           "}";
  }
  static std::string fmt(const PlaybackMode& v) { return "{" + std::to_string(v.mode) + "}"; }
  static std::string fmt(const EQPreset& v) {
    std::string s = "{" + fmt(v.name) + "," + std::to_string(v.id) + ",[";
    for (const auto& b : v.bands) {
      s += "(" + std::to_string(b.order) + "," + std::to_string(b.fband) + "," +
           std::to_string(b.bband) + "," + std::to_string(b.qband) + "," +
           std::to_string(b.filter) + ")";
    }
    return s + "]}";
  }
  template <typename P>
  static std::string fmt(const P& v) {
    return "{" + fmt(v.name) + "," + std::to_string(v.id) + "}";
  }
  static std::string fmt(const ConnectionData& v) {
    return "{" + std::to_string(v.code) + ",'" + v.name + "'," + std::to_string(v.version) + "}";
  }

  // A trailing status argument gets the answer; the others make the line.
  template <bool kEndsInStatus, typename... Args>
  void record(const char* name, std::tuple<Args&...> args) {
    constexpr std::size_t shown = sizeof...(Args) - (kEndsInStatus ? 1 : 0);
    int* status = nullptr;
    if constexpr (kEndsInStatus) status = &std::get<sizeof...(Args) - 1>(args);
    record(name, texts(args, std::make_index_sequence<shown>()), status);
  }
  template <typename Tuple, std::size_t... I>
  static std::vector<std::string> texts(const Tuple& args, std::index_sequence<I...>) {
    return {fmt(std::get<I>(args))...};
  }

  void record(const char* name, std::vector<std::string> args, int* status) {
    std::function<void()> action;
    {
      std::lock_guard<std::mutex> lock(mutex_);
      std::string line = name;
      for (const auto& a : args) line += " " + a;
      calls_.push_back(std::move(line));
      auto it = actions_.find(name);
      if (it != actions_.end()) action = it->second;
    }
    if (action) action();
    if (status != nullptr) {
      std::lock_guard<std::mutex> lock(mutex_);
      auto it = statuses_.find(name);
      *status = it == statuses_.end() ? 0 : it->second;
    }
    called_.notify_all();
  }

  static bool named(const std::string& line, const std::string& callback) {
    return line.compare(0, callback.size(), callback) == 0 &&
           (line.size() == callback.size() || line[callback.size()] == ' ');
  }
  int countLocked(const std::string& callback) {
    int n = 0;
    for (const auto& c : calls_) n += named(c, callback) ? 1 : 0;
    return n;
  }

  std::mutex mutex_;
  std::condition_variable called_;
  std::vector<std::string> calls_;
  std::map<std::string, int> statuses_;
  std::map<std::string, std::function<void()>> actions_;
};

}  // namespace velora_test
