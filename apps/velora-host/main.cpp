// velora-host: the reference host. It embeds the remote-control service the
// way a desktop player would: a simulated player with a music library sits
// behind a listener for every area, remote clients are approved as they
// pair, and the web remote is served until Ctrl-C.

#include <arpa/inet.h>
#include <dirent.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <random>
#include <sstream>
#include <string>

#include <velora/VeloraRemoteSDK.h>
#include <velora/VeloraStrictMode.h>

#include "Console.h"
#include "RemoteClients.h"
#include "catalog/MusicIndexer.h"
#include "catalog/SampleLibrary.h"
#include "listeners/HostListeners.h"
#include "listeners/Publisher.h"
#include "listeners/Ticker.h"
#include "player/Player.h"

namespace {

struct Options {
  int port = 0;  // 0 keeps the library's own base port
  Approval approval = Approval::Auto;
  bool help = false;
  bool quiet = false;
  // Strict unless asked otherwise: a demo host on a shared network should
  // not let every device on it drive the player without pairing.
  bool open = false;
  std::string allowedOrigins;  // empty: pages of other origins may not call the service
  std::string music;           // empty: the bundled sample library
  std::string cache;           // empty: the user's cache folder
};

void printUsage(std::ostream& out) {
  out << "usage: velora-host [--port N] [--approve auto|prompt] [--music DIR] [--cache DIR]\n"
         "                   [--open] [--allow-origin LIST] [--quiet] [--help]\n"
         "\n"
         "A music player without sound that serves the Velora web remote: browse its\n"
         "library, play, skip, change volume, presets and output devices from a browser.\n"
         "\n"
         "  --port N         first TCP port to try (the service takes the first free\n"
         "                   one of N..N+9); default "
      << mServicePort
      << "\n"
         "  --approve auto   approve every remote client that asks to pair (default)\n"
         "  --approve prompt ask on this console before approving a client\n"
         "  --music DIR      index the audio files under DIR instead of using the\n"
         "                   bundled sample library\n"
         "  --cache DIR      where cover images are written; default\n"
         "                   $XDG_CACHE_HOME/velora-host or ~/.cache/velora-host\n"
         "  --open           turn strict mode off: any client may call every route\n"
         "                   without pairing (by default only approved remotes may)\n"
         "  --allow-origin LIST\n"
         "                   comma-separated web origins (https://host:port) whose\n"
         "                   pages may call this host from another address\n"
         "  --quiet          do not log each callback\n"
         "  --help           show this text\n"
         "\n"
         "The demo streaming account is user \"demo\", password \"demo\".\n";
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
    } else if (arg == "--open") {
      options.open = true;
    } else if (arg == "--allow-origin" && hasValue) {
      options.allowedOrigins = argv[++i];
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
    } else if (arg == "--music" && hasValue) {
      options.music = argv[++i];
    } else if (arg == "--cache" && hasValue) {
      options.cache = argv[++i];
    } else {
      std::cerr << "velora-host: unexpected argument '" << arg << "'\n";
      return false;
    }
  }
  return true;
}

std::string defaultCacheFolder() {
  if (const char* xdg = std::getenv("XDG_CACHE_HOME"); xdg != nullptr && xdg[0] == '/') {
    return std::string(xdg) + "/velora-host";
  }
  if (const char* home = std::getenv("HOME"); home != nullptr && home[0] != '\0') {
    return std::string(home) + "/.cache/velora-host";
  }
  return "/tmp/velora-host";
}

std::string defaultDownloadFolder() {
  const char* home = std::getenv("HOME");
  return std::string(home != nullptr && home[0] != '\0' ? home : "/tmp") + "/Music/Velora";
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
  // A client that goes away mid-reply must not take the host with it.
  signal(SIGPIPE, SIG_IGN);
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

// The service binds the first free port of ten without saying which to its
// host, and in strict mode answers nothing but pages without a token: the
// port is the one of the ten on which this process itself listens.
int findOwnPort() {
  DIR* fds = ::opendir("/proc/self/fd");
  if (fds == nullptr) return 0;
  int found = 0;
  while (const dirent* entry = ::readdir(fds)) {
    const int fd = std::atoi(entry->d_name);
    sockaddr_in address{};
    socklen_t length = sizeof address;
    int listening = 0;
    socklen_t size = sizeof listening;
    if (fd <= 2 || ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0 ||
        address.sin_family != AF_INET ||
        ::getsockopt(fd, SOL_SOCKET, SO_ACCEPTCONN, &listening, &size) != 0 || !listening) {
      continue;
    }
    const int port = ntohs(address.sin_port);
    if (port >= mServicePort && port < mServicePort + 10) found = port;
  }
  ::closedir(fds);
  return found;
}

std::string randomInstance() {
  std::random_device device;
  std::ostringstream out;
  out << std::hex << device() << device();
  return out.str();
}

refhost::Catalog loadLibrary(const Options& options, const std::string& cache, Console& console,
                             bool& ok) {
  ok = true;
  try {
    if (options.music.empty()) {
      refhost::Catalog catalog = refhost::buildSampleLibrary(cache + "/sample-covers");
      console.say("sample library: " + std::to_string(catalog.albumCount()) + " albums, " +
                  std::to_string(catalog.trackCount()) + " tracks");
      return catalog;
    }
    console.say("indexing " + options.music);
    refhost::IndexReport report;
    refhost::Catalog catalog =
        refhost::indexMusicFolder(options.music, cache + "/music-covers", std::cout, &report);
    console.say("indexed " + std::to_string(report.tracksIndexed) + " tracks of " +
                std::to_string(report.filesSeen) + " files (" +
                std::to_string(report.filesSkipped) + " skipped)");
    if (catalog.empty()) console.say("no playable files found under " + options.music);
    return catalog;
  } catch (const std::exception& e) {
    std::cerr << "velora-host: cannot load the music library: " << e.what() << "\n";
    ok = false;
    return {};
  }
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

  std::string cache = options.cache.empty() ? defaultCacheFolder() : options.cache;
  bool loaded = false;
  refhost::Catalog catalog = loadLibrary(options, cache, console, loaded);
  if (!loaded && options.cache.empty()) {
    // A home folder that cannot be written to should not stop a demo.
    cache = "/tmp/velora-host-" + std::to_string(::getuid());
    console.say("using " + cache + " for covers instead");
    catalog = loadLibrary(options, cache, console, loaded);
  }
  if (!loaded) return 1;

  refhost::Player player(std::move(catalog));
  player.setArtworkFolder(cache);
  player.setDownloadFolder(defaultDownloadFolder());

  IVeloraRemoteCoordinator& service = *VeloraRemoteSDK::getVeloraService();
  refhost::Publisher publisher(service, player);
  refhost::HostContext host{service,
                            player,
                            publisher,
                            console,
                            {cache + "/sample-covers", cache + "/music-covers"},
                            randomInstance()};
  refhost::HostListeners listeners(host);
  RemoteClients remote(console, service, options.approval, hostName());
  service.registerForNotification(&remote);
  listeners.registerWith(service);

  // Before listening, so that no request is ever served in the other mode.
  setVeloraStrictMode(!options.open,
                      options.allowedOrigins.empty() ? nullptr : options.allowedOrigins.c_str());
  service.startListening();
  const int port = findOwnPort();
  if (port == 0) {
    std::cerr << "velora-host: no free port among " << mServicePort << ".." << mServicePort + 9
              << "; is another host running?\n";
    service.shutdown();
    listeners.unregisterFrom(service);
    service.unregisterFromNotification(&remote);
    return 1;
  }
  // Said even when quiet, like every console line that is not a callback.
  console.say("web remote: http://" + hostName() + ":" + std::to_string(port) +
              "/ (on this computer: http://localhost:" + std::to_string(port) + "/)");
  // The publisher reports success at once; a failed registration may go
  // unreported, so silence counts as failure.
  if (remote.publication() != RemoteClients::Publication::Published) {
    console.say(
        "DNS-SD: not published (is avahi-daemon running?); remote apps will not find "
        "this host by name, but the address above works");
  }
  console.say(options.open
                  ? "open mode: any client may call every route without pairing"
                  : "strict mode: only approved remotes may use the service (--open turns it off)" +
                        (options.allowedOrigins.empty()
                             ? std::string()
                             : "; pages of " + options.allowedOrigins + " may call it"));
  console.say("Ctrl-C stops");

  publisher.everything();
  refhost::Ticker ticker(player, publisher, console);
  ticker.start();

  waitForStopSignal();
  console.say("stopping");
  ticker.stop();
  service.shutdown();
  listeners.unregisterFrom(service);
  service.unregisterFromNotification(&remote);
  console.say("stopped");
  return 0;
}
