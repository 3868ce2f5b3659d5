#include "crypto/TemporaryKey.h"

#include <iterator>

#include "support/Memory.h"

namespace keystrand {

namespace {

CK_ATTRIBUTE attribute(CK_ATTRIBUTE_TYPE type, const void* value, std::size_t length) {
  return {type, const_cast<void*>(value), length};
}

CK_ATTRIBUTE attribute(CK_ATTRIBUTE_TYPE type, std::span<const unsigned char> value) {
  return attribute(type, value.data(), value.size());
}

constexpr CK_BBOOL kYes = CK_TRUE;
constexpr CK_BBOOL kNo = CK_FALSE;
constexpr CK_OBJECT_CLASS kPublicKey = CKO_PUBLIC_KEY;
constexpr CK_OBJECT_CLASS kSecretKey = CKO_SECRET_KEY;

}  // namespace

// The sign would be lost in the attributes, and a negative number is no key.
CK_RV TemporaryKey::createRSA(const RSAPublicKey& key) {
  if (key.modulus().isNegative() || key.exponent().isNegative()) return CKR_ATTRIBUTE_VALUE_INVALID;
  Bytes exponent(key.exponent().magnitudeLength());
  Bytes modulus(key.modulus().magnitudeLength());
  key.exponent().magnitude(exponent);
  key.modulus().magnitude(modulus);
  return create(CKK_RSA, attribute(CKA_PUBLIC_EXPONENT, exponent), attribute(CKA_MODULUS, modulus));
}

CK_RV TemporaryKey::createEC(const ECDSAPublicKey& key) {
  if (key.parametersView() == nullptr) return CKR_DOMAIN_PARAMS_INVALID;
  Buffer work;
  key.parametersView()->put(work);
  const std::uint32_t mark = work.size();
  work.putOctetString(key.pointView().data(), static_cast<std::uint32_t>(key.pointView().size()));
  return create(CKK_EC, attribute(CKA_EC_PARAMS, work.range(0, mark)),
                attribute(CKA_EC_POINT, work.range(mark, work.size())));
}

CK_RV TemporaryKey::create(CK_KEY_TYPE type, const CK_ATTRIBUTE& first, const CK_ATTRIBUTE& second) {
  const CK_ATTRIBUTE attributes[] = {
      attribute(CKA_CLASS, &kPublicKey, sizeof kPublicKey),
      attribute(CKA_KEY_TYPE, &type, sizeof type),
      attribute(CKA_TOKEN, &kNo, sizeof kNo),
      first,
      second,
      attribute(CKA_PRIVATE, &kYes, sizeof kYes),
      attribute(CKA_ENCRYPT, usage_ == CKA_ENCRYPT ? &kYes : &kNo, sizeof kNo),
      attribute(CKA_VERIFY, usage_ == CKA_VERIFY ? &kYes : &kNo, sizeof kYes),
      attribute(CKA_MODIFIABLE, &kYes, sizeof kYes),
  };
  return ki_.createObject(session_, attributes, std::size(attributes), &handle_);
}

CK_RV TemporaryKey::createSecret(CK_KEY_TYPE type, std::span<const unsigned char> value) {
  const CK_ATTRIBUTE attributes[] = {
      attribute(CKA_CLASS, &kSecretKey, sizeof kSecretKey),
      attribute(CKA_KEY_TYPE, &type, sizeof type),
      attribute(CKA_TOKEN, &kNo, sizeof kNo),
      attribute(CKA_VALUE, value),
  };
  return ki_.createObject(session_, attributes, std::size(attributes), &handle_);
}

}  // namespace keystrand
