// How the device turns the identifiers of signatures into PKCS #11 mechanisms, and what it knows of the makers of
// modules.
#pragma once

#include <p11-kit/pkcs11.h>

#include <string_view>

#include "der/ConstantOID.h"

namespace keystrand {

// The value of a column that a row leaves alone, or has no use for.
constexpr CK_MECHANISM_TYPE kNoMechanism = 0;

struct SignatureRow {
  ConstantOID oid;
  CK_MECHANISM_TYPE signature;  // kNoMechanism: by the digest that is selected, out of the table of RSASSA-PSS
  CK_MECHANISM_TYPE digest;     // kNoMechanism: the digest stays as it is
  CK_MECHANISM_TYPE cipher;
  CK_MECHANISM_TYPE keyGeneration;
};

const SignatureRow* findSignature(const OID& oid);

// RSASSA-PSS with the same hash in the mask generation and a salt as long as the hash: no other is selected.
struct PSSRow {
  CK_MECHANISM_TYPE digest;
  CK_MECHANISM_TYPE mechanism;
  CK_RSA_PKCS_PSS_PARAMS parameters;
};

const PSSRow* findPSS(CK_MECHANISM_TYPE digest);

struct VendorRow {
  std::string_view text;          // somewhere in the manufacturerID of CK_INFO
  bool readWrite = false;         // sessions are opened read-write
  bool fallsBack = false;         // and read-only where that fails
  bool withoutPIN = false;        // nothing is passed at login
  bool dropsLeadingZero = false;  // of a signature that it is to verify
  bool signsDigests = false;      // what is signed is digested by calls of its own
  bool takesDigestInfo = false;   // to verify by ECDSA, where the standard has the digest alone
};

// The row of the first text found; the plain row for a maker that is not known.
const VendorRow& findVendor(std::string_view manufacturer);

}  // namespace keystrand
