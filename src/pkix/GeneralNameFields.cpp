// The accessors of GeneralName.
#include <cstring>

#include "keystrand/pkix/GeneralName.h"
#include "pkix/TextReading.h"
#include "support/Memory.h"

namespace keystrand {

namespace {

// Does not ask the locale, which must not change what is written.
bool isPlainInURI(unsigned char c) noexcept {
  if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')) return true;
  return c != 0 && std::strchr("!$&'()*+,-./:;?_@", c) != nullptr;
}

// Hexadecimal digits of a byte without padding, so that a byte below 0x10 takes one.
void appendPercent(std::string& out, unsigned char c) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  out += '%';
  if (c >= 0x10) out += kDigits[c >> 4];
  out += kDigits[c & 0x0F];
}

std::string percentEncoded(const char* text) {
  std::string out;
  for (; *text != '\0'; ++text) {
    if (isPlainInURI(static_cast<unsigned char>(*text))) {
      out += *text;
    } else {
      appendPercent(out, static_cast<unsigned char>(*text));
    }
  }
  return out;
}

}  // namespace

void GeneralName::setText(unsigned char tag, const char* text) {
  choose(tag);
  storeText(text_, text);
}

void GeneralName::setOtherName(const OtherName* value) {
  choose(kOtherName);
  otherName_ = copyOf(value);
}

void GeneralName::setRfc822Name(const char* text) {
  setText(kRfc822Name, text);
}

void GeneralName::setDNSName(const char* text) {
  setText(kDNSName, text);
}

void GeneralName::setX400Address(const char* text) {
  setText(kX400Address, text);
}

void GeneralName::setDirectoryName(const Name* value) {
  choose(kDirectoryName);
  directoryName_ = copyOf(value);
}

void GeneralName::setEdiPartyName(const EDIPartyName* value) {
  choose(kEdiPartyName);
  ediPartyName_ = copyOf(value);
}

void GeneralName::setURI(const char* text) {
  choose(kURI);
  if (text != nullptr) text_ = percentEncoded(text);
}

void GeneralName::setIPAddress(const unsigned char* bytes, std::uint32_t n) {
  choose(kIPAddress);
  ipAddress_.assign(bytes, n);
}

void GeneralName::setRegisteredID(const char* dotted) {
  choose(kRegisteredID);
  if (dotted != nullptr) registeredID_ = std::make_unique<OID>(dotted);
}

owner<OtherName*> GeneralName::otherName() const {
  return cloneOf(otherName_);
}

owner<char*> GeneralName::text() const {
  return text_ ? newText(*text_) : nullptr;
}

owner<Name*> GeneralName::directoryName() const {
  return cloneOf(directoryName_);
}

owner<EDIPartyName*> GeneralName::ediPartyName() const {
  return cloneOf(ediPartyName_);
}

owner<unsigned char*> GeneralName::ipAddress() const {
  return newBytes(ipAddress_.view());
}

owner<char*> GeneralName::registeredIDText() const {
  return registeredID_ ? registeredID_->toText() : nullptr;
}

}  // namespace keystrand
