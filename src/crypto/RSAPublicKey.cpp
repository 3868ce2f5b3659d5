#include "keystrand/crypto/RSAPublicKey.h"

#include "crypto/IntegerBytes.h"
#include "der/Element.h"

namespace keystrand {

owner<unsigned char*> RSAPublicKey::keyBytes() const {
  return newMagnitude(modulus_);
}
std::uint32_t RSAPublicKey::keyLength() const {
  return modulus_.magnitudeLength();
}
owner<Key*> RSAPublicKey::clone() const {
  return new RSAPublicKey(*this);
}

bool RSAPublicKey::isStripped() const {
  return modulus_.stripped() && exponent_.stripped();
}

void RSAPublicKey::setStripped() {
  modulus_.setStripped(true);
  exponent_.setStripped(true);
}

std::uint32_t RSAPublicKey::size(const Buffer& buffer) const {
  return buffer.sizeSequence(modulus_.size(buffer) + exponent_.size(buffer));
}

void RSAPublicKey::put(Buffer& buffer) const {
  buffer.putSequence(modulus_.size(buffer) + exponent_.size(buffer));
  modulus_.put(buffer);
  exponent_.put(buffer);
}

bool RSAPublicKey::get(Buffer& buffer) {
  Element body;
  return body.open(buffer, kSequence) && modulus_.get(buffer) && exponent_.get(buffer);
}

}  // namespace keystrand
