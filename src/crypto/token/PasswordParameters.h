// The parameters of the password mechanisms (PKCS #11 v2.20 sections 12.26, 12.27), which not every pkcs11.h declares.
#pragma once

#include <p11-kit/pkcs11.h>

namespace keystrand {

// CK_PBE_PARAMS.
struct PBEParameters {
  CK_BYTE* initVector;  // eight octets, written by the mechanisms for ciphers
  CK_BYTE* password;
  CK_ULONG passwordLength;
  CK_BYTE* salt;
  CK_ULONG saltLength;
  CK_ULONG iterations;
};

constexpr CK_ULONG kSaltSpecified = 1;  // CKZ_SALT_SPECIFIED
constexpr CK_ULONG kPRFHmacSHA1 = 1;    // CKP_PKCS5_PBKD2_HMAC_SHA1

// CK_PKCS5_PBKD2_PARAMS; the length of the password stands behind a pointer.
struct PBKD2Parameters {
  CK_ULONG saltSource;
  void* saltSourceData;
  CK_ULONG saltSourceDataLength;
  CK_ULONG iterations;
  CK_ULONG prf;
  void* prfData;
  CK_ULONG prfDataLength;
  CK_BYTE* password;
  CK_ULONG* passwordLength;
};

}  // namespace keystrand
