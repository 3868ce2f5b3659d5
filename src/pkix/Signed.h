// What every SEQUENCE { body, signatureAlgorithm, signature } has in common, whatever its body is.
#pragma once

#include <cstdint>
#include <memory>

#include "crypto/DetachedSignature.h"
#include "der/ConstantOID.h"
#include "keystrand/crypto/CryptoDevice.h"
#include "keystrand/der/SecureBuffer.h"

namespace keystrand {

// RSASSA-PSS is verified over the data itself, since its digest belongs to the parameters (RFC 4055 section 3.1).
inline bool isPSS(const AlgorithmIdentifier& algorithm) {
  return algorithm.oidView() != nullptr && *algorithm.oidView() == "1.2.840.113549.1.1.10"_oid;
}

// The digest that the signature algorithm names, over the bytes from `from` up to `to` as they lie in the buffer. Empty
// for an algorithm that the device does not know: such an object can be read and listed, and is never verified.
inline std::unique_ptr<DigestInfo> digestFor(SecureBuffer& buffer, const AlgorithmIdentifier& algorithm,
                                             std::uint32_t from, std::uint32_t to) {
  if (!buffer.setSignatureAlgorithm(algorithm)) return nullptr;
  return std::unique_ptr<DigestInfo>(buffer.digestRange(from, to));
}

// The encoding of the body in a buffer of its own.
template <class Body, class AnyBuffer>
void encodeInto(const Body& body, AnyBuffer& buffer) {
  buffer.reserve(body.size(buffer));
  body.put(buffer);
}

// A new signature over the encoding of the body, which leaves no trace in the buffer. Empty when the device has no key
// to sign with.
template <class Body>
std::unique_ptr<Signature> signatureOver(const Body& body, const AlgorithmIdentifier& algorithm, SecureBuffer& buffer) {
  const std::uint32_t mark = buffer.size();
  std::unique_ptr<Signature> signature;
  body.put(buffer);
  if (buffer.setSignatureAlgorithm(algorithm)) signature.reset(buffer.signFrom(mark));
  buffer.setSize(mark);
  return signature;
}

// The same with a key and a digester in place of a device, in a buffer of its own.
template <class Body>
std::unique_ptr<Signature> signatureOver(const Body& body, const AlgorithmIdentifier& algorithm, const Key& key,
                                         MessageDigest& digester) {
  Buffer encoded;
  encodeInto(body, encoded);
  return detachedSignature(encoded.range(0, encoded.size()), algorithm, key, digester);
}

// Writes a structure behind what the buffer holds.
template <class Structure>
bool append(const Structure& structure, Buffer& buffer) {
  buffer.reserve(buffer.size() + structure.size(buffer));
  structure.put(buffer);
  return true;
}

// Over the encoding of the body, with the mechanism that the device has selected.
template <class Body>
bool verifyEncoding(const Body& body, CryptoDevice& device, const Signature& signature, const KeyInfo& key) {
  Buffer encoded;
  encodeInto(body, encoded);
  std::uint32_t n = 0;
  const unsigned char* bytes = encoded.data(n);
  return device.verifyRaw(bytes, n, signature, key);
}

// Over the digest of the body as it was received, or else of its encoding, which then becomes that digest; for
// RSASSA-PSS over the encoding itself.
template <class Body>
bool verifySigned(const Body& body, const AlgorithmIdentifier& algorithm, const Signature& signature,
                  std::unique_ptr<DigestInfo>& digest, CryptoDevice& device, const KeyInfo& key) {
  if (!device.setSignatureAlgorithm(algorithm)) return false;
  if (isPSS(algorithm)) return verifyEncoding(body, device, signature, key);
  if (!digest) {
    SecureBuffer encoded(&device);
    encodeInto(body, encoded);
    digest.reset(encoded.digestAll());
  }
  return digest && device.verify(signature, *digest, key);
}

}  // namespace keystrand
