#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <set>

#include "catalog/MusicIndexer.h"
#include "catalog/SampleLibrary.h"
#include "refhost/MusicFixtures.h"
#include "support/TestHttp.h"

namespace {

namespace fs = std::filesystem;
using refhost::Catalog;
using refhost_test::picture;
using refhost_test::readFile;
using refhost_test::writeAudio;

class MusicIndexerTest : public ::testing::Test {
 protected:
  Catalog index(const std::string& folder, const std::string& coverFolder) {
    return refhost::indexMusicFolder(folder, coverFolder, log, &report);
  }
  velora_test::TempDir dir;
  const std::string root = dir.path() + "/music", covers = dir.path() + "/covers";
  // "title by artist #number seconds rate/bits type" per track and "album by
  // artist year genre [cover's fill byte and extension]: titles in order".
  std::set<std::string> described(const Catalog& c) const {
    std::set<std::string> out;
    for (const auto* t : c.tracks()) {
      std::ostringstream text;
      text << t->title << " by " << c.artist(t->artistId)->name << " #" << t->number << " "
           << t->duration << "s " << t->sampleRate << "/" << t->bitDepth << " " << t->fileType;
      out.insert(text.str());
      EXPECT_TRUE(fs::path(t->path).is_absolute() && fs::exists(t->path)) << t->path;
    }
    for (const auto* a : c.albums()) {
      const std::string bytes = " " + readFile(a->coverPath);  // " " when there is none
      std::ostringstream text;
      text << a->title << " by " << c.artist(a->artistId)->name << " " << a->year << " "
           << c.genre(a->genreId)->name << " [" << bytes.back()
           << fs::path(a->coverPath).extension().string() << "]:";
      for (const auto& id : a->trackIds) text << " " << c.track(id)->title;
      out.insert(text.str());
    }
    return out;
  }

  std::ostringstream log;
  refhost::IndexReport report;
};

TEST_F(MusicIndexerTest, TagsBecomeTracksAndBadFilesAreSkippedWithAWarning) {
  refhost_test::writeMusicFolder(root);
  // An ID3v2 picture in a WAV file wins over the folder's picture; a
  // "picture" that is neither JPEG nor PNG is ignored; "someone" is "Someone".
  writeAudio(root + "/A/one.wav", 8000, 16, 1, "One|Someone||Wav Art||1", picture(false, 'E'));
  refhost_test::writeFile(root + "/A/cover.png", picture(true, 'A'));
  writeAudio(root + "/B/two.wav", 8000, 16, 1, "Two|someone||No Art||1");
  refhost_test::writeFile(root + "/B/cover.jpg", std::string(2010, 'G'));
  // The indexer reads DSF itself; a truncated one is only skipped.
  writeAudio(root + "/D/01.dsf", 2822400, 1, 125, "Sand|Dune Choir||Dunes||1", picture(true, 'D'));
  refhost_test::writeFile(root + "/D/02.dsf", "DSD but nothing after it");

  const Catalog catalog = index(root, covers);
  EXPECT_EQ(report.filesSeen, 12u) << log.str();
  EXPECT_EQ(report.tracksIndexed, 9u) << log.str();
  EXPECT_EQ(report.filesSkipped, 3u) << log.str();
  for (const char* skipped : {"Harbour Lights/notes.txt", "Loose/broken.flac", "D/02.dsf"}) {
    EXPECT_NE(log.str().find(std::string("warning: skipped ") + skipped), std::string::npos)
        << log.str();
  }
  // Album order follows the tag numbers; untagged files fall back to the
  // file name and "unknown" names; a compilation belongs to its album artist;
  // an embedded picture may serve two albums, and "Folder.PNG" counts too.
  EXPECT_EQ(described(catalog),
            (std::set<std::string>{
                "Opening Tide by Test Artist A #1 200s 96000/24 FLAC",
                "Second Wave by Test Artist A #2 96s 44100/16 FLAC",
                "Rain on Tin by Test Artist B #2 3s 8000/16 WAV",
                "Wind by Test Artist B #1 2s 22050/8 WAV",
                "Twin \xc3\x89toile by Test Artist C #4 61s 192000/24 FLAC",
                "untagged song by Unknown Artist #1 1s 11025/16 WAV",
                "One by Someone #1 1s 8000/16 WAV",
                "Two by Someone #1 1s 8000/16 WAV",
                "Sand by Dune Choir #1 125s 2822400/1 DSF",
                "Harbour Lights by Test Artist A 2019 Test Genre [H.png]: Opening Tide Second Wave",
                "Field Recordings by Test Artist B 0 Unknown Genre [F.jpg]: Wind Rain on Tin",
                "Twin Album by Various Artists 0 Unknown Genre [H.png]: Twin \xc3\x89toile",
                "Unknown Album by Unknown Artist 0 Unknown Genre [L.png]: untagged song",
                "Wav Art by Someone 0 Unknown Genre [E.jpg]: One",
                "No Art by Someone 0 Unknown Genre [ ]: Two",
                "Dunes by Dune Choir 0 Unknown Genre [D.png]: Sand",
            }));
  EXPECT_EQ(std::distance(fs::directory_iterator(covers), fs::directory_iterator()), 5);

  // Identifiers depend on the content, not on where the folder is.
  fs::copy(root, dir.path() + "/elsewhere", fs::copy_options::recursive);
  const Catalog moved = index(dir.path() + "/elsewhere", dir.path() + "/other");
  for (std::size_t i = 0; i < catalog.trackCount(); ++i) {
    EXPECT_EQ(moved.tracks().at(i)->id + moved.tracks()[i]->albumId,
              catalog.tracks()[i]->id + catalog.tracks()[i]->albumId);
  }
}

TEST_F(MusicIndexerTest, MissingFoldersFailAndLinkLoopsEnd) {
  EXPECT_THROW(index(dir.path() + "/no such folder", covers), std::runtime_error);
  EXPECT_THROW(index(dir.write("plain.txt", "x"), covers), std::runtime_error);
  EXPECT_FALSE(fs::exists(covers)) << "nothing written for a failed run";

  writeAudio(root + "/a/one.wav", 8000, 16, 1, "One|X||Y||1");
  writeAudio(dir.path() + "/linked/two.wav", 8000, 16, 1, "Two|X||Y||2");
  fs::create_directory_symlink(root, root + "/a/back-to-the-top");
  fs::create_directory_symlink(dir.path() + "/linked", root + "/linked");
  const Catalog catalog = index(root, covers);
  EXPECT_EQ(catalog.trackCount(), 2u) << log.str();
}

TEST(SampleLibrary, ReferencesResolveCoversAreOwnPngsAndRebuildsReuseOrRepairThem) {
  velora_test::TempDir dir, other;
  const Catalog catalog = refhost::buildSampleLibrary(dir.path() + "/new/covers");
  const Catalog elsewhere = refhost::buildSampleLibrary(other.path());
  std::set<std::string> covers;
  for (const auto* album : catalog.albums()) {
    SCOPED_TRACE(album->title);
    for (const auto* owners :
         {&catalog.artist(album->artistId)->albumIds, &catalog.genre(album->genreId)->albumIds}) {
      EXPECT_EQ(std::count(owners->begin(), owners->end(), album->id), 1);
    }
    for (std::size_t i = 0; i < album->trackIds.size(); ++i) {  // numbered in album order
      const auto* t = catalog.track(album->trackIds[i]);
      EXPECT_TRUE(t && t->albumId == album->id && t->number == int(i + 1) &&
                  catalog.artist(t->artistId))
          << album->trackIds[i];
    }
    // The service complains about pictures of 768 bytes or less and sends
    // each one whole.
    const std::string bytes = readFile(album->coverPath);
    EXPECT_TRUE(bytes.size() > 768 && bytes.size() < 100 * 1024) << bytes.size();
    EXPECT_TRUE(covers.insert(bytes).second) << "two albums share a cover";
    EXPECT_EQ(readFile(elsewhere.album(album->id)->coverPath), bytes) << "differs from run to run";
    EXPECT_EQ(0u, bytes.rfind("\x89PNG\r\n\x1a\n", 0));
  }
  for (const auto* list : catalog.playlists()) {
    for (const auto& id : list->trackIds) EXPECT_NE(catalog.track(id), nullptr) << list->name;
  }
  for (const auto* mood : catalog.moods()) {
    for (const auto& id : mood->trackIds) EXPECT_NE(catalog.track(id), nullptr) << mood->name;
    EXPECT_TRUE(fs::is_regular_file(mood->coverPath)) << mood->name;
  }

  // A rebuild leaves an identical cover alone and repairs a damaged one.
  const std::string kept = catalog.albums()[0]->coverPath, damaged = catalog.albums()[1]->coverPath;
  const auto old = fs::file_time_type::clock::now() - std::chrono::hours(24);
  fs::last_write_time(kept, old);
  refhost_test::writeFile(damaged, "not a picture");
  refhost::buildSampleLibrary(dir.path() + "/new/covers");
  EXPECT_EQ(fs::last_write_time(kept), old);
  EXPECT_EQ(readFile(damaged), readFile(elsewhere.albums()[1]->coverPath));
  EXPECT_EQ(std::distance(fs::directory_iterator(dir.path() + "/new/covers"), {}),
            static_cast<long>(catalog.albumCount() + catalog.moods().size()))
      << "no temporary files left behind";
  EXPECT_THROW(refhost::buildSampleLibrary(dir.write("blocker", "a file, not a folder")),
               std::runtime_error);
}

}  // namespace
