// Signatures made by OpenSSL, and the public keys that go with them.
#pragma once

#include <optional>
#include <string>

#include "support/Builders.h"

namespace keystrand::test {

// SubjectPublicKeyInfo, DER.
ByteString publicKeyInfo(const PrivateKey& key);
ByteString digestOf(const std::string& digest, const ByteString& data);
// As wanted says, of the data; a salt as long as the digest unless another length is given.
ByteString signatureOf(const PrivateKey& key, const SigningSpec& wanted, const ByteString& data,
                       std::optional<int> saltLength = std::nullopt);
// RSA with PKCS #1 v1.5 padding round these octets, whatever they are.
ByteString signatureRound(const PrivateKey& key, const ByteString& octets);

}  // namespace keystrand::test
