// The attribute table of the text form of a name: three parallel arrays. A look-up goes from the first row up and stops
// at the first match, so text out of a name uses the first label of an identifier and the later rows serve to read text.
#pragma once

namespace keystrand {

constexpr int kAttributeCount = 30;
extern const char* const kAttributeIdentifiers[kAttributeCount];
extern const char* const kAttributeLabels[kAttributeCount];
extern const char* const kAttributeItalianLabels[kAttributeCount];

}  // namespace keystrand
