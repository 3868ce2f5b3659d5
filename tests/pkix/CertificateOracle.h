// What OpenSSL reads in a certificate.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "support/Builders.h"
#include "support/TestData.h"

namespace keystrand::test {

struct ExtensionFacts {
  std::string id;
  bool critical = false;
  ByteString value;
  bool operator==(const ExtensionFacts&) const = default;
};

struct CertificateFacts {
  long version = 0;    // as encoded, 0 is v1
  std::string serial;  // hexadecimal
  std::string signatureAlgorithm;
  ByteString issuer;
  ByteString subject;
  std::optional<std::int64_t> notBefore;  // nothing for a time that OpenSSL does not understand
  std::optional<std::int64_t> notAfter;
  std::string keyAlgorithm;
  int keyBits = 0;  // 0 where OpenSSL has no key of it
  std::vector<ExtensionFacts> extensions;
};

// Nothing when OpenSSL refuses the certificate, or finds more behind it.
std::optional<CertificateFacts> factsOf(const ByteString& certificate);
// The octets of an extension as OpenSSL makes it.
ByteString madeByOpenSSL(const ExtensionSpec& wanted);
// Whether OpenSSL finds the signature made by the key of the other certificate.
bool openSSLVerifies(const ByteString& certificate, const ByteString& issuer);

}  // namespace keystrand::test
