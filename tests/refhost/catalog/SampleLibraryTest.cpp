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
using refhost_test::parsePng;
using refhost_test::readFile;

TEST(SampleLibrary, EveryReferenceResolvesAndTheShapeIsARealLibrary) {
  velora_test::TempDir dir;
  const Catalog catalog = refhost::buildSampleLibrary(dir.path() + "/covers");

  EXPECT_GE(catalog.albumCount(), 18u);
  EXPECT_LE(catalog.albumCount(), 22u);
  EXPECT_GE(catalog.artistCount(), 5u);
  EXPECT_LE(catalog.artistCount(), 6u);
  EXPECT_GE(catalog.genres().size(), 4u);

  std::set<std::string> fileTypes;
  std::set<int> sampleRates;
  std::size_t mqaTracks = 0;
  std::set<std::string> albumIds;
  for (const auto* album : catalog.albums()) {
    SCOPED_TRACE(album->title);
    albumIds.insert(album->id);
    const auto* artist = catalog.artist(album->artistId);
    ASSERT_NE(artist, nullptr);
    EXPECT_NE(std::find(artist->albumIds.begin(), artist->albumIds.end(), album->id),
              artist->albumIds.end());
    const auto* genre = catalog.genre(album->genreId);
    ASSERT_NE(genre, nullptr);
    EXPECT_NE(std::find(genre->albumIds.begin(), genre->albumIds.end(), album->id),
              genre->albumIds.end());
    EXPECT_GE(album->year, 1990);
    EXPECT_LE(album->year, 2026);
    EXPECT_GE(album->trackIds.size(), 6u);
    EXPECT_LE(album->trackIds.size(), 12u);
    std::set<std::string> titles;
    for (std::size_t i = 0; i < album->trackIds.size(); ++i) {
      const auto* track = catalog.track(album->trackIds[i]);
      ASSERT_NE(track, nullptr);
      EXPECT_EQ(track->albumId, album->id);
      EXPECT_EQ(track->number, static_cast<int>(i + 1)) << "album order follows the numbers";
      EXPECT_NE(catalog.artist(track->artistId), nullptr);
      EXPECT_GE(track->duration, 120);
      EXPECT_LE(track->duration, 480);
      EXPECT_FALSE(track->title.empty());
      EXPECT_TRUE(titles.insert(track->title).second) << "duplicate title " << track->title;
      fileTypes.insert(track->fileType);
      sampleRates.insert(track->sampleRate);
      if (track->mqa) {
        ++mqaTracks;
        EXPECT_EQ(track->fileType, "FLAC");
      }
      EXPECT_TRUE(track->bitDepth == 1 || track->bitDepth == 16 || track->bitDepth == 24);
    }
    EXPECT_GT(catalog.albumDuration(*album), 0);
  }
  EXPECT_EQ(albumIds.size(), catalog.albumCount());
  for (const auto* artist : catalog.artists()) {
    EXPECT_FALSE(artist->albumIds.empty()) << artist->name;
  }
  EXPECT_TRUE(fileTypes.count("FLAC") && fileTypes.count("WAV") && fileTypes.count("DSF"));
  EXPECT_TRUE(sampleRates.count(44100) && sampleRates.count(96000) && sampleRates.count(192000));
  EXPECT_GT(mqaTracks, 0u);
  EXPECT_LT(mqaTracks, catalog.trackCount() / 4) << "MQA is the exception, not the rule";

  ASSERT_GE(catalog.moods().size(), 3u);
  for (const auto* mood : catalog.moods()) {
    EXPECT_FALSE(mood->trackIds.empty()) << mood->name;
    for (const auto& id : mood->trackIds) EXPECT_NE(catalog.track(id), nullptr) << mood->name;
    EXPECT_TRUE(fs::is_regular_file(mood->coverPath)) << mood->name;
  }
  ASSERT_GE(catalog.playlists().size(), 3u);
  ASSERT_LE(catalog.playlists().size(), 4u);
  for (const auto* playlist : catalog.playlists()) {
    EXPECT_GE(playlist->trackIds.size(), 5u) << playlist->name;
    const std::set<std::string> unique(playlist->trackIds.begin(), playlist->trackIds.end());
    EXPECT_EQ(unique.size(), playlist->trackIds.size()) << playlist->name;
    for (const auto& id : playlist->trackIds) EXPECT_NE(catalog.track(id), nullptr);
  }
  // Searching the generated names finds what a user would type.
  EXPECT_FALSE(catalog.search("lantern").albums.empty());
}

TEST(SampleLibrary, EachAlbumHasItsOwnValidPngCover) {
  velora_test::TempDir dir;
  const auto started = std::chrono::steady_clock::now();
  const Catalog catalog = refhost::buildSampleLibrary(dir.path() + "/new/covers");
  const auto elapsed = std::chrono::steady_clock::now() - started;
  // Generous: ctest runs this beside other programs on a shared machine. The
  // bound only catches a generator gone quadratic (it takes ~0.3 s alone).
  EXPECT_LT(elapsed, std::chrono::seconds(20)) << "the host builds this at every start";

  std::set<std::string> contents;
  for (const auto* album : catalog.albums()) {
    SCOPED_TRACE(album->title);
    ASSERT_FALSE(album->coverPath.empty());
    EXPECT_EQ(fs::path(album->coverPath).extension(), ".png");
    EXPECT_EQ(fs::path(album->coverPath).parent_path(), fs::path(dir.path() + "/new/covers"));
    const std::string bytes = readFile(album->coverPath);
    // The service complains about pictures of 768 bytes or less and sends
    // every picture whole, so covers stay between those bounds.
    EXPECT_GT(bytes.size(), 768u);
    EXPECT_LT(bytes.size(), 100u * 1024u);
    EXPECT_TRUE(contents.insert(bytes).second) << "two albums share a cover";
    refhost_test::PngInfo png;
    ASSERT_NO_THROW(png = parsePng(bytes));
    EXPECT_EQ(png.width, 320);
    EXPECT_EQ(png.height, 320);
    EXPECT_EQ(png.bitDepth, 8);
    EXPECT_EQ(png.colourType, 2);
    ASSERT_EQ(png.pixels.size(), 320u * (320u * 3u + 1u));
    std::set<std::uint32_t> colours;
    for (std::size_t i = 0; i + 2 < png.rgb.size(); i += 3 * 101) {
      colours.insert((png.rgb[i] << 16) | (png.rgb[i + 1] << 8) | png.rgb[i + 2]);
    }
    EXPECT_GT(colours.size(), 50u) << "a picture, not a flat fill";
  }
}

// Every filter the encoder may choose has to decode back to the same pixels:
// a picture with flat areas, gradients and noise makes it use several.
TEST(PngEncoder, DecodesBackToTheSamePixels) {
  const int width = 97, height = 61;
  std::vector<std::uint8_t> rgb(static_cast<std::size_t>(width * height * 3));
  std::uint32_t noise = 12345;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const std::size_t at = static_cast<std::size_t>((y * width + x) * 3);
      noise = noise * 1103515245u + 12345u;
      rgb[at] = static_cast<std::uint8_t>(x < 30 ? 200 : x * 2);
      rgb[at + 1] = static_cast<std::uint8_t>(y < 20 ? (noise >> 16) : y * 4);
      rgb[at + 2] = static_cast<std::uint8_t>((x + y) % 3 == 0 ? 255 : x * y);
    }
  }
  const refhost_test::PngInfo png = parsePng(refhost::encodePng(width, height, rgb));
  EXPECT_EQ(png.width, width);
  EXPECT_EQ(png.height, height);
  EXPECT_EQ(png.rgb, rgb);
  std::set<int> filters;
  for (int y = 0; y < height; ++y) {
    filters.insert(
        static_cast<unsigned char>(png.pixels[static_cast<std::size_t>(y) * (width * 3 + 1)]));
  }
  EXPECT_GE(filters.size(), 3u);
  EXPECT_THROW(refhost::encodePng(width, height, std::vector<std::uint8_t>(5)),
               std::invalid_argument);
}

TEST(SampleLibrary, IdentifiersAndCoversAreTheSameOnEveryRun) {
  velora_test::TempDir first, second;
  const Catalog a = refhost::buildSampleLibrary(first.path());
  const Catalog b = refhost::buildSampleLibrary(second.path());
  ASSERT_EQ(a.trackCount(), b.trackCount());
  const auto tracksA = a.tracks(), tracksB = b.tracks();
  for (std::size_t i = 0; i < tracksA.size(); ++i) {
    EXPECT_EQ(tracksA[i]->id, tracksB[i]->id);
    EXPECT_EQ(tracksA[i]->title, tracksB[i]->title);
    EXPECT_EQ(tracksA[i]->duration, tracksB[i]->duration);
  }
  const auto albumsA = a.albums(), albumsB = b.albums();
  ASSERT_EQ(albumsA.size(), albumsB.size());
  for (std::size_t i = 0; i < albumsA.size(); ++i) {
    EXPECT_EQ(albumsA[i]->id, albumsB[i]->id);
    EXPECT_EQ(fs::path(albumsA[i]->coverPath).filename(),
              fs::path(albumsB[i]->coverPath).filename());
    EXPECT_EQ(readFile(albumsA[i]->coverPath), readFile(albumsB[i]->coverPath));
  }
  for (const auto* playlist : a.playlists()) {
    ASSERT_NE(b.playlist(playlist->id), nullptr);
    EXPECT_EQ(b.playlist(playlist->id)->trackIds, playlist->trackIds);
  }
}

TEST(SampleLibrary, ExistingCoversAreReusedAndDamagedOnesRewritten) {
  velora_test::TempDir dir;
  const Catalog first = refhost::buildSampleLibrary(dir.path());
  const auto albums = first.albums();
  const std::string kept = albums.front()->coverPath;
  const std::string damaged = albums.back()->coverPath;
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
}

TEST(SampleLibrary, AnUnwritableCoverFolderIsAnError) {
  velora_test::TempDir dir;
  const std::string blocker = dir.write("covers", "a file where the folder should be");
  EXPECT_THROW(refhost::buildSampleLibrary(blocker), std::runtime_error);
}

}  // namespace
