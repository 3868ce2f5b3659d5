// The three comparisons of attributes, and what normalises them.
#include <algorithm>

#include "der/AttributeTable.h"
#include "der/StringTags.h"
#include "der/UTF8Text.h"
#include "keystrand/der/Name.h"
#include "support/Text.h"

namespace keystrand {

namespace {

bool equalText(std::string_view a, std::string_view b, unsigned char tag) {
  return ignoresCase(tag) ? equalsNoCase(a, b) : a == b;
}

bool matchesText(std::string_view pattern, std::string_view text, unsigned char tag) {
  const bool anyCase = ignoresCase(tag);
  return std::ranges::equal(pattern, text, [anyCase](char p, char c) {
    return p == '%' || p == c || (anyCase && foldCase(p) == foldCase(c));
  });
}

}  // namespace

// --- comparison --------------------------------------------------------------------------------------------

bool AttributeTypeAndValue::sameType(const AttributeTypeAndValue& other) const noexcept {
  return type_ && other.type_ && type_->equals(*other.type_);
}

bool AttributeTypeAndValue::equals(const AttributeTypeAndValue& other) const noexcept {
  if (tag_ != other.tag_ || !sameType(other)) return false;
  if (const ISO10646* wide = wideView()) return other.wideView() != nullptr && wide->equals(*other.wideView());
  const auto* text = std::get_if<std::string>(&value_);
  const auto* otherText = std::get_if<std::string>(&other.value_);
  if (text != nullptr && otherText != nullptr) return equalText(*text, *otherText, tag_);
  const auto* bits = tag_ == kBitString ? std::get_if<Octets>(&value_) : nullptr;
  const auto* otherBits = std::get_if<Octets>(&other.value_);
  return bits != nullptr && otherBits != nullptr && *bits == *otherBits;
}

bool AttributeTypeAndValue::equalsAcrossEncodings(const AttributeTypeAndValue& other) const {
  if (tag_ == other.tag_) return equals(other);
  if (!sameType(other)) return false;
  const auto isUnits = [](unsigned char tag) { return tag == kUniversalString || tag == kBMPString; };
  if (isUnits(tag_) && isUnits(other.tag_)) {
    return wideView() != nullptr && other.wideView() != nullptr && wideView()->equals(*other.wideView());
  }
  const std::optional<std::string> text = comparableText();
  return text && text == other.comparableText();
}

// The text of a narrow value or of a UTF8String; other values have none that could be compared.
std::optional<std::string> AttributeTypeAndValue::comparableText() const {
  if (const auto* text = std::get_if<std::string>(&value_)) return *text;
  if (const auto* utf8 = std::get_if<UTF8>(&value_)) return utf8->text();
  return std::nullopt;
}

bool AttributeTypeAndValue::equalsPattern(const AttributeTypeAndValue& other) const {
  if (tag_ != other.tag_ || !sameType(other)) return false;
  if (const ISO10646* wide = wideView()) return other.wideView() != nullptr && wide->equalsPattern(*other.wideView());
  const auto* pattern = std::get_if<std::string>(&value_);
  const auto* text = std::get_if<std::string>(&other.value_);
  return pattern != nullptr && text != nullptr ? matchesText(*pattern, *text, tag_) : equals(other);
}

// --- normalising -------------------------------------------------------------------------------------------

void AttributeTypeAndValue::normalise() {
  if (!type_) return;
  if (const std::optional<unsigned char> tag = narrowTagOf(*type_)) {
    normaliseToNarrow(*tag);
  } else {
    normaliseToUTF8();
  }
}

void AttributeTypeAndValue::normaliseToNarrow(unsigned char tag) {
  const ISO10646* wide = wideView();
  if (wide != nullptr && !wide->isAbsent()) {
    std::string narrow;
    wide->appendNarrow(narrow);
    value_ = std::move(narrow);
  }
  if (std::holds_alternative<std::string>(value_)) tag_ = tag;
}

void AttributeTypeAndValue::normaliseToUTF8() {
  if (const auto* text = std::get_if<std::string>(&value_)) {
    std::string repaired;
    appendRepaired(repaired, *text);
    value_ = UTF8(repaired);
  } else if (tag_ == kUniversalString || tag_ == kBMPString) {
    const std::optional<std::u16string> wide = wideView() != nullptr ? wideView()->wide() : std::nullopt;
    value_ = wide ? UTF8(*wide) : UTF8();
  } else {
    return;
  }
  tag_ = kUTF8String;
}

}  // namespace keystrand
