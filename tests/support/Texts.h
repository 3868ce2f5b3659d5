// Texts as tests put them together and compare them.
#pragma once

#include <string>

#include "support/TestData.h"

namespace keystrand::test {

inline std::string asText(const ByteString& bytes) {
  return {bytes.begin(), bytes.end()};
}
inline ByteString asBytes(const std::string& text) {
  return {text.begin(), text.end()};
}
inline std::string readText(const std::filesystem::path& path) {
  return asText(readFile(path));
}

inline std::string repeated(const std::string& part, int times) {
  std::string text;
  for (int i = 0; i < times; ++i) text += part;
  return text;
}

// The text with every occurrence replaced.
inline std::string replaced(std::string text, const std::string& old, const std::string& by) {
  for (std::size_t at = text.find(old); at != std::string::npos; at = text.find(old, at + by.size()))
    text.replace(at, old.size(), by);
  return text;
}

}  // namespace keystrand::test
