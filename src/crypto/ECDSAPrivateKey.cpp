#include "keystrand/crypto/ECDSAPrivateKey.h"

#include <algorithm>

#include "crypto/IntegerBytes.h"
#include "der/Element.h"
#include "support/SecretBytes.h"

namespace keystrand {

namespace {

constexpr unsigned char kOctetString = 0x04;
constexpr unsigned char kParameters = 0xA0;  // [0] EXPLICIT
constexpr unsigned char kPublicKey = 0xA1;   // [1] EXPLICIT
constexpr std::int32_t kVersion = 1;

std::uint32_t sizeTagged(const Buffer& buffer, unsigned char tag, std::uint32_t n) {
  return n == 0 ? 0 : buffer.sizeHeader(tag, n) + n;
}

bool isNext(Buffer& buffer, const Element& body, unsigned char tag) {
  return body.left(buffer) != 0 && buffer.peekByte() == tag;
}

}  // namespace

ECDSAPrivateKey::~ECDSAPrivateKey() {
  value_.wipe();
}

void ECDSAPrivateKey::setValue(BigInteger value) {
  value_.wipe();
  value_ = std::move(value);
}

owner<unsigned char*> ECDSAPrivateKey::keyBytes() const {
  return newMagnitude(value_);
}
std::uint32_t ECDSAPrivateKey::keyLength() const {
  return value_.magnitudeLength();
}
owner<Key*> ECDSAPrivateKey::clone() const {
  return new ECDSAPrivateKey(*this);
}

std::uint32_t ECDSAPrivateKey::valueLength() const {
  const std::uint32_t order = parametersView() != nullptr ? parametersView()->orderBytes() : 0;
  return std::max(order, value_.magnitudeLength());
}

std::uint32_t ECDSAPrivateKey::contentSize(const Buffer& buffer) const {
  const std::uint32_t n = valueLength();
  const std::uint32_t parameters = parametersView() != nullptr ? parametersView()->size(buffer) : 0;
  const std::uint32_t point = publicKey_.pointView().empty() ? 0 : publicKey_.size(buffer);
  return buffer.sizeInteger(kVersion) + buffer.sizeHeader(kOctetString, n) + n +
         sizeTagged(buffer, kParameters, parameters) + sizeTagged(buffer, kPublicKey, point);
}

std::uint32_t ECDSAPrivateKey::privateSize(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void ECDSAPrivateKey::putPrivate(Buffer& buffer) const {
  SecretBytes value(valueLength());
  value_.magnitude(value);
  buffer.putSequence(contentSize(buffer));
  buffer.putInteger(kVersion);
  buffer.putOctetString(value.data(), static_cast<std::uint32_t>(value.size()));
  if (const ECParameters* parameters = parametersView(); parameters != nullptr && parameters->size(buffer) != 0) {
    buffer.putHeader(kParameters, parameters->size(buffer));
    parameters->put(buffer);
  }
  if (publicKey_.pointView().empty()) return;
  buffer.putHeader(kPublicKey, publicKey_.size(buffer));
  publicKey_.put(buffer);
}

bool ECDSAPrivateKey::getPrivate(Buffer& buffer) {
  Element body;
  Element value;
  Element tagged;
  std::int32_t version = 0;
  std::span<const unsigned char> octets;
  if (!body.open(buffer, kSequence) || body.left(buffer) > buffer.remaining() || !buffer.getInteger(version) ||
      version != kVersion || !value.open(buffer, kOctetString) || !buffer.view(value.left(buffer), octets)) {
    return false;
  }
  setValue(BigInteger(octets));
  if (isNext(buffer, body, kParameters)) {
    ECParameters parameters;
    if (!tagged.open(buffer, kParameters) || !parameters.get(buffer)) return false;
    setParameters(&parameters);
  }
  return !isNext(buffer, body, kPublicKey) || (tagged.open(buffer, kPublicKey) && publicKey_.get(buffer));
}

}  // namespace keystrand
