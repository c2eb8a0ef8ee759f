#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <filesystem>
#include <future>
#include <array>
#include <set>

#include "support/TestHttp.h"
#include "util/Support.h"

// Our own to_string_t(char const*) has to live beside the library's overloads
// without making ordinary calls ambiguous.
#include <cpprest/asyncrt_utils.h>

namespace {

std::string inflate(const std::string& compressed, std::size_t length) {
  std::string out(length + 1, '\0');
  uLongf size = static_cast<uLongf>(out.size());
  if (uncompress(reinterpret_cast<Bytef*>(&out[0]), &size,
                 reinterpret_cast<const Bytef*>(compressed.data()),
                 static_cast<uLong>(compressed.size())) != Z_OK) {
    return "<not a zlib stream>";
  }
  out.resize(size);
  return out;
}

TEST(Support, TextHelpersOnTheirEdgeCases) {
  const std::pair<const char*, const char*> hostNames[] = {
      {"Studio-Mac-mini.local", "Studio Mac mini"},
      {"host.local.lan", "host.lan"},
      {".local", ""},
      {"a.local.local-b", "a b"},
      {"x.lo.localcal", "x"},
      {"host.LOCAL", "host.LOCAL"}};
  for (const auto& [raw, shown] : hostNames) EXPECT_EQ(displayHostName(raw), shown) << raw;
  EXPECT_EQ(getHostName().find_first_of("-"), std::string::npos);

  for (const char* yes : {"true", "1"}) EXPECT_TRUE(toBool(yes)) << yes;
  for (const char* no : {"True", " 1", "true ", "", "yes", "0", "11"})
    EXPECT_FALSE(toBool(no)) << no;

  const std::vector<std::array<std::string, 4>> replaced = {
      {"aaa", "aa", "b", "ba"},
      {"aaaa", "aa", "b", "bb"},
      {"abc", "", "y", "abc"},
      {"--", "-", "--", "----"},
      {"one two two", "two", "three", "one three three"}};
  for (auto [subject, search, replacement, expected] : replaced) {
    EXPECT_EQ(strreplace(subject, search, replacement), expected) << search;
    EXPECT_EQ(subject, expected) << "in place";
  }

  using namespace utility::conversions;
  EXPECT_EQ(to_string_t(static_cast<const char*>(nullptr)), "");
  const std::string lvalue = "x";
  EXPECT_EQ(to_string_t(lvalue) + to_string_t(std::string("y")) + to_string_t("z"), "xyz");
  EXPECT_EQ(str_tolower("MiXeD 1-_\xc3\x84Z"), "mixed 1-_\xc3\x84z");
  EXPECT_TRUE(toLower({{"Key", "Value"}}).empty());
  EXPECT_EQ(path({"api", "Play"}, 1, true) + path({"api", "Play"}, 1, false), "playPlay");
  EXPECT_EQ(path({"api"}, 1, true) + path({"api"}, -1, true), "");

  std::set<std::string> ids;
  for (int i = 0; i < 50; ++i) {
    const std::string id = newUUID();
    ASSERT_EQ(id.size(), 36u);
    EXPECT_TRUE(id[8] == '-' && id[13] == '-' && id[18] == '-' && id[23] == '-') << id;
    EXPECT_EQ(id[14], '4') << id;
    EXPECT_NE(std::string("89ab").find(id[19]), std::string::npos) << id;
    ids.insert(id);
  }
  EXPECT_EQ(ids.size(), 50u);
}

TEST(Support, LogLinesJoinTheirPartsWithOneBlank) {
  EXPECT_EQ(velora_test::captureStdout([] {
              log_str("plain");
              log_str("gain %", -5);
              log_str("text", "other");  // two literals pick the text form
              log_str("", "");
            }),
            "plain\ngain % -5\ntext other\n \n");
}

TEST(Support, FilesFoldersAndNamedPipes) {
  velora_test::TempDir dir;
  EXPECT_EQ(find_executable_folder(),
            std::filesystem::canonical("/proc/self/exe").parent_path().string());
  EXPECT_EQ(filesize(dir.write("sized", std::string(1234, '\0')).c_str()), 1234);
  EXPECT_EQ(filesize(dir.write("empty", "").c_str()), 0);
  EXPECT_EQ(filesize((dir.path() + "/missing").c_str()), -1);
  EXPECT_EQ(filesize(nullptr), -1);
  EXPECT_TRUE(validPath(dir.path()));
  EXPECT_FALSE(validPath(dir.path() + "/missing"));
  EXPECT_FALSE(validPath(""));

  // Any path a client names is probed: a named pipe must not park the
  // probing thread until a writer comes along.
  const std::string fifo = dir.path() + "/pipe";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  auto probe = std::async(std::launch::async, [&] { return validPath(fifo); });
  if (probe.wait_for(std::chrono::seconds(5)) != std::future_status::ready) {
    const int writer = ::open(fifo.c_str(), O_WRONLY);  // lets the stuck probe end
    if (writer >= 0) ::close(writer);
    FAIL() << "validPath blocked on a named pipe";
  }
  EXPECT_TRUE(probe.get());
}

TEST(Support, CompressStringRoundTripsUpToTheFirstNul) {
  std::string text;
  while (text.size() < 1000000) text += "All work and no play makes a dull stream. ";
  std::string noise(200000, '\0');
  unsigned state = 12345;
  for (char& c : noise)
    c = static_cast<char>(((state = state * 1103515245u + 12345u) >> 16) % 255 + 1);

  EXPECT_EQ(compressString("").size(), 8u);
  EXPECT_EQ(inflate(compressString(""), 0), "");
  EXPECT_LT(compressString(text).size(), text.size() / 20);
  EXPECT_EQ(inflate(compressString(text), text.size()), text);
  EXPECT_EQ(inflate(compressString(noise), noise.size()), noise)
      << "the buffer fits the worst case";
  EXPECT_EQ(compressString(std::string("before\0after", 12)), compressString("before"));
}

}  // namespace
