// The header table against a plain model of it: 2400 bytes that are written one at a time. Lines end with a line feed.
#include <cstdint>
#include <string>
#include <string_view>

#include "Property.h"
#include "net/CurlHeaders.h"

namespace {

using keystrand::CurlHeaders;

class Model {
 public:
  void add(const std::string& line) {
    if (line.size() > 127) return;
    const std::string text = line.c_str();
    std::size_t colon = 0;
    while (colon < text.size() && text[colon] != ':') ++colon;
    if (colon == text.size()) return;
    std::size_t start = colon;
    while (start > 0 && text[start - 1] != '\n') --start;
    for (int row = 0; row < 30; ++row)
      if (table_[row * 80] == 0) return fill(row * 80, text.substr(start, colon - start), text.substr(colon + 1));
  }

  [[nodiscard]] const char* name(int row) const { return table_ + row * 80; }
  [[nodiscard]] const char* value(int row) const { return table_ + row * 80 + 40; }

 private:
  void fill(int row, const std::string& name, const std::string& value) {
    put(row, name);
    put(row + 40, value);
    for (int i = 0; i < 40 && i < static_cast<int>(value.size()); ++i)
      if (table_[row + i] >= 'A' && table_[row + i] <= 'Z') table_[row + i] = static_cast<char>(table_[row + i] | 0x20);
  }
  void put(int at, const std::string& text) {
    for (const char c : text)
      if (at < 2400) table_[at++] = c;
  }

  char table_[2401] = {};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CurlHeaders headers;
  Model model;
  std::string line;
  for (const std::uint8_t* byte = data; byte != data + size; ++byte) {
    line += static_cast<char>(*byte);
    // 0xFF ends a line too, so that lines with a line feed inside them are tried
    if (*byte != '\n' && *byte != 0xFF) continue;
    headers.add(line);
    model.add(line);
    if (*byte == 0xFF) line.clear();
    if (line.size() > 200) line.clear();
  }
  for (int row = 29; row >= 0; --row) {
    int first = 0;
    while (std::string_view(model.name(first)) != model.name(row)) ++first;
    keystrand::fuzz::require(headers.find(model.name(row)) == std::string_view(model.value(first)),
                             "the table holds what the plain model holds");
  }
  return 0;
}
