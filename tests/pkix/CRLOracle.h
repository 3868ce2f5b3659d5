// What OpenSSL reads in a CRL, for comparison with what we read in it.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "support/TestData.h"

namespace keystrand::test {

struct CRLContent {
  struct Entry {
    std::string serial;     // as BN_bn2hex prints it
    std::int64_t date = 0;  // seconds since 1970, GMT; -1 where OpenSSL refuses the text
    int reason = -1;        // of the first such extension, -1 when there is none
  };
  long version = 0;             // as encoded, 0 when absent
  std::int64_t thisUpdate = 0;  // as the dates of the entries
  std::optional<std::int64_t> nextUpdate;
  std::vector<Entry> entries;
  int extensions = 0;
};

// Nothing when OpenSSL reads no CRL.
std::optional<CRLContent> readByOpenSSL(std::span<const unsigned char> der);

// Whether OpenSSL finds the CRL signed by the key of the certificate.
bool crlVerifiesByOpenSSL(const ByteString& crl, const ByteString& issuer);

// The DER of every CRL in a file, armoured or not.
std::vector<ByteString> crlsInFile(const std::filesystem::path& path);

}  // namespace keystrand::test
