#pragma once

// Small tagged audio files as tagging programs write them; the readers take
// durations from the headers, so they hold little or no audio.

#include <taglib/attachedpictureframe.h>
#include <taglib/flacfile.h>
#include <taglib/id3v2tag.h>
#include <taglib/tpropertymap.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace refhost_test {

inline std::string le(std::uint64_t v, int n) { return n ? char(v) + le(v >> 8, n - 1) : ""; }

// Only the magic bytes matter, and a size no one would call suspiciously small.
inline std::string picture(bool png, char fill) {
  return (png ? std::string("\x89PNG\r\n\x1a\n") : std::string("\xff\xd8\xff\xe0")) +
         std::string(2000, fill);
}

inline void writeFile(const std::string& path, const std::string& bytes) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream(path, std::ios::binary) << bytes;
}

inline std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// "title|artist|album artist|album|genre|number|year"; empty fields are left out.
inline TagLib::PropertyMap propertiesOf(const std::string& tags) {
  TagLib::PropertyMap map;
  std::istringstream in(tags);
  std::string value;
  for (const char* key :
       {"TITLE", "ARTIST", "ALBUMARTIST", "ALBUM", "GENRE", "TRACKNUMBER", "DATE"}) {
    if (std::getline(in, value, '|') && !value.empty()) {
      map.insert(key, TagLib::String(value, TagLib::String::UTF8));
    }
  }
  return map;
}

// An ID3v2 tag with the picture as its front cover; nothing when both are empty.
inline std::string id3(const std::string& tags, const std::string& cover) {
  if (tags.empty() && cover.empty()) return "";
  TagLib::ID3v2::Tag tag;
  tag.setProperties(propertiesOf(tags));
  if (!cover.empty()) {
    auto* frame = new TagLib::ID3v2::AttachedPictureFrame;  // the tag owns it
    frame->setType(TagLib::ID3v2::AttachedPictureFrame::FrontCover);
    frame->setPicture(TagLib::ByteVector(cover.data(), static_cast<unsigned>(cover.size())));
    tag.addFrame(frame);
  }
  const TagLib::ByteVector bytes = tag.render();
  return std::string(bytes.data(), bytes.size());
}

// By extension: mono PCM WAV with an "id3 " chunk, DSF with its tag at the end,
// or a FLAC STREAMINFO block with a comment and a picture block.
inline void writeAudio(const std::string& path, int rate, int bits, double seconds,
                       const std::string& tags = "", const std::string& cover = "") {
  const std::string ext = std::filesystem::path(path).extension().string();
  const auto frames = static_cast<std::uint64_t>(seconds * rate);
  const std::string tag = id3(tags, cover);
  if (ext == ".wav") {
    const std::uint64_t size = frames * bits / 8;
    const std::string chunk = tag.empty() ? "" : "id3 " + le(tag.size(), 4) + tag;
    return writeFile(path, "RIFF" + le(36 + size + chunk.size(), 4) + "WAVEfmt " + le(16, 4) +
                               le(1, 2) + le(1, 2) + le(rate, 4) + le(rate * bits / 8, 4) +
                               le(bits / 8, 2) + le(bits, 2) + "data" + le(size, 4) +
                               std::string(size, bits == 8 ? '\x80' : '\0') + chunk);
  }
  if (ext == ".dsf") {
    const std::string data(8192, '\x69');  // DSD silence
    const std::uint64_t tagAt = 28 + 52 + 12 + data.size();
    return writeFile(path, "DSD " + le(28, 8) + le(tagAt + tag.size(), 8) + le(tagAt, 8) + "fmt " +
                               le(52, 8) + le(1, 4) + le(0, 4) + le(2, 4) + le(2, 4) + le(rate, 4) +
                               le(1, 4) + le(frames, 8) + le(4096, 4) + le(0, 4) + "data" +
                               le(12 + data.size(), 8) + data + tag);
  }
  // STREAMINFO: rate:20 channels-1:3 bits-1:5 samples:36, big-endian.
  const std::string info =
      le(std::uint64_t(rate) << 44 | 1ull << 41 | std::uint64_t(bits - 1) << 36 | frames, 8);
  writeFile(path, std::string("fLaC\x80\0\0\x22\x10\0\x10\0", 12) + std::string(6, '\0') +
                      std::string(info.rbegin(), info.rend()) + std::string(16, '\0'));
  TagLib::FLAC::File file(path.c_str());
  file.setProperties(propertiesOf(tags));
  if (!cover.empty()) {
    auto* block = new TagLib::FLAC::Picture;  // the file owns it
    block->setType(TagLib::FLAC::Picture::FrontCover);
    block->setData(TagLib::ByteVector(cover.data(), static_cast<unsigned>(cover.size())));
    file.addPicture(block);
  }
  file.save();
}

// Tagged FLAC and WAV albums, a cover embedded in one ('H') and beside another
// ('F'), two albums sharing a picture, an untagged file with a Folder.PNG
// ('L'), a nested folder, a file that only claims to be FLAC, a text file.
inline void writeMusicFolder(const std::string& root) {
  const auto at = [&](const char* path) { return root + "/" + path; };
  writeAudio(at("Harbour Lights/01 Opening.flac"), 96000, 24, 200,
             "Opening Tide|Test Artist A||Harbour Lights|Test Genre|1|2019", picture(true, 'H'));
  writeAudio(at("Harbour Lights/02.flac"), 44100, 16, 95.5,
             "Second Wave|Test Artist A||Harbour Lights|Test Genre|2|2019");
  writeFile(at("Harbour Lights/notes.txt"), "Recorded at the pier.\n");
  writeFile(at("Field Recordings/cover.jpg"), picture(false, 'F'));
  writeAudio(at("Field Recordings/a.wav"), 8000, 16, 3,
             "Rain on Tin|Test Artist B||Field Recordings||2");
  writeAudio(at("Field Recordings/b.wav"), 22050, 8, 2, "Wind|Test Artist B||Field Recordings||1");
  writeAudio(at("Loose/untagged song.wav"), 11025, 16, 1);
  writeFile(at("Loose/Folder.PNG"), picture(true, 'L'));
  writeFile(at("Loose/broken.flac"), "fLaC this is not a stream info block at all");
  writeAudio(at("Deep/Nested/Twin.flac"), 192000, 24, 61,
             "Twin \xc3\x89toile|Test Artist C|Various Artists|Twin Album||4", picture(true, 'H'));
}

}  // namespace refhost_test
