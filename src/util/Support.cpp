#include "util/Support.h"

#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>
#include <uuid/uuid.h>
#include <zlib.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <cctype>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sstream>
#include <utility>

#include <boost/asio/steady_timer.hpp>
#include <pplx/threadpool.h>

std::string newUUID() {
  uuid_t id;
  uuid_generate_random(id);
  char text[37];
  uuid_unparse(id, text);
  return std::string(text);
}

std::string getHostName() {
  long const max = sysconf(_SC_HOST_NAME_MAX);
  std::size_t const size = max > 0 ? static_cast<std::size_t>(max) + 1 : 256;
  std::vector<char> buffer(size + 1, '\0');
  if (gethostname(buffer.data(), size) != 0) return "";
  // A truncated name need not be terminated; the extra byte guarantees it is.
  buffer[size] = '\0';
  return displayHostName(std::string(buffer.data()));
}

std::string displayHostName(std::string raw) {
  // Search from the start each time: removing one ".local" can join its
  // neighbours into another (".lo.localcal"), and none may survive.
  std::string const suffix = ".local";
  for (std::size_t at = raw.find(suffix); at != std::string::npos; at = raw.find(suffix)) {
    raw.erase(at, suffix.size());
  }
  std::replace(raw.begin(), raw.end(), '-', ' ');
  return raw;
}

void log_str(std::string s) { std::cout << s << std::endl; }

void log_str(std::string s, int n) {
  std::ostringstream line;
  line << s << " " << n;
  log_str(line.str());
}

void log_str(std::string s, std::string t) {
  std::ostringstream line;
  line << s << " " << t;
  log_str(line.str());
}

bool toBool(std::string s) { return s == "true" || s == "1"; }

std::string strreplace(std::string& subject, std::string const& search,
                       std::string const& replacement) {
  if (search.empty()) return subject;
  std::size_t at = 0;
  while ((at = subject.find(search, at)) != std::string::npos) {
    subject.replace(at, search.size(), replacement);
    at += replacement.size();
  }
  return subject;
}

namespace utility {
namespace conversions {

std::string to_string_t(char const* s) { return s == nullptr ? std::string() : std::string(s); }

std::string str_tolower(std::string s) {
  for (char& c : s) {
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  return s;
}

std::map<std::string, std::string> toLower(std::map<std::string, std::string> m) {
  // This has always handed back an empty map. Nothing here calls it, and filling
  // the result now would quietly change behaviour for anyone who still does.
  std::map<std::string, std::string> result;
  for (auto const& entry : m) {
    (void)entry;
  }
  return result;
}

}  // namespace conversions
}  // namespace utility

std::string find_executable_folder() {
  std::vector<char> buffer(256);
  for (;;) {
    ssize_t const length = readlink("/proc/self/exe", buffer.data(), buffer.size());
    if (length < 0) return ".";
    // readlink does not say whether it truncated; a full buffer may have, so retry larger.
    if (static_cast<std::size_t>(length) < buffer.size()) {
      std::string const exe(buffer.data(), static_cast<std::size_t>(length));
      std::size_t const slash = exe.rfind('/');
      return slash == std::string::npos ? exe : exe.substr(0, slash);
    }
    buffer.resize(buffer.size() * 2);
  }
}

bool validPath(std::string path) {
  // A NUL byte would cut the name short: "cover.jpg\0.html" is not cover.jpg.
  if (path.find('\0') != std::string::npos) return false;
  // O_CLOEXEC keeps the probe descriptor out of any child a concurrent thread
  // spawns. O_NONBLOCK keeps a request that names a named pipe from holding a
  // worker thread until some writer opens the other end.
  int const fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return false;
  ::close(fd);
  return true;
}

std::int64_t filesize(char const* path) {
  if (path == nullptr) return -1;
  std::ifstream file(path, std::ios::ate | std::ios::binary);
  if (!file.is_open()) return -1;
  return static_cast<std::int64_t>(file.tellg());
}

std::string path(std::vector<std::string> const& segments, int index, bool lower) {
  if (index < 0 || static_cast<std::size_t>(index) >= segments.size()) return "";
  std::string const& segment = segments[static_cast<std::size_t>(index)];
  return lower ? utility::conversions::str_tolower(segment) : segment;
}

std::string compressString(std::string const& s) {
  std::size_t const length = std::strlen(s.c_str());
  // Generous bound kept from older zlib guidance; compressBound wins if it ever asks for more.
  std::size_t bound =
      std::max<std::size_t>(128 + length * 110 / 100, 133 + length + 5 * (length / 31744));
  bound = std::max<std::size_t>(bound, compressBound(static_cast<uLong>(length)));

  std::string out(bound, '\0');
  uLongf outLength = static_cast<uLongf>(bound);
  int const rc = compress2(reinterpret_cast<Bytef*>(&out[0]), &outLength,
                           reinterpret_cast<Bytef const*>(s.data()), static_cast<uLong>(length),
                           Z_DEFAULT_COMPRESSION);
  if (rc != Z_OK) return s;
  out.resize(outLength);
  return out;
}

std::string gzipString(std::string const& s) {
  z_stream z{};
  // 15 window bits, plus 16 for the gzip header and trailer.
  if (deflateInit2(&z, Z_DEFAULT_COMPRESSION, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY) != Z_OK) {
    return {};
  }
  std::string out(deflateBound(&z, static_cast<uLong>(s.size())) + 32, '\0');
  z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(s.data()));
  z.avail_in = static_cast<uInt>(s.size());
  z.next_out = reinterpret_cast<Bytef*>(&out[0]);
  z.avail_out = static_cast<uInt>(out.size());
  const int rc = deflate(&z, Z_FINISH);
  out.resize(z.total_out);
  deflateEnd(&z);
  return rc == Z_STREAM_END ? out : std::string();
}

// Under a sanitizer, or any allocator of its own, the C library's arenas
// hold nothing to give back.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define VELORA_FOREIGN_ALLOCATOR 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || \
    __has_feature(memory_sanitizer)
#define VELORA_FOREIGN_ALLOCATOR 1
#endif
#endif

void returnFreedMemory(size_t bytes) {
#ifdef VELORA_FOREIGN_ALLOCATOR
  return;
#endif
  if (bytes < (size_t{1} << 20)) return;
  malloc_trim(0);
  // What the caller still holds is freed soon after: once more, a moment
  // later (one pending at a time).
  static std::atomic<bool> pending{false};
  if (pending.exchange(true)) return;
  auto timer = std::make_shared<boost::asio::steady_timer>(
      crossplat::threadpool::shared_instance().service(), std::chrono::milliseconds(500));
  timer->async_wait([timer](const boost::system::error_code&) {
    pending = false;
    malloc_trim(0);
  });
}
