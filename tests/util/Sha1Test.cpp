#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "util/Sha1.h"

namespace {

using sha1::detail::Backend;

// ASan catches a write past the 41 bytes.
std::string hex(const unsigned char* hash) {
  char text[41];
  sha1::toHexString(hash, text);
  return text;
}

// Every byte differs from its neighbours, so byte-order and offset slips
// change the digest; the seed shifts the pattern between messages.
std::string pattern(std::size_t length, unsigned seed, unsigned step = 167) {
  std::string bytes(length, '\0');
  for (std::size_t i = 0; i < length; ++i) bytes[i] = static_cast<char>(i * step + seed);
  return bytes;
}

TEST(Sha1, KnownVectorsAroundEveryPaddingBoundaryOnEveryBackend) {
  const std::pair<std::string, const char*> vectors[] = {
      {"", "da39a3ee5e6b4b0d3255bfef95601890afd80709"},
      {"abc", "a9993e364706816aba3e25717850c26c9cd0d89d"},
      {std::string(1000000, 'a'), "34aa973cd4c4daa4f61eeb2bdbad27316534016f"},
      {pattern(16 * 1024 * 1024 + 13, 5), "6fa6bc9b7824d6c30d046bf36ffe1b905fcdf29e"},
  };
  unsigned char hash[20];
  // calc() with the backend picked for this CPU.
  for (const auto& [message, expected] : vectors) {
    sha1::calc(message.data(), static_cast<int>(message.size()), hash);
    EXPECT_EQ(hex(hash), expected) << message.size() << " bytes";
  }
  sha1::calc("abc", -5, hash);
  EXPECT_EQ(hex(hash), vectors[0].second) << "a negative length hashes nothing";

  for (Backend backend : {Backend::Portable, Backend::ShaNi}) {
    if (!sha1::detail::available(backend)) continue;
    SCOPED_TRACE(sha1::detail::name(backend));
    const auto digest = [&](const void* data, std::size_t length) {
      sha1::detail::calcWith(backend, data, length, hash);
      return hex(hash);
    };
    for (const auto& [m, expected] : vectors) EXPECT_EQ(digest(m.data(), m.size()), expected);
    // Lengths 0..200 put the padding at every offset of up to three blocks (55
    // is the last to pad within one). Each message starts 0..15 bytes into a
    // buffer of its own size: artwork Base64 starts anywhere, and ASan sees
    // any overread.
    std::string chain;
    for (unsigned length = 0; length <= 200; ++length) {
      std::vector<char> buffer(length % 16);
      const std::string message = pattern(length, length);
      buffer.insert(buffer.end(), message.begin(), message.end());
      chain += digest(buffer.data() + length % 16, length);
    }
    EXPECT_EQ(digest(chain.data(), chain.size()), "5c03a4cab0ddb96d39986388cf38d03ee1dc90d1");
  }
}

}  // namespace
