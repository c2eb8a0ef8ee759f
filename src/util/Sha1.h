#pragma once

namespace sha1 {

// Hashes bytelength bytes at src and writes the 20-byte digest to hash.
// A negative length is treated as zero.
void calc(void const* src, int bytelength, unsigned char* hash);

// Writes the 40 lower-case hex digits of a 20-byte digest plus a terminating
// NUL, so hexstring must hold at least 41 bytes.
void toHexString(unsigned char const* hash, char* hexstring);

}  // namespace sha1
