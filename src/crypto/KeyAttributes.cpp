#include "crypto/KeyAttributes.h"

#include "keystrand/crypto/ECDSAPrivateKey.h"
#include "keystrand/crypto/RSAPrivateKey.h"

namespace keystrand {

namespace {

constexpr std::size_t kPublicIntegers = 2;

void addInteger(AttributeTemplate& attributes, CK_ATTRIBUTE_TYPE type, const BigInteger& value) {
  SecretBytes octets(value.magnitudeLength());
  value.magnitude(octets);
  if (!octets.empty()) attributes.add(type, octets);
}

void addIntegers(AttributeTemplate& attributes, const RSAPrivateKey& key, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) addInteger(attributes, kRSAIntegers[i], key.integers()[i]);
}

void addDomain(AttributeTemplate& attributes, const ECDSAPrivateKey& key) {
  Buffer work;
  if (key.parametersView() != nullptr) key.parametersView()->put(work);
  attributes.add(CKA_EC_PARAMS, work.range(0, work.size()));
}

}  // namespace

bool addPublicParts(AttributeTemplate& attributes, const Key& key) {
  if (const auto* rsa = dynamic_cast<const RSAPrivateKey*>(&key)) {
    addIntegers(attributes, *rsa, kPublicIntegers);
    return true;
  }
  const auto* ec = dynamic_cast<const ECDSAPrivateKey*>(&key);
  if (ec == nullptr) return false;
  addDomain(attributes, *ec);
  Buffer work;
  const auto point = ec->publicKey().pointView();
  work.putOctetString(point.data(), static_cast<std::uint32_t>(point.size()));
  attributes.add(CKA_EC_POINT, work.range(0, work.size()));
  return true;
}

bool addPrivateParts(AttributeTemplate& attributes, const Key& key) {
  if (const auto* rsa = dynamic_cast<const RSAPrivateKey*>(&key)) {
    addIntegers(attributes, *rsa, std::size(kRSAIntegers));
    return true;
  }
  const auto* ec = dynamic_cast<const ECDSAPrivateKey*>(&key);
  if (ec == nullptr) return false;
  addDomain(attributes, *ec);
  addInteger(attributes, CKA_VALUE, ec->value());
  return true;
}

}  // namespace keystrand
