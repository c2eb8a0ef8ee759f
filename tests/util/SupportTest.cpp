#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <chrono>
#include <future>

#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "util/Support.h"

// Our own to_string_t(char const*) has to live beside the library's overloads
// without making ordinary calls ambiguous; the Conversions tests check that.
#include <cpprest/asyncrt_utils.h>

namespace {

namespace fs = std::filesystem;

std::string inflate(std::string const& compressed, std::size_t expectedLength) {
  std::string out(expectedLength + 1, '\0');
  uLongf outLength = static_cast<uLongf>(out.size());
  int const rc = uncompress(reinterpret_cast<Bytef*>(&out[0]), &outLength,
                            reinterpret_cast<Bytef const*>(compressed.data()),
                            static_cast<uLong>(compressed.size()));
  if (rc != Z_OK) return "<uncompress failed: " + std::to_string(rc) + ">";
  out.resize(outLength);
  return out;
}

class TempDir : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = fs::temp_directory_path() / ("util-test-" + newUUID());
    fs::create_directories(dir_);
  }
  void TearDown() override { fs::remove_all(dir_); }

  std::string writeFile(std::string const& name, std::string const& content) {
    std::string const file = (dir_ / name).string();
    std::ofstream(file, std::ios::binary) << content;
    return file;
  }

  fs::path dir_;
};

TEST(DisplayHostName, DropsLocalAndTurnsHyphensIntoSpaces) {
  struct Case {
    char const* raw;
    char const* shown;
  };
  std::vector<Case> const cases = {
      {"Studio-Mac-mini.local", "Studio Mac mini"},
      {"my-host.local", "my host"},
      {"host.local.lan", "host.lan"},
      {"plain", "plain"},
      {"", ""},
      {".local", ""},
      {"a.local.local-b", "a b"},
      {"x.lo.localcal", "x"},
      {"--", "  "},
      {"host.LOCAL", "host.LOCAL"},
  };
  for (auto const& c : cases) EXPECT_EQ(displayHostName(c.raw), c.shown) << c.raw;
}

TEST(DisplayHostName, AppliedToTheRealHostName) {
  std::string const name = getHostName();
  EXPECT_FALSE(name.empty());
  EXPECT_EQ(name.find(".local"), std::string::npos);
  EXPECT_EQ(name.find('-'), std::string::npos);
}

TEST(Uuid, RandomVersionFourInCanonicalForm) {
  std::set<std::string> seen;
  for (int i = 0; i < 100; ++i) {
    std::string const id = newUUID();
    ASSERT_EQ(id.size(), 36u) << id;
    for (std::size_t at : {8u, 13u, 18u, 23u}) EXPECT_EQ(id[at], '-') << id;
    EXPECT_EQ(id[14], '4') << id;
    EXPECT_NE(std::string("89ab").find(id[19]), std::string::npos) << id;
    seen.insert(id);
  }
  EXPECT_EQ(seen.size(), 100u);
}

TEST(LogStr, WritesOneFlushedLinePerCall) {
  ::testing::internal::CaptureStdout();
  log_str("plain");
  log_str("Responded zip. gain %", 37);
  log_str("negative", -5);
  log_str("text", "other");  // two literals must pick the text form, not the number
  log_str(std::string("mixed"), std::string("strings"));
  log_str("", "");
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            "plain\n"
            "Responded zip. gain % 37\n"
            "negative -5\n"
            "text other\n"
            "mixed strings\n"
            " \n");
}

TEST(ToBool, OnlyExactTrueAndOne) {
  for (char const* yes : {"true", "1"}) EXPECT_TRUE(toBool(yes)) << yes;
  for (char const* no : {"True", "TRUE", " 1", "1 ", "true ", "", "yes", "0", "11", "false"}) {
    EXPECT_FALSE(toBool(no)) << '"' << no << '"';
  }
}

TEST(StrReplace, ReplacesInPlaceAndReturnsTheResult) {
  struct Case {
    std::string subject, search, replacement, expected;
  };
  std::vector<Case> const cases = {
      {"a-b-c", "-", " ", "a b c"},
      {"x", "x", "xx", "xx"},
      {"aaa", "aa", "b", "ba"},
      {"aaaa", "aa", "b", "bb"},
      {"abc", "abc", "", ""},
      {"abc", "zz", "y", "abc"},
      {"abc", "", "y", "abc"},
      {"", "a", "b", ""},
      {"one two two", "two", "three", "one three three"},
      {"--", "-", "--", "----"},
  };
  for (auto c : cases) {
    std::string const returned = strreplace(c.subject, c.search, c.replacement);
    EXPECT_EQ(returned, c.expected) << c.search << " -> " << c.replacement;
    EXPECT_EQ(c.subject, c.expected) << "subject must change in place";
  }
}

TEST(Conversions, ToStringTFromCharPointer) {
  EXPECT_EQ(utility::conversions::to_string_t(static_cast<char const*>(nullptr)), "");
  EXPECT_EQ(utility::conversions::to_string_t("abc"), "abc");

  // These resolve to the library's overloads and must stay unambiguous.
  std::string const lvalue = "x";
  EXPECT_EQ(utility::conversions::to_string_t(std::string("x")), "x");
  EXPECT_EQ(utility::conversions::to_string_t(lvalue), "x");
}

TEST(Conversions, StrToLowerTouchesOnlyAscii) {
  EXPECT_EQ(utility::conversions::str_tolower("MiXeD Case 123-_"), "mixed case 123-_");
  EXPECT_EQ(utility::conversions::str_tolower(""), "");
  // Bytes with the top bit set (UTF-8 for "ÄÖ") pass through untouched.
  EXPECT_EQ(utility::conversions::str_tolower("\xc3\x84\xc3\x96Z"), "\xc3\x84\xc3\x96z");
}

TEST(Conversions, ToLowerAlwaysReturnsAnEmptyMap) {
  EXPECT_TRUE(utility::conversions::toLower({{"Key", "Value"}, {"OTHER", "x"}}).empty());
  EXPECT_TRUE(utility::conversions::toLower({}).empty());
}

TEST(PathSegment, PicksAndOptionallyLowersOneSegment) {
  std::vector<std::string> const segments = {"api", "Play"};
  EXPECT_EQ(path(segments, 0, false), "api");
  EXPECT_EQ(path(segments, 1, true), "play");
  EXPECT_EQ(path(segments, 1, false), "Play");
  EXPECT_EQ(path(segments, 2, true), "");
  EXPECT_EQ(path(segments, -1, true), "");
  EXPECT_EQ(path({}, 0, false), "");
}

TEST(ExecutableFolder, IsTheFolderOfTheRunningBinary) {
  EXPECT_EQ(find_executable_folder(), fs::canonical("/proc/self/exe").parent_path().string());
}

using Files = TempDir;

TEST_F(Files, FileSize) {
  EXPECT_EQ(filesize(writeFile("empty", "").c_str()), 0);
  EXPECT_EQ(filesize(writeFile("sized", std::string(1234, '\0')).c_str()), 1234);
  EXPECT_EQ(filesize((dir_ / "missing").string().c_str()), -1);
  EXPECT_EQ(filesize(nullptr), -1);
}

TEST_F(Files, ValidPathAcceptsFilesAndFolders) {
  EXPECT_TRUE(validPath(writeFile("present", "x")));
  EXPECT_TRUE(validPath(dir_.string()));
  EXPECT_FALSE(validPath((dir_ / "missing").string()));
  EXPECT_FALSE(validPath(""));
}

// Any path a client names is probed, so a named pipe must not park the
// probing thread until a writer comes along.
TEST_F(Files, ValidPathDoesNotWaitOnANamedPipe) {
  std::string const fifo = (dir_ / "pipe").string();
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  auto probe = std::async(std::launch::async, [&] { return validPath(fifo); });
  if (probe.wait_for(std::chrono::seconds(5)) != std::future_status::ready) {
    // Open the writing end so the stuck probe returns and the test can end.
    int const writer = ::open(fifo.c_str(), O_WRONLY);
    if (writer >= 0) ::close(writer);
    FAIL() << "validPath blocked on a named pipe";
  }
  EXPECT_TRUE(probe.get());
}

TEST(CompressString, EmptyInputGivesAMinimalValidStream) {
  std::string const compressed = compressString("");
  EXPECT_EQ(compressed.size(), 8u);
  EXPECT_EQ(inflate(compressed, 0), "");
}

TEST(CompressString, RepetitiveTextShrinksAndRoundTrips) {
  std::string text;
  while (text.size() < 1000000) text += "All work and no play makes a dull stream. ";
  std::string const compressed = compressString(text);
  EXPECT_LT(compressed.size(), text.size() / 20);
  EXPECT_EQ(inflate(compressed, text.size()), text);
}

TEST(CompressString, IncompressibleDataStillFitsTheBuffer) {
  std::string noise(200000, '\0');
  unsigned int state = 12345;
  for (char& c : noise) {
    state = state * 1103515245u + 12345u;
    c = static_cast<char>(((state >> 16) % 255) + 1);  // never NUL
  }
  std::string const compressed = compressString(noise);
  EXPECT_GT(compressed.size(), noise.size());
  EXPECT_EQ(inflate(compressed, noise.size()), noise);
}

TEST(CompressString, StopsAtTheFirstNul) {
  std::string const withNul("before\0after", 12);
  EXPECT_EQ(inflate(compressString(withNul), withNul.size()), "before");
  EXPECT_EQ(compressString(withNul), compressString("before"));
}

}  // namespace
