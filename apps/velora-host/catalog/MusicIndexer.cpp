#include "catalog/MusicIndexer.h"

#include <taglib/aifffile.h>
#include <taglib/apefile.h>
#include <taglib/apeproperties.h>
#include <taglib/asffile.h>
#include <taglib/attachedpictureframe.h>
#include <taglib/fileref.h>
#include <taglib/flacfile.h>
#include <taglib/flacproperties.h>
#include <taglib/id3v2tag.h>
#include <taglib/mp4file.h>
#include <taglib/mpcfile.h>
#include <taglib/mpegfile.h>
#include <taglib/oggflacfile.h>
#include <taglib/opusfile.h>
#include <taglib/speexfile.h>
#include <taglib/tfilestream.h>
#include <taglib/tpropertymap.h>
#include <taglib/trueaudiofile.h>
#include <taglib/trueaudioproperties.h>
#include <taglib/vorbisfile.h>
#include <taglib/wavfile.h>
#include <taglib/wavpackfile.h>
#include <taglib/wavpackproperties.h>
#include <taglib/xiphcomment.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <vector>

#include "catalog/CoverFiles.h"

namespace refhost {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kProgressEveryFiles = 200;
constexpr auto kProgressEveryTime = std::chrono::seconds(1);

const std::set<std::string> kAudioExtensions = {
    ".flac", ".wav", ".aif", ".aiff", ".aifc", ".mp3", ".m4a", ".mp4", ".ogg", ".oga",
    ".opus", ".spx", ".wv",  ".ape",  ".mpc",  ".wma", ".asf", ".tta", ".dsf", ".dff"};
const std::set<std::string> kImageExtensions = {".jpg", ".jpeg", ".png"};
// Names of the picture beside an album's files, in order of preference.
const std::vector<std::string> kCoverNames = {"cover", "folder", "front"};

std::string lowered(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

std::string trimmed(const std::string& text) {
  const auto first = text.find_first_not_of(" \t\r\n");
  if (first == std::string::npos) return "";
  const auto last = text.find_last_not_of(" \t\r\n");
  return text.substr(first, last - first + 1);
}

// The leading number of "3", "03/12" or "2019-05-01"; 0 when there is none.
int leadingNumber(const std::string& text) {
  int value = 0;
  std::size_t i = 0;
  while (i < text.size() && i < 9 && std::isdigit(static_cast<unsigned char>(text[i]))) {
    value = value * 10 + (text[i] - '0');
    ++i;
  }
  return value;
}

void writeLine(std::ostream& log, const std::string& line) {
  // One insertion per line so that lines from other threads writing to the
  // same stream do not interleave inside ours.
  log << (line + "\n") << std::flush;
}

// What one audio file contributes, whichever reader produced it.
struct FileInfo {
  std::string title, artist, albumArtist, album, genre, fileType;
  int number = 0, year = 0;
  int durationMs = 0, sampleRate = 0, bitDepth = 0;
  std::string picture;  // JPEG or PNG bytes, only when asked for
};

std::string firstValue(const TagLib::PropertyMap& tags, const char* key) {
  const auto it = tags.find(key);
  if (it == tags.end() || it->second.isEmpty()) return "";
  return trimmed(it->second.front().to8Bit(true));
}

void takeTags(const TagLib::PropertyMap& tags, FileInfo& info) {
  info.title = firstValue(tags, "TITLE");
  info.artist = firstValue(tags, "ARTIST");
  info.albumArtist = firstValue(tags, "ALBUMARTIST");
  info.album = firstValue(tags, "ALBUM");
  info.genre = firstValue(tags, "GENRE");
  info.number = leadingNumber(firstValue(tags, "TRACKNUMBER"));
  info.year = leadingNumber(firstValue(tags, "DATE"));
}

// Keeps the first front cover among JPEG/PNG candidates, or the first
// JPEG/PNG of any other kind when there is no front cover.
class PicturePicker {
 public:
  void offer(const TagLib::ByteVector& data, bool frontCover) {
    if (frontCover ? front_ : !best_.empty()) return;
    std::string bytes(data.data(), data.size());
    if (imageKindOf(bytes) == ImageKind::Unknown) return;
    best_ = std::move(bytes);
    front_ = frontCover;
  }
  std::string take() { return std::move(best_); }

 private:
  std::string best_;
  bool front_ = false;
};

void offerId3Pictures(TagLib::ID3v2::Tag* tag, PicturePicker& picker) {
  if (tag == nullptr) return;
  for (const auto* frame : tag->frameList("APIC")) {
    const auto* apic = dynamic_cast<const TagLib::ID3v2::AttachedPictureFrame*>(frame);
    if (apic == nullptr) continue;
    picker.offer(apic->picture(), apic->type() == TagLib::ID3v2::AttachedPictureFrame::FrontCover);
  }
}

void offerFlacPictures(const TagLib::List<TagLib::FLAC::Picture*>& pictures,
                       PicturePicker& picker) {
  for (const auto* picture : pictures) {
    picker.offer(picture->data(), picture->type() == TagLib::FLAC::Picture::FrontCover);
  }
}

std::string embeddedPicture(TagLib::File* file) {
  PicturePicker picker;
  if (auto* flac = dynamic_cast<TagLib::FLAC::File*>(file)) {
    offerFlacPictures(flac->pictureList(), picker);
    if (flac->hasXiphComment()) offerFlacPictures(flac->xiphComment()->pictureList(), picker);
    if (flac->hasID3v2Tag()) offerId3Pictures(flac->ID3v2Tag(), picker);
  } else if (auto* mpeg = dynamic_cast<TagLib::MPEG::File*>(file)) {
    if (mpeg->hasID3v2Tag()) offerId3Pictures(mpeg->ID3v2Tag(), picker);
  } else if (auto* wav = dynamic_cast<TagLib::RIFF::WAV::File*>(file)) {
    if (wav->hasID3v2Tag()) offerId3Pictures(wav->ID3v2Tag(), picker);
  } else if (auto* aiff = dynamic_cast<TagLib::RIFF::AIFF::File*>(file)) {
    if (aiff->hasID3v2Tag()) offerId3Pictures(aiff->tag(), picker);
  } else if (auto* mp4 = dynamic_cast<TagLib::MP4::File*>(file)) {
    if (mp4->tag() != nullptr && mp4->tag()->contains("covr")) {
      for (const auto& art : mp4->tag()->item("covr").toCoverArtList()) {
        picker.offer(art.data(), true);
      }
    }
  } else if (auto* asf = dynamic_cast<TagLib::ASF::File*>(file)) {
    if (asf->tag() != nullptr) {
      for (const auto& attribute : asf->tag()->attribute("WM/Picture")) {
        const auto picture = attribute.toPicture();
        picker.offer(picture.picture(), picture.type() == TagLib::ASF::Picture::FrontCover);
      }
    }
  } else if (auto* xiph = dynamic_cast<TagLib::Ogg::XiphComment*>(file->tag())) {
    // Ogg Vorbis, Opus, Speex and Ogg FLAC keep pictures in the comment.
    offerFlacPictures(xiph->pictureList(), picker);
  }
  return picker.take();
}

std::string fileTypeOf(TagLib::File* file, const std::string& extension) {
  if (dynamic_cast<TagLib::FLAC::File*>(file) || dynamic_cast<TagLib::Ogg::FLAC::File*>(file)) {
    return "FLAC";
  }
  if (dynamic_cast<TagLib::RIFF::WAV::File*>(file)) return "WAV";
  if (dynamic_cast<TagLib::RIFF::AIFF::File*>(file)) return "AIFF";
  if (dynamic_cast<TagLib::MPEG::File*>(file)) return "MP3";
  if (auto* mp4 = dynamic_cast<TagLib::MP4::File*>(file)) {
    const auto* properties = mp4->audioProperties();
    return properties != nullptr && properties->codec() == TagLib::MP4::Properties::ALAC ? "ALAC"
                                                                                         : "AAC";
  }
  if (dynamic_cast<TagLib::Ogg::Vorbis::File*>(file)) return "OGG";
  if (dynamic_cast<TagLib::Ogg::Opus::File*>(file)) return "OPUS";
  if (dynamic_cast<TagLib::Ogg::Speex::File*>(file)) return "SPEEX";
  if (dynamic_cast<TagLib::WavPack::File*>(file)) return "WV";
  if (dynamic_cast<TagLib::APE::File*>(file)) return "APE";
  if (dynamic_cast<TagLib::MPC::File*>(file)) return "MPC";
  if (dynamic_cast<TagLib::ASF::File*>(file)) return "WMA";
  if (dynamic_cast<TagLib::TrueAudio::File*>(file)) return "TTA";
  std::string type = extension.empty() ? "" : extension.substr(1);
  std::transform(type.begin(), type.end(), type.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return type;
}

int bitDepthOf(const TagLib::AudioProperties* properties) {
  using namespace TagLib;
  if (auto* p = dynamic_cast<const FLAC::Properties*>(properties)) return p->bitsPerSample();
  if (auto* p = dynamic_cast<const RIFF::WAV::Properties*>(properties)) return p->bitsPerSample();
  if (auto* p = dynamic_cast<const RIFF::AIFF::Properties*>(properties)) return p->bitsPerSample();
  if (auto* p = dynamic_cast<const MP4::Properties*>(properties)) {
    return p->codec() == MP4::Properties::ALAC ? p->bitsPerSample() : 0;
  }
  if (auto* p = dynamic_cast<const WavPack::Properties*>(properties)) return p->bitsPerSample();
  if (auto* p = dynamic_cast<const APE::Properties*>(properties)) return p->bitsPerSample();
  if (auto* p = dynamic_cast<const TrueAudio::Properties*>(properties)) return p->bitsPerSample();
  return 0;  // lossy formats have no bit depth of their own
}

using WantsPicture = std::function<bool(const FileInfo&)>;

// False with `why` set when TagLib cannot make sense of the file.
bool readWithTagLib(const std::string& path, const std::string& extension,
                    const WantsPicture& wantsPicture, FileInfo& info, std::string& why) {
  TagLib::FileRef ref(path.c_str(), true, TagLib::AudioProperties::Average);
  if (ref.isNull()) {
    why = "not a readable audio file";
    return false;
  }
  const TagLib::AudioProperties* properties = ref.audioProperties();
  if (properties == nullptr || properties->sampleRate() <= 0) {
    why = "no audio properties";
    return false;
  }
  TagLib::File* file = ref.file();
  takeTags(file->properties(), info);
  info.fileType = fileTypeOf(file, extension);
  info.durationMs = properties->lengthInMilliseconds();
  info.sampleRate = properties->sampleRate();
  info.bitDepth = bitDepthOf(properties);
  if (wantsPicture(info)) info.picture = embeddedPicture(file);
  return true;
}

// DSF (DSD stream files): TagLib of this generation has no reader for them,
// but the format is simple: a "DSD " chunk pointing at an ID3v2 tag at the
// end, and a "fmt " chunk with the rate and the sample count.
std::uint64_t littleEndian(const unsigned char* bytes, int size) {
  std::uint64_t value = 0;
  for (int i = size - 1; i >= 0; --i) value = (value << 8) | bytes[i];
  return value;
}

// TagLib parses an ID3v2 tag out of any TagLib::File; this one is nothing but
// the stream, for formats that TagLib cannot open itself.
class PlainFile : public TagLib::File {
 public:
  explicit PlainFile(TagLib::IOStream* stream) : TagLib::File(stream) {}
  TagLib::Tag* tag() const override { return nullptr; }
  TagLib::AudioProperties* audioProperties() const override { return nullptr; }
  bool save() override { return false; }
};

bool readDsf(const std::string& path, const WantsPicture& wantsPicture, FileInfo& info,
             std::string& why) {
  std::ifstream in(path, std::ios::binary);
  unsigned char header[28 + 52];
  if (!in.read(reinterpret_cast<char*>(header), sizeof header) ||
      std::string(reinterpret_cast<char*>(header), 4) != "DSD " ||
      std::string(reinterpret_cast<char*>(header) + 28, 4) != "fmt ") {
    why = "not a DSF file";
    return false;
  }
  const unsigned char* fmt = header + 28;
  const auto sampleRate = littleEndian(fmt + 28, 4);
  const auto bitsPerSample = littleEndian(fmt + 32, 4);
  const auto sampleCount = littleEndian(fmt + 36, 8);
  const auto tagOffset = littleEndian(header + 20, 8);
  if (sampleRate == 0) {
    why = "no sample rate";
    return false;
  }
  in.close();
  info.fileType = "DSF";
  info.sampleRate = static_cast<int>(sampleRate);
  info.bitDepth = static_cast<int>(bitsPerSample);
  info.durationMs = static_cast<int>(sampleCount * 1000 / sampleRate);
  if (tagOffset == 0) return true;
  TagLib::FileStream stream(path.c_str(), true);
  if (!stream.isOpen() || tagOffset >= static_cast<std::uint64_t>(stream.length())) return true;
  PlainFile file(&stream);
  TagLib::ID3v2::Tag tag(&file, static_cast<long>(tagOffset));
  takeTags(tag.properties(), info);
  if (wantsPicture(info)) {
    PicturePicker picker;
    offerId3Pictures(&tag, picker);
    info.picture = picker.take();
  }
  return true;
}

// ------------------------------------------------------------ the album build

struct PendingTrack {
  CatalogTrack track;
  std::string fileName;
};

struct PendingAlbum {
  CatalogAlbum album;
  std::string folder;   // where its first file is, for a picture beside it
  std::string picture;  // the first embedded picture found
  std::vector<PendingTrack> tracks;
};

std::string makeId(const char* prefix, const std::string& key) { return prefix + stableHash(key); }

// cover.jpg before folder.png before front.jpeg; the names are matched
// without regard to case.
std::string pictureBeside(const std::string& folder) {
  std::error_code error;
  std::map<std::pair<std::size_t, std::string>, std::string> found;
  for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
    const fs::path& path = it->path();
    const std::string stem = lowered(path.stem().string());
    const std::string extension = lowered(path.extension().string());
    const auto rank = std::find(kCoverNames.begin(), kCoverNames.end(), stem);
    if (rank == kCoverNames.end() || kImageExtensions.count(extension) == 0) continue;
    found[{static_cast<std::size_t>(rank - kCoverNames.begin()), extension}] = path.string();
  }
  for (const auto& candidate : found) {
    std::string bytes;
    if (readWholeFile(candidate.second, bytes) && imageKindOf(bytes) != ImageKind::Unknown) {
      return bytes;
    }
  }
  return "";
}

}  // namespace

Catalog indexMusicFolder(const std::string& folder, const std::string& coverFolder,
                         std::ostream& log, IndexReport* report) {
  std::error_code error;
  if (!fs::exists(folder, error)) throw std::runtime_error("music folder not found: " + folder);
  if (!fs::is_directory(folder, error)) {
    throw std::runtime_error("music folder is not a folder: " + folder);
  }
  const fs::path root = fs::canonical(folder, error);
  if (error)
    throw std::runtime_error("cannot open music folder " + folder + ": " + error.message());

  std::vector<fs::path> files;
  const auto options = fs::directory_options::follow_directory_symlink |
                       fs::directory_options::skip_permission_denied;
  // Linked folders are followed, since music collections are often put
  // together that way, but each real folder is entered once so that a link
  // back up the tree does not send the walk round in circles.
  std::set<fs::path> entered = {root};
  for (fs::recursive_directory_iterator it(root, options, error), end; !error && it != end;
       it.increment(error)) {
    std::error_code entryError;
    if (it->is_directory(entryError)) {
      if (!entered.insert(fs::canonical(it->path(), entryError)).second || entryError) {
        it.disable_recursion_pending();
      }
    } else if (it->is_regular_file(entryError)) {
      files.push_back(it->path());
    }
  }
  if (error) writeLine(log, "warning: stopped listing " + root.string() + ": " + error.message());
  // Sorted so that numbering, album folders and the choice of covers do not
  // depend on the order the file system lists files in.
  std::sort(files.begin(), files.end());

  IndexReport counts;
  std::size_t audioFiles = 0;
  for (const auto& path : files) {
    if (kImageExtensions.count(lowered(path.extension().string())) == 0) ++audioFiles;
  }
  writeLine(log, "Indexing " + std::to_string(audioFiles) + " files under " + root.string());

  std::map<std::string, CatalogArtist> artists;
  std::map<std::string, CatalogGenre> genres;
  std::map<std::string, PendingAlbum> albums;  // by album id
  auto lastProgress = std::chrono::steady_clock::now();

  for (const auto& path : files) {
    const std::string extension = lowered(path.extension().string());
    if (kImageExtensions.count(extension) != 0) continue;
    const auto now = std::chrono::steady_clock::now();
    if (counts.filesSeen > 0 &&
        (counts.filesSeen % kProgressEveryFiles == 0 || now - lastProgress >= kProgressEveryTime)) {
      lastProgress = now;
      writeLine(log, "Indexed " + std::to_string(counts.filesSeen) + " of " +
                         std::to_string(audioFiles) + " files, " +
                         std::to_string(counts.tracksIndexed) + " tracks");
    }
    ++counts.filesSeen;
    const std::string relative = path.lexically_relative(root).generic_string();
    if (kAudioExtensions.count(extension) == 0) {
      ++counts.filesSkipped;
      writeLine(log, "warning: skipped " + relative + ": not an audio file");
      continue;
    }

    // An album is known once the tags are read; the picture is copied out
    // only for the first file of an album that has none yet.
    const std::string folderOfFile = path.parent_path().lexically_relative(root).generic_string();
    auto albumKey = [&](const FileInfo& info) {
      const std::string artist = !info.albumArtist.empty() ? info.albumArtist
                                 : !info.artist.empty()    ? info.artist
                                                           : "Unknown Artist";
      // Untitled albums are kept apart by folder rather than merged into one.
      return lowered(artist) + "\n" +
             (info.album.empty() ? "\n" + folderOfFile : lowered(info.album));
    };
    auto wantsPicture = [&](const FileInfo& info) {
      const auto it = albums.find(makeId("al-", albumKey(info)));
      return it == albums.end() || it->second.picture.empty();
    };

    FileInfo info;
    std::string why;
    bool ok = false;
    try {
      ok = extension == ".dsf" ? readDsf(path.string(), wantsPicture, info, why)
                               : readWithTagLib(path.string(), extension, wantsPicture, info, why);
    } catch (const std::exception& e) {
      why = e.what();
    }
    if (!ok) {
      ++counts.filesSkipped;
      writeLine(log, "warning: skipped " + relative + ": " + why);
      continue;
    }

    const std::string artistName = info.artist.empty() ? "Unknown Artist" : info.artist;
    const std::string albumArtistName = info.albumArtist.empty() ? artistName : info.albumArtist;
    for (const auto& name : {artistName, albumArtistName}) {
      const std::string id = makeId("ar-", lowered(name));
      if (artists.count(id) == 0) artists[id] = CatalogArtist{id, name, "", {}};
    }
    const std::string albumId = makeId("al-", albumKey(info));
    PendingAlbum& pending = albums[albumId];
    if (pending.album.id.empty()) {
      pending.album.id = albumId;
      pending.album.title = info.album.empty() ? "Unknown Album" : info.album;
      pending.album.artistId = makeId("ar-", lowered(albumArtistName));
      pending.folder = path.parent_path().string();
    }
    if (pending.album.year == 0) pending.album.year = info.year;
    if (pending.album.genreId.empty() && !info.genre.empty()) {
      pending.album.genreId = makeId("ge-", lowered(info.genre));
      if (genres.count(pending.album.genreId) == 0) {
        genres[pending.album.genreId] = CatalogGenre{pending.album.genreId, info.genre, {}};
      }
    }
    if (pending.picture.empty()) pending.picture = std::move(info.picture);

    PendingTrack entry;
    entry.fileName = path.filename().string();
    CatalogTrack& track = entry.track;
    track.id = makeId("tr-", relative);
    track.title = info.title.empty() ? path.stem().string() : info.title;
    track.artistId = makeId("ar-", lowered(artistName));
    track.albumId = albumId;
    track.path = path.string();
    track.fileType = info.fileType;
    // Untagged files are often named "03 Title.flac".
    const int numberInName = leadingNumber(entry.fileName);
    track.number = info.number > 0 ? info.number : numberInName < 1000 ? numberInName : 0;
    track.duration = (info.durationMs + 500) / 1000;
    track.sampleRate = info.sampleRate;
    if (info.bitDepth > 0) track.bitDepth = info.bitDepth;
    pending.tracks.push_back(std::move(entry));
    ++counts.tracksIndexed;
  }

  const std::string unknownGenre = makeId("ge-", "unknown genre");
  Catalog catalog;
  for (auto& item : artists) catalog.addArtist(std::move(item.second));
  for (auto& item : albums) {
    if (item.second.album.genreId.empty()) {
      item.second.album.genreId = unknownGenre;
      genres[unknownGenre] = CatalogGenre{unknownGenre, "Unknown Genre", {}};
    }
  }
  for (auto& item : genres) catalog.addGenre(std::move(item.second));

  for (auto& item : albums) {
    PendingAlbum& pending = item.second;
    std::string picture = std::move(pending.picture);
    if (picture.empty()) picture = pictureBeside(pending.folder);
    if (!picture.empty()) {
      const ImageKind kind = imageKindOf(picture);
      pending.album.coverPath =
          storeFile(coverFolder, "cover-" + stableHash(picture) + imageExtension(kind), picture);
    }
    catalog.addAlbum(pending.album);
    // Tracks without a number follow the numbered ones in file-name order.
    int next = 0;
    for (const auto& entry : pending.tracks) next = std::max(next, entry.track.number);
    for (auto& entry : pending.tracks) {
      if (entry.track.number <= 0) entry.track.number = ++next;
      catalog.addTrack(std::move(entry.track));
    }
  }

  std::ostringstream summary;
  summary << "Indexed " << counts.tracksIndexed << " tracks in " << catalog.albumCount()
          << " albums by " << catalog.artistCount() << " artists";
  if (counts.filesSkipped > 0) summary << "; " << counts.filesSkipped << " files skipped";
  writeLine(log, summary.str());
  if (report != nullptr) *report = counts;
  return catalog;
}

}  // namespace refhost
