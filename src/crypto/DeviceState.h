// What a CryptoDevice holds: its binding, its session, and the mechanisms selected for the operation to come.
#pragma once

#include <p11-kit/pkcs11.h>

#include <optional>
#include <span>
#include <vector>

#include "crypto/DeviceTables.h"
#include "crypto/DigestTable.h"
#include "keystrand/crypto/CryptoDevice.h"
#include "keystrand/crypto/CryptoKi.h"

namespace keystrand {

struct CryptoDevice::State {
  // An absent binding is one without a function list: every call to it fails.
  explicit State(CryptoKi* cryptoKi);

  // Keeps the PKCS #11 return value for lastResult().
  bool succeeded(CK_RV result) noexcept {
    lastResult = result;
    return result == CKR_OK;
  }
  // For no octets a pointer that is not null: a token refuses null before it looks at the length.
  static const unsigned char* pointer(std::span<const unsigned char> octets) noexcept;

  bool openSession(CK_SLOT_ID slot);
  bool login(CK_SLOT_ID slot, const unsigned char* pin, CK_ULONG pinLength);
  void close();

  // Each leaves nothing selected of what it would have set when there is no row: never what was there before.
  bool selectDigest(const DigestRow* row);
  bool selectSignature(const SignatureRow* row);
  bool selectPSS();
  bool selectCipher(const OID& oid);

  struct DigestOutput {
    static constexpr CK_ULONG kLongest = 64;
    unsigned char bytes[kLongest];
    CK_ULONG length = kLongest;
  };
  bool beginDigest();
  // The result of the digest under way, nullptr when it failed; the receiver deletes it.
  owner<DigestInfo*> digestInfo(CK_RV result, const DigestOutput& out);

  // C_VerifyInit and C_Verify; the second over the DER coding of the digest, with the cipher mechanism.
  bool verify(const std::optional<CK_MECHANISM>& mechanism, std::span<const unsigned char> data,
              std::span<const unsigned char> octets, CK_OBJECT_HANDLE key);
  bool verifyDigest(const DigestInfo& info, std::span<const unsigned char> octets, CK_OBJECT_HANDLE key);

  CryptoKi& ki;
  VendorRow vendor{};
  std::vector<CK_SLOT_ID> slots;
  CK_SESSION_HANDLE session = CK_INVALID_HANDLE;
  CK_RV lastResult = CKR_OK;

  const DigestRow* digest = nullptr;
  const DigestRow* running = nullptr;  // of the digest under way
  std::optional<CK_MECHANISM> signature;
  std::optional<CK_MECHANISM> cipher;
  CK_MECHANISM_TYPE keyGeneration = kNoMechanism;
  CK_RSA_PKCS_PSS_PARAMS pss{};
};

}  // namespace keystrand
