#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <set>
#include <stdexcept>

#include "catalog/CoverFiles.h"
#include "catalog/SampleLibrary.h"
#include "refhost/MusicFixtures.h"
#include "support/TestHttp.h"

namespace {

namespace fs = std::filesystem;
using refhost::Catalog;
using refhost_test::readFile;

TEST(SampleLibrary, EveryReferenceResolvesAndEachAlbumHasItsOwnPngCover) {
  velora_test::TempDir dir;
  const Catalog catalog = refhost::buildSampleLibrary(dir.path() + "/new/covers");
  EXPECT_EQ(catalog.albumCount(), 20u) << "the console and the web test count on it";
  std::set<std::string> covers;
  for (const auto* album : catalog.albums()) {
    SCOPED_TRACE(album->title);
    const auto& ofArtist = catalog.artist(album->artistId)->albumIds;
    EXPECT_NE(std::find(ofArtist.begin(), ofArtist.end(), album->id), ofArtist.end());
    const auto& ofGenre = catalog.genre(album->genreId)->albumIds;
    EXPECT_NE(std::find(ofGenre.begin(), ofGenre.end(), album->id), ofGenre.end());
    for (std::size_t i = 0; i < album->trackIds.size(); ++i) {
      const auto* track = catalog.track(album->trackIds[i]);
      ASSERT_NE(track, nullptr);
      EXPECT_EQ(track->albumId, album->id);
      EXPECT_EQ(track->number, static_cast<int>(i + 1)) << "album order follows the numbers";
      EXPECT_NE(catalog.artist(track->artistId), nullptr);
    }
    // The service complains about pictures of 768 bytes or less and sends
    // every picture whole, so covers stay between those bounds.
    const std::string bytes = readFile(album->coverPath);
    EXPECT_GT(bytes.size(), 768u);
    EXPECT_LT(bytes.size(), 100u * 1024u);
    EXPECT_TRUE(covers.insert(bytes).second) << "two albums share a cover";
    EXPECT_EQ(0u, bytes.rfind("\x89PNG\r\n\x1a\n", 0));
  }
  for (const auto* list : catalog.playlists()) {
    EXPECT_EQ(std::set<std::string>(list->trackIds.begin(), list->trackIds.end()).size(),
              list->trackIds.size());
    for (const auto& id : list->trackIds) EXPECT_NE(catalog.track(id), nullptr) << list->name;
  }
  for (const auto* mood : catalog.moods()) {
    for (const auto& id : mood->trackIds) EXPECT_NE(catalog.track(id), nullptr) << mood->name;
    EXPECT_TRUE(fs::is_regular_file(mood->coverPath)) << mood->name;
  }
  EXPECT_FALSE(catalog.search("lantern").albums.empty());
}

TEST(SampleLibrary, ARebuildIsIdenticalReusesCoversAndRewritesDamagedOnes) {
  velora_test::TempDir dir, other;
  const Catalog first = refhost::buildSampleLibrary(dir.path());
  const auto albums = first.albums();
  const std::string kept = albums.front()->coverPath, damaged = albums.back()->coverPath;
  const std::string original = readFile(damaged);
  const auto old = fs::file_time_type::clock::now() - std::chrono::hours(24);
  fs::last_write_time(kept, old);
  refhost_test::writeFile(damaged, "not a picture");

  const Catalog second = refhost::buildSampleLibrary(dir.path());
  EXPECT_EQ(fs::last_write_time(kept), old) << "an identical cover is not written again";
  EXPECT_EQ(readFile(damaged), original);
  std::size_t files = 0;
  for (const auto& entry : fs::directory_iterator(dir.path())) {
    EXPECT_EQ(entry.path().extension(), ".png") << "no temporary files left behind";
    ++files;
  }
  EXPECT_EQ(files, second.albumCount() + second.moods().size());

  const Catalog elsewhere = refhost::buildSampleLibrary(other.path());
  ASSERT_EQ(elsewhere.trackCount(), first.trackCount());
  for (std::size_t i = 0; i < first.tracks().size(); ++i) {
    EXPECT_EQ(elsewhere.tracks()[i]->id, first.tracks()[i]->id);
  }
  for (std::size_t i = 0; i < albums.size(); ++i) {
    EXPECT_EQ(readFile(elsewhere.albums()[i]->coverPath), readFile(albums[i]->coverPath));
  }
  EXPECT_THROW(refhost::buildSampleLibrary(dir.write("blocker", "a file, not a folder")),
               std::runtime_error);
}

}  // namespace
