#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>

#include <velora/VeloraRemoteSDK.h>

#include "Console.h"

// How the host answers a remote client that asks to pair.
enum class Approval {
  Auto,    // approve every client at once
  Prompt,  // ask on the console, one client at a time
};

// Publication and pairing: tells the user where the web remote is served and
// approves remote clients, either at once or after a console answer.
class RemoteClients final : public IVeloraRemoteServiceListener {
 public:
  RemoteClients(Console& console, IVeloraRemoteCoordinator& service, Approval approval,
                std::string hostName);
  // Stops the console prompt, if any. Unregister from the service first.
  ~RemoteClients();

  RemoteClients(const RemoteClients&) = delete;
  RemoteClients& operator=(const RemoteClients&) = delete;

  // What DNS-SD said about the publication, once startListening returned.
  enum class Publication { Unknown, Published, Failed };
  Publication publication() const { return publication_; }

  void onServicePublished(int& port) override;
  void onServicePublishFailed() override;
  void onRemoteConnected(ConnectionData& connection) override;
  void onRemoteDisconnected(int& code) override;
  void onRemoteAuthenticated(int& code, bool& authenticated, int& version) override;

 private:
  struct Request {
    int code;
    std::string name;
  };

  void approve(int code);
  // Runs on its own thread so that the service's request threads never wait
  // for a person at the keyboard.
  void promptLoop();
  // One line from standard input. False once the host stops or the input is
  // closed.
  bool readLine(std::string& line);

  Console& console_;
  IVeloraRemoteCoordinator& service_;
  const Approval approval_;
  const std::string hostName_;

  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<Request> waiting_;
  std::atomic<bool> stopping_{false};
  std::atomic<Publication> publication_{Publication::Unknown};
  std::thread prompter_;
};
