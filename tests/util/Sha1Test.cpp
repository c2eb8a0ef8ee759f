#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "util/Sha1.h"

namespace {

using sha1::detail::Backend;

std::string hex(const unsigned char (&hash)[20]) {
  char text[41];
  sha1::toHexString(hash, text);
  return text;
}

std::string digestWith(Backend backend, const void* data, std::size_t length) {
  unsigned char hash[20];
  sha1::detail::calcWith(backend, data, length, hash);
  return hex(hash);
}

// Every position differs from its neighbours, so byte-order and offset slips
// change the digest; the seed shifts the pattern between messages.
std::string pattern(std::size_t length, unsigned seed, unsigned step = 167) {
  std::string bytes(length, '\0');
  for (std::size_t i = 0; i < length; ++i) bytes[i] = static_cast<char>(i * step + seed);
  return bytes;
}
std::string alphabet(std::size_t length) {
  std::string text(length, '\0');
  for (std::size_t i = 0; i < length; ++i) text[i] = static_cast<char>('a' + i % 26);
  return text;
}

class Sha1Backend : public ::testing::TestWithParam<Backend> {
 protected:
  void SetUp() override {
    if (!sha1::detail::available(GetParam())) GTEST_SKIP() << "not supported by this CPU";
  }
  std::string digest(const std::string& m) const {
    return digestWith(GetParam(), m.data(), m.size());
  }
};

// 55 bytes is the longest message whose padding fits one block; 56..63 spill
// into a second; 64 and 65 cross a full block before padding starts.
TEST_P(Sha1Backend, KnownVectorsAroundEveryPaddingBoundary) {
  const std::pair<std::string, const char*> vectors[] = {
      {"", "da39a3ee5e6b4b0d3255bfef95601890afd80709"},
      {"abc", "a9993e364706816aba3e25717850c26c9cd0d89d"},
      {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
       "84983e441c3bd26ebaae4aa1f95129e5e54670f1"},
      {alphabet(55), "a617d006d1ca12671785098a19a87fe58443bde9"},
      {alphabet(56), "4ad5bb7ae3c4024768d364b77c52128ea3cffebe"},
      {alphabet(63), "fc8a5ab77259625085ead3ec96515b3b8d933fad"},
      {alphabet(64), "93249d4c2f8903ebf41ac358473148ae6ddd7042"},
      {alphabet(65), "cf2a63cc308225cf07b498d2309a01dd0df52f67"},
      {std::string(1000000, 'a'), "34aa973cd4c4daa4f61eeb2bdbad27316534016f"},
      {pattern(70001, 7, 31), "36603a91c61dc18273deae5af3aff758f34ff79c"},
      {pattern(16 * 1024 * 1024 + 13, 5), "6fa6bc9b7824d6c30d046bf36ffe1b905fcdf29e"},
  };
  for (const auto& [message, expected] : vectors) EXPECT_EQ(digest(message), expected);
  EXPECT_EQ(digestWith(GetParam(), nullptr, 0), vectors[0].second);

  // Lengths 0..200 put the padding at every offset of up to three blocks;
  // each message sits in a buffer of its own size for the address sanitizer.
  std::string chain;
  for (unsigned length = 0; length <= 200; ++length) {
    const std::string message = pattern(length, length);
    const std::vector<char> exact(message.begin(), message.end());
    chain += digestWith(GetParam(), exact.data(), exact.size());
  }
  EXPECT_EQ(digest(chain), "5c03a4cab0ddb96d39986388cf38d03ee1dc90d1");

  // Base64 text from the artwork code starts wherever its buffer does.
  for (std::size_t length : {1u, 55u, 64u, 120u, 1000u}) {
    const std::string message = pattern(length, 9);
    for (std::size_t offset = 1; offset < 16; ++offset) {
      const std::string shifted = std::string(offset, '\0') + message;
      EXPECT_EQ(digestWith(GetParam(), shifted.data() + offset, length), digest(message))
          << length << " at offset " << offset;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Backends, Sha1Backend,
                         ::testing::Values(Backend::Portable, Backend::ShaNi),
                         [](const auto& info) {
                           return info.param == Backend::Portable ? "Portable" : "ShaNi";
                         });

TEST(Sha1, CalcTakesTheFastBackendAndAgreesWithThePortableOne) {
  const Backend fast = sha1::detail::available(Backend::ShaNi) ? Backend::ShaNi : Backend::Portable;
  EXPECT_EQ(sha1::detail::active(), fast);
  std::mt19937 random(20240607u);
  for (int round = 0; round < 300; ++round) {
    const std::size_t length = round % 10 == 0 ? random() % 200000 : random() % 1200;
    const std::string message = pattern(length, random());
    unsigned char hash[20];
    sha1::calc(message.data(), static_cast<int>(length), hash);
    EXPECT_EQ(hex(hash), digestWith(Backend::Portable, message.data(), length)) << length;
  }
  unsigned char hash[20];
  sha1::calc("abc", -5, hash);
  EXPECT_EQ(hex(hash), "da39a3ee5e6b4b0d3255bfef95601890afd80709") << "negative length";

  for (int i = 0; i < 20; ++i) hash[i] = static_cast<unsigned char>(i * 13 + 0x0f);
  char text[42];
  text[41] = 'Y';
  sha1::toHexString(hash, text);
  EXPECT_EQ(std::string(text), "0f1c293643505d6a7784919eabb8c5d2dfecf906");
  EXPECT_EQ(text[41], 'Y');
}

}  // namespace
