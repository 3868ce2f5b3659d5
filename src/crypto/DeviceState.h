// What a CryptoDevice holds: its binding, its session, and the mechanisms selected for the operation to come.
#pragma once

#include <p11-kit/pkcs11.h>

#include <algorithm>
#include <array>
#include <optional>
#include <span>
#include <vector>

#include "crypto/DeviceTables.h"
#include "crypto/DigestTable.h"
#include "keystrand/crypto/CryptoDevice.h"
#include "keystrand/crypto/CryptoKi.h"
#include "support/Memory.h"
#include "support/SecretBytes.h"

namespace keystrand {

class AttributeTemplate;

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

  // What a function gives that is called twice, for the length and for the octets; nothing when it fails, or when it is
  // more than a Buffer takes.
  template <class Run>
  std::optional<SecretBytes> resultOf(Run run) {
    CK_ULONG length = 0;
    if (!succeeded(run(nullptr, &length))) return std::nullopt;
    if (!succeeded(length <= Buffer::kMaxSize ? CKR_OK : CKR_DATA_LEN_RANGE)) return std::nullopt;
    SecretBytes octets(std::max<std::size_t>(length, 1));  // without room the second call would ask for a length again
    if (!succeeded(run(octets.data(), &length))) return std::nullopt;
    octets.resize(std::min<std::size_t>(length, octets.size()));
    return octets;
  }

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
  // With NULL parameters behind the digest's identifier, and then without.
  bool verifyBoth(const DigestInfo& info, std::span<const unsigned char> octets, CK_OBJECT_HANDLE key);
  // What C_Verify takes for a signature object and a key of the token.
  std::optional<Bytes> octetsOf(const Signature& value, CK_OBJECT_HANDLE key);

  // C_SignInit and C_Sign, in two passes. An elliptic-curve signature comes out as an Ecdsa-Sig-Value.
  std::unique_ptr<Signature> sign(const std::optional<CK_MECHANISM>& mechanism, std::span<const unsigned char> data,
                                  CK_OBJECT_HANDLE signer);
  std::unique_ptr<Signature> signDigest(const DigestInfo& info, CK_OBJECT_HANDLE signer);
  CK_RV beginCipher(bool encrypts, const CK_MECHANISM& mechanism, CK_OBJECT_HANDLE by);
  // In one call with two passes; what out held is replaced.
  bool crypt(bool encrypts, const CK_MECHANISM& mechanism, std::span<const unsigned char> data, CK_OBJECT_HANDLE by,
             Buffer& out);
  bool cryptSecret(bool encrypts, std::span<const unsigned char> vector, std::span<const unsigned char> data,
                   Buffer& out);
  bool cryptPBE(bool encrypts, const char* password, std::span<const unsigned char> data, Buffer& out);
  bool beginSignature(const CK_MECHANISM& mechanism, CK_OBJECT_HANDLE signer);
  // Whether the data is digested by a call of its own before it is signed.
  [[nodiscard]] bool digestsFirst() const noexcept;
  [[nodiscard]] bool isPSS() const noexcept { return signature && signature->pParameter == &pss; }

  std::optional<Bytes> attributeOf(CK_OBJECT_HANDLE object, CK_ATTRIBUTE_TYPE type);
  // The public key in an object of the token, or that of an RSA private key.
  std::unique_ptr<KeyInfo> keyInfoOf(CK_OBJECT_HANDLE object);

  // The objects of one class on the token, as they were found when the session was opened or when one was last made or
  // removed through the device.
  struct CachedObject {
    CK_OBJECT_HANDLE handle;
    Bytes id;
    Bytes label;
  };
  static constexpr CK_OBJECT_CLASS kClasses[] = {CKO_PRIVATE_KEY, CKO_PUBLIC_KEY, CKO_SECRET_KEY, CKO_CERTIFICATE,
                                                 CKO_DATA};
  owner<KeyInfo*> generatePair(CK_MECHANISM_TYPE type, const AttributeTemplate& half, const AttributeTemplate& whole);
  bool generateSecret(CK_KEY_TYPE type, std::uint32_t length, std::span<const unsigned char> id, const char* label);
  bool wrap(CK_OBJECT_HANDLE secret, const CK_MECHANISM& mechanism, CK_OBJECT_HANDLE by, Buffer& out);
  bool unwrap(std::span<const unsigned char> wrapped, CK_KEY_TYPE type, const CK_MECHANISM& mechanism,
              CK_OBJECT_HANDLE by, const char* label);
  // CBC with padding by a secret key of the token; kNoMechanism for another object.
  CK_MECHANISM_TYPE paddedMechanism(CK_OBJECT_HANDLE secret);
  // What that mechanism takes beside the key.
  std::optional<Bytes> parameterOf(CK_MECHANISM_TYPE padded, CK_OBJECT_HANDLE secret,
                                   std::span<const unsigned char> vector);
  bool store(const AttributeTemplate& attributes);
  bool valueOf(CK_OBJECT_HANDLE object, Buffer& out);
  bool changeValue(CK_OBJECT_HANDLE object, std::span<const unsigned char> value);
  bool remove(CK_OBJECT_HANDLE object);
  [[nodiscard]] CK_OBJECT_HANDLE at(CK_OBJECT_CLASS objectClass, std::uint32_t index);
  void listObjects();
  [[nodiscard]] std::vector<CachedObject>& objectsOf(CK_OBJECT_CLASS objectClass);
  // CK_INVALID_HANDLE when there is none of that name.
  [[nodiscard]] CK_OBJECT_HANDLE findById(CK_OBJECT_CLASS objectClass, std::span<const unsigned char> id);
  [[nodiscard]] CK_OBJECT_HANDLE findByLabel(CK_OBJECT_CLASS objectClass, const char* label);
  bool select(CK_OBJECT_HANDLE object);

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
  struct PBESelection {
    CK_MECHANISM_TYPE generation = kNoMechanism;
    CK_MECHANISM_TYPE cipher = kNoMechanism;
    CK_ULONG effectiveBits = 0;  // of RC2
    Bytes salt;
    CK_ULONG iterations = 0;
  };
  PBESelection pbe;
  CK_OBJECT_HANDLE keyInUse = CK_INVALID_HANDLE;
  std::array<std::vector<CachedObject>, std::size(kClasses)> objects;
};

}  // namespace keystrand
