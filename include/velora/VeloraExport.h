#pragma once

// Symbols a host links against carry default visibility; everything else in
// the shared library stays hidden.
#if defined(_WIN32)
#define VELORA_API
#else
#define VELORA_API __attribute__((visibility("default")))
#endif
