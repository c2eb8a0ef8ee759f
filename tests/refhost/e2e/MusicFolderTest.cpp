// The reference host run on a music folder, seen from a remote client: the
// test writes a folder of small tagged audio files, starts the real
// velora-host on it, pairs over HTTP the way the web remote does, and checks
// that titles, durations and covers arrive through the library routes.

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "refhost/MusicFixtures.h"
#include "refhost/e2e/HostProcess.h"
#include "support/TestHttp.h"

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

// ---------------------------------------------------------------- JSON

// Just enough JSON to read the service's replies.
struct Json {
  enum Kind { Null, Bool, Number, String, Array, Object } kind = Null;
  bool boolean = false;
  double number = 0;
  std::string text;
  std::vector<Json> items;
  std::map<std::string, Json> members;

  const Json &operator[](const std::string &key) const {
    static const Json none;
    const auto it = members.find(key);
    return it == members.end() ? none : it->second;
  }
  bool has(const std::string &key) const { return members.count(key) != 0; }
};

class JsonParser {
 public:
  explicit JsonParser(const std::string &text) : s_(text) {}

  Json parse() {
    Json value = parseValue();
    skipSpace();
    if (at_ != s_.size()) fail("trailing text");
    return value;
  }

 private:
  [[noreturn]] void fail(const std::string &why) const {
    throw std::runtime_error("JSON: " + why + " at " + std::to_string(at_));
  }
  void skipSpace() {
    while (at_ < s_.size() && std::isspace(static_cast<unsigned char>(s_[at_]))) ++at_;
  }
  bool take(char c) {
    skipSpace();
    if (at_ < s_.size() && s_[at_] == c) {
      ++at_;
      return true;
    }
    return false;
  }
  void expectWord(const char *word) {
    const std::string w(word);
    if (s_.compare(at_, w.size(), w) != 0) fail("bad literal");
    at_ += w.size();
  }

  Json parseValue() {
    skipSpace();
    if (at_ >= s_.size()) fail("unexpected end");
    Json value;
    const char c = s_[at_];
    if (c == '{') {
      ++at_;
      value.kind = Json::Object;
      if (take('}')) return value;
      do {
        skipSpace();
        const std::string key = parseString();
        if (!take(':')) fail("expected ':'");
        value.members[key] = parseValue();
      } while (take(','));
      if (!take('}')) fail("expected '}'");
    } else if (c == '[') {
      ++at_;
      value.kind = Json::Array;
      if (take(']')) return value;
      do {
        value.items.push_back(parseValue());
      } while (take(','));
      if (!take(']')) fail("expected ']'");
    } else if (c == '"') {
      value.kind = Json::String;
      value.text = parseString();
    } else if (c == 't' || c == 'f') {
      value.kind = Json::Bool;
      value.boolean = c == 't';
      expectWord(value.boolean ? "true" : "false");
    } else if (c == 'n') {
      expectWord("null");
    } else {
      value.kind = Json::Number;
      std::size_t used = 0;
      value.number = std::stod(s_.substr(at_, 40), &used);
      at_ += used;
    }
    return value;
  }

  std::string parseString() {
    if (at_ >= s_.size() || s_[at_] != '"') fail("expected a string");
    ++at_;
    std::string out;
    while (at_ < s_.size() && s_[at_] != '"') {
      char c = s_[at_++];
      if (c != '\\') {
        out += c;
        continue;
      }
      if (at_ >= s_.size()) fail("bad escape");
      c = s_[at_++];
      switch (c) {
        case 'n':
          out += '\n';
          break;
        case 't':
          out += '\t';
          break;
        case 'r':
          out += '\r';
          break;
        case 'b':
          out += '\b';
          break;
        case 'f':
          out += '\f';
          break;
        case 'u': {
          unsigned code = static_cast<unsigned>(std::stoul(s_.substr(at_, 4), nullptr, 16));
          at_ += 4;
          if (code >= 0xd800 && code < 0xdc00 && s_.compare(at_, 2, "\\u") == 0) {
            const auto low = static_cast<unsigned>(std::stoul(s_.substr(at_ + 2, 4), nullptr, 16));
            at_ += 6;
            code = 0x10000 + ((code - 0xd800) << 10) + (low - 0xdc00);
          }
          if (code < 0x80) {
            out += static_cast<char>(code);
          } else if (code < 0x800) {
            out += static_cast<char>(0xc0 | (code >> 6));
            out += static_cast<char>(0x80 | (code & 0x3f));
          } else if (code < 0x10000) {
            out += static_cast<char>(0xe0 | (code >> 12));
            out += static_cast<char>(0x80 | ((code >> 6) & 0x3f));
            out += static_cast<char>(0x80 | (code & 0x3f));
          } else {
            out += static_cast<char>(0xf0 | (code >> 18));
            out += static_cast<char>(0x80 | ((code >> 12) & 0x3f));
            out += static_cast<char>(0x80 | ((code >> 6) & 0x3f));
            out += static_cast<char>(0x80 | (code & 0x3f));
          }
          break;
        }
        default:
          out += c;
          break;  // \" \\ \/
      }
    }
    if (at_ >= s_.size()) fail("unterminated string");
    ++at_;
    return out;
  }

  const std::string &s_;
  std::size_t at_ = 0;
};

Json parseJson(const std::string &text) { return JsonParser(text).parse(); }

std::string fromBase64(const std::string &text) {
  static const std::string alphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  unsigned buffer = 0;
  int bits = 0;
  for (const char c : text) {
    if (c == '=') break;
    const auto index = alphabet.find(c);
    if (index == std::string::npos) throw std::runtime_error("not base64");
    buffer = (buffer << 6) | static_cast<unsigned>(index);
    bits += 6;
    if (bits >= 8) {
      bits -= 8;
      out += static_cast<char>((buffer >> bits) & 0xff);
    }
  }
  return out;
}

// ---------------------------------------------------------------- the test

class MusicFolderTest : public ::testing::Test {
 protected:
  void SetUp() override {
    music.writeInto(musicDir());
    host = std::make_unique<refhost_test::HostProcess>(std::vector<std::string>{
        "--port", std::to_string(velora_test::findFreePortBlock(10)), "--music", musicDir(),
        "--cache", cacheDir(), "--approve", "auto"});
    port = host->waitForPort();
    ASSERT_NE(port, 0) << "the host printed no address:\n" << host->output();
  }

  std::string musicDir() const { return dir.path() + "/My Music"; }
  std::string cacheDir() const { return dir.path() + "/cache"; }

  // Pairs as the web remote does: asks until the host approves.
  std::string pair() {
    const auto deadline = std::chrono::steady_clock::now() + 15s;
    while (std::chrono::steady_clock::now() < deadline) {
      const auto reply = velora_test::httpGet(
          port, "/authenticate?name=Music%20folder%20test&code=731905&version=1");
      if (reply.status == 200) {
        const Json answer = parseJson(reply.body);
        if (answer["authstatus"].boolean && !answer["disconnected"].boolean) {
          return answer["token"].text;
        }
      }
      std::this_thread::sleep_for(200ms);
    }
    return "";
  }

  // A library view, asked without the token so that the reply carries it.
  Json library(const std::string &target) {
    const auto reply = velora_test::httpGet(port, "/library/" + target, 10000);
    EXPECT_EQ(reply.status, 200) << target << ": " << reply.body;
    return reply.status == 200 ? parseJson(reply.body) : Json();
  }

  // What a client shows for an item's cover: the picture sent inline, or
  // the file the path names when the service sent only the path.
  std::string coverOf(const Json &item) {
    const Json &data = item["artworkdata"];
    if (!data["imagedata"].text.empty()) return fromBase64(data["imagedata"].text);
    return item["artwork"].text.empty() ? "" : refhost_test::readFile(item["artwork"].text);
  }

  velora_test::TempDir dir;
  refhost_test::MusicFolder music;
  std::unique_ptr<refhost_test::HostProcess> host;
  int port = 0;
};

TEST_F(MusicFolderTest, TitlesDurationsAndCoversReachARemoteClient) {
  ASSERT_FALSE(pair().empty()) << host->output();
  // The indexer's warnings reach the console, and the host still runs.
  const std::string console = host->output();
  EXPECT_NE(console.find("notes.txt"), std::string::npos) << console;
  EXPECT_NE(console.find("broken.flac"), std::string::npos) << console;

  const Json albums = library("albums?index=0&count=-1")["albums"];
  ASSERT_EQ(albums.kind, Json::Array) << host->output();
  std::map<std::string, const Json *> byName;
  for (const auto &album : albums.items) byName[album["name"].text] = &album;
  ASSERT_EQ(byName.size(), 4u);
  ASSERT_TRUE(byName.count("Harbour Lights") && byName.count("Field Recordings") &&
              byName.count("Twin Album") && byName.count("Unknown Album"));

  // Covers: embedded PNG, a JPEG beside the files, a Folder.PNG; each one
  // reaches the client as the same bytes and lives in the host's cache.
  const std::map<std::string, std::string> covers = {
      {"Harbour Lights", music.harbourPicture},
      {"Twin Album", music.harbourPicture},
      {"Field Recordings", music.fieldCover},
      {"Unknown Album", music.looseCover},
  };
  for (const auto &[name, picture] : covers) {
    SCOPED_TRACE(name);
    const Json &album = *byName[name];
    EXPECT_EQ(coverOf(album), picture);
    const std::string path = album["artwork"].text;
    EXPECT_EQ(path.rfind(cacheDir(), 0), 0u) << path;
    EXPECT_TRUE(fs::is_regular_file(path)) << path;
  }
  EXPECT_EQ((*byName["Field Recordings"])["artistname"].text, "Test Artist B");

  struct Expected {
    const char *title;
    int duration;
    int sampleRate;
    const char *fileType;
  };
  const std::map<std::string, std::vector<Expected>> tracks = {
      {"Harbour Lights",
       {{"Opening Tide", 200, 96000, "FLAC"}, {"Second Wave", 96, 44100, "FLAC"}}},
      {"Field Recordings", {{"Wind", 2, 22050, "WAV"}, {"Rain on Tin", 3, 8000, "WAV"}}},
      {"Twin Album", {{"Twin \xc3\x89toile", 61, 192000, "FLAC"}}},
      {"Unknown Album", {{"untagged song", 1, 11025, "WAV"}}},
  };
  for (const auto &[name, expected] : tracks) {
    SCOPED_TRACE(name);
    const Json reply = library("album?id=" + (*byName[name])["id"].text);
    const Json &album = reply["album"];
    ASSERT_EQ(album.kind, Json::Object);
    EXPECT_EQ(album["name"].text, name);
    const Json &list = album["tracks"];
    ASSERT_EQ(list.items.size(), expected.size());
    int total = 0;
    for (std::size_t i = 0; i < expected.size(); ++i) {
      const Json &track = list.items[i];
      EXPECT_EQ(track["name"].text, expected[i].title);
      EXPECT_EQ(track["duration"].number, expected[i].duration);
      EXPECT_EQ(track["sampleRate"].number, expected[i].sampleRate);
      EXPECT_EQ(track["fileType"].text, expected[i].fileType);
      EXPECT_EQ(track["albumname"].text, name);
      total += expected[i].duration;
    }
    EXPECT_EQ(album["duration"].number, total);
    EXPECT_EQ(coverOf(album), covers.at(name));
  }

  // A search finds an indexed track by a word of its title.
  const Json found = library("search?param=opening")["search"];
  ASSERT_EQ(found["tracks"].kind, Json::Array) << host->output();
  ASSERT_EQ(found["tracks"].items.size(), 1u);
  EXPECT_EQ(found["tracks"].items.front()["name"].text, "Opening Tide");
  EXPECT_EQ(found["tracks"].items.front()["duration"].number, 200);

  EXPECT_EQ(host->interrupt(), 0) << host->output();
}

TEST(MusicFolderHost, AMissingMusicFolderIsNamedOnTheConsole) {
  velora_test::TempDir dir;
  refhost_test::HostProcess host({"--port", std::to_string(velora_test::findFreePortBlock(10)),
                                  "--music", dir.path() + "/nowhere"});
  // Whether it then stops or serves an empty library, the user is told why.
  host.waitForPort(5000);
  host.interrupt();
  EXPECT_NE(host.output().find(dir.path() + "/nowhere"), std::string::npos) << host.output();
}

}  // namespace
