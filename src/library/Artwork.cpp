#include <fstream>
#include <iostream>
#include <iterator>

#include "library/LibraryEncoder.h"
#include "util/Sha1.h"
#include "util/Support.h"

using web::json::value;

value Artwork::getArtwork(std::string location, std::string id) {
  std::vector<std::pair<utility::string_t, value>> fields{{"id", value::string(id)}};
  if (location.empty()) return value::object(std::move(fields), true);

  std::ifstream file(location, std::ios::binary);
  if (!file) {
    // Not a local file: a web location is handed to the client, over https.
    try {
      web::uri_builder uri{web::uri(location)};
      uri.set_scheme("https");
      fields.emplace_back("url", value::string(uri.to_string()));
    } catch (const std::exception&) {
      std::cout << "ERROR Unable to open artwork at path: " << location << std::endl;
    }
    return value::object(std::move(fields), true);
  }

  file.seekg(0, std::ios::end);
  const std::streamoff size = file.tellg();
  file.seekg(0, std::ios::beg);
  std::vector<unsigned char> bytes(size > 0 ? static_cast<size_t>(size) : 0);
  file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  bytes.resize(static_cast<size_t>(std::max<std::streamsize>(file.gcount(), 0)));
  std::string base64 = utility::conversions::to_base64(bytes);

  // Tiny pictures are usually placeholders or broken files; say so, but send them.
  if (base64.size() < 1025) {
    std::cout << "ERROR Artwork encoded with size: " << base64.size() << std::endl;
  }
  std::string digest;
  if (containedInMap(base64, location, digest)) {
    fields.emplace_back("sha1", value::string(digest));
  } else {
    // Base64 has no character that JSON escapes, so the text need not be
    // scanned for them: on a large cover that scan cost as much as reading it.
    fields.emplace_back("imagedata", value::string(std::move(base64), false));
  }
  return value::object(std::move(fields), true);
}

bool Artwork::containedInMap(std::string const& base64, std::string const& location,
                                       std::string& digest) {
  std::lock_guard<std::mutex> lock(mutex_);
  // Nothing ever adds a digest, so an empty table spares hashing every picture.
  if (digests_.empty()) return false;
  unsigned char hash[20];
  char hex[41];
  sha1::calc(base64.data(), static_cast<int>(base64.size()), hash);
  sha1::toHexString(hash, hex);
  auto it = digests_.find(hex);
  if (it == digests_.end()) return false;
  it->second = location;
  digest = hex;
  return true;
}
