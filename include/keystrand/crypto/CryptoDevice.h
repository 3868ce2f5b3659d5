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
  // The binding is not owned and outlives the device. With nullptr the device stays empty and open fails.
  explicit CryptoDevice(CryptoKi* cryptoKi);
  CryptoDevice(const CryptoDevice&) = delete;
  CryptoDevice& operator=(const CryptoDevice&) = delete;
  virtual ~CryptoDevice();

  // A session on a slot of the binding's list, with a login where the token asks for one. A session that is open is
  // closed first.
  bool open(std::uint32_t slotIndex, const unsigned char* pin, std::uint32_t pinLength);
  void close();

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
  // Over the data itself, with the signature mechanism. An elliptic-curve signature is an Ecdsa-Sig-Value in DER.
  virtual bool verifyRaw(const unsigned char* data, std::size_t length, const Signature& signature, const KeyInfo& key);
  // Over a digest; both codings of the DigestInfo, with NULL parameters and without, are accepted.
  virtual bool verify(const Signature& signature, const DigestInfo& digest, const KeyInfo& key);

  [[nodiscard]] virtual unsigned long lastResult() const noexcept;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace keystrand
