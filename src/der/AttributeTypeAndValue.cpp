#include <memory>

#include "der/StringTags.h"
#include "der/TextValue.h"
#include "der/UTF8Text.h"
#include "keystrand/der/Name.h"
#include "support/Memory.h"

namespace keystrand {

namespace {

constexpr char kHexDigits[] = "0123456789abcdef";

std::span<const unsigned char> octetsOf(std::string_view text) {
  return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

std::string_view textOf(std::span<const unsigned char> octets) {
  return {reinterpret_cast<const char*>(octets.data()), octets.size()};
}

void appendHex(std::string& out, std::span<const unsigned char> octets) {
  out += '#';
  for (const unsigned char octet : octets) {
    out += kHexDigits[octet >> 4];
    out += kHexDigits[octet & 0x0F];
  }
}

}  // namespace

// --- type and value ----------------------------------------------------------------------------------------

void AttributeTypeAndValue::setType(const char* dotted) {
  type_.emplace(dotted);
}

owner<char*> AttributeTypeAndValue::typeText() const {
  return type_ ? type_->toText() : nullptr;
}

void AttributeTypeAndValue::setValue(const unsigned char* bytes, unsigned char tag, std::uint32_t n) {
  const std::span octets(bytes, n);
  tag_ = tag;
  unusedBits_ = 0;
  value_ = std::monostate();
  if (bytes == nullptr) return;
  if (tag == kUTF8String) {
    value_ = UTF8(textOf(octets));
  } else if (tag == kBMPString) {
    value_ = Unicode(bytes, n);
  } else if (tag == kUniversalString) {
    value_ = ISO10646(textOf(octets));
  } else if (stringKind(tag) == StringKind::kNarrow) {
    value_ = std::string(untilNul(textOf(octets)));
  } else {
    value_ = Octets(octets.begin(), octets.end());
  }
}

void AttributeTypeAndValue::setValue(const char* text, unsigned char tag) {
  const std::string_view narrow = textOrEmpty(text);
  if (text != nullptr && tag == kBMPString) {
    tag_ = tag;
    value_ = Unicode(narrow);
  } else {
    setValue(text == nullptr ? nullptr : octetsOf(narrow).data(), tag, static_cast<std::uint32_t>(narrow.size()));
  }
}

void AttributeTypeAndValue::setValue(const char16_t* wide, unsigned char tag) {
  if (wide == nullptr) return setValue(static_cast<const char*>(nullptr), tag);
  if (stringKind(tag) != StringKind::kWide) {
    const std::optional<std::string> narrow = UTF8(wide).text();
    return setValue(narrow->c_str(), tag);
  }
  tag_ = tag;
  if (tag == kUTF8String) {
    value_ = UTF8(wide);
  } else if (tag == kBMPString) {
    value_ = Unicode(wide);
  } else {
    value_ = ISO10646(wide);
  }
}

const ISO10646* AttributeTypeAndValue::wideView() const noexcept {
  if (const auto* utf8 = std::get_if<UTF8>(&value_)) return utf8;
  if (const auto* unicode = std::get_if<Unicode>(&value_)) return unicode;
  return std::get_if<ISO10646>(&value_);
}

owner<unsigned char*> AttributeTypeAndValue::valueCopy(std::uint32_t& n) const {
  Octets octets;
  n = 0;
  if (const auto* held = std::get_if<Octets>(&value_)) {
    octets = *held;
  } else if (const auto* unicode = std::get_if<Unicode>(&value_)) {
    const std::unique_ptr<unsigned char[]> units(unicode->toBigEndian(n));
    octets.assign(units.get(), units.get() + n);
  } else if (std::holds_alternative<std::monostate>(value_) || (wideView() != nullptr && wideView()->isAbsent())) {
    return nullptr;
  } else {
    std::string text;
    appendText(text);
    octets.assign(text.begin(), text.end());
  }
  n = static_cast<std::uint32_t>(octets.size());
  octets.push_back('\0');
  return newBytes(octets);
}

// --- texts -------------------------------------------------------------------------------------------------

void AttributeTypeAndValue::appendText(std::string& out) const {
  if (const auto* text = std::get_if<std::string>(&value_)) {
    out += *text;
  } else if (const ISO10646* wide = wideView()) {
    wide->appendNarrow(out);
  } else if (const auto* octets = std::get_if<Octets>(&value_)) {
    appendHex(out, *octets);
  }
}

void AttributeTypeAndValue::appendUTF8Text(std::string& out) const {
  if (const auto* text = std::get_if<std::string>(&value_)) {
    appendRepaired(out, *text);
  } else if (const auto* utf8 = std::get_if<UTF8>(&value_)) {
    utf8->appendText(out);
  } else {
    appendText(out);
  }
}

owner<char*> AttributeTypeAndValue::toNarrowText() const {
  const StringKind kind = stringKind(tag_);
  if (kind == StringKind::kBits || kind == StringKind::kRaw) return nullptr;
  std::string text;
  appendText(text);
  return newText(text);
}

owner<char*> AttributeTypeAndValue::toUTF8Text() const {
  std::string text;
  appendUTF8Text(text);
  return newText(text);
}

// --- coding ------------------------------------------------------------------------------------------------

std::uint32_t AttributeTypeAndValue::valueSize(const Buffer& buffer) const {
  if (const ISO10646* wide = wideView()) return wide->size(buffer);
  if (const auto* text = std::get_if<std::string>(&value_)) return buffer.sizeOctetString(text->c_str());
  const auto* octets = std::get_if<Octets>(&value_);
  const auto n = static_cast<std::uint32_t>(octets != nullptr ? octets->size() : 0);
  if (stringKind(tag_) == StringKind::kRaw) return n;
  return octets != nullptr ? buffer.sizeBitString(n) : buffer.sizeNull();
}

void AttributeTypeAndValue::putValue(Buffer& buffer) const {
  if (const ISO10646* wide = wideView()) return wide->put(buffer);
  if (const auto* text = std::get_if<std::string>(&value_)) return buffer.putText(text->c_str(), tag_);
  if (const auto* octets = std::get_if<Octets>(&value_)) {
    const auto n = static_cast<std::uint32_t>(octets->size());
    constexpr unsigned char kNone = 0;  // a value of no bits is not an absent one, so its pointer is not null either
    const unsigned char* bytes = n == 0 ? &kNone : octets->data();
    if (stringKind(tag_) == StringKind::kRaw) return buffer.putBytes(bytes, n);
    return buffer.putBitString(bytes, n, unusedBits_);
  }
  switch (stringKind(tag_)) {
    case StringKind::kNarrow:
      return buffer.putText(nullptr, tag_);
    case StringKind::kBits:
    case StringKind::kWide:
      return buffer.putNull();
    case StringKind::kRaw:
      return;
  }
}

std::uint32_t AttributeTypeAndValue::size(const Buffer& buffer) const {
  return buffer.sizeSequence(buffer.sizeOID(type_ ? *type_ : OID()) + valueSize(buffer));
}

void AttributeTypeAndValue::put(Buffer& buffer) const {
  const OID none;
  const OID& type = type_ ? *type_ : none;
  buffer.putSequence(buffer.sizeOID(type) + valueSize(buffer));
  buffer.putOID(type);
  putValue(buffer);
}

bool AttributeTypeAndValue::get(Buffer& buffer) {
  std::uint32_t n = 0;
  return buffer.getSequence(n) && buffer.getOID(type_.emplace()) && setValueFromDER(buffer);
}

// A wide value that cannot be read or converted is absent, and the attribute is good all the same.
bool AttributeTypeAndValue::setValueFromDER(Buffer& buffer) {
  std::uint32_t n = 0;
  unusedBits_ = 0;
  value_ = std::monostate();
  if (!buffer.peekHeader(tag_, n)) return false;
  switch (stringKind(tag_)) {
    case StringKind::kBits:
      return getBitString(buffer);
    case StringKind::kNarrow:
      return getNarrow(buffer);
    case StringKind::kWide:
      static_cast<void>(tag_ == kUTF8String  ? value_.emplace<UTF8>().get(buffer)
                        : tag_ == kBMPString ? value_.emplace<Unicode>().get(buffer)
                                             : value_.emplace<ISO10646>().get(buffer));
      return true;
    case StringKind::kRaw:
      return getRaw(buffer);
  }
  return false;
}

bool AttributeTypeAndValue::getBitString(Buffer& buffer) {
  unsigned char* bytes = nullptr;
  std::uint32_t n = 0;
  if (!buffer.getBitString(bytes, n, unusedBits_)) return false;
  const std::unique_ptr<unsigned char[]> owned(bytes);
  value_ = Octets(bytes, bytes + n);
  return true;
}

bool AttributeTypeAndValue::getNarrow(Buffer& buffer) {
  unsigned char tag = 0;
  std::string_view text;
  if (!viewText(buffer, tag, text)) return false;
  value_.emplace<std::string>(text);
  return true;
}

// The element as it stands, from its tag on; zero octets in front of it are passed over as every header reader does.
bool AttributeTypeAndValue::getRaw(Buffer& buffer) {
  while (buffer.peekByte() == 0) buffer.getByte();
  const std::uint32_t start = buffer.readPosition();
  std::uint32_t n = 0;
  std::span<const unsigned char> content;
  if (!buffer.getHeader(tag_, n) || !buffer.view(n, content)) return false;
  const std::span<const unsigned char> element = buffer.range(start, buffer.readPosition());
  value_ = Octets(element.begin(), element.end());
  return true;
}

}  // namespace keystrand
