#include <gtest/gtest.h>

#include "support/ServiceFixture.h"

using namespace velora_test;
using web::json::value;

namespace {

class ArtworkTest : public ::testing::Test {
 protected:
  std::string lookup(const std::string& location, const std::string& id,
                     std::string* log = nullptr) {
    std::string json;
    const std::string out = captureStdout([&] { json = s.getArtwork(location, id).serialize(); });
    if (log) *log = out;
    return json;
  }
  ServiceUnderTest sut;
  VeloraRestService& s = *sut.service;
  TempDir files;
};

TEST_F(ArtworkTest, EmptyLocationGivesOnlyTheId) {
  std::string log;
  EXPECT_EQ(R"({"id":"a1"})", lookup("", "a1", &log));
  EXPECT_EQ("", log);
}

TEST_F(ArtworkTest, WebLocationsAreHandedOutOverHttps) {
  EXPECT_EQ(R"({"id":"a1","url":"https://img.example.com/c/1.jpg?size=600"})",
            lookup("http://img.example.com/c/1.jpg?size=600", "a1"));
  EXPECT_EQ(R"({"id":"a2","url":"https://cdn.example.org:8443/x.png"})",
            lookup("ftp://cdn.example.org:8443/x.png", "a2"));
}

TEST_F(ArtworkTest, SmallFileIsEmbeddedWithAWarning) {
  const std::string file = files.write("cover.jpg", std::string(100, '\x7f'));
  std::string log;
  const value art = value::parse(lookup(file, "a1", &log));
  EXPECT_EQ("ERROR Artwork encoded with size: 136\n", log);
  ASSERT_TRUE(art.has_field("imagedata"));
  EXPECT_EQ(136u, art.at("imagedata").as_string().size());
  EXPECT_FALSE(art.has_field("sha1"));

  // Seen twice, still sent whole both times.
  EXPECT_EQ(art.serialize(), lookup(file, "a1"));
}

TEST_F(ArtworkTest, LargerFileRoundTripsWithoutWarning) {
  std::string bytes;
  for (int i = 0; i < 3000; ++i) bytes.push_back(static_cast<char>(i * 7));
  const std::string file = files.write("big.png", bytes);
  std::string log;
  const value art = value::parse(lookup(file, "b", &log));
  EXPECT_EQ("", log);
  const auto decoded = utility::conversions::from_base64(art.at("imagedata").as_string());
  EXPECT_EQ(bytes, std::string(decoded.begin(), decoded.end()));
}

TEST_F(ArtworkTest, UnreadableNonUriIsReported) {
  std::string log;
  EXPECT_EQ(R"({"id":"z"})", lookup("no such file %%", "z", &log));
  EXPECT_EQ("ERROR Unable to open artwork at path: no such file %%\n", log);
}

TEST_F(ArtworkTest, SetArtworkDataPublishesTheLatestPicture) {
  s.Init();
  captureStdout([&] { s.setArtworkData("http://a/1.jpg", "one"); });
  EXPECT_TRUE(s.changeFlag());
  captureStdout([&] { s.setArtworkData(nullptr, "two"); });
  std::lock_guard<std::mutex> lock(s.cache().stateMutex);
  EXPECT_EQ(R"({"artwork":{"id":"two"}})", s.cache().docs.library.serialize());
}

}  // namespace
