#include "util/Sha1.h"

#include <cstdint>
#include <cstring>

namespace sha1 {
namespace {

static_assert(sizeof(unsigned int) == 4, "SHA-1 state words must be 32 bits wide");

constexpr int kBlockBytes = 64;

inline unsigned int rol(unsigned int value, int steps) {
  return (value << steps) | (value >> (32 - steps));
}

// One compression step over a single 64-byte block. The caller has placed the
// block's sixteen big-endian words in w[0..15]; the rest of the 80-word
// schedule is expanded here, so w is scratch space after the call.
void innerHash(unsigned int* result, unsigned int* w) {
  for (int t = 16; t < 80; ++t) {
    w[t] = rol(w[t - 3] ^ w[t - 8] ^ w[t - 14] ^ w[t - 16], 1);
  }

  unsigned int a = result[0];
  unsigned int b = result[1];
  unsigned int c = result[2];
  unsigned int d = result[3];
  unsigned int e = result[4];

  auto round = [&](unsigned int f, unsigned int k, int t) {
    unsigned int const temp = rol(a, 5) + f + e + k + w[t];
    e = d;
    d = c;
    c = rol(b, 30);
    b = a;
    a = temp;
  };

  int t = 0;
  for (; t < 20; ++t) round((b & c) | (~b & d), 0x5a827999u, t);
  for (; t < 40; ++t) round(b ^ c ^ d, 0x6ed9eba1u, t);
  for (; t < 60; ++t) round((b & c) | (b & d) | (c & d), 0x8f1bbcdcu, t);
  for (; t < 80; ++t) round(b ^ c ^ d, 0xca62c1d6u, t);

  result[0] += a;
  result[1] += b;
  result[2] += c;
  result[3] += d;
  result[4] += e;
}

// The compression function is reached through a pointer so that a faster
// implementation tuned for the CPU can be slotted in once, at first use, without
// touching the padding and block-walking logic below.
using CompressFn = void (*)(unsigned int* result, unsigned int* w);

CompressFn chooseBackend() { return &innerHash; }

CompressFn backend() {
  static CompressFn const chosen = chooseBackend();
  return chosen;
}

void compressBlock(CompressFn compress, unsigned int* state, unsigned char const* block) {
  unsigned int w[80];
  for (int i = 0; i < 16; ++i) {
    unsigned char const* p = block + 4 * i;
    w[i] = (static_cast<unsigned int>(p[0]) << 24) | (static_cast<unsigned int>(p[1]) << 16) |
           (static_cast<unsigned int>(p[2]) << 8) | static_cast<unsigned int>(p[3]);
  }
  compress(state, w);
}

}  // namespace

void calc(void const* src, int bytelength, unsigned char* hash) {
  unsigned int state[5] = {0x67452301u, 0xefcdab89u, 0x98badcfeu, 0x10325476u, 0xc3d2e1f0u};

  std::size_t const length = bytelength > 0 ? static_cast<std::size_t>(bytelength) : 0;
  unsigned char const* bytes = static_cast<unsigned char const*>(src);
  CompressFn const compress = backend();

  std::size_t offset = 0;
  for (; offset + kBlockBytes <= length; offset += kBlockBytes) {
    compressBlock(compress, state, bytes + offset);
  }

  // The tail, the 0x80 marker and the 64-bit length need one block, or two
  // when fewer than nine bytes remain free in the first.
  unsigned char tail[2 * kBlockBytes] = {};
  std::size_t const rest = length - offset;
  if (rest > 0) std::memcpy(tail, bytes + offset, rest);
  tail[rest] = 0x80;
  std::size_t const tailBytes = rest + 9 <= kBlockBytes ? kBlockBytes : 2 * kBlockBytes;

  std::uint64_t const bitLength = static_cast<std::uint64_t>(length) * 8u;
  for (int i = 0; i < 8; ++i) {
    tail[tailBytes - 1 - i] = static_cast<unsigned char>(bitLength >> (8 * i));
  }
  for (std::size_t block = 0; block < tailBytes; block += kBlockBytes) {
    compressBlock(compress, state, tail + block);
  }

  for (int i = 0; i < 20; ++i) {
    hash[i] = static_cast<unsigned char>(state[i / 4] >> (24 - 8 * (i % 4)));
  }
}

void toHexString(unsigned char const* hash, char* hexstring) {
  static char const kDigits[] = "0123456789abcdef";
  for (int i = 0; i < 20; ++i) {
    hexstring[2 * i] = kDigits[(hash[i] >> 4) & 0xf];
    hexstring[2 * i + 1] = kDigits[hash[i] & 0xf];
  }
  hexstring[40] = '\0';
}

}  // namespace sha1
