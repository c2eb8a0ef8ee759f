#pragma once

#include <cstddef>
#include <ostream>
#include <string>

#include "catalog/Catalog.h"

namespace refhost {

struct IndexReport {
  std::size_t filesSeen = 0;      // files other than pictures found under the folder
  std::size_t tracksIndexed = 0;  // of those, the ones that became tracks
  std::size_t filesSkipped = 0;   // the rest: not audio, unreadable, or unsupported
};

// Indexes the audio files under `folder` and its subfolders with TagLib.
//
// Tracks get title, artists, album, number, duration, sample rate, bit depth
// and file type from their tags and audio properties; missing tags fall back
// to the file name, "Unknown Artist", "Unknown Album" and "Unknown Genre".
// Tracks are grouped into albums by album artist and album title. Identifiers
// are digests of the names (artists, albums, genres) and of the path relative
// to `folder` (tracks), so the same folder gives the same identifiers on every
// run and on every machine.
//
// Each album's cover is its first embedded front picture, or failing that a
// cover/folder/front .jpg/.jpeg/.png beside its files; only JPEG and PNG data
// is used. Covers are written into `coverFolder` (created when missing) as
// cover-<digest>.jpg or .png, so albums with the same picture share a file.
//
// `log` receives whole lines: a start line, a progress line every 200 files or
// every second, a "warning:" line for each file skipped (pictures beside the
// music are not files to index and are not reported), and a summary.
//
// A `folder` that does not exist or is not a folder, and a cover folder that
// cannot be written, throw std::runtime_error with a message fit for the
// console; nothing about a single file ever throws.
Catalog indexMusicFolder(const std::string& folder, const std::string& coverFolder,
                         std::ostream& log, IndexReport* report = nullptr);

}  // namespace refhost
