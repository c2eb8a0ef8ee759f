#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

// The two sides of a publication test: a music player in a process of its
// own, and the phone (the test) that browses for it and talks to it.
//
// The player runs in a separate process because a DNS-SD registration lasts
// as long as the process that made it: a player that exits takes its
// registration along, so one test's publication never lingers into the next,
// whoever runs the tests. The player is this very test program, started
// again in player mode.

namespace velora_test {

using PlayerReport = std::map<std::string, std::string>;

// The phone's handle on a player process.
class PlayerProcess {
 public:
  // Starts `<this program> --velora-player <scenario> <basePort> ...`.
  PlayerProcess(const std::string& scenario, int basePort);
  ~PlayerProcess();
  PlayerProcess(const PlayerProcess&) = delete;
  PlayerProcess& operator=(const PlayerProcess&) = delete;

  // Waits until the player has sent its whole report; false when it did not
  // within `limit` (or died first).
  bool waitForReport(std::chrono::milliseconds limit);
  // One value of the report; "" when the player did not send it.
  std::string value(const std::string& key) const;
  // What the player printed on its standard output so far.
  std::string output() const;
  // Lets the player exit and reaps it; a player that does not exit in time is
  // killed. Its publication is withdrawn with it.
  void stop();

 private:
  pid_t pid_ = -1;
  int reportFd_ = -1;
  int releaseFd_ = -1;
  std::string outputPath_;
  std::string received_;
  PlayerReport report_;
  bool complete_ = false;
};

// Player mode. A scenario builds its player, fills in its report and calls
// `handOver`, which sends the report and returns once the phone is done; the
// player stays up (and published) meanwhile. When the command line asks for a
// player, runs that scenario, sets `exitCode` and returns true; returns false
// for an ordinary test run.
using PlayerScenario =
    std::function<void(int basePort, PlayerReport& report, const std::function<void()>& handOver)>;
bool runPlayerIfAsked(int argc, char** argv, const std::map<std::string, PlayerScenario>& scenarios,
                      int& exitCode);

// "1,2,3"; "" for none.
std::string joinInts(const std::vector<int>& values);

// A service as a resolving browse shows it.
struct BrowsedService {
  std::string interface;
  std::string protocol;
  std::string name;
  std::string host;
  std::string address;
  int port = 0;
};

// One browse of the player's service type, ended once the daemon has told
// all it knows (after 10 s at most). `raw` receives the whole output.
std::vector<BrowsedService> browsePlayers(std::string* raw = nullptr);

// Browses again and again until a service satisfies `match`, for at most
// `limit` (a fresh registration is only visible once the daemon has probed
// the name, which takes about a second).
std::optional<BrowsedService> waitForPlayer(const std::function<bool(const BrowsedService&)>& match,
                                            std::chrono::milliseconds limit, std::string* raw);

// The player's "Service published on port<N> with status <C>" line.
struct PublicationLine {
  int port = 0;
  int status = 0;
};
std::optional<PublicationLine> findPublicationLine(const std::string& output);

}  // namespace velora_test
