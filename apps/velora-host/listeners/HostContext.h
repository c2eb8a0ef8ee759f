#pragma once

#include <string>
#include <vector>

#include <velora/VeloraRemoteSDK.h>

#include "Console.h"
#include "listeners/Publisher.h"
#include "player/Player.h"

namespace refhost {

// What every listener of the host works with.
struct HostContext {
  IVeloraRemoteCoordinator& service;
  Player& player;
  Publisher& publish;
  Console& console;
  // Folders whose files remote clients may fetch by path (the covers).
  std::vector<std::string> servedFolders;
  // Tells this host apart from any other program on a neighbouring port.
  std::string instance;
};

// The service passes null for a value the client left out.
inline std::string text(const char* value) { return value ? value : ""; }

// Most query values reach the host exactly as they were sent, with their
// percent escapes; names and search terms are read through this.
std::string decoded(const char* value);

// Text flags from remote clients are true only for "true" and "1".
inline bool flag(const char* value) {
  const std::string t = text(value);
  return t == "true" || t == "1";
}

// A number from a client's text, or `fallback` when it is not one.
int number(const char* value, int fallback);

}  // namespace refhost
