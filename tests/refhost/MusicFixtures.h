#pragma once

// Small audio files written by the tests themselves: WAV files with a few
// seconds of silent PCM and FLAC streams that hold only their STREAMINFO
// block (TagLib takes the duration from its sample count, so no audio frames
// are needed), tagged through TagLib as a tagging program would.

#include <taglib/attachedpictureframe.h>
#include <taglib/fileref.h>
#include <taglib/flacfile.h>
#include <taglib/flacpicture.h>
#include <taglib/id3v2tag.h>
#include <taglib/mpegfile.h>
#include <taglib/tpropertymap.h>
#include <taglib/wavfile.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "catalog/CoverFiles.h"

namespace refhost_test {

inline void putLittleEndian(std::string& out, std::uint64_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out.push_back(static_cast<char>((value >> (8 * i)) & 0xff));
}

// A PCM WAV file of `seconds` of silence.
inline std::string wavBytes(int sampleRate, int channels, int bits, double seconds) {
  const int blockAlign = channels * bits / 8;
  const auto frames = static_cast<std::uint64_t>(seconds * sampleRate);
  const std::uint64_t dataSize = frames * static_cast<std::uint64_t>(blockAlign);
  std::string out = "RIFF";
  putLittleEndian(out, 36 + dataSize, 4);
  out += "WAVEfmt ";
  putLittleEndian(out, 16, 4);
  putLittleEndian(out, 1, 2);  // PCM
  putLittleEndian(out, static_cast<std::uint64_t>(channels), 2);
  putLittleEndian(out, static_cast<std::uint64_t>(sampleRate), 4);
  putLittleEndian(out, static_cast<std::uint64_t>(sampleRate) * blockAlign, 4);
  putLittleEndian(out, static_cast<std::uint64_t>(blockAlign), 2);
  putLittleEndian(out, static_cast<std::uint64_t>(bits), 2);
  out += "data";
  putLittleEndian(out, dataSize, 4);
  // 8-bit PCM is unsigned: silence is 0x80.
  out.append(dataSize, bits == 8 ? '\x80' : '\0');
  return out;
}

// A FLAC stream made of the signature and one STREAMINFO block.
inline std::string flacBytes(int sampleRate, int channels, int bits, std::uint64_t totalSamples) {
  std::string info;
  info += std::string("\x10\x00\x10\x00", 4);  // min and max block size 4096
  info += std::string(6, '\0');                // min and max frame size unknown
  // 20 bits rate, 3 bits channels-1, 5 bits bits-1, 36 bits total samples.
  const std::uint64_t packed = (static_cast<std::uint64_t>(sampleRate) << 44) |
                               (static_cast<std::uint64_t>(channels - 1) << 41) |
                               (static_cast<std::uint64_t>(bits - 1) << 36) |
                               (totalSamples & 0xfffffffffull);
  for (int i = 7; i >= 0; --i) info.push_back(static_cast<char>((packed >> (8 * i)) & 0xff));
  info += std::string(16, '\0');  // MD5 of the audio, unknown
  std::string out = "fLaC";
  out.push_back('\x80');  // last metadata block, type STREAMINFO
  out.push_back(0);
  out.push_back(0);
  out.push_back(static_cast<char>(info.size()));
  return out + info;
}

// MPEG-1 Layer III at 128 kbit/s, 44.1 kHz, mono: frames of 417 bytes with
// silent (all-zero) side information and data, about 26 ms each.
inline std::string mp3Bytes(double seconds) {
  const int frames = static_cast<int>(seconds * 44100 / 1152);
  std::string frame("\xff\xfb\x90\xc0", 4);
  frame.append(417 - 4, '\0');
  std::string out;
  for (int i = 0; i < frames; ++i) out += frame;
  return out;
}

// A PNG picture with a stripe and a pattern, different for each seed and,
// like a real cover, too large for the service to call it suspiciously small.
inline std::string pngPicture(int seed, int size = 64) {
  std::vector<std::uint8_t> rgb(static_cast<std::size_t>(size * size * 3));
  for (int i = 0; i < size * size; ++i) {
    const bool stripe = (i % size) / 8 == seed % 8;
    rgb[static_cast<std::size_t>(i * 3)] = static_cast<std::uint8_t>(stripe ? 255 : seed * 37);
    rgb[static_cast<std::size_t>(i * 3 + 1)] =
        static_cast<std::uint8_t>(seed * 91 + (i / size) * (i % size));
    rgb[static_cast<std::size_t>(i * 3 + 2)] = static_cast<std::uint8_t>(200 - seed * 13);
  }
  return refhost::encodePng(size, size, rgb);
}

// Enough of a JPEG for anything that looks at its magic bytes and size.
inline std::string jpegPicture(char fill) {
  std::string out("\xff\xd8\xff\xe0\x00\x10JFIF\x00\x01\x01\x00\x00\x01\x00\x01\x00\x00", 20);
  out.append(2000, fill);
  return out + "\xff\xd9";
}

struct Tags {
  std::string title, artist, albumArtist, album, genre;
  unsigned number = 0;
  unsigned year = 0;
  std::string picture;  // JPEG or PNG bytes to embed as the front cover
};

inline void writeFile(const std::string& path, const std::string& bytes) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (!out) throw std::runtime_error("cannot write " + path);
}

inline TagLib::String utf8(const std::string& text) {
  return TagLib::String(text, TagLib::String::UTF8);
}

inline void applyTags(const std::string& path, const Tags& tags) {
  {
    TagLib::FileRef ref(path.c_str());
    if (ref.isNull()) throw std::runtime_error("TagLib cannot open " + path);
    if (!tags.title.empty()) ref.tag()->setTitle(utf8(tags.title));
    if (!tags.artist.empty()) ref.tag()->setArtist(utf8(tags.artist));
    if (!tags.album.empty()) ref.tag()->setAlbum(utf8(tags.album));
    if (!tags.genre.empty()) ref.tag()->setGenre(utf8(tags.genre));
    if (tags.number != 0) ref.tag()->setTrack(tags.number);
    if (tags.year != 0) ref.tag()->setYear(tags.year);
    if (!tags.albumArtist.empty()) {
      TagLib::PropertyMap properties = ref.file()->properties();
      properties.replace("ALBUMARTIST", TagLib::StringList(utf8(tags.albumArtist)));
      ref.file()->setProperties(properties);
    }
    if (!ref.save()) throw std::runtime_error("TagLib cannot save " + path);
  }
  if (tags.picture.empty()) return;
  const bool png = refhost::imageKindOf(tags.picture) == refhost::ImageKind::Png;
  auto* frame = new TagLib::ID3v2::AttachedPictureFrame;  // the tag takes ownership
  frame->setType(TagLib::ID3v2::AttachedPictureFrame::FrontCover);
  frame->setMimeType(png ? "image/png" : "image/jpeg");
  frame->setPicture(
      TagLib::ByteVector(tags.picture.data(), static_cast<unsigned>(tags.picture.size())));
  if (path.size() > 5 && path.compare(path.size() - 5, 5, ".flac") == 0) {
    TagLib::FLAC::File file(path.c_str());
    auto* picture = new TagLib::FLAC::Picture;  // the file takes ownership
    picture->setType(TagLib::FLAC::Picture::FrontCover);
    picture->setMimeType(frame->mimeType());
    picture->setData(frame->picture());
    delete frame;
    file.addPicture(picture);
    if (!file.save()) throw std::runtime_error("cannot add a picture to " + path);
  } else if (path.size() > 4 && path.compare(path.size() - 4, 4, ".mp3") == 0) {
    TagLib::MPEG::File file(path.c_str());
    file.ID3v2Tag(true)->addFrame(frame);
    if (!file.save()) throw std::runtime_error("cannot add a picture to " + path);
  } else {
    TagLib::RIFF::WAV::File file(path.c_str());
    file.ID3v2Tag()->addFrame(frame);
    if (!file.save()) throw std::runtime_error("cannot add a picture to " + path);
  }
}

inline void writeFlac(const std::string& path, int sampleRate, int bits, double seconds,
                      const Tags& tags) {
  writeFile(path, flacBytes(sampleRate, 2, bits, static_cast<std::uint64_t>(seconds * sampleRate)));
  applyTags(path, tags);
}

inline void writeWav(const std::string& path, int sampleRate, int bits, double seconds,
                     const Tags& tags) {
  writeFile(path, wavBytes(sampleRate, 1, bits, seconds));
  if (!tags.title.empty() || !tags.artist.empty() || !tags.album.empty() || !tags.picture.empty()) {
    applyTags(path, tags);
  }
}

// A DSF file: the "DSD " and "fmt " chunks, a token data chunk and an ID3v2
// tag at the end, where the "DSD " chunk points.
inline std::string dsfBytes(int sampleRate, double seconds, const Tags& tags) {
  const auto samples = static_cast<std::uint64_t>(seconds * sampleRate);
  const std::string data(8192, '\x69');  // DSD silence pattern
  TagLib::ID3v2::Tag tag;
  tag.setTitle(utf8(tags.title));
  tag.setArtist(utf8(tags.artist));
  tag.setAlbum(utf8(tags.album));
  tag.setTrack(tags.number);
  if (!tags.picture.empty()) {
    auto* frame = new TagLib::ID3v2::AttachedPictureFrame;
    frame->setType(TagLib::ID3v2::AttachedPictureFrame::FrontCover);
    frame->setPicture(
        TagLib::ByteVector(tags.picture.data(), static_cast<unsigned>(tags.picture.size())));
    tag.addFrame(frame);
  }
  const TagLib::ByteVector rendered = tag.render();
  const std::string id3(rendered.data(), rendered.size());
  const std::uint64_t tagOffset = 28 + 52 + 12 + data.size();

  std::string out = "DSD ";
  putLittleEndian(out, 28, 8);
  putLittleEndian(out, tagOffset + id3.size(), 8);
  putLittleEndian(out, tagOffset, 8);
  out += "fmt ";
  putLittleEndian(out, 52, 8);
  putLittleEndian(out, 1, 4);  // format version
  putLittleEndian(out, 0, 4);  // DSD raw
  putLittleEndian(out, 2, 4);  // stereo
  putLittleEndian(out, 2, 4);  // channels
  putLittleEndian(out, static_cast<std::uint64_t>(sampleRate), 4);
  putLittleEndian(out, 1, 4);  // bits per sample
  putLittleEndian(out, samples, 8);
  putLittleEndian(out, 4096, 4);  // block size per channel
  putLittleEndian(out, 0, 4);
  out += "data";
  putLittleEndian(out, 12 + data.size(), 8);
  return out + data + id3;
}

// A music folder with what a real one holds: tagged FLAC and WAV albums, a
// cover picture embedded in one and beside another, an untagged file, a
// nested folder, two albums that share a picture, a file that only claims
// to be FLAC and a text file.
struct MusicFolder {
  std::string harbourPicture = pngPicture(3);
  std::string fieldCover = jpegPicture('F');
  std::string looseCover = pngPicture(5);

  void writeInto(const std::string& root) const {
    writeFlac(root + "/Harbour Lights/01 Opening.flac", 96000, 24, 200.0,
              {"Opening Tide", "Test Artist A", "", "Harbour Lights", "Test Genre", 1, 2019,
               harbourPicture});
    writeFlac(root + "/Harbour Lights/02.flac", 44100, 16, 95.5,
              {"Second Wave", "Test Artist A", "", "Harbour Lights", "Test Genre", 2, 2019, ""});
    writeFile(root + "/Harbour Lights/notes.txt", "Recorded at the pier, spring session.\n");
    writeFile(root + "/Field Recordings/cover.jpg", fieldCover);
    writeWav(root + "/Field Recordings/a.wav", 8000, 16, 3.0,
             {"Rain on Tin", "Test Artist B", "", "Field Recordings", "", 2, 0, ""});
    writeWav(root + "/Field Recordings/b.wav", 22050, 8, 2.0,
             {"Wind", "Test Artist B", "", "Field Recordings", "", 1, 0, ""});
    writeWav(root + "/Loose/untagged song.wav", 11025, 16, 1.0, {});
    writeFile(root + "/Loose/Folder.PNG", looseCover);
    writeFile(root + "/Loose/broken.flac", "fLaC this is not a stream info block at all");
    writeFlac(root + "/Deep/Nested/Twin.flac", 192000, 24, 61.0,
              {"Twin \xc3\x89toile", "Test Artist C", "Various Artists", "Twin Album", "", 4, 0,
               harbourPicture});
  }
};

inline std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

}  // namespace refhost_test
