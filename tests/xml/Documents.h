// Documents as tests read them, and the texts that they give.
#pragma once

#include <string>

#include "keystrand/xml/XMLFile.h"

namespace keystrand::test {

inline bool parse(XMLFile& file, std::string_view text, bool finish = true) {
  return file.parse(text.data(), static_cast<int>(text.size()), finish);
}
// A text of XMLFile, released; "(null)" for none.
inline std::string taken(owner<char*> text) {
  const std::string copy = text != nullptr ? text : "(null)";
  XMLFile::releaseText(text);
  return copy;
}
// The value of an attribute, empty without one.
inline std::string attributeText(const XMLFile& file, const char* name) {
  const std::string value = taken(file.attribute(name));
  return value != "(null)" ? value : "";
}
// What stands at an output of the document.
inline std::string heldText(const XMLFile& file, const unsigned char* output) {
  return output != nullptr ? std::string(reinterpret_cast<const char*>(output), file.outputLength()) : "(none)";
}

}  // namespace keystrand::test
