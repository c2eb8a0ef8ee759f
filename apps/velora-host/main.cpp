// velora-host: the smallest program that embeds the remote-control service.
// It registers a listener for every area, logs each callback, approves remote
// clients and serves the web remote until it is told to stop.

#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>

#include <velora/VeloraRemoteSDK.h>

#include "Console.h"
#include "LoggingListeners.h"
#include "RemoteClients.h"

namespace {

struct Options {
  int port = 0;  // 0 keeps the library's own base port
  Approval approval = Approval::Auto;
  bool help = false;
  bool quiet = false;
};

void printUsage(std::ostream& out) {
  out << "usage: velora-host [--port N] [--approve auto|prompt] [--quiet] [--help]\n"
         "\n"
         "Serves the Velora web remote and logs every request a remote client makes.\n"
         "\n"
         "  --port N         first TCP port to try (the service takes the first free\n"
         "                   one of N..N+9); default "
      << mServicePort
      << "\n"
         "  --approve auto   approve every remote client that asks to pair (default)\n"
         "  --approve prompt ask on this console before approving a client\n"
         "  --quiet          do not log each callback\n"
         "  --help           show this text\n";
}

bool parsePort(const char* text, int& port) {
  char* end = nullptr;
  errno = 0;
  const long value = std::strtol(text, &end, 10);
  // Ten ports from the base must still be valid ports.
  if (errno != 0 || end == text || *end != '\0' || value < 1 || value > 65535 - 9) return false;
  port = static_cast<int>(value);
  return true;
}

// False, after saying why on stderr, when the command line cannot be used.
bool parseOptions(int argc, char** argv, Options& options) {
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    const bool hasValue = i + 1 < argc;
    if (arg == "--help" || arg == "-h") {
      options.help = true;
    } else if (arg == "--quiet") {
      options.quiet = true;
    } else if (arg == "--port" && hasValue) {
      if (!parsePort(argv[++i], options.port)) {
        std::cerr << "velora-host: --port needs a number from 1 to " << 65535 - 9 << "\n";
        return false;
      }
    } else if (arg == "--approve" && hasValue) {
      const std::string mode = argv[++i];
      if (mode == "auto") {
        options.approval = Approval::Auto;
      } else if (mode == "prompt") {
        options.approval = Approval::Prompt;
      } else {
        std::cerr << "velora-host: --approve takes auto or prompt\n";
        return false;
      }
    } else {
      std::cerr << "velora-host: unexpected argument '" << arg << "'\n";
      return false;
    }
  }
  return true;
}

// SIGINT and SIGTERM may land on any thread, including the service's own, so
// the handler only writes a byte to a pipe that the main thread waits on.
int stopPipe[2] = {-1, -1};

void onStopSignal(int) {
  const char byte = 1;
  const ssize_t written = ::write(stopPipe[1], &byte, 1);
  (void)written;
}

bool installStopHandlers() {
  if (::pipe(stopPipe) != 0) return false;
  struct sigaction action;
  std::memset(&action, 0, sizeof action);
  action.sa_handler = onStopSignal;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_RESTART;
  return ::sigaction(SIGINT, &action, nullptr) == 0 && ::sigaction(SIGTERM, &action, nullptr) == 0;
}

void waitForStopSignal() {
  char byte = 0;
  while (::read(stopPipe[0], &byte, 1) < 0 && errno == EINTR) {
  }
}

std::string hostName() {
  char name[256] = {};
  if (::gethostname(name, sizeof name - 1) != 0 || name[0] == '\0') return "localhost";
  return name;
}

// One listener per area of the service.
struct AreaListeners {
  explicit AreaListeners(Console& console)
      : library(console),
        playback(console),
        equalizer(console),
        irc(console),
        ac(console),
        hp(console),
        settings(console) {}

  LibraryLogger library;
  PlaybackLogger playback;
  EqualizerLogger equalizer;
  IRCLogger irc;
  ACLogger ac;
  HPLogger hp;
  SettingsLogger settings;
};

void registerAll(IVeloraRemoteCoordinator& service, AreaListeners& areas, RemoteClients& remote) {
  service.registerForNotification(&remote);
  service.getLibraryService()->registerForNotification(&areas.library);
  service.getPlaybackService()->registerForNotification(&areas.playback);
  service.getEqualizerService()->registerForNotification(&areas.equalizer);
  service.getIRCService()->registerForNotification(&areas.irc);
  service.getACService()->registerForNotification(&areas.ac);
  service.getHPService()->registerForNotification(&areas.hp);
  service.getSettingsService()->registerForNotification(&areas.settings);
}

void unregisterAll(IVeloraRemoteCoordinator& service, AreaListeners& areas, RemoteClients& remote) {
  service.getSettingsService()->unregisterFromNotification(&areas.settings);
  service.getHPService()->unregisterFromNotification(&areas.hp);
  service.getACService()->unregisterFromNotification(&areas.ac);
  service.getIRCService()->unregisterFromNotification(&areas.irc);
  service.getEqualizerService()->unregisterFromNotification(&areas.equalizer);
  service.getPlaybackService()->unregisterFromNotification(&areas.playback);
  service.getLibraryService()->unregisterFromNotification(&areas.library);
  service.unregisterFromNotification(&remote);
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!parseOptions(argc, argv, options)) {
    printUsage(std::cerr);
    return 2;
  }
  if (options.help) {
    printUsage(std::cout);
    return 0;
  }
  if (!installStopHandlers()) {
    std::cerr << "velora-host: cannot install signal handlers: " << std::strerror(errno) << "\n";
    return 1;
  }
  if (options.port != 0) mServicePort = options.port;

  Console console;
  console.setQuiet(options.quiet);
  console.say("Velora Remote " + getSDKVersionStr() + " reference host");
  IVeloraRemoteCoordinator& service = *VeloraRemoteSDK::getVeloraService();

  AreaListeners areas(console);
  RemoteClients remote(console, service, options.approval, hostName());
  registerAll(service, areas, remote);

  console.say("listening from port " + std::to_string(mServicePort) +
              " (the first free one of ten); Ctrl-C stops");
  service.startListening();

  waitForStopSignal();
  console.say("stopping");
  service.shutdown();
  unregisterAll(service, areas, remote);
  return 0;
}
