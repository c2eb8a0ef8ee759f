#include "util/Sha1.h"

#include <cstdint>
#include <cstring>

#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
#define VELORA_SHA1_X86 1
#include <cpuid.h>
#include <immintrin.h>
#else
#define VELORA_SHA1_X86 0
#endif

namespace sha1 {
namespace {

using std::uint32_t;

// The round helpers must be inlined for the unrolled rounds to keep the state
// in registers. GCC's size heuristics count the whole translation unit, which
// here includes the HTTP library's headers through the precompiled header, and
// left the schedule as a call per round: 2.5x slower. So inlining is forced.
#if defined(__GNUC__) || defined(__clang__)
#define VELORA_SHA1_INLINE inline __attribute__((always_inline))
#else
#define VELORA_SHA1_INLINE inline
#endif

constexpr std::size_t kBlockBytes = 64;

VELORA_SHA1_INLINE uint32_t rol(uint32_t value, int steps) {
  return (value << steps) | (value >> (32 - steps));
}

VELORA_SHA1_INLINE uint32_t loadBigEndian(unsigned char const* p) {
#if defined(__GNUC__) && defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
  // One unaligned load and a byte swap instead of four loads and shifts.
  uint32_t word;
  std::memcpy(&word, p, sizeof word);
  return __builtin_bswap32(word);
#else
  return (static_cast<uint32_t>(p[0]) << 24) | (static_cast<uint32_t>(p[1]) << 16) |
         (static_cast<uint32_t>(p[2]) << 8) | static_cast<uint32_t>(p[3]);
#endif
}

// ---------------------------------------------------------------------------
// Portable backend.

// Round functions in the forms that need the fewest operations. In the
// majority function the two terms never share a set bit, so + equals |, and
// + lets the compiler fold it into the round's addition chain.
VELORA_SHA1_INLINE uint32_t choose(uint32_t b, uint32_t c, uint32_t d) { return d ^ (b & (c ^ d)); }
VELORA_SHA1_INLINE uint32_t parity(uint32_t b, uint32_t c, uint32_t d) { return b ^ c ^ d; }
VELORA_SHA1_INLINE uint32_t majority(uint32_t b, uint32_t c, uint32_t d) {
  return (b & c) + (d & (b ^ c));
}

// Word t of the message schedule. Only sixteen words are kept: word t
// overwrites word t - 16, which no later round reads.
VELORA_SHA1_INLINE uint32_t schedule(uint32_t* w, int t) {
  if (t < 16) return w[t];
  uint32_t const next = rol(w[(t - 3) & 15] ^ w[(t - 8) & 15] ^ w[(t - 14) & 15] ^ w[t & 15], 1);
  w[t & 15] = next;
  return next;
}

// One round. Instead of shifting five variables each round, the callers
// rotate the names, so every round is a single addition chain.
#define VELORA_SHA1_ROUND(a, b, c, d, e, f, k, t)       \
  e += rol(a, 5) + f(b, c, d) + (k) + schedule(w, (t)); \
  b = rol(b, 30)

// Five rounds bring the names back to where they started.
#define VELORA_SHA1_FIVE(f, k, t)                  \
  VELORA_SHA1_ROUND(a, b, c, d, e, f, k, (t));     \
  VELORA_SHA1_ROUND(e, a, b, c, d, f, k, (t) + 1); \
  VELORA_SHA1_ROUND(d, e, a, b, c, f, k, (t) + 2); \
  VELORA_SHA1_ROUND(c, d, e, a, b, f, k, (t) + 3); \
  VELORA_SHA1_ROUND(b, c, d, e, a, f, k, (t) + 4)

// Compresses one block into the five-word state. w holds the block's sixteen
// big-endian words and is scratch space afterwards.
VELORA_SHA1_INLINE void innerHash(uint32_t* result, uint32_t* w) {
  uint32_t a = result[0];
  uint32_t b = result[1];
  uint32_t c = result[2];
  uint32_t d = result[3];
  uint32_t e = result[4];

  VELORA_SHA1_FIVE(choose, 0x5a827999u, 0);
  VELORA_SHA1_FIVE(choose, 0x5a827999u, 5);
  VELORA_SHA1_FIVE(choose, 0x5a827999u, 10);
  VELORA_SHA1_FIVE(choose, 0x5a827999u, 15);
  VELORA_SHA1_FIVE(parity, 0x6ed9eba1u, 20);
  VELORA_SHA1_FIVE(parity, 0x6ed9eba1u, 25);
  VELORA_SHA1_FIVE(parity, 0x6ed9eba1u, 30);
  VELORA_SHA1_FIVE(parity, 0x6ed9eba1u, 35);
  VELORA_SHA1_FIVE(majority, 0x8f1bbcdcu, 40);
  VELORA_SHA1_FIVE(majority, 0x8f1bbcdcu, 45);
  VELORA_SHA1_FIVE(majority, 0x8f1bbcdcu, 50);
  VELORA_SHA1_FIVE(majority, 0x8f1bbcdcu, 55);
  VELORA_SHA1_FIVE(parity, 0xca62c1d6u, 60);
  VELORA_SHA1_FIVE(parity, 0xca62c1d6u, 65);
  VELORA_SHA1_FIVE(parity, 0xca62c1d6u, 70);
  VELORA_SHA1_FIVE(parity, 0xca62c1d6u, 75);

  result[0] += a;
  result[1] += b;
  result[2] += c;
  result[3] += d;
  result[4] += e;
}

#undef VELORA_SHA1_FIVE
#undef VELORA_SHA1_ROUND

void compressPortable(uint32_t* state, unsigned char const* data, std::size_t blocks) {
  uint32_t w[16];
  for (; blocks > 0; --blocks, data += kBlockBytes) {
    for (int i = 0; i < 16; ++i) w[i] = loadBigEndian(data + 4 * i);
    innerHash(state, w);
  }
}

// ---------------------------------------------------------------------------
// SHA extensions backend (x86-64). Compiled for those instructions function by
// function, so the library as a whole still runs on CPUs without them; it is
// only ever called after the CPU has been asked.

#if VELORA_SHA1_X86
#define VELORA_SHANI_TARGET __attribute__((target("sha,sse4.1,ssse3")))

// Rounds 4j..4j+3. m holds four message words per register, the first in the
// top lane; m[j % 4] holds words 4j..4j+3 on entry. Words 4j+4..4j+19 are
// built three groups ahead: msg1 for the register read one group ago, the XOR
// two groups ago and msg2 three groups ago, each needing the words just used.
// e[j % 2] carries the E input of this group, computed by nexte from the state
// the other slot saved one group earlier.
template <int J>
VELORA_SHANI_TARGET __attribute__((always_inline)) inline void shaNiGroup(__m128i& abcd,
                                                                          __m128i (&e)[2],
                                                                          __m128i (&m)[4]) {
  __m128i& current = e[J & 1];
  if (J == 0) {
    current = _mm_add_epi32(current, m[0]);
  } else {
    current = _mm_sha1nexte_epu32(current, m[J & 3]);
  }
  e[(J + 1) & 1] = abcd;
  if (J >= 3 && J <= 18) m[(J + 1) & 3] = _mm_sha1msg2_epu32(m[(J + 1) & 3], m[J & 3]);
  abcd = _mm_sha1rnds4_epu32(abcd, current, J / 5);
  if (J >= 1 && J <= 16) m[(J - 1) & 3] = _mm_sha1msg1_epu32(m[(J - 1) & 3], m[J & 3]);
  if (J >= 2 && J <= 17) m[(J - 2) & 3] = _mm_xor_si128(m[(J - 2) & 3], m[J & 3]);
}

VELORA_SHANI_TARGET void compressShaNi(uint32_t* state, unsigned char const* data,
                                       std::size_t blocks) {
  // Reverses all sixteen bytes: each word becomes big-endian and the first
  // word lands in the top lane, where the instructions expect it.
  __m128i const byteSwap = _mm_set_epi64x(0x0001020304050607LL, 0x08090a0b0c0d0e0fLL);
  __m128i abcd = _mm_shuffle_epi32(_mm_loadu_si128(reinterpret_cast<__m128i const*>(state)), 0x1b);
  __m128i e0 = _mm_set_epi32(static_cast<int>(state[4]), 0, 0, 0);

  for (; blocks > 0; --blocks, data += kBlockBytes) {
    __m128i const abcdSaved = abcd;
    __m128i const eSaved = e0;
    __m128i m[4];
    for (int i = 0; i < 4; ++i) {
      m[i] = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<__m128i const*>(data + 16 * i)),
                              byteSwap);
    }
    __m128i e[2] = {e0, _mm_setzero_si128()};

    shaNiGroup<0>(abcd, e, m);
    shaNiGroup<1>(abcd, e, m);
    shaNiGroup<2>(abcd, e, m);
    shaNiGroup<3>(abcd, e, m);
    shaNiGroup<4>(abcd, e, m);
    shaNiGroup<5>(abcd, e, m);
    shaNiGroup<6>(abcd, e, m);
    shaNiGroup<7>(abcd, e, m);
    shaNiGroup<8>(abcd, e, m);
    shaNiGroup<9>(abcd, e, m);
    shaNiGroup<10>(abcd, e, m);
    shaNiGroup<11>(abcd, e, m);
    shaNiGroup<12>(abcd, e, m);
    shaNiGroup<13>(abcd, e, m);
    shaNiGroup<14>(abcd, e, m);
    shaNiGroup<15>(abcd, e, m);
    shaNiGroup<16>(abcd, e, m);
    shaNiGroup<17>(abcd, e, m);
    shaNiGroup<18>(abcd, e, m);
    shaNiGroup<19>(abcd, e, m);

    // e[0] holds the state before the last group; nexte rotates its A into
    // the final E and adds the E this block started from.
    e0 = _mm_sha1nexte_epu32(e[0], eSaved);
    abcd = _mm_add_epi32(abcd, abcdSaved);
  }

  _mm_storeu_si128(reinterpret_cast<__m128i*>(state), _mm_shuffle_epi32(abcd, 0x1b));
  state[4] = static_cast<uint32_t>(_mm_extract_epi32(e0, 3));
}

#undef VELORA_SHANI_TARGET

bool cpuHasShaNi() {
#if defined(__GNUC__) && !defined(__clang__) && __GNUC__ >= 12
  __builtin_cpu_init();
  return __builtin_cpu_supports("sha") && __builtin_cpu_supports("sse4.1") &&
         __builtin_cpu_supports("ssse3");
#else
  unsigned int eax = 0, ebx = 0, ecx = 0, edx = 0;
  if (!__get_cpuid(1, &eax, &ebx, &ecx, &edx)) return false;
  bool const shuffles = (ecx & bit_SSSE3) != 0 && (ecx & bit_SSE4_1) != 0;
  if (!__get_cpuid_count(7, 0, &eax, &ebx, &ecx, &edx)) return false;
  return shuffles && (ebx & (1u << 29)) != 0;
#endif
}
#endif  // VELORA_SHA1_X86

// ---------------------------------------------------------------------------
// Choosing a backend.

// A backend compresses a run of whole blocks, so the loop over a large buffer
// stays inside it and the indirect call is paid once per message, not per block.
using CompressFn = void (*)(uint32_t* state, unsigned char const* data, std::size_t blocks);

bool supported(detail::Backend backend) {
  switch (backend) {
    case detail::Backend::Portable:
      return true;
    case detail::Backend::ShaNi:
#if VELORA_SHA1_X86
    {
      static bool const hasShaNi = cpuHasShaNi();
      return hasShaNi;
    }
#else
      return false;
#endif
  }
  return false;
}

CompressFn compressorFor(detail::Backend backend) {
#if VELORA_SHA1_X86
  if (backend == detail::Backend::ShaNi && supported(backend)) return &compressShaNi;
#else
  (void)backend;
#endif
  return &compressPortable;
}

detail::Backend chooseBackend() {
  return supported(detail::Backend::ShaNi) ? detail::Backend::ShaNi : detail::Backend::Portable;
}

void hashWith(CompressFn compress, void const* src, std::size_t length, unsigned char* hash) {
  uint32_t state[5] = {0x67452301u, 0xefcdab89u, 0x98badcfeu, 0x10325476u, 0xc3d2e1f0u};
  unsigned char const* bytes = static_cast<unsigned char const*>(src);

  std::size_t const fullBlocks = length / kBlockBytes;
  if (fullBlocks > 0) compress(state, bytes, fullBlocks);

  // The tail, the 0x80 marker and the 64-bit length need one block, or two
  // when fewer than nine bytes remain free in the first.
  unsigned char tail[2 * kBlockBytes] = {};
  std::size_t const rest = length - fullBlocks * kBlockBytes;
  if (rest > 0) std::memcpy(tail, bytes + fullBlocks * kBlockBytes, rest);
  tail[rest] = 0x80;
  std::size_t const tailBytes = rest + 9 <= kBlockBytes ? kBlockBytes : 2 * kBlockBytes;

  std::uint64_t const bitLength = static_cast<std::uint64_t>(length) * 8u;
  for (int i = 0; i < 8; ++i) {
    tail[tailBytes - 1 - i] = static_cast<unsigned char>(bitLength >> (8 * i));
  }
  compress(state, tail, tailBytes / kBlockBytes);

  for (int i = 0; i < 20; ++i) {
    hash[i] = static_cast<unsigned char>(state[i / 4] >> (24 - 8 * (i % 4)));
  }
}

}  // namespace

namespace detail {

bool available(Backend backend) { return supported(backend); }

Backend active() {
  static Backend const chosen = chooseBackend();
  return chosen;
}

char const* name(Backend backend) {
  switch (backend) {
    case Backend::Portable:
      return "portable";
    case Backend::ShaNi:
      return "sha-ni";
  }
  return "unknown";
}

void calcWith(Backend backend, void const* src, std::size_t length, unsigned char* hash) {
  hashWith(compressorFor(backend), src, length, hash);
}

}  // namespace detail

void calc(void const* src, int bytelength, unsigned char* hash) {
  static CompressFn const compress = compressorFor(detail::active());
  std::size_t const length = bytelength > 0 ? static_cast<std::size_t>(bytelength) : 0;
  hashWith(compress, src, length, hash);
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
