// The attribute table of the text form of a name: three parallel arrays. A look-up goes from the first row up and stops
// at the first match, so text out of a name uses the first label of an identifier and the later rows serve to read
// text.
#pragma once

#include <array>
#include <optional>

namespace keystrand {

class OID;

constexpr int kAttributeCount = 30;
using AttributeColumn = std::array<const char*, kAttributeCount>;
extern const AttributeColumn kAttributeIdentifiers;
extern const AttributeColumn kAttributeLabels;
extern const AttributeColumn kAttributeItalianLabels;

// The first row of this type, -1 when the table has none.
int attributeRow(const OID& type);

// The narrow string type that an attribute of this type always has (RFC 5280 section 4.1.2.4 and appendix A); nothing
// where any will do.
std::optional<unsigned char> narrowTagOf(const OID& type);

}  // namespace keystrand
