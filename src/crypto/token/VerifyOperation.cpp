#include "crypto/token/VerifyOperation.h"

#include <algorithm>
#include <array>
#include <optional>

#include "crypto/DigestTable.h"
#include "crypto/EMSA.h"
#include "crypto/hvECDSA.h"
#include "crypto/hvRSA.h"
#include "crypto/token/PKCS11ECDSAPublicKey.h"
#include "crypto/token/PKCS11RSAPublicKey.h"
#include "der/BorrowedBuffer.h"

namespace keystrand {

namespace {

using Octets = std::span<const unsigned char>;

// How the digest, or the data, stands in what the signature gives.
enum class Scheme : unsigned char { kPKCS1, kRaw, kPSS, kECDSA };

constexpr CK_MECHANISM_TYPE kAsGiven = 0;

}  // namespace

struct VerifyRow {
  CK_MECHANISM_TYPE mechanism;
  CK_KEY_TYPE keyType;
  CK_MECHANISM_TYPE digest;  // of the data, or kAsGiven
  Scheme scheme;
  CK_RSA_PKCS_MGF_TYPE mgf = 0;
};

namespace {

constexpr VerifyRow kRows[] = {
    {CKM_RSA_PKCS, CKK_RSA, kAsGiven, Scheme::kPKCS1},
    {CKM_RSA_X_509, CKK_RSA, kAsGiven, Scheme::kRaw},
    {CKM_MD5_RSA_PKCS, CKK_RSA, CKM_MD5, Scheme::kPKCS1},
    {CKM_SHA1_RSA_PKCS, CKK_RSA, CKM_SHA_1, Scheme::kPKCS1},
    {CKM_RIPEMD160_RSA_PKCS, CKK_RSA, CKM_RIPEMD160, Scheme::kPKCS1},
    {CKM_SHA224_RSA_PKCS, CKK_RSA, CKM_SHA224, Scheme::kPKCS1},
    {CKM_SHA256_RSA_PKCS, CKK_RSA, CKM_SHA256, Scheme::kPKCS1},
    {CKM_SHA384_RSA_PKCS, CKK_RSA, CKM_SHA384, Scheme::kPKCS1},
    {CKM_SHA512_RSA_PKCS, CKK_RSA, CKM_SHA512, Scheme::kPKCS1},
    {CKM_SHA1_RSA_PKCS_PSS, CKK_RSA, CKM_SHA_1, Scheme::kPSS, CKG_MGF1_SHA1},
    {CKM_SHA256_RSA_PKCS_PSS, CKK_RSA, CKM_SHA256, Scheme::kPSS, CKG_MGF1_SHA256},
    {CKM_SHA384_RSA_PKCS_PSS, CKK_RSA, CKM_SHA384, Scheme::kPSS, CKG_MGF1_SHA384},
    {CKM_SHA512_RSA_PKCS_PSS, CKK_RSA, CKM_SHA512, Scheme::kPSS, CKG_MGF1_SHA512},
    {CKM_ECDSA, CKK_EC, kAsGiven, Scheme::kECDSA},
};

CK_RV answer(bool good) {
  return good ? CKR_OK : CKR_SIGNATURE_INVALID;
}

// One mask generation function and one salt length go with each hash. What the parameter must say is thus known, and
// nothing of it need be kept.
bool hasParameter(const CK_MECHANISM& mechanism, const VerifyRow& row) {
  CK_RSA_PKCS_PSS_PARAMS given{};
  if (mechanism.pParameter == nullptr || mechanism.ulParameterLen != sizeof given) return false;
  given = *static_cast<const CK_RSA_PKCS_PSS_PARAMS*>(mechanism.pParameter);
  return given.hashAlg == row.digest && given.mgf == row.mgf && given.sLen == findDigest(row.digest)->length;
}

Bytes digestInfo(CK_MECHANISM_TYPE digest, Octets value) {
  Buffer out;
  DigestInfo(findDigest(digest)->identifier(), value).put(out);
  const Octets coded = out.range(0, out.size());
  return {coded.begin(), coded.end()};
}

// ECDSA takes a digest as it is, or out of a DigestInfo in its only DER coding. No coding of one that the token makes
// is as long as a digest, so the length tells them apart.
std::optional<Bytes> digestIn(Octets data) {
  constexpr std::size_t kDigestLengths[] = {20, 28, 32, 48, 64};
  constexpr std::size_t kShortestDigest = 16;
  constexpr std::size_t kLongestDigestInfo = 256;
  if (std::ranges::find(kDigestLengths, data.size()) != std::end(kDigestLengths)) {
    return Bytes(data.begin(), data.end());
  }
  if (data.size() > kLongestDigestInfo) return std::nullopt;
  BorrowedBuffer in(data);
  DigestInfo info;
  if (!info.get(in) || info.valueView().size() < kShortestDigest) return std::nullopt;
  Buffer again;
  info.put(again);
  if (!std::ranges::equal(again.range(0, again.size()), data)) return std::nullopt;
  return Bytes(info.valueView().begin(), info.valueView().end());
}

}  // namespace

CK_RV VerifyOperation::begin(const CK_MECHANISM& mechanism, std::shared_ptr<const PKCS11PublicKey> key) {
  if (isActive()) return CKR_OPERATION_ACTIVE;
  const auto row = std::ranges::find(kRows, mechanism.mechanism, &VerifyRow::mechanism);
  if (row == std::end(kRows)) return CKR_MECHANISM_INVALID;
  if (row->keyType != key->keyType()) return CKR_KEY_TYPE_INCONSISTENT;
  if (!key->mayVerify()) return CKR_KEY_FUNCTION_NOT_PERMITTED;
  if (row->scheme == Scheme::kPSS && !hasParameter(mechanism, *row)) return CKR_MECHANISM_PARAM_INVALID;
  digest_ = row->digest != kAsGiven ? digests_.get(row->digest) : nullptr;
  row_ = row;
  key_ = std::move(key);
  inParts_ = false;
  return CKR_OK;
}

CK_RV VerifyOperation::whole(Octets data, Octets signature) {
  const Ending ending(*this);
  if (inParts_) return CKR_OPERATION_ACTIVE;
  if (digest_ == nullptr) return check(data, signature);
  digest_->update(data.data(), data.size());
  return checkDigest(signature);
}

CK_RV VerifyOperation::update(Octets part) {
  if (digest_ == nullptr) {
    end();
    return CKR_MECHANISM_INVALID;
  }
  digest_->update(part.data(), part.size());
  inParts_ = true;
  return CKR_OK;
}

CK_RV VerifyOperation::finish(Octets signature) {
  const Ending ending(*this);
  return digest_ != nullptr ? checkDigest(signature) : CKR_MECHANISM_INVALID;
}

void VerifyOperation::end() noexcept {
  row_ = nullptr;
  digest_ = nullptr;
  key_.reset();
}

CK_RV VerifyOperation::checkDigest(Octets signature) {
  std::array<unsigned char, 64> bytes;
  const Octets value = Octets(bytes).first(digest_->final(bytes));
  return row_->scheme == Scheme::kPKCS1 ? check(digestInfo(row_->digest, value), signature) : check(value, signature);
}

CK_RV VerifyOperation::check(Octets data, Octets signature) const {
  if (const auto* rsa = dynamic_cast<const PKCS11RSAPublicKey*>(key_.get())) return check(rsa->key(), data, signature);
  if (const auto* ec = dynamic_cast<const PKCS11ECDSAPublicKey*>(key_.get())) return check(ec->key(), data, signature);
  return CKR_KEY_TYPE_INCONSISTENT;
}

CK_RV VerifyOperation::check(const RSAPublicKey& key, Octets data, Octets signature) const {
  if (signature.size() != key.modulus().magnitudeLength()) return CKR_SIGNATURE_LEN_RANGE;
  const auto block = hvRSA::publicOperation(key, signature);
  if (!block) return CKR_SIGNATURE_INVALID;
  if (row_->scheme == Scheme::kPKCS1) {
    const auto held = hvRSA::withoutPadding(*block);
    return answer(held && std::ranges::equal(*held, data));
  }
  if (row_->scheme == Scheme::kRaw) return answer(std::ranges::equal(*block, data));
  return answer(digest_ != nullptr && isPSSEncoded(*block, key.modulus().bitLength(), data, *digest_));
}

CK_RV VerifyOperation::check(const ECDSAPublicKey& key, Octets data, Octets signature) {
  const auto digest = digestIn(data);
  hvECDSA algorithm;
  return answer(digest && algorithm.setKey(key) && algorithm.verify(*digest, signature));
}

}  // namespace keystrand
