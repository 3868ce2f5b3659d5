// OCSP responses and requests made with OpenSSL in memory, in the manner of Builders.h: a description is valid as it
// stands, a test changes the one field that its case is about. The products are DER.
//
//   const ByteString basic = makeBasicResponse(ca, ca, {.singles = {{.serial = "0A11", .reason = 1}}});
//   const ByteString response = makeResponse(basic);
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "support/Builders.h"

namespace keystrand::test {

enum class CertStatus { good, revoked, unknown };

struct SingleSpec {
  std::string serial = "1001";
  CertStatus status = CertStatus::good;
  std::optional<int> reason = {};
  std::string revocationTime = "20250102030405Z";
  std::string thisUpdate = "20250101000000Z";
  std::optional<std::string> nextUpdate = "20380101000000Z";
  std::string digest = "SHA1";  // of the CertID
  std::vector<ExtensionSpec> extensions = {};
};

struct BasicResponseSpec {
  std::vector<SingleSpec> singles = {{}};
  std::optional<std::vector<ByteString>> certs = {};  // those enclosed; else the responder's own
  SigningSpec signing = {};
  std::vector<ExtensionSpec> extensions = {};
};

// About certificates of the issuer, signed by the responder. producedAt is the present time.
ByteString makeBasicResponse(const Authority& issuer, const Authority& responder, const BasicResponseSpec& wanted = {});

// An OCSPResponse of that status round the basic response; without responseBytes when that is empty.
ByteString makeResponse(const ByteString& basic, unsigned char status = 0);

// As `openssl ocsp` asks for one certificate; signed by that key where one is given.
ByteString makeRequest(const Authority& issuer, const std::string& serial, const std::string& digest = "SHA1",
                       const Authority* signer = nullptr);

}  // namespace keystrand::test
