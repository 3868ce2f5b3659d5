#include "crypto/token/SignatureMechanisms.h"

#include <algorithm>
#include <cstring>

#include "crypto/CipherMac.h"
#include "crypto/DigestTable.h"
#include "crypto/Digests.h"
#include "crypto/HMAC.h"
#include "crypto/RC2.h"
#include "crypto/token/RC2Parameters.h"
#include "der/BorrowedBuffer.h"

namespace keystrand {

namespace {

using Octets = std::span<const unsigned char>;

constexpr SignatureMechanism kRows[] = {
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
    {CKM_MD5_HMAC, CKK_GENERIC_SECRET, CKM_MD5, Scheme::kMAC},
    {CKM_SHA_1_HMAC, CKK_GENERIC_SECRET, CKM_SHA_1, Scheme::kMAC},
    {CKM_RC2_MAC, CKK_RC2, kAsGiven, Scheme::kMAC},
    {CKM_RIPEMD160_HMAC, CKK_GENERIC_SECRET, CKM_RIPEMD160, Scheme::kMAC},
};

// The parameter is the effective length of the key in bits.
CK_RV makeRC2Mac(const CK_MECHANISM& mechanism, Octets key, std::unique_ptr<PasswordBasedMac>& out) {
  CK_ULONG bits = 0;
  if (mechanism.pParameter == nullptr || mechanism.ulParameterLen != sizeof bits) return CKR_MECHANISM_PARAM_INVALID;
  std::memcpy(&bits, mechanism.pParameter, sizeof bits);
  if (bits < 1 || bits > kMostEffectiveBits) return CKR_MECHANISM_PARAM_INVALID;
  auto cipher = std::make_unique<RC2>();
  cipher->setEffectiveBits(static_cast<unsigned>(bits));
  if (!cipher->setEncryptionKey(key)) return CKR_KEY_SIZE_RANGE;
  out = std::make_unique<CipherMac>(std::move(cipher));
  return CKR_OK;
}

}  // namespace

const SignatureMechanism* findSignatureMechanism(CK_MECHANISM_TYPE mechanism) {
  const auto row = std::ranges::find(kRows, mechanism, &SignatureMechanism::mechanism);
  return row != std::end(kRows) ? &*row : nullptr;
}

// One mask generation function and one salt length go with each hash. What the parameter must say is thus known, and
// nothing of it need be kept.
bool hasParameter(const CK_MECHANISM& mechanism, const SignatureMechanism& row) {
  if (row.scheme != Scheme::kPSS) return true;
  CK_RSA_PKCS_PSS_PARAMS given{};
  if (mechanism.pParameter == nullptr || mechanism.ulParameterLen != sizeof given) return false;
  given = *static_cast<const CK_RSA_PKCS_PSS_PARAMS*>(mechanism.pParameter);
  return given.hashAlg == row.digest && given.mgf == row.mgf && given.sLen == findDigest(row.digest)->length;
}

Bytes codedDigestInfo(CK_MECHANISM_TYPE digest, Octets value) {
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

CK_RV makeMac(const SignatureMechanism& row, const CK_MECHANISM& mechanism, Octets key,
              std::unique_ptr<PasswordBasedMac>& out) {
  if (row.digest == kAsGiven) return makeRC2Mac(mechanism, key, out);
  out = std::make_unique<HMAC>(makeDigest(row.digest));
  out->setKey(key);
  return CKR_OK;
}

}  // namespace keystrand
