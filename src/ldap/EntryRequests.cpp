#include "ldap/EntryRequests.h"

namespace keystrand {

namespace {
constexpr unsigned char kNewSuperior = 0x80;
}

std::uint32_t AddRequest::contentSize(const Buffer& buffer) const {
  return sizeField(buffer, entry_) + attributes_.size(buffer);
}

std::uint32_t AddRequest::size(const Buffer& buffer) const {
  const std::uint32_t n = contentSize(buffer);
  return buffer.sizeHeader(kTag, n) + n;
}

void AddRequest::encode(Buffer& buffer) const {
  buffer.putHeader(kTag, contentSize(buffer));
  putField(buffer, entry_);
  attributes_.encode(buffer);
}

bool AddRequest::decode(Buffer& in) {
  Element sequence;
  return openWhole(sequence, in, kTag) && getField(in, entry_) && attributes_.decode(in) && ends(sequence, in);
}

std::uint32_t ModifyDNRequest::contentSize(const Buffer& buffer) const {
  return sizeField(buffer, entry_) + sizeField(buffer, newrdn_) + buffer.sizeBoolean() +
         sizeOptional(buffer, newSuperior_, kNewSuperior);
}

std::uint32_t ModifyDNRequest::size(const Buffer& buffer) const {
  const std::uint32_t n = contentSize(buffer);
  return buffer.sizeHeader(kTag, n) + n;
}

void ModifyDNRequest::encode(Buffer& buffer) const {
  buffer.putHeader(kTag, contentSize(buffer));
  putField(buffer, entry_);
  putField(buffer, newrdn_);
  buffer.putBoolean(deleteoldrdn_);
  putOptional(buffer, newSuperior_, kNewSuperior);
}

bool ModifyDNRequest::decode(Buffer& in) {
  Element sequence;
  return openWhole(sequence, in, kTag) && getField(in, entry_) && getField(in, newrdn_) &&
         in.getBoolean(deleteoldrdn_) && getOptional(in, sequence, newSuperior_, kNewSuperior) && ends(sequence, in);
}

std::uint32_t CompareRequest::contentSize(const Buffer& buffer) const {
  return sizeField(buffer, entry_) + ava_.size(buffer);
}

std::uint32_t CompareRequest::size(const Buffer& buffer) const {
  const std::uint32_t n = contentSize(buffer);
  return buffer.sizeHeader(kTag, n) + n;
}

void CompareRequest::encode(Buffer& buffer) const {
  buffer.putHeader(kTag, contentSize(buffer));
  putField(buffer, entry_);
  ava_.encode(buffer);
}

bool CompareRequest::decode(Buffer& in) {
  Element sequence;
  return openWhole(sequence, in, kTag) && getField(in, entry_) && ava_.decode(in) && ends(sequence, in);
}

}  // namespace keystrand
