// Documents as tests read them, and the references of a signed one, driven through the steps of XMLFile as a verifier
// does.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "keystrand/xml/XMLFile.h"

namespace keystrand::test {

struct ReferenceOctets {
  std::string uri;
  std::optional<std::string> octets;  // nothing where a step fails or is not among those of XMLFile
};

// Of SignedInfo, in order.
std::vector<ReferenceOctets> referencesOf(XMLFile& file);

// Canonical XML 1.0, 1.1 and Exclusive XML Canonicalization, by the URI of the algorithm.
struct CanonicalMode {
  const char* uri;
  int mode;
  bool withComments;
};
inline constexpr CanonicalMode kCanonicalModes[] = {
    {"http://www.w3.org/TR/2001/REC-xml-c14n-20010315", 0, false},
    {"http://www.w3.org/TR/2001/REC-xml-c14n-20010315#WithComments", 0, true},
    {"http://www.w3.org/2001/10/xml-exc-c14n#", 1, false},
    {"http://www.w3.org/2001/10/xml-exc-c14n#WithComments", 1, true},
    {"http://www.w3.org/2006/12/xml-c14n11", 2, false},
    {"http://www.w3.org/2006/12/xml-c14n11#WithComments", 2, true},
};
inline constexpr const char* kXMLSignature = "http://www.w3.org/2000/09/xmldsig#";
inline constexpr const char* kXPath = "http://www.w3.org/TR/1999/REC-xpath-19991116";
inline constexpr const char* kXPathFilter2 = "http://www.w3.org/2002/06/xmldsig-filter2";
inline constexpr const char* kXSLT = "http://www.w3.org/TR/1999/REC-xslt-19991116";

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
std::string heldText(const XMLFile& file, const unsigned char* output);

}  // namespace keystrand::test
