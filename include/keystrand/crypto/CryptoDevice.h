// The one door to cryptography: a facade over the PKCS #11 function list of a CryptoKi. A mechanism is selected by
// object identifier, a temporary public key object is made from a KeyInfo, the operation runs, the object goes.
//
// There is one device in the process and it is not thread-safe: the semaphore of cache_getCryptoDeviceSemaphore guards
// it. The mechanisms are state between a set... call and the operation, so it is held over both. A client that holds it
// calls no exported function but plain getters meanwhile.
//
// Operations return false, 0 or nullptr on failure; lastResult() then tells the PKCS #11 return value. A mechanism that
// cannot be selected leaves none selected, so that nothing is ever checked by the one of the object before.
//
// Signatures with MD5, SHA-1 and RIPEMD-160 verify like any other, and so does every RSA modulus up to 16384 bits: what
// still counts is for the caller to say.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "keystrand/crypto/AlgorithmIdentifier.h"
#include "keystrand/crypto/DigestInfo.h"
#include "keystrand/crypto/KeyInfo.h"
#include "keystrand/crypto/Signature.h"

namespace keystrand {

class CryptoKi;

class KEYSTRAND_API CryptoDevice {
 public:
  using Handle = unsigned long;  // of an object of the token, 0 for none

  // The binding is not owned and outlives the device. With nullptr the device stays empty and open fails.
  explicit CryptoDevice(CryptoKi* cryptoKi);
  CryptoDevice(const CryptoDevice&) = delete;
  CryptoDevice& operator=(const CryptoDevice&) = delete;
  virtual ~CryptoDevice();

  // A session on a slot of the binding's list, with a login where the token asks for one. A session that is open is
  // closed first.
  bool open(std::uint32_t slotIndex, const unsigned char* pin, std::uint32_t pinLength);
  void close();

  // Random octets of the token; a fill that fails leaves zeros. random8 takes room for eight octets.
  virtual bool random8(unsigned char* target);
  virtual bool randomFill(unsigned char* target, std::size_t length);
  [[nodiscard]] virtual std::uint32_t random32();
  virtual bool setDigest(const char* dotted);
  virtual bool setDigest(const AlgorithmIdentifier& algorithm);
  // A new DigestInfo, with NULL parameters, that the caller deletes; nullptr without a digest selected.
  [[nodiscard]] virtual owner<DigestInfo*> digest(const unsigned char* data, std::size_t length);
  virtual bool digestInit();
  virtual bool digestUpdate(const unsigned char* data, std::size_t length);
  [[nodiscard]] virtual owner<DigestInfo*> digestFinal();
  [[nodiscard]] virtual std::uint32_t digestLength();  // octets; 0 without a digest selected
  // RSA with PKCS #1 v1.5 padding, or with none, for verify.
  virtual bool setCipher(const char* dotted);
  virtual bool setCipher(const AlgorithmIdentifier& algorithm);
  // Selects signature, digest and cipher mechanism. An unknown identifier clears them all and gives false. RSASSA-PSS
  // takes the digest from the parameters of the identifier, and from the one selected before where there is only text.
  virtual bool setSignatureAlgorithm(const char* dotted);
  virtual bool setSignatureAlgorithm(const AlgorithmIdentifier& algorithm);
  // A MAC with the signature mechanism, under a secret key of these octets that lives for this operation alone. The
  // check computes it again. A signature that an operation returns is for the caller to delete, here and below.
  [[nodiscard]] virtual owner<Signature*> signWithSecret(const unsigned char* data, std::size_t length,
                                                         const unsigned char* secret, std::size_t secretLength);
  // Of a digest, as verify takes it: by RSA its coding with NULL parameters is signed with the cipher mechanism.
  // nullptr for a key, here and below, that the mechanism does not sign with.
  [[nodiscard]] virtual owner<Signature*> sign(const DigestInfo& digest, Handle key);
  // With the cipher mechanism, of octets that are formed for it, and the key in use.
  [[nodiscard]] virtual owner<Signature*> signRaw(const unsigned char* data, std::size_t length);
  // With the signature mechanism and the key in use, in parts.
  virtual bool signInit();
  virtual bool signUpdate(const unsigned char* data, std::size_t length);
  [[nodiscard]] virtual owner<Signature*> signFinal();
  [[nodiscard]] virtual bool verifyWithSecret(const unsigned char* data, std::size_t length, const unsigned char* mac,
                                              std::size_t macLength, const unsigned char* secret,
                                              std::size_t secretLength);
  [[nodiscard]] virtual bool verifySecret(const unsigned char* data, std::size_t length, const Signature& mac,
                                          const unsigned char* secret, std::size_t secretLength);
  // By a key of the token. Plain octets go to it as they are: for an elliptic curve these are r and s, one behind the
  // other.
  virtual bool verifyRaw(const unsigned char* data, std::size_t length, const unsigned char* signature,
                         std::size_t signatureLength, Handle key);
  virtual bool verifyRaw(const unsigned char* data, std::size_t length, const Signature& signature, Handle key);
  virtual bool verify(const unsigned char* signature, std::size_t signatureLength, const DigestInfo& digest,
                      Handle key);
  virtual bool verify(const Signature& signature, const DigestInfo& digest, Handle key);
  // Over the data itself, with the signature mechanism. An elliptic-curve signature is an Ecdsa-Sig-Value in DER.
  virtual bool verifyRaw(const unsigned char* data, std::size_t length, const Signature& signature, const KeyInfo& key);
  // Over a digest; both codings of the DigestInfo, with NULL parameters and without, are accepted.
  virtual bool verify(const Signature& signature, const DigestInfo& digest, const KeyInfo& key);
  // Of a digest, by the key in use.
  [[nodiscard]] virtual owner<Signature*> signDigestInfo(const DigestInfo& digest);
  // Of a whole message, by the signature algorithm that is selected.
  virtual bool verifyData(const unsigned char* data, std::size_t length, const Signature& signature,
                          const KeyInfo& key);
  virtual bool verifyData(const unsigned char* data, std::size_t length, const unsigned char* signature,
                          std::size_t signatureLength, const KeyInfo& key);
  // The key in use, out of those that the token had when the session was opened or that were made since. False, and
  // none in use, when there is none of that name.
  virtual bool selectPrivateKey(const unsigned char* id, std::size_t idLength);
  virtual bool selectPrivateKey(const char* label);
  virtual bool selectPublicKey(const unsigned char* id, std::size_t idLength);
  virtual bool selectPublicKey(const char* label);
  virtual bool selectPrivateKeyAt(std::uint32_t index);
  [[nodiscard]] Handle selectedKey() const noexcept;
  [[nodiscard]] virtual owner<Signature*> signRaw(const unsigned char* data, std::size_t length, Handle key);
  [[nodiscard]] virtual owner<Signature*> signData(const unsigned char* data, std::size_t length, Handle key);
  // Of a whole message, by the signature algorithm and the key that are selected.
  [[nodiscard]] virtual owner<Signature*> signData(const unsigned char* data, std::size_t length);
  // An RSAPrivateKey or ECDSAPrivateKey becomes an object of the token, and the key in use. Its label is "RSA Key"
  // where none is given. Its private parts cannot be read from the token again.
  virtual bool importKey(const Key& key, const char* label = nullptr);
  virtual bool importKey(const Key& key, const unsigned char* id, std::size_t idLength, const char* label = nullptr);
  // The public key in an object of the token, or that of an RSA private key; the caller deletes it. nullptr for any
  // other object.
  [[nodiscard]] virtual owner<KeyInfo*> exportPublicKey(const char* label);
  [[nodiscard]] virtual owner<KeyInfo*> exportPublicKey(Handle key);

  [[nodiscard]] virtual unsigned long lastResult() const noexcept;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace keystrand
