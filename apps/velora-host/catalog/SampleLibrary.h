#pragma once

#include <string>

#include "catalog/Catalog.h"

namespace refhost {

// The demo library the host serves when it is given no music folder: twenty
// albums by six invented artists, with genres, moods and playlists. Nothing
// in it is real; every name and every cover is made up here, and the same
// identifiers come out of every run.
//
// Each album and mood gets a generated PNG cover written into `coverFolder`
// (created when missing; a file that already holds the same picture is left
// alone), and its coverPath names that file. Throws std::runtime_error when a
// cover cannot be written.
Catalog buildSampleLibrary(const std::string& coverFolder);

}  // namespace refhost
