#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <sstream>
#include <stdexcept>

#include "catalog/MusicIndexer.h"
#include "refhost/MusicFixtures.h"
#include "support/TestHttp.h"

namespace {

namespace fs = std::filesystem;
using refhost::Catalog;
using refhost::CatalogAlbum;
using refhost::CatalogTrack;
using refhost_test::readFile;

class MusicIndexerTest : public ::testing::Test {
 protected:
  void SetUp() override { music.writeInto(root()); }

  std::string root() const { return dir.path() + "/music"; }
  std::string covers() const { return dir.path() + "/cache/covers"; }

  Catalog index(const std::string& folder, const std::string& coverFolder) {
    log.str("");
    return refhost::indexMusicFolder(folder, coverFolder, log, &report);
  }

  const CatalogTrack* byTitle(const Catalog& catalog, const std::string& title) const {
    for (const auto* track : catalog.tracks()) {
      if (track->title == title) return track;
    }
    return nullptr;
  }

  const CatalogAlbum* albumNamed(const Catalog& catalog, const std::string& title) const {
    for (const auto* album : catalog.albums()) {
      if (album->title == title) return album;
    }
    return nullptr;
  }

  std::string artistName(const Catalog& catalog, const std::string& id) const {
    const auto* artist = catalog.artist(id);
    return artist == nullptr ? "<missing " + id + ">" : artist->name;
  }

  velora_test::TempDir dir;
  refhost_test::MusicFolder music;
  std::ostringstream log;
  refhost::IndexReport report;
};

TEST_F(MusicIndexerTest, TagsAndAudioPropertiesBecomeTracks) {
  const Catalog catalog = index(root(), covers());

  EXPECT_EQ(report.filesSeen, 8u) << log.str();
  EXPECT_EQ(report.tracksIndexed, 6u) << log.str();
  EXPECT_EQ(report.filesSkipped, 2u) << log.str();
  ASSERT_EQ(catalog.trackCount(), 6u);

  struct Expected {
    const char* title;
    const char* artist;
    const char* album;
    int number, duration, sampleRate, bitDepth;
    const char* fileType;
  };
  const Expected expected[] = {
      {"Opening Tide", "Test Artist A", "Harbour Lights", 1, 200, 96000, 24, "FLAC"},
      {"Second Wave", "Test Artist A", "Harbour Lights", 2, 96, 44100, 16, "FLAC"},
      {"Rain on Tin", "Test Artist B", "Field Recordings", 2, 3, 8000, 16, "WAV"},
      {"Wind", "Test Artist B", "Field Recordings", 1, 2, 22050, 8, "WAV"},
      {"Twin \xc3\x89toile", "Test Artist C", "Twin Album", 4, 61, 192000, 24, "FLAC"},
      // No tags at all: the file name and the "unknown" names stand in.
      {"untagged song", "Unknown Artist", "Unknown Album", 1, 1, 11025, 16, "WAV"},
  };
  for (const auto& want : expected) {
    SCOPED_TRACE(want.title);
    const CatalogTrack* track = byTitle(catalog, want.title);
    ASSERT_NE(track, nullptr);
    EXPECT_EQ(artistName(catalog, track->artistId), want.artist);
    const CatalogAlbum* album = catalog.album(track->albumId);
    ASSERT_NE(album, nullptr);
    EXPECT_EQ(album->title, want.album);
    EXPECT_EQ(track->number, want.number);
    EXPECT_EQ(track->duration, want.duration);
    EXPECT_EQ(track->sampleRate, want.sampleRate);
    EXPECT_EQ(track->bitDepth, want.bitDepth);
    EXPECT_EQ(track->fileType, want.fileType);
    EXPECT_TRUE(fs::path(track->path).is_absolute());
    EXPECT_TRUE(fs::exists(track->path));
    EXPECT_NE(catalog.genre(album->genreId), nullptr) << "every album lands in some genre";
  }

  const CatalogAlbum* harbour = albumNamed(catalog, "Harbour Lights");
  ASSERT_NE(harbour, nullptr);
  EXPECT_EQ(harbour->year, 2019);
  EXPECT_EQ(catalog.genre(harbour->genreId)->name, "Test Genre");
  // Album order follows the tag numbers, not the order files were read in.
  const CatalogAlbum* field = albumNamed(catalog, "Field Recordings");
  ASSERT_NE(field, nullptr);
  ASSERT_EQ(field->trackIds.size(), 2u);
  EXPECT_EQ(catalog.track(field->trackIds[0])->title, "Wind");
  // A compilation belongs to its album artist; the track keeps its own.
  const CatalogAlbum* twin = albumNamed(catalog, "Twin Album");
  ASSERT_NE(twin, nullptr);
  EXPECT_EQ(artistName(catalog, twin->artistId), "Various Artists");
  EXPECT_FALSE(catalog.search("various").artists.empty());
}

TEST_F(MusicIndexerTest, CoversComeFromEmbeddedPicturesOrTheFolderAndAreShared) {
  const Catalog catalog = index(root(), covers());
  const CatalogAlbum* harbour = albumNamed(catalog, "Harbour Lights");
  const CatalogAlbum* twin = albumNamed(catalog, "Twin Album");
  const CatalogAlbum* field = albumNamed(catalog, "Field Recordings");
  const CatalogAlbum* loose = albumNamed(catalog, "Unknown Album");
  ASSERT_TRUE(harbour && twin && field && loose);

  ASSERT_GT(music.harbourPicture.size(), 768u) << "the fixture's pictures look like real ones";
  // Embedded FLAC picture, written out with the extension of its content.
  EXPECT_EQ(fs::path(harbour->coverPath).parent_path(), fs::path(covers()));
  EXPECT_EQ(fs::path(harbour->coverPath).extension(), ".png");
  EXPECT_EQ(readFile(harbour->coverPath), music.harbourPicture);
  // The same picture in another album is one file, not two.
  EXPECT_EQ(twin->coverPath, harbour->coverPath);
  // cover.jpg beside WAV files that have none of their own.
  EXPECT_EQ(fs::path(field->coverPath).extension(), ".jpg");
  EXPECT_EQ(readFile(field->coverPath), music.fieldCover);
  // "Folder.PNG": names and extensions match whatever their case.
  EXPECT_EQ(fs::path(loose->coverPath).extension(), ".png");
  EXPECT_EQ(readFile(loose->coverPath), music.looseCover);

  std::size_t files = 0;
  for (const auto& entry : fs::directory_iterator(covers())) {
    (void)entry;
    ++files;
  }
  EXPECT_EQ(files, 3u);
}

TEST_F(MusicIndexerTest, Id3PicturesInWavAndMp3AndNonImagePictures) {
  velora_test::TempDir other;
  const std::string folder = other.path() + "/m";
  // An ID3v2 picture inside a WAV file wins over the folder picture.
  const std::string embedded = refhost_test::jpegPicture('E');
  refhost_test::writeWav(folder + "/A/one.wav", 8000, 16, 1.0,
                         {"One", "Someone", "", "Wav Art", "", 1, 0, embedded});
  refhost_test::writeFile(folder + "/A/cover.png", refhost_test::pngPicture(1));
  // A "picture" that is neither JPEG nor PNG is ignored; the album has none.
  refhost_test::writeWav(folder + "/B/two.wav", 8000, 16, 1.0,
                         {"Two", "Someone", "", "No Art", "", 1, 0, ""});
  refhost_test::writeFile(folder + "/B/cover.jpg", std::string(2000, 'G'));

  // MP3 with an ID3v2 picture.
  const std::string mp3Picture = refhost_test::pngPicture(7);
  refhost_test::writeFile(folder + "/C/03 - three.mp3", refhost_test::mp3Bytes(3.2));
  refhost_test::applyTags(folder + "/C/03 - three.mp3",
                          {"Three", "Someone", "", "Mp3 Art", "", 3, 2001, mp3Picture});

  const Catalog catalog = index(folder, covers());
  ASSERT_EQ(catalog.trackCount(), 3u) << log.str();
  const CatalogAlbum* mp3Art = albumNamed(catalog, "Mp3 Art");
  ASSERT_NE(mp3Art, nullptr);
  const CatalogTrack* three = catalog.track(mp3Art->trackIds.at(0));
  EXPECT_EQ(three->fileType, "MP3");
  EXPECT_EQ(three->sampleRate, 44100);
  EXPECT_EQ(three->duration, 3);
  EXPECT_EQ(three->number, 3);
  EXPECT_EQ(mp3Art->year, 2001);
  EXPECT_EQ(readFile(mp3Art->coverPath), mp3Picture);
  const CatalogAlbum* wavArt = albumNamed(catalog, "Wav Art");
  const CatalogAlbum* noArt = albumNamed(catalog, "No Art");
  ASSERT_TRUE(wavArt && noArt);
  EXPECT_EQ(readFile(wavArt->coverPath), embedded);
  EXPECT_EQ(fs::path(wavArt->coverPath).extension(), ".jpg");
  EXPECT_EQ(noArt->coverPath, "");
  // The albums share an artist, found once.
  EXPECT_EQ(wavArt->artistId, noArt->artistId);
  EXPECT_EQ(catalog.artistCount(), 1u);
}

// TagLib of this generation has no DSF reader; the indexer reads the header
// and the ID3v2 tag itself.
TEST_F(MusicIndexerTest, DsfFilesAreReadFromTheirHeaderAndId3Tag) {
  velora_test::TempDir other;
  const std::string picture = refhost_test::pngPicture(6);
  refhost_test::writeFile(
      other.path() + "/d/01.dsf",
      refhost_test::dsfBytes(2822400, 125.0,
                             {"Sand", "Dune Choir", "", "Dunes", "", 1, 0, picture}));
  refhost_test::writeFile(other.path() + "/d/02.dsf", "DSD but nothing after it");
  const Catalog catalog = index(other.path() + "/d", covers());
  ASSERT_EQ(catalog.trackCount(), 1u) << log.str();
  const CatalogTrack* track = catalog.tracks().front();
  EXPECT_EQ(track->title, "Sand");
  EXPECT_EQ(artistName(catalog, track->artistId), "Dune Choir");
  EXPECT_EQ(track->fileType, "DSF");
  EXPECT_EQ(track->sampleRate, 2822400);
  EXPECT_EQ(track->bitDepth, 1);
  EXPECT_EQ(track->duration, 125);
  EXPECT_EQ(readFile(catalog.album(track->albumId)->coverPath), picture);
  EXPECT_NE(log.str().find("warning: skipped 02.dsf: "), std::string::npos) << log.str();
}

TEST_F(MusicIndexerTest, BadFilesAreWarnedAboutAndNeverStopTheRun) {
  const Catalog catalog = index(root(), covers());
  const std::string text = log.str();
  EXPECT_NE(text.find("warning: skipped Harbour Lights/notes.txt: not an audio file\n"),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("warning: skipped Loose/broken.flac: "), std::string::npos) << text;
  // Pictures beside the music are not reported as skipped files.
  EXPECT_EQ(text.find("cover.jpg"), std::string::npos) << text;
  EXPECT_EQ(text.find("Folder.PNG"), std::string::npos) << text;
  EXPECT_NE(text.find("Indexed 6 tracks in 4 albums by 5 artists; 2 files skipped\n"),
            std::string::npos)
      << text;
  EXPECT_EQ(text.back(), '\n');
}

TEST_F(MusicIndexerTest, IdentifiersDependOnContentNotOnWhereTheFolderIs) {
  const Catalog first = index(root(), covers());
  const std::string moved = dir.path() + "/elsewhere/music";
  fs::create_directories(fs::path(moved).parent_path());
  fs::copy(root(), moved, fs::copy_options::recursive);
  velora_test::TempDir otherCovers;
  const Catalog second = index(moved, otherCovers.path());

  ASSERT_EQ(first.trackCount(), second.trackCount());
  const auto a = first.tracks(), b = second.tracks();
  for (std::size_t i = 0; i < a.size(); ++i) {
    EXPECT_EQ(a[i]->id, b[i]->id) << a[i]->title;
    EXPECT_EQ(a[i]->albumId, b[i]->albumId);
    EXPECT_EQ(a[i]->artistId, b[i]->artistId);
    EXPECT_NE(a[i]->path, b[i]->path);
  }
  const auto albumsA = first.albums(), albumsB = second.albums();
  for (std::size_t i = 0; i < albumsA.size(); ++i) {
    EXPECT_EQ(fs::path(albumsA[i]->coverPath).filename(),
              fs::path(albumsB[i]->coverPath).filename());
  }
}

TEST_F(MusicIndexerTest, AMissingFolderIsAClearError) {
  try {
    index(dir.path() + "/no such folder", covers());
    FAIL() << "expected an exception";
  } catch (const std::runtime_error& e) {
    EXPECT_NE(std::string(e.what()).find("no such folder"), std::string::npos) << e.what();
  }
  const std::string file = dir.write("plain.txt", "x");
  EXPECT_THROW(index(file, covers()), std::runtime_error);
  EXPECT_FALSE(fs::exists(covers())) << "nothing written for a failed run";
}

TEST(MusicIndexer, LinkedFoldersAreFollowedOnceAndLoopsEnd) {
  velora_test::TempDir dir;
  const std::string root = dir.path() + "/m";
  refhost_test::writeWav(root + "/a/one.wav", 8000, 16, 1.0, {"One", "X", "", "Y", "", 1, 0, ""});
  refhost_test::writeWav(dir.path() + "/elsewhere/two.wav", 8000, 16, 1.0,
                         {"Two", "X", "", "Y", "", 2, 0, ""});
  fs::create_directory_symlink(root, root + "/a/back-to-the-top");
  fs::create_directory_symlink(dir.path() + "/elsewhere", root + "/linked");
  std::ostringstream log;
  const Catalog catalog = refhost::indexMusicFolder(root, dir.path() + "/c", log);
  EXPECT_EQ(catalog.trackCount(), 2u) << log.str();
  EXPECT_EQ(catalog.albumCount(), 1u);
}

TEST(MusicIndexer, LargeFoldersReportProgressAsTheyGo) {
  velora_test::TempDir dir;
  const std::string tiny = refhost_test::wavBytes(8000, 1, 8, 0.05);
  for (int i = 0; i < 430; ++i) {
    refhost_test::writeFile(dir.path() + "/m/" + std::to_string(1000 + i) + ".wav", tiny);
  }
  std::ostringstream log;
  refhost::IndexReport report;
  const Catalog catalog =
      refhost::indexMusicFolder(dir.path() + "/m", dir.path() + "/c", log, &report);
  EXPECT_EQ(report.tracksIndexed, 430u);
  EXPECT_EQ(catalog.trackCount(), 430u);
  const std::string text = log.str();
  EXPECT_NE(text.find("Indexing 430 files under "), std::string::npos) << text;
  EXPECT_NE(text.find("Indexed 200 of 430 files, 200 tracks\n"), std::string::npos) << text;
  EXPECT_NE(text.find("Indexed 400 of 430 files, 400 tracks\n"), std::string::npos) << text;
  // Untagged and unnumbered (the names are too large to be track numbers):
  // numbered in file-name order after one another.
  const auto* album = catalog.albums().front();
  ASSERT_EQ(album->trackIds.size(), 430u);
  EXPECT_EQ(catalog.track(album->trackIds.front())->title, "1000");
  EXPECT_EQ(catalog.track(album->trackIds.back())->number, 430);
}

}  // namespace
