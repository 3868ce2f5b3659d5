#include "ldap/Coding.h"

#include "der/TextValue.h"

namespace keystrand {

namespace {

// Octets with an address even where there are none: a null pointer would be written as NULL.
const unsigned char* addressOf(const Bytes& octets) {
  static constexpr unsigned char kNone = 0;
  return octets.empty() ? &kNone : octets.data();
}

bool isField(unsigned char found, unsigned char wanted) {
  return found == wanted || found == kNull;
}

}  // namespace

std::uint32_t sizeField(const Buffer& buffer, const std::string& text, unsigned char tag) {
  return buffer.sizeText(text.c_str(), tag);
}

void putField(Buffer& buffer, const std::string& text, unsigned char tag) {
  buffer.putText(text.c_str(), tag);
}

bool getField(Buffer& in, std::string& text, unsigned char tag) {
  unsigned char found = 0;
  std::string_view content;
  if (!viewText(in, found, content) || !isField(found, tag)) return false;
  text = content;
  return true;
}

std::uint32_t sizeField(const Buffer& buffer, const Bytes& octets, unsigned char tag) {
  return buffer.sizeOctetString(addressOf(octets), static_cast<std::uint32_t>(octets.size()), tag);
}

void putField(Buffer& buffer, const Bytes& octets, unsigned char tag) {
  buffer.putOctetString(addressOf(octets), static_cast<std::uint32_t>(octets.size()), tag);
}

bool getField(Buffer& in, Bytes& octets, unsigned char tag) {
  unsigned char found = 0;
  std::span<const unsigned char> content;
  if (!viewValue(in, found, content) || !isField(found, tag)) return false;
  octets.assign(content.begin(), content.end());
  return true;
}

}  // namespace keystrand
