#include <limits.h>
#include <strings.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>

#include <cpprest/filestream.h>

#include "http/StaticPages.h"
#include "util/Support.h"

using web::http::http_request;
using web::http::http_response;
using web::http::status_codes;

namespace {

// A page path must stay inside the pages folder: no ".." segment and no NUL
// byte (which would cut the name short when the file is opened).
bool staysInsideFolder(const std::string& decodedPath) {
  if (decodedPath.find('\0') != std::string::npos) return false;
  size_t start = 0;
  while (start <= decodedPath.size()) {
    size_t end = decodedPath.find('/', start);
    if (end == std::string::npos) end = decodedPath.size();
    if (decodedPath.compare(start, end - start, "..") == 0 && end - start == 2) return false;
    start = end + 1;
  }
  return true;
}

bool isRegularFile(const std::string& file) {
  struct stat st;
  return ::stat(file.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

// The path with every symbolic link resolved; "" when it cannot be.
std::string realPath(const std::string& path) {
  char resolved[PATH_MAX];
  return ::realpath(path.c_str(), resolved) == nullptr ? "" : resolved;
}

// The page's real path when it lies inside the folder's real path; "" when it
// does not (a link in the folder that leads out of it).
std::string resolvedInside(const std::string& folder, const std::string& page) {
  const std::string root = realPath(folder);
  const std::string file = realPath(page);
  if (root.empty() || file.empty()) return "";
  const std::string prefix = root.back() == '/' ? root : root + "/";
  return file.compare(0, prefix.size(), prefix) == 0 ? file : "";
}

// The web remote changes with each release. Its pages and its service worker
// are checked on every load, so that an update shows at once; a file whose
// name carries a hash of its content (app.3f9a2c1b.js) never changes under
// that name; anything else may be a few minutes old. Replies carry no
// validator, so a client always gets the whole file, never a 304.
std::string cacheControl(const std::string& file) {
  const std::string name = file.substr(file.rfind('/') + 1);
  const size_t ext = name.rfind('.');
  if (name == "sw.js" || (ext != std::string::npos && ::strcasecmp(&name[ext], ".html") == 0)) {
    return "no-cache";
  }
  const size_t hash =
      ext == std::string::npos || ext == 0 ? std::string::npos : name.rfind('.', ext - 1);
  const auto alnum = [](char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
  };
  if (hash != std::string::npos && ext - hash > 8 &&
      std::all_of(name.begin() + hash + 1, name.begin() + ext, alnum)) {
    return "public, max-age=31536000, immutable";
  }
  return "public, max-age=300";
}

}  // namespace

bool StaticPages::serveStaticPage(http_request& request, const std::string& decodedPath,
                                  const std::string& contentType) {
  std::string file = decodedPath;
  if (!file.empty() && file.back() == '/') file += "index.html";

  // A readable file named by the path itself is the host's to allow.
  if (validPath(file)) {
    const char* path = file.c_str();
    bool allow = false;
    hub_.fire(&IVeloraLibraryServiceListener::onPageServed, path, allow);
    if (!allow) {
      replies_.send(request, status_codes::Forbidden);
    } else {
      serveFile(request, file, contentType, file);
    }
    return true;
  }

  if (!staysInsideFolder(file)) return false;
  const std::string page = folder_ + file;
  if (!validPath(page) || !isRegularFile(page)) return false;
  // In strict mode the file read is the one checked: the link cannot be
  // turned elsewhere between the check and the opening.
  const std::string opened = strict_.enabled() ? resolvedInside(folder_, page) : page;
  if (opened.empty()) return false;
  serveFile(request, page, contentType, opened);
  return true;
}

void StaticPages::serveFile(http_request& request, const std::string& file,
                            const std::string& contentType, const std::string& opened) {
  // Only regular files stream: a folder opens for reading too, but has no
  // content to send.
  if (!isRegularFile(opened)) {
    replies_.send(request, status_codes::NotFound);
    return;
  }
  // The file is read to its end and its stream closed before the reply goes
  // out. A file stream still open when its last owner lets go closes itself
  // by waiting, on a worker thread, for a task that needs a worker thread:
  // with as many pages in flight as the pool has workers, every worker ended
  // up waiting and the service stopped answering for good.
  namespace streams = concurrency::streams;
  auto body = std::make_shared<streams::container_buffer<std::vector<uint8_t>>>();
  streams::fstream::open_istream(opened, std::ios::in | std::ios::binary)
      .then([body](streams::istream in) {
        return in.read_to_end(*body).then([in](pplx::task<size_t> read) {
          // The queued close works on the stream's buffer, so the stream is
          // held until the close has run.
          return in.close().then([in, read](pplx::task<void> closed) {
            try {
              closed.get();
            } catch (...) {
              // What was read is sent; a failed close changes nothing in it.
            }
            return read.get();
          });
        });
      })
      .then([this, request, body, contentType,
             caching = cacheControl(file)](pplx::task<size_t> read) {
        http_request client = request;
        try {
          read.get();
          std::vector<uint8_t> bytes = std::move(body->collection());
          const auto size = static_cast<utility::size64_t>(bytes.size());
          http_response response(status_codes::OK);
          response.set_body(streams::bytestream::open_istream(std::move(bytes)), size, contentType);
          response.headers().add("Cache-Control", caching);
          replies_.send(client, response);
        } catch (...) {
          // The file vanished between the check and the opening, or could
          // not be read.
          replies_.send(client, status_codes::NotFound);
        }
      });
}
