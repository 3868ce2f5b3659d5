// Verification: the key becomes a session object, the token's C_Verify gives the answer, the object goes.
#include <algorithm>
#include <optional>

#include "crypto/DeviceState.h"
#include "crypto/ECDSASigValue.h"
#include "der/BorrowedBuffer.h"
#include "keystrand/crypto/ECDSAPublicKey.h"
#include "keystrand/crypto/RSAPublicKey.h"

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

// The public key of one verification, an object of the session until it goes out of scope.
class TemporaryKey {
 public:
  TemporaryKey(CryptoKi& ki, CK_SESSION_HANDLE session) : ki_(ki), session_(session) {}
  TemporaryKey(const TemporaryKey&) = delete;
  TemporaryKey& operator=(const TemporaryKey&) = delete;
  ~TemporaryKey() {
    if (handle_ != CK_INVALID_HANDLE) ki_.destroyObject(session_, handle_);
  }

  // Only RSA and elliptic-curve keys are verified with.
  CK_RV create(const Key* key) {
    if (const auto* rsa = dynamic_cast<const RSAPublicKey*>(key)) return createRSA(*rsa);
    if (const auto* ec = dynamic_cast<const ECDSAPublicKey*>(key)) return createEC(*ec);
    return CKR_KEY_TYPE_INCONSISTENT;
  }
  [[nodiscard]] CK_OBJECT_HANDLE handle() const noexcept { return handle_; }

 private:
  CK_RV createRSA(const RSAPublicKey& key);
  CK_RV createEC(const ECDSAPublicKey& key);
  CK_RV create(CK_KEY_TYPE type, const CK_ATTRIBUTE& first, const CK_ATTRIBUTE& second);

  CryptoKi& ki_;
  CK_SESSION_HANDLE session_;
  CK_OBJECT_HANDLE handle_ = CK_INVALID_HANDLE;
};

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
      attribute(CKA_ENCRYPT, &kNo, sizeof kNo),
      attribute(CKA_VERIFY, &kYes, sizeof kYes),
      attribute(CKA_MODIFIABLE, &kYes, sizeof kYes),
  };
  return ki_.createObject(session_, attributes, std::size(attributes), &handle_);
}

// The two halves of an ECDSA signature as PKCS #11 wants them. The encoding must be the one DER allows: a signature
// that could be written in two ways is not accepted.
std::optional<Bytes> halvesOf(std::span<const unsigned char> encoded, const ECDSAPublicKey& key) {
  BorrowedBuffer in(encoded);
  ECDSASigValue value;
  if (!value.get(in)) return std::nullopt;
  Buffer again;
  value.put(again);
  if (!std::ranges::equal(again.range(0, again.size()), encoded)) return std::nullopt;
  return key.parametersView() != nullptr ? value.raw(key.parametersView()->orderBytes()) : std::nullopt;
}

// What is handed to C_Verify as the signature; nothing when it has not the form that its key asks for.
std::optional<Bytes> signatureFor(const Signature& signature, const Key* key, const VendorRow& vendor) {
  const auto octets = signature.view();
  if (const auto* ec = dynamic_cast<const ECDSAPublicKey*>(key)) return halvesOf(octets, *ec);
  const bool drop = vendor.dropsLeadingZero && !octets.empty() && octets.front() == 0;
  return Bytes(octets.begin() + (drop ? 1 : 0), octets.end());
}

}  // namespace

bool CryptoDevice::State::verify(const std::optional<CK_MECHANISM>& mechanism, std::span<const unsigned char> data,
                                 std::span<const unsigned char> octets, CK_OBJECT_HANDLE key) {
  if (!mechanism) return succeeded(CKR_MECHANISM_INVALID);
  return succeeded(ki.verifyInit(session, &*mechanism, key)) &&
         succeeded(ki.verify(session, pointer(data), data.size(), pointer(octets), octets.size()));
}

bool CryptoDevice::State::verifyDigest(const DigestInfo& info, std::span<const unsigned char> octets,
                                       CK_OBJECT_HANDLE key) {
  Buffer work;
  info.put(work);
  return verify(cipher, work.range(0, work.size()), octets, key);
}

bool CryptoDevice::verifyRaw(const unsigned char* data, std::size_t length, const Signature& signature,
                             const KeyInfo& key) {
  State& state = *state_;
  TemporaryKey object(state.ki, state.session);
  if (!state.succeeded(object.create(key.keyView()))) return false;
  const auto octets = signatureFor(signature, key.keyView(), state.vendor);
  if (!octets) return state.succeeded(CKR_SIGNATURE_INVALID);
  return state.verify(state.signature, {data, length}, *octets, object.handle());
}

// Some signers leave the NULL behind the digest's identifier out, so a signature over either coding is good. With ECDSA
// only the digest itself counts, and there is nothing to try again.
bool CryptoDevice::verify(const Signature& signature, const DigestInfo& digest, const KeyInfo& key) {
  State& state = *state_;
  if (digest.algorithmView() == nullptr) return state.succeeded(CKR_DATA_INVALID);
  TemporaryKey object(state.ki, state.session);
  if (!state.succeeded(object.create(key.keyView()))) return false;
  const auto octets = signatureFor(signature, key.keyView(), state.vendor);
  if (!octets) return state.succeeded(CKR_SIGNATURE_INVALID);
  DigestInfo info(*digest.algorithmView(), digest.valueView());
  info.setHasParameters(true);
  if (state.verifyDigest(info, *octets, object.handle())) return true;
  if (key.keyView()->kind() == KeyKind::kECPublic) return false;
  info.setHasParameters(false);
  return state.verifyDigest(info, *octets, object.handle());
}

}  // namespace keystrand
