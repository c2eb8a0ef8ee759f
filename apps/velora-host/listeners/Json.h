#pragma once

#include <cstdio>
#include <string>
#include <vector>

// The few JSON texts the host hands to the service's answer setters. The
// host sees only the public header, so it writes its JSON itself.
namespace refhost {

inline std::string jsonQuote(const std::string& text) {
  std::string out = "\"";
  for (const char c : text) {
    switch (c) {
      case '"':
        out += "\\\"";
        break;
      case '\\':
        out += "\\\\";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\r':
        out += "\\r";
        break;
      case '\t':
        out += "\\t";
        break;
      default:
        if (static_cast<unsigned char>(c) < 0x20) {
          char escaped[8];
          std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(c));
          out += escaped;
        } else {
          out += c;
        }
    }
  }
  return out + "\"";
}

// Builds an object member by member, in the order added.
class JsonObject {
 public:
  JsonObject& add(const std::string& key, const std::string& value) {
    return raw(key, jsonQuote(value));
  }
  JsonObject& add(const std::string& key, const char* value) {
    return raw(key, jsonQuote(value ? value : ""));
  }
  JsonObject& add(const std::string& key, int value) { return raw(key, std::to_string(value)); }
  JsonObject& add(const std::string& key, double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3f", value);
    return raw(key, text);
  }
  JsonObject& add(const std::string& key, bool value) { return raw(key, value ? "true" : "false"); }
  // `json` is already JSON text (an object, an array, ...).
  JsonObject& raw(const std::string& key, const std::string& json) {
    if (!body_.empty()) body_ += ",";
    body_ += jsonQuote(key) + ":" + json;
    return *this;
  }
  std::string str() const { return "{" + body_ + "}"; }

 private:
  std::string body_;
};

// `items` are JSON texts.
inline std::string jsonArray(const std::vector<std::string>& items) {
  std::string out = "[";
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (i > 0) out += ",";
    out += items[i];
  }
  return out + "]";
}

}  // namespace refhost
