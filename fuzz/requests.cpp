// The four HTTP entry points, driven by a short script of requests against a
// fresh service with a recording host and one approved client (token
// "fuzz-token"). An input is text, one directive per line:
//
//   GET /playback?volume=40          a request: method, then the relative URI
//   POST /irc/setpreset?token=fuzz-token
//   {"name":"Hall","id":9}           lines up to the next request: its body
//   ANSWER onLogin 7                 the host answers that callback with 7
//   INIT                             the host empties the state documents
//
// Findings besides crashes and sanitizer reports: a request left without a
// reply, and a reply status that no route gives.

#include <cstddef>
#include <cstdint>
#include <set>
#include <sstream>
#include <string>

#include "FuzzHarness.h"

namespace {

constexpr int kMaxRequests = 16;

bool startsWith(const std::string& line, const char* prefix) {
  return line.compare(0, std::char_traits<char>::length(prefix), prefix) == 0;
}

struct Request {
  web::http::method method;
  std::string uri;
  std::string body;
};

void run(velora_fuzz::FuzzService& s, const Request& request) {
  static const std::set<int> kDefined = {200, 304, 400, 401, 403, 404, 500, 501, 503};
  const int status = velora_fuzz::handle(*s, request.method, request.uri, request.body);
  if (status != 0 && kDefined.count(status) == 0) {
    velora_fuzz::fail("status " + std::to_string(status) + " for " + request.method + " " +
                      request.uri);
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  velora_fuzz::initialize();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  velora_fuzz::FuzzService s;
  std::istringstream lines(text);
  std::string line;
  Request pending;
  bool havePending = false;
  int sent = 0;
  auto flush = [&] {
    if (havePending && sent < kMaxRequests) {
      run(s, pending);
      ++sent;
    }
    havePending = false;
  };
  while (std::getline(lines, line)) {
    const char* kMethods[] = {"GET ", "POST ", "PUT ", "DELETE "};
    bool isRequest = false;
    for (const char* m : kMethods) {
      if (startsWith(line, m)) {
        flush();
        const size_t space = std::char_traits<char>::length(m) - 1;
        pending = Request{line.substr(0, space), line.substr(space + 1), ""};
        havePending = isRequest = true;
        break;
      }
    }
    if (isRequest) continue;
    if (startsWith(line, "ANSWER ")) {
      flush();
      std::istringstream words(line.substr(7));
      std::string callback;
      int status = 0;
      if (words >> callback >> status) s.host.answer(callback, status);
    } else if (line == "INIT") {
      flush();
      s->Init();
    } else if (havePending) {
      if (!pending.body.empty()) pending.body += '\n';
      pending.body += line;
    }
  }
  flush();
  return 0;
}
