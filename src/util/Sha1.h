#pragma once

#include <cstddef>

namespace sha1 {

// Hashes bytelength bytes at src and writes the 20-byte digest to hash.
// A negative length is treated as zero.
void calc(void const* src, int bytelength, unsigned char* hash);

// Writes the 40 lower-case hex digits of a 20-byte digest plus a terminating
// NUL, so hexstring must hold at least 41 bytes.
void toHexString(unsigned char const* hash, char* hexstring);

// Internal: lets the tests and the benchmark name an implementation of the
// compression function instead of taking the one picked for this CPU.
namespace detail {

enum class Backend {
  Portable,  // plain C++, runs everywhere
  ShaNi,     // x86-64 SHA extensions; only on CPUs that have them
};

// True when this build contains the backend and the CPU can run it.
bool available(Backend backend);

// The backend calc() uses; the fastest available one, chosen at first use.
Backend active();

// Printable name of a backend, for test and benchmark output.
char const* name(Backend backend);

// calc() through the given backend. An unavailable backend falls back to the
// portable one rather than executing instructions the CPU lacks.
void calcWith(Backend backend, void const* src, std::size_t length, unsigned char* hash);

}  // namespace detail
}  // namespace sha1
