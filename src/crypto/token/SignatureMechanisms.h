// The mechanisms by which the token signs and verifies, and what both sides make of the data.
#pragma once

#include <p11-kit/pkcs11.h>

#include <memory>
#include <optional>
#include <span>

#include "crypto/PasswordBasedMac.h"
#include "support/Memory.h"

namespace keystrand {

// How the digest, or the data, stands in what the signature gives.
enum class Scheme : unsigned char { kPKCS1, kRaw, kPSS, kECDSA, kMAC };

constexpr CK_MECHANISM_TYPE kAsGiven = 0;

struct SignatureMechanism {
  CK_MECHANISM_TYPE mechanism;
  CK_KEY_TYPE keyType;
  CK_MECHANISM_TYPE digest;  // of the data, or kAsGiven
  Scheme scheme;
  CK_RSA_PKCS_MGF_TYPE mgf = 0;
};

// nullptr for a mechanism that neither signs nor verifies.
const SignatureMechanism* findSignatureMechanism(CK_MECHANISM_TYPE mechanism);
// Whether the parameter is the one that goes with the mechanism; without one of its own it is not looked at.
bool hasParameter(const CK_MECHANISM& mechanism, const SignatureMechanism& row);
// A DigestInfo with NULL parameters, in DER.
Bytes codedDigestInfo(CK_MECHANISM_TYPE digest, std::span<const unsigned char> value);
// The digest that ECDSA is given; nothing for data that is none.
std::optional<Bytes> digestIn(std::span<const unsigned char> data);
// For a mechanism of Scheme::kMAC, ready for the message.
CK_RV makeMac(const SignatureMechanism& row, const CK_MECHANISM& mechanism, std::span<const unsigned char> key,
              std::unique_ptr<PasswordBasedMac>& out);

}  // namespace keystrand
