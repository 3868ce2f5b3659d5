#include "crypto/DetachedSignature.h"

#include <optional>

#include "crypto/ECDSASigValue.h"
#include "crypto/EMSA.h"
#include "crypto/SystemRandomGenerator.h"
#include "crypto/hvECDSA.h"
#include "crypto/hvRSA.h"
#include "keystrand/crypto/DigestInfo.h"
#include "keystrand/crypto/ECDSAPrivateKey.h"
#include "keystrand/crypto/RSAPrivateKey.h"

namespace keystrand {

namespace {

// The encoding that the structure writes.
template <class T>
Bytes codingOf(const T& structure) {
  Buffer out;
  structure.put(out);
  const auto held = out.range(0, out.size());
  return {held.begin(), held.end()};
}

std::optional<Bytes> blockFor(const RSAPrivateKey& key, const AlgorithmIdentifier& algorithm, const DigestInfo& digest,
                              MessageDigest& digester) {
  if (!algorithm.equals("1.2.840.113549.1.1.10")) return hvRSA::withPadding(codingOf(digest), key.keyLength());
  SystemRandomGenerator random;
  Bytes salt(digester.digestLength());
  if (!random.fill(salt)) return std::nullopt;
  return encodePSS(key.modulus().bitLength(), digest.valueView(), salt, digester);
}

std::unique_ptr<Signature> sign(const ECDSAPrivateKey& key, const DigestInfo& digest) {
  hvECDSA algorithm;
  const auto halves = algorithm.setKey(key) ? algorithm.sign(digest.valueView()) : std::nullopt;
  return halves ? std::make_unique<Signature>(codingOf(ECDSASigValue(*halves))) : nullptr;
}

}  // namespace

std::unique_ptr<Signature> detachedSignature(std::span<const unsigned char> data, const AlgorithmIdentifier& algorithm,
                                             const Key& key, MessageDigest& digester) {
  const std::unique_ptr<DigestInfo> digest(digester.digest(data.data(), data.size()));
  if (!digest) return nullptr;
  if (const auto* ec = dynamic_cast<const ECDSAPrivateKey*>(&key)) return sign(*ec, *digest);
  const auto* rsa = dynamic_cast<const RSAPrivateKey*>(&key);
  const auto block = rsa != nullptr ? blockFor(*rsa, algorithm, *digest, digester) : std::nullopt;
  const auto signature = block ? hvRSA::privateOperation(*rsa, *block) : std::nullopt;
  return signature ? std::make_unique<Signature>(*signature) : nullptr;
}

}  // namespace keystrand
