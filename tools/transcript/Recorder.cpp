// velora-route-transcript OUTPUT
//
// Starts the service of whichever libVeloraPlayer_sdk_TARN.so the loader
// finds, drives every route over a loopback connection and writes one record
// per case to OUTPUT. Values that differ from run to run (tokens, epochs, the
// temporary folder, the computer's name) are replaced by stable
// placeholders, so two runs of one build give the same bytes.

#include "Recorder.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <zlib.h>

#include <boost/asio/connect.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <random>
#include <regex>
#include <set>
#include <sstream>
#include <thread>

namespace transcript {
namespace {

namespace beast = boost::beast;
namespace http = beast::http;
namespace net = boost::asio;
namespace fs = std::filesystem;

int savedStderr = 2;

void say(const std::string& text) {
  const std::string line = text + "\n";
  (void)!::write(savedStderr, line.data(), line.size());
}

bool portIsFree(int port) {
  const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
  if (fd < 0) return false;
  sockaddr_in addr{};
  addr.sin_family = AF_INET;
  addr.sin_addr.s_addr = htonl(INADDR_ANY);
  addr.sin_port = htons(static_cast<uint16_t>(port));
  const bool ok = ::bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0;
  ::close(fd);
  return ok;
}

// Ten ports in a row that nobody holds now, picked at random so that runs
// side by side rarely meet.
int freePortBlock() {
  std::mt19937 rng(std::random_device{}());
  std::uniform_int_distribution<int> pick(20000, 59990);
  for (int attempt = 0; attempt < 500; ++attempt) {
    const int base = pick(rng);
    bool free = true;
    for (int p = base; p < base + 10 && free; ++p) free = portIsFree(p);
    if (free) return base;
  }
  return 0;
}

Reply send(int port, const Case& c, const std::string& target) {
  Reply reply;
  try {
    net::io_context ioc;
    beast::tcp_stream stream(ioc);
    stream.expires_after(std::chrono::seconds(20));
    stream.connect(net::ip::tcp::endpoint(net::ip::make_address("127.0.0.1"),
                                          static_cast<unsigned short>(port)));
    http::request<http::string_body> req{http::string_to_verb(c.method), target, 11};
    req.set(http::field::host, "127.0.0.1");
    req.set(http::field::connection, "close");
    for (const auto& [name, value] : c.headers) req.set(name, value);
    if (!c.body.empty() || c.method == "POST") {
      req.set(http::field::content_type, "application/json");
      req.body() = c.body;
      req.prepare_payload();
    }
    http::write(stream, req);
    beast::flat_buffer buffer;
    http::response_parser<http::string_body> parser;
    parser.body_limit(std::uint64_t{1} << 40);
    if (c.method == "HEAD") parser.skip(true);
    http::read(stream, buffer, parser);
    const auto& res = parser.get();
    reply.status = static_cast<int>(res.result_int());
    for (const auto& field : res) {
      reply.headers.emplace_back(std::string(field.name_string()), std::string(field.value()));
    }
    reply.body = res.body();
  } catch (const std::exception& e) {
    reply.status = 0;
    reply.body = std::string("no reply: ") + e.what();
  }
  std::sort(reply.headers.begin(), reply.headers.end(), [](const auto& a, const auto& b) {
    std::string x = a.first, y = b.first;
    for (auto& ch : x) ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
    for (auto& ch : y) ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
    return x < y;
  });
  return reply;
}

// A gzip body unpacked; empty when it is not gzip.
std::string gunzip(const std::string& packed) {
  z_stream z{};
  if (inflateInit2(&z, 15 + 16) != Z_OK) return {};
  z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data()));
  z.avail_in = static_cast<uInt>(packed.size());
  std::string out;
  char buffer[16384];
  int rc = Z_OK;
  while (rc == Z_OK) {
    z.next_out = reinterpret_cast<Bytef*>(buffer);
    z.avail_out = sizeof buffer;
    rc = inflate(&z, Z_NO_FLUSH);
    out.append(buffer, sizeof buffer - z.avail_out);
  }
  inflateEnd(&z);
  return rc == Z_STREAM_END ? out : std::string();
}

// Bytes as one line: printable ASCII as it is, everything else escaped.
std::string escape(const std::string& bytes) {
  std::string out;
  for (unsigned char ch : bytes) {
    if (ch == '\\') {
      out += "\\\\";
    } else if (ch == '\n') {
      out += "\\n";
    } else if (ch >= 0x20 && ch < 0x7f) {
      out += static_cast<char>(ch);
    } else {
      char hex[8];
      std::snprintf(hex, sizeof hex, "\\x%02X", ch);
      out += hex;
    }
  }
  return out;
}

std::string substitute(const std::string& text, const std::map<std::string, std::string>& vars) {
  std::string out = text;
  for (const auto& [name, value] : vars) {
    const std::string key = "${" + name + "}";
    for (size_t at = out.find(key); at != std::string::npos;
         at = out.find(key, at + value.size())) {
      out.replace(at, key.size(), value);
    }
  }
  return out;
}

// What the library printed since the last call, one prefixed line each.
class ConsoleCapture {
 public:
  ConsoleCapture(int fd, std::string prefix) : fd_(fd), prefix_(std::move(prefix)) {
    char name[] = "/tmp/velora-transcript-console-XXXXXX";
    file_ = ::mkstemp(name);
    ::unlink(name);
    ::dup2(file_, fd_);
  }
  std::string take() {
    std::string text;
    char buffer[4096];
    for (;;) {
      const ssize_t n = ::pread(file_, buffer, sizeof buffer, static_cast<off_t>(offset_));
      if (n <= 0) break;
      text.append(buffer, static_cast<size_t>(n));
      offset_ += static_cast<size_t>(n);
    }
    std::string out;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) out += prefix_ + escape(line) + "\n";
    return out;
  }

 private:
  int fd_;
  int file_ = -1;
  size_t offset_ = 0;
  std::string prefix_;
};

void flushConsole() {
  std::cout.flush();
  std::cerr.flush();
  std::fflush(nullptr);
}

// A short name for what a case exercises: the method and the first path
// segment, with the second for the areas that dispatch on it.
std::string routeOf(const Case& c) {
  if (c.method == "HOST") return "";
  std::string path = c.target.substr(0, c.target.find('?'));
  std::vector<std::string> segments;
  std::stringstream in(path);
  for (std::string s; std::getline(in, s, '/');) {
    if (!s.empty()) segments.push_back(s);
  }
  static const std::set<std::string> areas = {"library", "playback", "settings",  "irc",
                                              "ac",      "ooyh",     "equalizer", "artwork"};
  std::string key = c.method + " /";
  if (!segments.empty()) key += segments[0];
  if (segments.size() > 1 && areas.count(segments[0])) key += "/" + segments[1];
  return key;
}

std::string maskRun(std::string text, const std::string& hostDir) {
  for (size_t at = text.find(hostDir); at != std::string::npos; at = text.find(hostDir, at)) {
    text.replace(at, hostDir.size(), "<hostdir>");
  }
  // The computer's name, which an approved client is told.
  text = std::regex_replace(text, std::regex(R"re("name":"[^"]*","product")re"),
                            R"re("name":"<hostname>","product")re");
  // Tokens and epochs: numbered by first appearance.
  static const std::regex uuid(
      "[0-9a-fA-F]{8}-[0-9a-fA-F]{4}-[0-9a-fA-F]{4}-[0-9a-fA-F]{4}-[0-9a-fA-F]{12}");
  std::map<std::string, std::string> seen;
  std::string out;
  auto begin = std::sregex_iterator(text.begin(), text.end(), uuid);
  size_t last = 0;
  for (auto it = begin; it != std::sregex_iterator(); ++it) {
    out.append(text, last, static_cast<size_t>(it->position()) - last);
    auto found = seen.find(it->str());
    if (found == seen.end()) {
      found = seen.emplace(it->str(), "uuid#" + std::to_string(seen.size() + 1)).first;
    }
    out += found->second;
    last = static_cast<size_t>(it->position() + it->length());
  }
  out.append(text, last, std::string::npos);
  return out;
}

void writeFile(const fs::path& file, const std::string& content) {
  fs::create_directories(file.parent_path());
  std::ofstream(file, std::ios::binary) << content;
}

std::string executableFolder() { return fs::read_symlink("/proc/self/exe").parent_path().string(); }

}  // namespace
}  // namespace transcript

int main(int argc, char** argv) {
  using namespace transcript;
  if (argc != 2) {
    std::cerr << "usage: velora-route-transcript OUTPUT\n";
    return 2;
  }
  const std::string output = argv[1];

  // The service serves pages from beside the executable.
  const fs::path pages = fs::path(executableFolder()) / ".." / "bin" / "pages";
  fs::remove_all(pages);
  writeFile(pages / "index.html", "<html><body>remote</body></html>\n");
  writeFile(pages / "app.js", "console.log(\"remote\");\n");
  writeFile(pages / "style.css", "body { color: black; }\n");
  writeFile(pages / "logo.png", std::string("\x89PNG\r\n\x1a\n\0\0", 10));
  writeFile(pages / "UPPER.JS", "var upper = 1;\n");
  writeFile(pages / "noext", "plain\n");
  writeFile(pages / "sub" / "index.html", "<p>sub</p>\n");
  fs::create_directories(pages / "empty");

  char dirTemplate[] = "/tmp/velora-transcript-host-XXXXXX";
  Env env;
  env.pagesDir = pages.string();
  env.hostDir = ::mkdtemp(dirTemplate);
  writeFile(fs::path(env.hostDir) / "allowed.txt", "a file of the host\n");
  writeFile(fs::path(env.hostDir) / "cover.jpg", "JPEG");
  writeFile(fs::path(env.hostDir) / "folder" / "index.html", "<p>host index</p>\n");

  savedStderr = ::dup(2);
  ConsoleCapture out(1, "stdout ");
  ConsoleCapture err(2, "stderr ");

  Host host;
  env.host = &host;
  env.service = VeloraRemoteSDK::getVeloraService();
  host.attach(*env.service);
  prepareHost(env);

  const int base = freePortBlock();
  if (base == 0) {
    say("velora-route-transcript: no free block of ports");
    return 1;
  }
  mServicePort = base;
  env.service->startListening();
  // Any port of the block may have been taken meanwhile: find the one bound.
  int port = 0;
  Case probe;
  probe.method = "GET";
  probe.target = "/debug";
  for (int p = base; p < base + 10 && port == 0; ++p) {
    if (send(p, probe, probe.target).status == 200) port = p;
  }
  if (port == 0) {
    say("velora-route-transcript: the service did not start");
    return 1;
  }
  // Publication reports itself at once; what it said depends on the machine.
  flushConsole();
  out.take();
  err.take();
  host.clear();

  std::vector<Case> cases = buildCases(env);
  std::ostringstream record;
  std::set<std::string> routes;
  size_t number = 0;
  for (const Case& c : cases) {
    ++number;
    for (const auto& [callback, status] : c.statuses) host.answer(callback, status);
    const size_t callsBefore = host.calls().size();
    const int awaitedBefore = c.awaits.empty() ? 0 : host.count(c.awaits);

    std::string heading = "=== #" + std::to_string(number) + " " + c.method;
    Reply reply;
    bool hasReply = false;
    if (c.method == "HOST") {
      heading += " " + c.note;
      if (c.host) c.host();
    } else {
      const std::string target = substitute(c.target, env.vars);
      heading += " " + escape(target);
      if (c.host) c.host();
      reply = send(port, c, target);
      hasReply = true;
      routes.insert(routeOf(c));
    }
    if (!c.awaits.empty()) {
      host.waitFor(c.awaits, awaitedBefore + 1, 3000);
    } else if (c.method == "POST") {
      // Nothing should follow the reply; give it time to show if it does.
      std::this_thread::sleep_for(std::chrono::milliseconds(300));
    }
    for (const auto& [callback, status] : c.statuses) {
      heading += " [" + callback + "=" + std::to_string(status) + "]";
      host.answer(callback, 0);
    }
    record << heading << "\n";
    for (const auto& [name, value] : c.headers) record << "> " << name << ": " << value << "\n";
    if (!c.body.empty()) record << "> body " << escape(substitute(c.body, env.vars)) << "\n";
    if (hasReply) {
      record << "status " << reply.status << "\n";
      // A gzip body holds the feed's epoch, which differs from run to run:
      // it is recorded unpacked, and its packed length not at all.
      bool gzip = false;
      for (const auto& [name, value] : reply.headers) gzip |= value == "gzip";
      for (const auto& [name, value] : reply.headers) {
        const bool packedLength = gzip && (name == "Content-Length" || name == "content-length");
        record << "header " << name << ": " << (packedLength ? "(gzip)" : escape(value)) << "\n";
      }
      if (gzip) {
        record << "body (gunzipped) " << escape(gunzip(reply.body)) << "\n";
      } else {
        record << "body " << (reply.body.empty() ? "(empty)" : escape(reply.body)) << "\n";
      }
    }
    const auto calls = host.calls();
    for (size_t i = callsBefore; i < calls.size(); ++i)
      record << "call " << escape(calls[i]) << "\n";
    flushConsole();
    record << out.take() << err.take();
    if (c.after) c.after(reply);
  }

  env.service->shutdown();
  flushConsole();

  std::ostringstream text;
  text << "# velora route transcript: " << cases.size() << " cases, " << routes.size()
       << " distinct routes\n";
  text << maskRun(record.str(), env.hostDir);
  std::ofstream(output, std::ios::binary) << text.str();
  fs::remove_all(env.hostDir);
  say(std::to_string(cases.size()) + " cases, " + std::to_string(routes.size()) +
      " distinct routes");
  // The service is the library's to tear down at exit; the record is written.
  std::_Exit(0);
}
