#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Picture files shared by the sample library and the folder indexer. The
// service hands artwork to remote clients by reading the file at an album's
// cover path and knows only the .jpg and .png content types, so every cover
// either side produces ends up as one of those two, named by its content.
namespace refhost {

enum class ImageKind { Unknown, Jpeg, Png };

// What the bytes are, from their first bytes only (file names lie).
ImageKind imageKindOf(const std::string& bytes);
// ".jpg" or ".png"; empty for Unknown.
const char* imageExtension(ImageKind kind);

// A 64-bit FNV-1a digest as 16 lower-case hex digits: stable across runs and
// machines, which std::hash is not, so it can make identifiers and file names.
std::string stableHash(const std::string& bytes);

// A PNG image (8-bit RGB, no interlace) of `width` x `height` pixels from
// `rgb`, which holds 3 bytes per pixel row by row.
std::string encodePng(int width, int height, const std::vector<std::uint8_t>& rgb);

// Writes `bytes` to folder/name unless a file with exactly these bytes is
// already there, creating the folder when needed, and returns the file's path.
// Throws std::runtime_error when the folder or the file cannot be written.
std::string storeFile(const std::string& folder, const std::string& name, const std::string& bytes);

// The whole content of a file; false when it cannot be read.
bool readWholeFile(const std::string& path, std::string& bytes);

}  // namespace refhost
