// What OpenSSL reads in certificates and CRLs, for comparison with what we read in them.
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
  std::string serial;  // as BN_bn2hex prints it
  std::string signatureAlgorithm;
  ByteString issuer, subject;
  std::int64_t notBefore = 0, notAfter = 0;  // seconds since 1970, GMT; -1 where OpenSSL refuses the text
  std::string keyAlgorithm;
  int keyBits = 0;  // 0 where OpenSSL has no key of it
  std::vector<ExtensionFacts> extensions;
};

struct CRLFacts {
  struct Entry {
    std::string serial;
    std::int64_t date = 0;
    int reason = -1;  // of the first such extension, -1 when there is none
  };
  long version = 0;  // as encoded, 0 when absent
  std::int64_t thisUpdate = 0;
  std::optional<std::int64_t> nextUpdate;
  std::vector<Entry> entries;
  int extensions = 0;
};

// Nothing when OpenSSL refuses the certificate, or finds more behind it.
std::optional<CertificateFacts> factsOf(const ByteString& certificate);
// Nothing when OpenSSL reads no CRL.
std::optional<CRLFacts> factsOfCRL(const ByteString& crl);
// Whether OpenSSL finds the CRL signed by the key of the certificate.
bool openSSLVerifiesCRL(const ByteString& crl, const ByteString& issuer);
// The octets of an extension as OpenSSL makes it.
ByteString madeByOpenSSL(const ExtensionSpec& wanted);
// The DER of every CRL in a file, armoured or not.
std::vector<ByteString> crlsInFile(const std::filesystem::path& path);

}  // namespace keystrand::test
