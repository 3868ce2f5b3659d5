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
// What is made on the virtual token of slot 0 lives as long as the session; the tokens of docs/token.md keep it in
// files. Private parts never leave a token but enciphered, by wrap.
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
class ECParameters;

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
  // With the cipher mechanism. What `out` held is replaced, here and below. The form by KeyInfo makes the public key an
  // object of the token for this operation alone.
  virtual bool encrypt(const unsigned char* data, std::size_t length, Buffer& out);
  virtual bool encrypt(const unsigned char* data, std::size_t length, Handle key, Buffer& out);
  virtual bool encrypt(const unsigned char* data, std::size_t length, const KeyInfo& key, Buffer& out);
  virtual bool decrypt(const unsigned char* data, std::size_t length, Buffer& out);
  virtual bool decrypt(const unsigned char* data, std::size_t length, Handle key, Buffer& out);
  // Five places of the interface that do nothing: each returns 0.
  [[nodiscard]] virtual int reserved1() { return 0; }
  [[nodiscard]] virtual int reserved2() { return 0; }
  [[nodiscard]] virtual int reserved3() { return 0; }
  [[nodiscard]] virtual int reserved4() { return 0; }
  [[nodiscard]] virtual int reserved5() { return 0; }
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
  // RSA without padding: these select 2.5.8.1.1 and go on to the operations above.
  [[nodiscard]] virtual owner<Signature*> rawSign(const unsigned char* data, std::size_t length);
  [[nodiscard]] virtual owner<Signature*> rawSign(const unsigned char* data, std::size_t length, Handle key);
  virtual bool rawVerify(const unsigned char* data, std::size_t length, const Signature& signature, Handle key);
  virtual bool rawVerify(const unsigned char* data, std::size_t length, const Signature& signature, const KeyInfo& key);
  virtual bool rawEncrypt(const unsigned char* data, std::size_t length, const KeyInfo& key, Buffer& out);
  virtual bool rawDecrypt(const unsigned char* data, std::size_t length, Buffer& out);
  // A new RSA pair on the token, its private key in use; the label is "RSA Key" where none is given. The public key
  // comes back, for the caller to delete. Dates are those of CKA_START_DATE and CKA_END_DATE, in seconds since 1970,
  // UTC.
  [[nodiscard]] virtual owner<KeyInfo*> generateRSAKeyPair(std::uint32_t bits, const char* label = nullptr);
  [[nodiscard]] virtual owner<KeyInfo*> generateRSAKeyPair(std::uint32_t bits, const unsigned char* id,
                                                           std::size_t idLength, std::int64_t start, std::int64_t end,
                                                           const char* label = nullptr);
  // On the curve of the parameters. It wants a signature algorithm selected that makes such keys, which ECDSA with
  // SHA-512 does not.
  [[nodiscard]] virtual owner<KeyInfo*> generateECKeyPair(const ECParameters& curve, const char* label = nullptr);
  // An RSAPrivateKey or ECDSAPrivateKey becomes an object of the token, and the key in use. Its label is "RSA Key"
  // where none is given. Its private parts cannot be read from the token again.
  virtual bool importKey(const Key& key, const char* label = nullptr);
  virtual bool importKey(const Key& key, const unsigned char* id, std::size_t idLength, const char* label = nullptr);
  // The public key in an object of the token, or that of an RSA private key; the caller deletes it. nullptr for any
  // other object.
  [[nodiscard]] virtual owner<KeyInfo*> exportPublicKey(const char* label);
  [[nodiscard]] virtual owner<KeyInfo*> exportPublicKey(Handle key);
  // False when there is none of that name, or the token keeps it.
  virtual bool removePrivateKey(const unsigned char* id, std::size_t idLength);
  virtual bool removePrivateKey(const char* label);
  virtual bool removePublicKey(const unsigned char* id, std::size_t idLength);
  virtual bool removePublicKey(const char* label);

  [[nodiscard]] virtual unsigned long lastResult() const noexcept;

  // With the secret key in use: CBC with padding by the cipher that belongs to it, and a vector of its block length.
  virtual bool encryptSecret(const unsigned char* data, std::size_t length, const unsigned char* vector,
                             std::size_t vectorLength, Buffer& out);
  // With a key made of a password for this operation, by the algorithm, salt and count that setPBE selected. The
  // password is UTF-8.
  virtual bool encryptPBE(const unsigned char* data, std::size_t length, const char* password, Buffer& out);
  virtual bool decryptSecret(const unsigned char* data, std::size_t length, const unsigned char* vector,
                             std::size_t vectorLength, Buffer& out);
  virtual bool decryptPBE(const unsigned char* data, std::size_t length, const char* password, Buffer& out);
  // 1.2.840.113549.1.12.1.3 to 6 (RFC 7292 appendix C). The text alone leaves salt and count to the companion.
  virtual bool setPBE(const AlgorithmIdentifier& algorithm);
  virtual bool setPBE(const char* dotted);
  virtual bool setPBESalt(const unsigned char* salt, std::size_t length, std::uint32_t iterations);
  virtual bool selectSecretKey(const char* label);
  virtual bool selectSecretKey(const unsigned char* id, std::size_t idLength);
  // A new secret key on the token, and the key in use. `type` is a CK_KEY_TYPE, `length` counts octets where the type
  // has not its own. Without a label it is "AES Key", "DES Key", "DES2 Key" and so on.
  virtual bool generateSecret(unsigned long type, std::uint32_t length, const unsigned char* id, std::size_t idLength);
  virtual bool generateSecret(unsigned long type, std::uint32_t length, const char* label = nullptr);
  // The secret key `key`, enciphered for a recipient's RSA key, or under a key of the token with its vector.
  virtual bool wrap(Handle key, const KeyInfo& recipient, Buffer& out);
  virtual bool wrapWithKey(Handle key, Handle wrappingKey, const unsigned char* vector, std::size_t vectorLength,
                           Buffer& out);
  // The same the other way: a new secret key of that type, and the key in use.
  virtual bool unwrap(const unsigned char* wrapped, std::size_t length, unsigned long type, Handle privateKey,
                      const char* label = nullptr);
  virtual bool unwrapWithKey(const unsigned char* wrapped, std::size_t length, unsigned long type, Handle wrappingKey,
                             const unsigned char* vector, std::size_t vectorLength, const char* label = nullptr);
  // Certificates on the token, with their subject in DER; "X.509 Certificate" where no label is given.
  virtual bool storeCertificate(const unsigned char* der, std::size_t length, const unsigned char* subject,
                                std::size_t subjectLength, const unsigned char* id, std::size_t idLength,
                                const char* label = nullptr);
  virtual bool certificateAt(std::uint32_t index, Buffer& out);
  virtual bool certificateById(const unsigned char* id, std::size_t idLength, Buffer& out);
  virtual bool certificateByLabel(const char* label, Buffer& out);
  // Data objects on the token; "Generic Data" where no label is given. Their identifier is CKA_OBJECT_ID.
  virtual bool storeData(const unsigned char* value, std::size_t length, const unsigned char* id = nullptr,
                         std::size_t idLength = 0, const char* label = nullptr);
  virtual bool dataAt(std::uint32_t index, Buffer& out);
  virtual bool dataById(const unsigned char* id, std::size_t idLength, Buffer& out);
  virtual bool dataByLabel(const char* label, Buffer& out);
  virtual bool changeData(const unsigned char* id, std::size_t idLength, const unsigned char* value,
                          std::size_t length);
  virtual bool changeData(const char* label, const unsigned char* value, std::size_t length);
  [[nodiscard]] virtual int reserved6() { return 0; }  // and one more

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace keystrand
