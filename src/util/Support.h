#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

// A fresh random (version 4) UUID in the 36-character 8-4-4-4-12 form.
std::string newUUID();

// The machine name as shown to users; "" when the name cannot be read.
std::string getHostName();

// Turns a raw host name into a friendlier label: every ".local" is dropped and
// every "-" becomes a space.
std::string displayHostName(std::string raw);

// Diagnostic lines on std::cout, flushed at once so they interleave sensibly
// with output from other threads and processes.
void log_str(std::string s);
void log_str(std::string s, int n);
void log_str(std::string s, std::string t);

// Only "true" and "1" count as true; anything else, including other spellings, is false.
bool toBool(std::string s);

// Replaces every occurrence of search in subject, in place, and returns the result.
// Scanning resumes behind each inserted replacement, so a replacement containing
// the search text cannot make it loop. An empty search leaves subject alone.
std::string strreplace(std::string& subject, std::string const& search,
                       std::string const& replacement);

namespace utility {
namespace conversions {

// "" for a null pointer, otherwise a copy of the text.
std::string to_string_t(char const* s);

// ASCII lower-casing byte by byte; bytes outside ASCII are left as they are.
std::string str_tolower(std::string s);

// Always returns an empty map.
std::map<std::string, std::string> toLower(std::map<std::string, std::string> m);

}  // namespace conversions
}  // namespace utility

// The folder holding the running executable, without a trailing "/"; "." if unknown.
std::string find_executable_folder();

// True when the path can be opened for reading. Folders qualify too; a path
// holding a NUL byte never does.
bool validPath(std::string path);

// Size in bytes of the file at path, or -1 when it cannot be opened.
std::int64_t filesize(char const* path);

// segments[index], lower-cased when lower is set; "" when index is out of range.
std::string path(std::vector<std::string> const& segments, int index, bool lower);

// zlib-compresses s up to its first NUL byte. Returns s unchanged if compression fails.
std::string compressString(std::string const& s);
// The gzip stream of s (for HTTP's Content-Encoding: gzip), at the default level.
std::string gzipString(std::string const& s);

// Hands memory freed after a request that held `bytes` back to the system
// when they were many (1 MiB or more). The allocator keeps freed memory for
// reuse, and after a big body it would keep hundreds of megabytes that no
// request needs again.
void returnFreedMemory(size_t bytes);
