// The small text helpers every route leans on, each checked against what its
// callers rely on. The first byte picks the helper, the rest is its input:
//
//   B<text>                          toBool
//   R<subject>\n<search>\n<replace>  strreplace
//   P<index><flags><seg>/<seg>/...   path (index is a signed byte; flag bit 0 lower-cases)
//   H<raw name>                      the host-name transform shown to clients

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "util/Support.h"

namespace {

[[noreturn]] void fail(const char* helper, const std::string& input) {
  std::fprintf(stderr, "velora fuzz: %s broke its promise on %zu bytes\n", helper, input.size());
  std::abort();
}

std::vector<std::string> split(const std::string& text, char separator, size_t limit) {
  std::vector<std::string> parts;
  size_t start = 0;
  while (parts.size() + 1 < limit) {
    const size_t at = text.find(separator, start);
    if (at == std::string::npos) break;
    parts.push_back(text.substr(start, at - start));
    start = at + 1;
  }
  parts.push_back(text.substr(start));
  return parts;
}

void checkToBool(const std::string& s) {
  if (toBool(s) != (s == "true" || s == "1")) fail("toBool", s);
}

void checkStrreplace(const std::string& input) {
  auto parts = split(input, '\n', 3);
  parts.resize(3);
  const std::string& search = parts[1];
  const std::string& replacement = parts[2];
  std::string subject = parts[0];
  // Occurrences as the scan meets them: left to right, never overlapping.
  size_t occurrences = 0;
  if (!search.empty()) {
    for (size_t at = parts[0].find(search); at != std::string::npos;
         at = parts[0].find(search, at + search.size())) {
      ++occurrences;
    }
  }
  const std::string result = strreplace(subject, search, replacement);
  if (result != subject) fail("strreplace (result and subject differ)", input);
  const size_t expected =
      parts[0].size() + occurrences * replacement.size() - occurrences * search.size();
  if (result.size() != expected) fail("strreplace (length)", input);
  if (search.empty() && result != parts[0]) fail("strreplace (empty search)", input);
}

void checkPath(const std::string& input) {
  if (input.size() < 2) return;
  const int index = static_cast<signed char>(input[0]);
  const bool lower = (input[1] & 1) != 0;
  const auto segments = split(input.substr(2), '/', 64);
  const std::string got = path(segments, index, lower);
  if (index < 0 || static_cast<size_t>(index) >= segments.size()) {
    if (!got.empty()) fail("path (out of range)", input);
    return;
  }
  const std::string& segment = segments[static_cast<size_t>(index)];
  if (got.size() != segment.size()) fail("path (length)", input);
  for (size_t i = 0; i < got.size(); ++i) {
    const char c = segment[i];
    const char want = lower && c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    if (got[i] != want) fail("path (bytes)", input);
  }
}

void checkHostName(const std::string& raw) {
  const std::string shown = displayHostName(raw);
  if (shown.find(".local") != std::string::npos) fail("displayHostName (.local left)", raw);
  if (shown.find('-') != std::string::npos) fail("displayHostName (dash left)", raw);
  if (shown.size() > raw.size()) fail("displayHostName (grew)", raw);
  if (displayHostName(shown) != shown) fail("displayHostName (not stable)", raw);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const std::string rest(reinterpret_cast<const char*>(data) + 1, size - 1);
  switch (data[0]) {
    case 'B':
      checkToBool(rest);
      break;
    case 'R':
      checkStrreplace(rest);
      break;
    case 'P':
      checkPath(rest);
      break;
    case 'H':
      checkHostName(rest);
      break;
    default:
      break;
  }
  return 0;
}
