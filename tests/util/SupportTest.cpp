#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <array>
#include <filesystem>
#include <future>
#include <random>
#include <regex>

#include <gtest/gtest.h>
// Our to_string_t(char const*) must not make the library's overloads ambiguous.
#include <cpprest/asyncrt_utils.h>

#include "support/TestHttp.h"
#include "util/Support.h"

namespace {

TEST(Support, TextHelpersOnTheirEdgeCases) {
  EXPECT_EQ(displayHostName("Studio-Mac-mini.local"), "Studio Mac mini");
  EXPECT_EQ(displayHostName("a.local.local-b.lo.localcal"), "a b");  // none may survive
  EXPECT_EQ(displayHostName("host.LOCAL"), "host.LOCAL");
  EXPECT_EQ(getHostName().find('-'), std::string::npos);
  for (const char* yes : {"true", "1"}) EXPECT_TRUE(toBool(yes)) << yes;
  for (const char* no : {"True", " 1", "true ", "", "yes", "0", "11"})
    EXPECT_FALSE(toBool(no)) << no;
  // Replacing resumes behind each replacement, in place; an empty search changes nothing.
  for (auto [subject, search, with, expected] :
       {std::array<std::string, 4>{"aaaa", "aa", "b", "bb"},
        {"--", "-", "--", "----"},
        {"abc", "", "y", "abc"}}) {
    EXPECT_EQ(strreplace(subject, search, with), expected) << search;
    EXPECT_EQ(subject, expected) << "in place";
  }
  using namespace utility::conversions;
  const std::string x = "x";
  EXPECT_EQ(to_string_t(static_cast<const char*>(nullptr)), "");
  EXPECT_EQ(to_string_t(x) + to_string_t(std::string("y")) + to_string_t("z"), "xyz");
  EXPECT_EQ(str_tolower("MiXeD 1-_\xc3\x84Z"), "mixed 1-_\xc3\x84z");
  EXPECT_EQ(path({"api", "Play"}, 1, true) + path({"api", "Play"}, 1, false), "playPlay");
  EXPECT_EQ(path({"api"}, 1, true) + path({"api"}, -1, true), "");
  const std::string id = newUUID();
  EXPECT_NE(id, newUUID());
  EXPECT_TRUE(std::regex_match(
      id, std::regex("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}")))
      << id;
}

TEST(Support, LogLinesJoinTheirPartsWithOneBlank) {
  const auto log = [] {
    log_str("plain");
    log_str("gain %", -5);
    log_str("text", "other");  // two literals pick the text form
  };
  EXPECT_EQ(velora_test::captureStdout(log), "plain\ngain % -5\ntext other\n");
}

TEST(Support, FilesFoldersAndNamedPipes) {
  velora_test::TempDir dir;
  EXPECT_EQ(find_executable_folder(), std::filesystem::canonical("/proc/self/exe").parent_path());
  EXPECT_EQ(filesize(dir.write("sized", std::string(1234, '\0')).c_str()), 1234);
  EXPECT_EQ(filesize((dir.path() + "/missing").c_str()), -1);
  EXPECT_EQ(filesize(nullptr), -1);
  EXPECT_TRUE(validPath(dir.path()));
  EXPECT_FALSE(validPath(dir.path() + "/missing") || validPath(""));
  // Clients name the paths probed: a named pipe must not park the prober.
  const std::string fifo = dir.path() + "/pipe";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  auto probe = std::async(std::launch::async, [&] { return validPath(fifo); });
  if (probe.wait_for(std::chrono::seconds(5)) != std::future_status::ready) {
    ::close(::open(fifo.c_str(), O_WRONLY));  // lets the stuck probe end
    FAIL() << "validPath blocked on a named pipe";
  }
  EXPECT_TRUE(probe.get());
}

TEST(Support, CompressStringRoundTripsUpToTheFirstNul) {
  std::string text, noise(200000, '\0');
  while (text.size() < 1000000) text += "All work and no play makes a dull stream. ";
  std::mt19937 random(12345);
  for (char& c : noise) c = static_cast<char>(random() % 255 + 1);
  // Incompressible noise needs zlib's worst-case buffer.
  for (const std::string& s : {std::string(), text, noise}) {
    const std::string z = compressString(s);
    std::string out(s.size() + 1, '\0');
    uLongf size = out.size();
    ASSERT_EQ(Z_OK, uncompress(reinterpret_cast<Bytef*>(&out[0]), &size,
                               reinterpret_cast<const Bytef*>(z.data()), z.size()));
    EXPECT_EQ(out.substr(0, size), s) << s.size() << " bytes";
  }
  EXPECT_LT(compressString(text).size(), text.size() / 20);
  EXPECT_EQ(compressString(std::string("before\0after", 12)), compressString("before"));
}

}  // namespace
