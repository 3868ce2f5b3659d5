#include "crypto/ECDSASigValue.h"

#include "der/Element.h"

namespace keystrand {

namespace {

bool putPadded(const BigInteger& value, std::span<unsigned char> out) {
  return !value.isZero() && !value.isNegative() && value.magnitude(out);
}

}  // namespace

std::optional<Bytes> ECDSASigValue::raw(std::uint32_t orderBytes) const {
  if (r_.magnitudeLength() > orderBytes || s_.magnitudeLength() > orderBytes) return std::nullopt;
  Bytes halves(std::size_t{orderBytes} * 2);
  const std::span<unsigned char> out(halves);
  if (!putPadded(r_, out.first(orderBytes)) || !putPadded(s_, out.last(orderBytes))) return std::nullopt;
  return halves;
}

std::uint32_t ECDSASigValue::size(const Buffer& buffer) const {
  return buffer.sizeSequence(r_.size(buffer) + s_.size(buffer));
}

void ECDSASigValue::put(Buffer& buffer) const {
  buffer.putSequence(r_.size(buffer) + s_.size(buffer));
  r_.put(buffer);
  s_.put(buffer);
}

bool ECDSASigValue::get(Buffer& buffer) {
  Element body;
  return body.open(buffer, kSequence) && r_.get(buffer) && s_.get(buffer);
}

}  // namespace keystrand
