#include "crypto/DeviceTables.h"

#include <algorithm>
#include <span>

namespace keystrand {

namespace {

// ECDSA with SHA-512 has no key generation, unlike its neighbours: clients that ask for such a key count on the
// refusal.
constexpr SignatureRow kSignatures[] = {
    {"1.2.840.113549.1.1.5"_oid, CKM_SHA1_RSA_PKCS, CKM_SHA_1, CKM_RSA_PKCS, kNoMechanism},
    {"1.3.14.3.2.29"_oid, CKM_SHA1_RSA_PKCS, CKM_SHA_1, CKM_RSA_PKCS, kNoMechanism},
    {"1.2.840.113549.1.1.11"_oid, CKM_SHA256_RSA_PKCS, CKM_SHA256, CKM_RSA_PKCS, kNoMechanism},
    {"1.2.840.113549.1.1.12"_oid, CKM_SHA384_RSA_PKCS, CKM_SHA384, CKM_RSA_PKCS, kNoMechanism},
    {"1.2.840.113549.1.1.13"_oid, CKM_SHA512_RSA_PKCS, CKM_SHA512, CKM_RSA_PKCS, kNoMechanism},
    {"1.2.840.113549.1.1.4"_oid, CKM_MD5_RSA_PKCS, CKM_MD5, CKM_RSA_PKCS, kNoMechanism},
    {"1.3.14.3.2.3"_oid, CKM_MD5_RSA_PKCS, CKM_MD5, CKM_RSA_PKCS, kNoMechanism},
    {"1.3.36.3.3.1.2"_oid, CKM_RIPEMD160_RSA_PKCS, CKM_RIPEMD160, CKM_RSA_PKCS, kNoMechanism},
    {"1.2.840.10045.4.1"_oid, CKM_ECDSA, CKM_SHA_1, CKM_ECDSA, CKM_EC_KEY_PAIR_GEN},
    {"1.2.840.10045.4.3.1"_oid, CKM_ECDSA, CKM_SHA224, CKM_ECDSA, CKM_EC_KEY_PAIR_GEN},
    {"1.2.840.10045.4.3.2"_oid, CKM_ECDSA, CKM_SHA256, CKM_ECDSA, CKM_EC_KEY_PAIR_GEN},
    {"1.2.840.10045.4.3.3"_oid, CKM_ECDSA, CKM_SHA384, CKM_ECDSA, CKM_EC_KEY_PAIR_GEN},
    {"1.2.840.10045.4.3.4"_oid, CKM_ECDSA, CKM_SHA512, CKM_ECDSA, kNoMechanism},
    {"1.3.36.3.4.1"_oid, CKM_RSA_9796, kNoMechanism, kNoMechanism, kNoMechanism},
    {"1.3.6.1.5.5.8.1.2"_oid, CKM_SHA_1_HMAC, kNoMechanism, kNoMechanism, CKM_PBA_SHA1_WITH_SHA1_HMAC},
    {"1.2.840.113549.1.1.10"_oid, kNoMechanism, kNoMechanism, kNoMechanism, kNoMechanism},
    {"2.5.8.1.1"_oid, CKM_RSA_X_509, kNoMechanism, CKM_RSA_X_509, kNoMechanism},
};

constexpr PSSRow kPSS[] = {
    {CKM_SHA_1, CKM_SHA1_RSA_PKCS_PSS, {CKM_SHA_1, CKG_MGF1_SHA1, 20}},
    {CKM_SHA256, CKM_SHA256_RSA_PKCS_PSS, {CKM_SHA256, CKG_MGF1_SHA256, 32}},
    {CKM_SHA384, CKM_SHA384_RSA_PKCS_PSS, {CKM_SHA384, CKG_MGF1_SHA384, 48}},
    {CKM_SHA512, CKM_SHA512_RSA_PKCS_PSS, {CKM_SHA512, CKG_MGF1_SHA512, 64}},
};

constexpr VendorRow kVendors[] = {
    {.text = "Chrysalis", .withoutPIN = true, .dropsLeadingZero = true},
    {.text = "Eracom", .readWrite = true},
    {.text = "SafeNet", .readWrite = true},
    {.text = "Safenet", .readWrite = true},
    {.text = "AEP", .readWrite = true, .signsDigests = true},
    {.text = "Halvorn", .readWrite = true, .fallsBack = true, .takesDigestInfo = true},
};
constexpr VendorRow kPlainVendor{};

template <class Row, class Key, class Member>
const Row* findRow(std::span<const Row> rows, const Key& key, Member member) {
  const auto row = std::ranges::find_if(rows, [&](const Row& candidate) { return key == candidate.*member; });
  return row != rows.end() ? &*row : nullptr;
}

}  // namespace

const SignatureRow* findSignature(const OID& oid) {
  return findRow<SignatureRow>(kSignatures, oid, &SignatureRow::oid);
}
const PSSRow* findPSS(CK_MECHANISM_TYPE digest) {
  return findRow<PSSRow>(kPSS, digest, &PSSRow::digest);
}

const VendorRow& findVendor(std::string_view manufacturer) {
  const auto row = std::ranges::find_if(
      kVendors, [&](const VendorRow& vendor) { return manufacturer.find(vendor.text) != std::string_view::npos; });
  return row != std::end(kVendors) ? *row : kPlainVendor;
}

}  // namespace keystrand
