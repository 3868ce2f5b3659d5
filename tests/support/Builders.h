// CAs, certificates and CRLs made with OpenSSL in memory. A description is valid as it stands; a test changes the one
// field that its case is about. The products are DER.
//
//   const Authority ca = makeAuthority();
//   const ByteString leaf = makeCertificate(ca, {.serial = "0A11"});
//   const ByteString crl = makeCRL(ca, {.entries = {{.serial = "0A11"}}});
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "support/TestData.h"

struct evp_pkey_st;

namespace keystrand::test {

using PrivateKey = std::shared_ptr<evp_pkey_st>;

// "RSA-<bits>" or the name of a curve as OpenSSL knows it. The same kind and number give the same key within a process.
PrivateKey privateKey(const std::string& kind = "P-256", int number = 0);

struct Attribute {
  std::string label;       // short name or dotted identifier
  std::string value;       // UTF-8
  int type = 0;            // string type by its universal tag number; 0 leaves the choice to OpenSSL
  bool inSameRDN = false;  // joins the attribute before it
};
using NameSpec = std::vector<Attribute>;

// Name and value in the syntax of OpenSSL's configuration files: {"keyUsage", "critical,cRLSign"}, for the extensions
// of CRL entries {"CRLReason", "ASN1:ENUM:1"}, {"invalidityDate", "ASN1:GENTIME:20240102030405Z"}, and for any octets
// {"1.2.3.4", "critical,DER:0500"}. "@name" in a value refers to a section of `sections`.
struct ExtensionSpec {
  std::string name;
  std::string value;
  std::string sections = {};
};

struct SigningSpec {
  std::string digest = "SHA256";
  bool pss = false;  // RSASSA-PSS in place of PKCS #1 v1.5, for RSA keys
};

struct CertificateSpec {
  long version = 2;             // as encoded: 2 is v3
  std::string serial = "1001";  // hexadecimal, a minus sign allowed
  NameSpec subject = {{"C", "IT"}, {"O", "Keystrand"}, {"CN", "Subject"}};
  std::optional<NameSpec> issuer = {};  // else the name of the issuing CA
  std::string notBefore = "20200101000000Z";
  std::string notAfter = "20391231235959Z";
  PrivateKey key = privateKey("P-256", 1);
  // Those of version 3 only. Key identifiers refer to the certificate's own and to the issuing CA's key.
  std::vector<ExtensionSpec> extensions = {{"keyUsage", "critical,digitalSignature"},
                                           {"subjectKeyIdentifier", "hash"},
                                           {"authorityKeyIdentifier", "keyid:always"}};
  SigningSpec signing = {};
};

struct Authority {
  PrivateKey key;
  ByteString certificate;
};

struct AuthoritySpec {
  std::string serial = "01";
  NameSpec subject = {{"C", "IT"}, {"O", "Keystrand"}, {"CN", "Test CA"}};
  std::string notBefore = "20200101000000Z";
  std::string notAfter = "20391231235959Z";
  PrivateKey key = privateKey("P-256", 0);
  std::vector<ExtensionSpec> extensions = {{"basicConstraints", "critical,CA:TRUE"},
                                           {"keyUsage", "critical,keyCertSign,cRLSign"},
                                           {"subjectKeyIdentifier", "hash"}};
  SigningSpec signing = {};
};

struct CRLEntrySpec {
  std::string serial = "1001";
  std::string revocationDate = "20250102030405Z";
  std::vector<ExtensionSpec> extensions = {};
};

struct CRLSpec {
  long version = 1;                     // as encoded: 1 is v2, 0 leaves it out
  std::optional<NameSpec> issuer = {};  // else the name of the CA
  std::string thisUpdate = "20250101000000Z";
  std::optional<std::string> nextUpdate = "20380101000000Z";
  std::vector<CRLEntrySpec> entries = {};
  std::vector<ExtensionSpec> extensions = {{"authorityKeyIdentifier", "keyid:always"}, {"crlNumber", "DER:020101"}};
  SigningSpec signing = {};
};

// Self-signed, or signed by the given CA.
Authority makeAuthority(const AuthoritySpec& wanted = {}, const Authority* issuer = nullptr);
ByteString makeCertificate(const Authority& issuer, const CertificateSpec& wanted = {});
ByteString makeCRL(const Authority& issuer, const CRLSpec& wanted = {});

// SEQUENCE { body, signatureAlgorithm, signature } over a body of any octets.
ByteString makeSigned(const ByteString& body, const PrivateKey& key, const SigningSpec& signing = {});

// An authority's certificate and private key as the files that servers read.
void writeAuthority(const Authority& authority, const std::filesystem::path& certificate,
                    const std::filesystem::path& key);
// Whether OpenSSL finds the certificate signed by the key of the issuer's.
bool openSSLVerifies(const ByteString& certificate, const ByteString& issuer);

ByteString toPEM(const ByteString& der, const std::string& label);
// The bytes of one armour, whatever its label; empty when there is none.
ByteString fromPEM(const std::string& text);
std::string toBase64(const ByteString& bytes);
ByteString fromHex(std::string digits);  // blanks are passed over
// With one bit turned over, counted from the end of the last byte: bit 0 spoils a signature, not the structure.
ByteString withBitFlipped(ByteString bytes, std::size_t bitFromEnd = 0);

}  // namespace keystrand::test
