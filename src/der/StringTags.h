// Universal tags of the string types (X.680 8.4) and what the model makes of them.
#pragma once

namespace keystrand {

constexpr unsigned char kBitString = 3;
constexpr unsigned char kOctetString = 4;
constexpr unsigned char kNull = 5;
constexpr unsigned char kUTF8String = 12;
constexpr unsigned char kPrintableString = 19;
constexpr unsigned char kT61String = 20;
constexpr unsigned char kIA5String = 22;
constexpr unsigned char kUniversalString = 28;
constexpr unsigned char kBMPString = 30;

enum class StringKind {
  kBits,    // octets and a count of unused bits
  kNarrow,  // a text of bytes, ended by NUL
  kWide,    // one of the wide string classes
  kRaw,     // no string type of this model: the whole encoded element
};

constexpr StringKind stringKind(unsigned char tag) {
  switch (tag) {
    case kBitString:
      return StringKind::kBits;
    case kOctetString:
    case kPrintableString:
    case kT61String:
    case kIA5String:
      return StringKind::kNarrow;
    case kUTF8String:
    case kUniversalString:
    case kBMPString:
      return StringKind::kWide;
    default:
      return StringKind::kRaw;
  }
}

// The two whose text is compared without regard to case.
constexpr bool ignoresCase(unsigned char tag) {
  return tag == kPrintableString || tag == kIA5String;
}

}  // namespace keystrand
