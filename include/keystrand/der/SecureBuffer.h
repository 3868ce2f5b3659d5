// A Buffer bound to a CryptoDevice, so that a range of its bytes can be digested or signed where it lies.
// It does not own the device and wipes nothing. With a null device every operation here fails.
// The device is shared by the whole process: whoever calls these holds the semaphore that guards it.
#pragma once

#include "keystrand/der/Buffer.h"

namespace keystrand {

class AlgorithmIdentifier;
class CryptoDevice;
class DigestInfo;
class Signature;

class KEYSTRAND_API SecureBuffer : public Buffer {
 public:
  explicit SecureBuffer(CryptoDevice* device);
  SecureBuffer(CryptoDevice* device, std::uint32_t size);
  explicit SecureBuffer(const SecureBuffer& other);
  ~SecureBuffer() override;

  [[nodiscard]] CryptoDevice* device() const noexcept { return device_; }

  bool setDigestAlgorithm(const AlgorithmIdentifier& algorithm);
  bool setSignatureAlgorithm(const AlgorithmIdentifier& algorithm);

  // New objects that the caller deletes; nullptr when the device has no digest selected or fails.
  [[nodiscard]] owner<DigestInfo*> digestRange(std::uint32_t from, std::uint32_t to);
  [[nodiscard]] owner<DigestInfo*> digestAll();
  [[nodiscard]] owner<DigestInfo*> digestUpToCursor();
  [[nodiscard]] owner<DigestInfo*> digestUpToCursor(std::uint32_t from);
  [[nodiscard]] owner<DigestInfo*> digestFrom(std::uint32_t from);
  [[nodiscard]] owner<DigestInfo*> digestChunks(std::uint32_t from, std::uint32_t to, std::uint32_t chunk);
  // With the signature algorithm and the key that the device has selected.
  [[nodiscard]] owner<Signature*> signAll();
  [[nodiscard]] owner<Signature*> signFrom(std::uint32_t from);
  // The contents become what the device makes of them, to be read from the start; as they were when it fails. By the
  // RSA key in use; by the secret key in use with a vector as long as its block; by a password as setPBE selected.
  bool encrypt();
  bool decrypt();
  bool encryptSecret(const unsigned char* vector, std::uint32_t length);
  bool decryptSecret(const unsigned char* vector, std::uint32_t length);
  bool encryptPBE(const char* password);
  bool decryptPBE(const char* password);

 private:
  // Takes over what the operation wrote.
  bool replaced(bool done, const Buffer& by);
  owner<Signature*> signRange(std::uint32_t from, bool inPieces);

  CryptoDevice* device_;
};

}  // namespace keystrand
