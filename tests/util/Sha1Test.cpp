#include <gtest/gtest.h>

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

}  // namespace
