// XML documents: what parse takes is found again, element by element, and is written as a document that both ways of
// reading take and write the same again. Documents with a DTD are only walked: libxml2 writes some of them otherwise;
// so are those with a carriage return in CDATA, which only one way of reading makes a line feed. And it writes the
// blanks of a namespace's name as they are, which makes them spaces once.
#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

#include "Property.h"
#include "keystrand/xml/XMLFile.h"

namespace {

using keystrand::Buffer;
using keystrand::XMLFile;
using keystrand::fuzz::require;

bool parse(XMLFile& file, std::string_view text) {
  return file.parse(text.data(), static_cast<int>(text.size()), true);
}

std::string written(const XMLFile& file) {
  char* text = file.dumpRaw();
  require(text != nullptr, "what was read is written");
  const std::string copy = text;
  XMLFile::releaseText(text);
  return copy;
}

// Element by element, down and along; every text is within its limit.
std::size_t countElements(XMLFile& file) {
  std::size_t count = 0;
  for (bool more = file.toRoot(); more;) {
    ++count;
    require(file.value().value_or("").size() <= XMLFile::kMaxText, "a text ends");
    if (file.firstChildElement()) continue;
    while (!(more = file.nextElement()) && file.up()) {
    }
  }
  return count;
}

void comesBack(const XMLFile& first) {
  XMLFile spaced;
  require(parse(spaced, written(first)), "what was written is a document");
  const std::string text = written(spaced);
  XMLFile second;
  require(parse(second, text) && written(second) == text, "and is written the same again");
  Buffer held;
  held.assign(reinterpret_cast<const unsigned char*>(text.data()), static_cast<std::uint32_t>(text.size()));
  require(second.load(held) && written(second) == text, "by either way of reading");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  XMLFile file;
  static_cast<void>(file.parse(text.data(), static_cast<int>(size), false));
  static_cast<void>(countElements(file));
  if (!parse(file, text)) {
    require(!file.toRoot(), "nothing is left of what was refused");
    return 0;
  }
  require(countElements(file) > 0, "a document has a root");
  static_cast<void>(file.dump(true));
  const std::string again = written(file);
  if (again.find("<!DOCTYPE") == std::string::npos && again.find('\r') == std::string::npos) comesBack(file);
  return 0;
}
