#include "catalog/CoverFiles.h"

#include <zlib.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

namespace refhost {

namespace fs = std::filesystem;

namespace {

void putBigEndian32(std::string& out, std::uint32_t value) {
  out.push_back(static_cast<char>((value >> 24) & 0xff));
  out.push_back(static_cast<char>((value >> 16) & 0xff));
  out.push_back(static_cast<char>((value >> 8) & 0xff));
  out.push_back(static_cast<char>(value & 0xff));
}

void putChunk(std::string& out, const char* type, const std::string& data) {
  putBigEndian32(out, static_cast<std::uint32_t>(data.size()));
  const std::string typed = std::string(type, 4) + data;
  out += typed;
  const uLong crc = ::crc32(::crc32(0L, Z_NULL, 0), reinterpret_cast<const Bytef*>(typed.data()),
                            static_cast<uInt>(typed.size()));
  putBigEndian32(out, static_cast<std::uint32_t>(crc));
}

int paeth(int left, int up, int upLeft) {
  const int p = left + up - upLeft;
  const int pa = std::abs(p - left);
  const int pb = std::abs(p - up);
  const int pc = std::abs(p - upLeft);
  if (pa <= pb && pa <= pc) return left;
  return pb <= pc ? up : upLeft;
}

// Filters one row with each of the five PNG filters and keeps the one whose
// output bytes, read as signed, sum smallest: the usual heuristic, and enough
// to bring a smooth gradient down to a few kilobytes after deflate.
void appendFilteredRow(std::string& out, const std::uint8_t* row, const std::uint8_t* prev,
                       std::size_t stride) {
  constexpr std::size_t bpp = 3;
  std::string best;
  long bestCost = -1;
  std::string candidate(stride + 1, '\0');
  for (int filter = 0; filter < 5; ++filter) {
    candidate[0] = static_cast<char>(filter);
    long cost = 0;
    for (std::size_t i = 0; i < stride; ++i) {
      const int left = i >= bpp ? row[i - bpp] : 0;
      const int up = prev != nullptr ? prev[i] : 0;
      const int upLeft = prev != nullptr && i >= bpp ? prev[i - bpp] : 0;
      int predicted = 0;
      switch (filter) {
        case 1:
          predicted = left;
          break;
        case 2:
          predicted = up;
          break;
        case 3:
          predicted = (left + up) / 2;
          break;
        case 4:
          predicted = paeth(left, up, upLeft);
          break;
        default:
          break;
      }
      const auto value = static_cast<std::uint8_t>(row[i] - predicted);
      candidate[i + 1] = static_cast<char>(value);
      cost += value < 128 ? value : 256 - value;
    }
    if (bestCost < 0 || cost < bestCost) {
      bestCost = cost;
      best = candidate;
    }
  }
  out += best;
}

}  // namespace

ImageKind imageKindOf(const std::string& bytes) {
  static const char pngSignature[] = "\x89PNG\r\n\x1a\n";
  if (bytes.size() >= 8 && bytes.compare(0, 8, pngSignature, 8) == 0) return ImageKind::Png;
  if (bytes.size() >= 3 && static_cast<unsigned char>(bytes[0]) == 0xff &&
      static_cast<unsigned char>(bytes[1]) == 0xd8 &&
      static_cast<unsigned char>(bytes[2]) == 0xff) {
    return ImageKind::Jpeg;
  }
  return ImageKind::Unknown;
}

const char* imageExtension(ImageKind kind) {
  switch (kind) {
    case ImageKind::Jpeg:
      return ".jpg";
    case ImageKind::Png:
      return ".png";
    case ImageKind::Unknown:
      break;
  }
  return "";
}

std::string stableHash(const std::string& bytes) {
  std::uint64_t hash = 14695981039346656037ull;
  for (const char c : bytes) {
    hash ^= static_cast<unsigned char>(c);
    hash *= 1099511628211ull;
  }
  static const char digits[] = "0123456789abcdef";
  std::string out(16, '0');
  for (int i = 15; i >= 0; --i) {
    out[static_cast<std::size_t>(i)] = digits[hash & 0xf];
    hash >>= 4;
  }
  return out;
}

std::string encodePng(int width, int height, const std::vector<std::uint8_t>& rgb) {
  const auto stride = static_cast<std::size_t>(width) * 3;
  if (width <= 0 || height <= 0 || rgb.size() != stride * static_cast<std::size_t>(height)) {
    throw std::invalid_argument("encodePng: pixel buffer does not match the size");
  }
  std::string raw;
  raw.reserve((stride + 1) * static_cast<std::size_t>(height));
  for (int y = 0; y < height; ++y) {
    const std::uint8_t* row = rgb.data() + stride * static_cast<std::size_t>(y);
    appendFilteredRow(raw, row, y > 0 ? row - stride : nullptr, stride);
  }
  uLongf packedSize = ::compressBound(static_cast<uLong>(raw.size()));
  std::string packed(packedSize, '\0');
  if (::compress2(reinterpret_cast<Bytef*>(&packed[0]), &packedSize,
                  reinterpret_cast<const Bytef*>(raw.data()), static_cast<uLong>(raw.size()),
                  Z_DEFAULT_COMPRESSION) != Z_OK) {
    throw std::runtime_error("encodePng: deflate failed");
  }
  packed.resize(packedSize);

  std::string header;
  putBigEndian32(header, static_cast<std::uint32_t>(width));
  putBigEndian32(header, static_cast<std::uint32_t>(height));
  header += std::string("\x08\x02\x00\x00\x00", 5);  // 8 bits, RGB, deflate, adaptive, no interlace

  std::string png("\x89PNG\r\n\x1a\n", 8);
  putChunk(png, "IHDR", header);
  putChunk(png, "IDAT", packed);
  putChunk(png, "IEND", "");
  return png;
}

bool readWholeFile(const std::string& path, std::string& bytes) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  return !in.bad();
}

std::string storeFile(const std::string& folder, const std::string& name,
                      const std::string& bytes) {
  std::error_code error;
  fs::create_directories(folder, error);
  if (error) throw std::runtime_error("cannot create folder " + folder + ": " + error.message());
  const std::string path = (fs::path(folder) / name).string();
  std::string existing;
  if (readWholeFile(path, existing) && existing == bytes) return path;
  // Write beside the target and rename, so that a host serving the old file
  // while another run refreshes it never hands out half a picture.
  const std::string temporary = path + ".part";
  {
    std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!out) throw std::runtime_error("cannot write " + temporary);
  }
  fs::rename(temporary, path, error);
  if (error) throw std::runtime_error("cannot write " + path + ": " + error.message());
  return path;
}

}  // namespace refhost
