#include "der/Reading.h"
#include "keystrand/pkix/GeneralName.h"
#include "pkix/TextReading.h"
#include "support/Memory.h"

namespace keystrand {

namespace {
constexpr unsigned char kNameAssigner = 0x80;
constexpr unsigned char kPartyName = 0x81;
}  // namespace

void EDIPartyName::setNameAssigner(const char* text) {
  storeText(nameAssigner_, text);
}

void EDIPartyName::setPartyName(const char* text) {
  storeText(partyName_, text);
}

owner<char*> EDIPartyName::nameAssigner() const {
  return nameAssigner_ ? newText(*nameAssigner_) : nullptr;
}

owner<char*> EDIPartyName::partyName() const {
  return partyName_ ? newText(*partyName_) : nullptr;
}

std::uint32_t EDIPartyName::contentSize(const Buffer& buffer) const {
  return (nameAssigner_ ? buffer.sizeText(nameAssigner_->c_str(), kNameAssigner) : 0) +
         buffer.sizeText(textOrNull(partyName_), kPartyName);
}

std::uint32_t EDIPartyName::size(const Buffer& buffer, unsigned char tag) const {
  const std::uint32_t n = contentSize(buffer);
  return buffer.sizeHeader(tag, n) + n;
}

void EDIPartyName::put(Buffer& buffer, unsigned char tag) const {
  buffer.putHeader(tag, contentSize(buffer));
  if (nameAssigner_) buffer.putText(nameAssigner_->c_str(), kNameAssigner);
  buffer.putText(textOrNull(partyName_), kPartyName);
}

bool EDIPartyName::get(Buffer& buffer, unsigned char tag) {
  Element body;
  nameAssigner_.reset();
  if (!openWhole(body, buffer, tag)) return false;
  if (isNext(body, buffer, kNameAssigner) && !readText(nameAssigner_, buffer, kNameAssigner)) return false;
  return readText(partyName_, buffer, kPartyName) && close(body, buffer);
}

}  // namespace keystrand
