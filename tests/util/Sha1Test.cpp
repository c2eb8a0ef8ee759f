#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "util/Sha1.h"

namespace {

std::string hexDigest(void const* data, int length) {
  unsigned char hash[20];
  char hex[41];
  sha1::calc(data, length, hash);
  sha1::toHexString(hash, hex);
  return hex;
}

std::string hexDigest(std::string const& text) {
  return hexDigest(text.data(), static_cast<int>(text.size()));
}

// Lower-case alphabet repeated: every position differs from its neighbours, so
// byte-order and offset mistakes show up in the digest.
std::string alphabet(std::size_t length) {
  std::string text(length, '\0');
  for (std::size_t i = 0; i < length; ++i) text[i] = static_cast<char>('a' + i % 26);
  return text;
}

struct Vector {
  std::string input;
  char const* digest;
};

TEST(Sha1, KnownMessages) {
  std::vector<Vector> const vectors = {
      {"", "da39a3ee5e6b4b0d3255bfef95601890afd80709"},
      {"abc", "a9993e364706816aba3e25717850c26c9cd0d89d"},
      {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
       "84983e441c3bd26ebaae4aa1f95129e5e54670f1"},
  };
  for (auto const& v : vectors) EXPECT_EQ(hexDigest(v.input), v.digest) << '"' << v.input << '"';
}

// 55 bytes is the longest message whose padding fits in one block; 56..63 spill
// into a second; 64 and 65 cross a full block before padding starts.
TEST(Sha1, LengthsAroundThePaddingBoundary) {
  struct Case {
    std::size_t length;
    char const* digest;
  };
  std::vector<Case> const cases = {
      {55, "a617d006d1ca12671785098a19a87fe58443bde9"},
      {56, "4ad5bb7ae3c4024768d364b77c52128ea3cffebe"},
      {63, "fc8a5ab77259625085ead3ec96515b3b8d933fad"},
      {64, "93249d4c2f8903ebf41ac358473148ae6ddd7042"},
      {65, "cf2a63cc308225cf07b498d2309a01dd0df52f67"},
  };
  for (auto const& c : cases) EXPECT_EQ(hexDigest(alphabet(c.length)), c.digest) << c.length;
}

TEST(Sha1, LargeBuffersInOneCall) {
  EXPECT_EQ(hexDigest(std::string(1000000, 'a')), "34aa973cd4c4daa4f61eeb2bdbad27316534016f");

  // Over 2^16 bytes, covering every byte value including those with the top bit set.
  std::vector<unsigned char> binary(70001);
  for (std::size_t i = 0; i < binary.size(); ++i) {
    binary[i] = static_cast<unsigned char>((i * 31 + 7) & 0xff);
  }
  EXPECT_EQ(hexDigest(binary.data(), static_cast<int>(binary.size())),
            "36603a91c61dc18273deae5af3aff758f34ff79c");
}

TEST(Sha1, HexStringIsLowerCaseHighNibbleFirstAndTerminated) {
  unsigned char hash[20];
  for (int i = 0; i < 20; ++i) hash[i] = static_cast<unsigned char>(i * 13 + 0x0f);
  char hex[42];
  hex[40] = 'X';
  hex[41] = 'Y';
  sha1::toHexString(hash, hex);
  EXPECT_EQ(std::string(hex), "0f1c293643505d6a7784919eabb8c5d2dfecf906");
  EXPECT_EQ(hex[41], 'Y');
}

TEST(Sha1, ConcurrentCallsAgree) {
  std::string const text = alphabet(100000);
  std::string const expected = hexDigest(text);
  std::vector<std::string> results(8);
  std::vector<std::thread> threads;
  for (auto& result : results) {
    threads.emplace_back([&text, &result] { result = hexDigest(text); });
  }
  for (auto& t : threads) t.join();
  for (auto const& result : results) EXPECT_EQ(result, expected);
}

// The same vectors through each compression backend by name, so the portable
// fallback stays verified on machines where calc() never reaches it.
using sha1::detail::Backend;

class Sha1Backend : public ::testing::TestWithParam<Backend> {
 protected:
  void SetUp() override {
    if (!sha1::detail::available(GetParam())) {
      GTEST_SKIP() << sha1::detail::name(GetParam()) << " is not supported by this CPU";
    }
  }

  std::string digest(void const* data, std::size_t length) const {
    return digestWith(GetParam(), data, length);
  }
  std::string digest(std::string const& text) const { return digest(text.data(), text.size()); }

 public:
  static std::string digestWith(Backend backend, void const* data, std::size_t length) {
    unsigned char hash[20];
    char hex[41];
    sha1::detail::calcWith(backend, data, length, hash);
    sha1::toHexString(hash, hex);
    return hex;
  }
};

// Every byte value appears, so a byte-order or sign-extension slip changes the
// digest; the seed shifts the pattern between messages.
std::vector<unsigned char> pattern(std::size_t length, unsigned seed) {
  std::vector<unsigned char> bytes(length);
  for (std::size_t i = 0; i < length; ++i) bytes[i] = static_cast<unsigned char>(i * 167 + seed);
  return bytes;
}

TEST_P(Sha1Backend, StandardVectors) {
  EXPECT_EQ(digest(""), "da39a3ee5e6b4b0d3255bfef95601890afd80709");
  EXPECT_EQ(digest(nullptr, 0), "da39a3ee5e6b4b0d3255bfef95601890afd80709");
  EXPECT_EQ(digest("abc"), "a9993e364706816aba3e25717850c26c9cd0d89d");
  EXPECT_EQ(digest("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
            "84983e441c3bd26ebaae4aa1f95129e5e54670f1");
  EXPECT_EQ(digest(std::string(1000000, 'a')), "34aa973cd4c4daa4f61eeb2bdbad27316534016f");
  EXPECT_EQ(digest(alphabet(55)), "a617d006d1ca12671785098a19a87fe58443bde9");
  EXPECT_EQ(digest(alphabet(56)), "4ad5bb7ae3c4024768d364b77c52128ea3cffebe");
  EXPECT_EQ(digest(alphabet(64)), "93249d4c2f8903ebf41ac358473148ae6ddd7042");
}

// Lengths 0..200 cover one, two and three blocks with the padding landing at
// every offset (55/56, 63/64, 119/120 are the boundaries). Each message sits in
// a buffer of exactly its size so a backend reading past the end trips the
// address sanitizer. The digests are chained into one reference value computed
// by an independent tool.
TEST_P(Sha1Backend, EveryLengthUpTo200) {
  std::string chain;
  for (unsigned length = 0; length <= 200; ++length) {
    std::vector<unsigned char> const message = pattern(length, length);
    chain += digest(message.data(), message.size());
  }
  EXPECT_EQ(digest(chain), "5c03a4cab0ddb96d39986388cf38d03ee1dc90d1");
}

TEST_P(Sha1Backend, LargeBufferInOneCall) {
  std::vector<unsigned char> const big = pattern(16 * 1024 * 1024 + 13, 5);
  EXPECT_EQ(digest(big.data(), big.size()), "6fa6bc9b7824d6c30d046bf36ffe1b905fcdf29e");
}

// Base64 text handed over by the artwork code starts wherever the string's
// buffer does; the vector loads must not assume alignment.
TEST_P(Sha1Backend, UnalignedInput) {
  for (std::size_t length : {1u, 55u, 64u, 120u, 1000u}) {
    std::vector<unsigned char> const message = pattern(length, 9);
    std::string const expected = digest(message.data(), message.size());
    for (std::size_t offset = 1; offset < 16; ++offset) {
      std::vector<unsigned char> shifted(offset + length);
      std::copy(message.begin(), message.end(), shifted.begin() + offset);
      EXPECT_EQ(digest(shifted.data() + offset, length), expected)
          << "length " << length << " offset " << offset;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Backends, Sha1Backend,
                         ::testing::Values(Backend::Portable, Backend::ShaNi),
                         [](::testing::TestParamInfo<Backend> const& info) {
                           return info.param == Backend::Portable ? "Portable" : "ShaNi";
                         });

TEST(Sha1Backends, AgreeOnRandomBuffersOfRandomLengths) {
  if (!sha1::detail::available(Backend::ShaNi)) GTEST_SKIP() << "no SHA extensions on this CPU";
  std::mt19937 random(20240607u);
  std::uniform_int_distribution<int> byte(0, 255);
  for (int round = 0; round < 300; ++round) {
    // Mostly short messages, where the padding logic matters, some long ones.
    std::size_t const length = round % 10 == 0 ? random() % 200000 : random() % 1200;
    std::size_t const offset = random() % 16;
    std::vector<unsigned char> buffer(offset + length);
    for (auto& b : buffer) b = static_cast<unsigned char>(byte(random));
    unsigned char const* data = buffer.data() + offset;
    EXPECT_EQ(Sha1Backend::digestWith(Backend::ShaNi, data, length),
              Sha1Backend::digestWith(Backend::Portable, data, length))
        << "length " << length << " offset " << offset;
  }
}

// calc() must take the fast path where the CPU has one: falling back to the
// portable code silently would cost artwork throughput but pass every test.
TEST(Sha1Backends, CalcUsesTheFastestAvailableBackend) {
  Backend const expected =
      sha1::detail::available(Backend::ShaNi) ? Backend::ShaNi : Backend::Portable;
  EXPECT_EQ(sha1::detail::active(), expected);
  std::vector<unsigned char> const message = pattern(777, 3);
  EXPECT_EQ(hexDigest(message.data(), static_cast<int>(message.size())),
            Sha1Backend::digestWith(expected, message.data(), message.size()));
}

TEST(Sha1, NegativeLengthHashesNothing) {
  EXPECT_EQ(hexDigest("abc", -5), "da39a3ee5e6b4b0d3255bfef95601890afd80709");
}

}  // namespace
