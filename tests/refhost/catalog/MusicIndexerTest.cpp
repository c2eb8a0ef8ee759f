#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <stdexcept>

#include "catalog/MusicIndexer.h"
#include "refhost/MusicFixtures.h"
#include "support/TestHttp.h"

namespace {

namespace fs = std::filesystem;
using refhost::Catalog;
using refhost::CatalogAlbum;
using refhost_test::readFile;

class MusicIndexerTest : public ::testing::Test {
 protected:
  Catalog index(const std::string& folder, const std::string& coverFolder = "") {
    log.str("");
    report = {};
    return refhost::indexMusicFolder(folder, coverFolder.empty() ? covers() : coverFolder, log,
                                     &report);
  }
  std::string root() const { return dir.path() + "/music"; }
  std::string covers() const { return dir.path() + "/cache/covers"; }
  static const CatalogAlbum& album(const Catalog& catalog, const std::string& title) {
    for (const auto* a : catalog.albums()) {
      if (a->title == title) return *a;
    }
    throw std::runtime_error("no album " + title);
  }
  static std::string artist(const Catalog& catalog, const std::string& id) {
    return catalog.artist(id) == nullptr ? "<missing>" : catalog.artist(id)->name;
  }

  velora_test::TempDir dir;
  refhost_test::MusicFolder music;
  std::ostringstream log;
  refhost::IndexReport report;
};

TEST_F(MusicIndexerTest, TagsBecomeTracksAndBadFilesAreSkippedWithAWarning) {
  music.writeInto(root());
  const Catalog catalog = index(root());
  const std::string text = log.str();
  EXPECT_EQ(report.filesSeen, 8u) << text;
  EXPECT_EQ(report.tracksIndexed, 6u) << text;
  EXPECT_EQ(report.filesSkipped, 2u) << text;
  EXPECT_NE(text.find("warning: skipped Harbour Lights/notes.txt: not an audio file\n"),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("warning: skipped Loose/broken.flac: "), std::string::npos) << text;
  EXPECT_EQ(text.find("cover.jpg"), std::string::npos) << "pictures are not skipped files";
  EXPECT_NE(text.find("Indexed 6 tracks in 4 albums by 5 artists; 2 files skipped\n"),
            std::string::npos)
      << text;

  struct Expected {
    const char *title, *artist, *album;
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
  ASSERT_EQ(catalog.trackCount(), std::size(expected));
  for (const auto* track : catalog.tracks()) {
    const auto want = std::find_if(std::begin(expected), std::end(expected),
                                   [&](const Expected& e) { return track->title == e.title; });
    ASSERT_NE(want, std::end(expected)) << track->title;
    EXPECT_EQ(artist(catalog, track->artistId), want->artist);
    EXPECT_EQ(catalog.album(track->albumId)->title, want->album);
    EXPECT_EQ(track->number, want->number) << want->title;
    EXPECT_EQ(track->duration, want->duration) << want->title;
    EXPECT_EQ(track->sampleRate, want->sampleRate) << want->title;
    EXPECT_EQ(track->bitDepth, want->bitDepth) << want->title;
    EXPECT_EQ(track->fileType, want->fileType) << want->title;
    EXPECT_TRUE(fs::path(track->path).is_absolute() && fs::exists(track->path)) << track->path;
    EXPECT_NE(catalog.genre(catalog.album(track->albumId)->genreId), nullptr);
  }
  EXPECT_EQ(album(catalog, "Harbour Lights").year, 2019);
  EXPECT_EQ(catalog.genre(album(catalog, "Harbour Lights").genreId)->name, "Test Genre");
  // Album order follows the tag numbers, not the order files were read in.
  EXPECT_EQ(catalog.track(album(catalog, "Field Recordings").trackIds.at(0))->title, "Wind");
  // A compilation belongs to its album artist; the track keeps its own.
  EXPECT_EQ(artist(catalog, album(catalog, "Twin Album").artistId), "Various Artists");

  // Covers: an embedded picture (one file for two albums), cover.jpg beside
  // the files, and "Folder.PNG" whatever the case of its name.
  const std::pair<const char*, std::string> covered[] = {{"Harbour Lights", music.harbourPicture},
                                                         {"Twin Album", music.harbourPicture},
                                                         {"Field Recordings", music.fieldCover},
                                                         {"Unknown Album", music.looseCover}};
  for (const auto& [title, picture] : covered) {
    const std::string& path = album(catalog, title).coverPath;
    EXPECT_EQ(fs::path(path).parent_path(), fs::path(covers())) << title;
    EXPECT_EQ(readFile(path), picture) << title;
    EXPECT_EQ(fs::path(path).extension(), picture[0] == '\xff' ? ".jpg" : ".png") << title;
  }
  EXPECT_EQ(std::distance(fs::directory_iterator(covers()), fs::directory_iterator()), 3);

  // Identifiers depend on the content, not on where the folder is.
  const std::string moved = dir.path() + "/elsewhere";
  fs::copy(root(), moved, fs::copy_options::recursive);
  velora_test::TempDir otherCovers;
  const Catalog second = index(moved, otherCovers.path());
  ASSERT_EQ(second.trackCount(), catalog.trackCount());
  for (std::size_t i = 0; i < catalog.tracks().size(); ++i) {
    EXPECT_EQ(second.tracks()[i]->id, catalog.tracks()[i]->id);
    EXPECT_EQ(second.tracks()[i]->albumId, catalog.tracks()[i]->albumId);
  }
}

TEST_F(MusicIndexerTest, Id3PicturesMp3AndDsfFilesAndPicturesThatAreNoImages) {
  const std::string embedded = refhost_test::jpegPicture('E');
  const std::string mp3Picture = refhost_test::pngPicture(7);
  const std::string dsfPicture = refhost_test::pngPicture(6);
  // An ID3v2 picture inside a WAV file wins over the folder picture.
  refhost_test::writeWav(root() + "/A/one.wav", 8000, 16, 1.0,
                         {"One", "Someone", "", "Wav Art", "", 1, 0, embedded});
  refhost_test::writeFile(root() + "/A/cover.png", refhost_test::pngPicture(1));
  // A "picture" that is neither JPEG nor PNG is ignored.
  refhost_test::writeWav(root() + "/B/two.wav", 8000, 16, 1.0,
                         {"Two", "Someone", "", "No Art", "", 1, 0, ""});
  refhost_test::writeFile(root() + "/B/cover.jpg", std::string(2000, 'G'));
  refhost_test::writeFile(root() + "/C/03 - three.mp3", refhost_test::mp3Bytes(3.2));
  refhost_test::applyTags(root() + "/C/03 - three.mp3",
                          {"Three", "Someone", "", "Mp3 Art", "", 3, 2001, mp3Picture});
  // TagLib of this generation has no DSF reader: the indexer reads the header
  // and the ID3v2 tag itself, and a truncated file is only skipped.
  refhost_test::writeFile(
      root() + "/D/01.dsf",
      refhost_test::dsfBytes(2822400, 125.0,
                             {"Sand", "Dune Choir", "", "Dunes", "", 1, 0, dsfPicture}));
  refhost_test::writeFile(root() + "/D/02.dsf", "DSD but nothing after it");

  const Catalog catalog = index(root());
  ASSERT_EQ(catalog.trackCount(), 4u) << log.str();
  EXPECT_NE(log.str().find("warning: skipped D/02.dsf: "), std::string::npos) << log.str();
  const auto& mp3 = album(catalog, "Mp3 Art");
  const auto* three = catalog.track(mp3.trackIds.at(0));
  EXPECT_EQ(three->fileType + std::to_string(three->sampleRate), "MP344100");
  EXPECT_EQ(three->duration, 3);
  EXPECT_EQ(three->number, 3);
  EXPECT_EQ(mp3.year, 2001);
  EXPECT_EQ(readFile(mp3.coverPath), mp3Picture);
  EXPECT_EQ(readFile(album(catalog, "Wav Art").coverPath), embedded);
  EXPECT_EQ(album(catalog, "No Art").coverPath, "");
  EXPECT_EQ(album(catalog, "Wav Art").artistId, album(catalog, "No Art").artistId);

  const auto& dunes = album(catalog, "Dunes");
  const auto* sand = catalog.track(dunes.trackIds.at(0));
  EXPECT_EQ(sand->title, "Sand");
  EXPECT_EQ(artist(catalog, sand->artistId), "Dune Choir");
  EXPECT_EQ(sand->fileType, "DSF");
  EXPECT_EQ(sand->sampleRate, 2822400);
  EXPECT_EQ(sand->bitDepth, 1);
  EXPECT_EQ(sand->duration, 125);
  EXPECT_EQ(readFile(dunes.coverPath), dsfPicture);
}

TEST_F(MusicIndexerTest, MissingFoldersFailAndLinkLoopsEnd) {
  try {
    index(dir.path() + "/no such folder");
    FAIL() << "expected an exception";
  } catch (const std::runtime_error& e) {
    EXPECT_NE(std::string(e.what()).find("no such folder"), std::string::npos) << e.what();
  }
  EXPECT_THROW(index(dir.write("plain.txt", "x")), std::runtime_error);
  EXPECT_FALSE(fs::exists(covers())) << "nothing written for a failed run";

  refhost_test::writeWav(root() + "/a/one.wav", 8000, 16, 1.0, {"One", "X", "", "Y", "", 1, 0, ""});
  refhost_test::writeWav(dir.path() + "/linked/two.wav", 8000, 16, 1.0,
                         {"Two", "X", "", "Y", "", 2, 0, ""});
  fs::create_directory_symlink(root(), root() + "/a/back-to-the-top");
  fs::create_directory_symlink(dir.path() + "/linked", root() + "/linked");
  const Catalog catalog = index(root());
  EXPECT_EQ(catalog.trackCount(), 2u) << log.str();
  EXPECT_EQ(catalog.albumCount(), 1u);
}

}  // namespace
