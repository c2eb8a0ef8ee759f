// The request reader with its limits, fed an input as a connection would
// deliver it: in pieces whose sizes the first byte chooses, with whatever
// follows a request taken as the next one (pipelining).
//
// Findings besides crashes and sanitizer reports: a refusal with a status
// other than 400, 414 or 431; a request let through with a line, headers or
// body over the limits; unread bytes that grow past what the limits allow.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "http/RequestReader.h"

namespace {

void fail(const std::string& what) {
  std::fprintf(stderr, "request_heads: %s\n", what.c_str());
  std::abort();
}

constexpr size_t kMostBuffered = RequestLimits::kLine + RequestLimits::kHeaders + 4;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const size_t piece = 1 + data[0] % 64;
  RequestReader reader;
  for (size_t at = 1; at < size;) {
    const size_t n = std::min(piece, size - at);
    auto room = reader.buffer().prepare(n);
    std::memcpy(room.data(), data + at, n);
    reader.buffer().commit(n);
    at += n;
    for (bool again = true; again;) {
      again = false;
      switch (reader.step()) {
        case RequestReader::Step::More:
          if (reader.buffer().size() > kMostBuffered + piece) {
            fail("buffered past the limits: " + std::to_string(reader.buffer().size()));
          }
          break;
        case RequestReader::Step::Reject: {
          const unsigned status = reader.rejectStatus();
          if (status != 400 && status != 414 && status != 431) {
            fail("refused with " + std::to_string(status));
          }
          return 0;  // the connection closes
        }
        case RequestReader::Step::Oversized:
          return 0;  // answered, then the connection closes
        case RequestReader::Step::Ready: {
          auto& message = reader.message();
          if (message.target().size() > RequestLimits::kLine) fail("target over the limit");
          if (message.body().size() > RequestLimits::kBody) fail("body over the limit");
          size_t fields = 0;
          for (const auto& field : message)
            fields += field.name_string().size() + field.value().size() + 4;
          if (fields > RequestLimits::kHeaders + 2) fail("headers over the limit");
          reader.next();
          again = reader.buffer().size() > 0;
          break;
        }
      }
    }
  }
  return 0;
}
