#include "pkix/OpenSSLOracle.h"

#include <openssl/pem.h>
#include <openssl/x509.h>

#include <ctime>

#include "support/BuilderParts.h"

namespace keystrand::test {

using namespace builder;

namespace {

using CRLHandle = std::unique_ptr<X509_CRL, Releaser<&X509_CRL_free>>;
using EnumeratedHandle = std::unique_ptr<ASN1_ENUMERATED, Releaser<&ASN1_ENUMERATED_free>>;

CRLHandle decodedCRL(const ByteString& der) {
  const unsigned char* at = der.data();
  return CRLHandle(d2i_X509_CRL(nullptr, &at, static_cast<long>(der.size())));
}

std::string dotted(const ASN1_OBJECT* object) {
  char text[256] = {};
  OBJ_obj2txt(text, sizeof text, object, 1);
  return text;
}

std::string hexadecimal(const ASN1_INTEGER* integer) {
  const BigNumber number(ASN1_INTEGER_to_BN(integer, nullptr));
  char* text = BN_bn2hex(number.get());
  std::string copy = text;
  OPENSSL_free(text);
  return copy;
}

std::int64_t secondsOf(const ASN1_TIME* time) {
  std::tm parts{};
  return time != nullptr && ASN1_TIME_to_tm(time, &parts) == 1 ? timegm(&parts) : -1;
}

std::vector<ExtensionFacts> extensionsOf(const X509* certificate) {
  std::vector<ExtensionFacts> all;
  for (int i = 0; i < X509_get_ext_count(certificate); ++i) {
    X509_EXTENSION* extension = X509_get_ext(certificate, i);
    const ASN1_OCTET_STRING* value = X509_EXTENSION_get_data(extension);
    const unsigned char* bytes = ASN1_STRING_get0_data(value);
    all.push_back({dotted(X509_EXTENSION_get_object(extension)), X509_EXTENSION_get_critical(extension) == 1,
                   ByteString(bytes, bytes + ASN1_STRING_length(value))});
  }
  return all;
}

CRLFacts::Entry entryOf(const X509_REVOKED* revoked) {
  CRLFacts::Entry entry{hexadecimal(X509_REVOKED_get0_serialNumber(revoked)),
                        secondsOf(X509_REVOKED_get0_revocationDate(revoked))};
  const int place = X509_REVOKED_get_ext_by_NID(revoked, NID_crl_reason, -1);
  if (place < 0) return entry;
  const EnumeratedHandle reason(static_cast<ASN1_ENUMERATED*>(X509V3_EXT_d2i(X509_REVOKED_get_ext(revoked, place))));
  if (reason) entry.reason = static_cast<int>(ASN1_ENUMERATED_get(reason.get()));
  return entry;
}

}  // namespace

std::optional<CertificateFacts> factsOf(const ByteString& certificate) {
  const X509Handle owned = readCertificate(certificate);
  X509* x = owned.get();
  if (x == nullptr || i2d_X509(x, nullptr) != static_cast<int>(certificate.size())) return std::nullopt;
  CertificateFacts facts;
  facts.version = X509_get_version(x);
  facts.serial = hexadecimal(X509_get0_serialNumber(x));
  facts.issuer = encoded(X509_get_issuer_name(x), i2d_X509_NAME);
  facts.subject = encoded(X509_get_subject_name(x), i2d_X509_NAME);
  facts.notBefore = secondsOf(X509_get0_notBefore(x));
  facts.notAfter = secondsOf(X509_get0_notAfter(x));
  const ASN1_OBJECT* algorithm = nullptr;
  X509_ALGOR_get0(&algorithm, nullptr, nullptr, X509_get0_tbs_sigalg(x));
  facts.signatureAlgorithm = dotted(algorithm);
  ASN1_OBJECT* keyAlgorithm = nullptr;
  X509_PUBKEY_get0_param(&keyAlgorithm, nullptr, nullptr, nullptr, X509_get_X509_PUBKEY(x));
  facts.keyAlgorithm = dotted(keyAlgorithm);
  const EVP_PKEY* key = X509_get0_pubkey(x);
  facts.keyBits = key != nullptr ? EVP_PKEY_get_bits(key) : 0;
  facts.extensions = extensionsOf(x);
  ERR_clear_error();
  return facts;
}

std::optional<CRLFacts> factsOfCRL(const ByteString& crl) {
  const CRLHandle owned = decodedCRL(crl);
  X509_CRL* x = owned.get();
  if (x == nullptr) return std::nullopt;
  CRLFacts facts;
  facts.version = X509_CRL_get_version(x);
  facts.thisUpdate = secondsOf(X509_CRL_get0_lastUpdate(x));
  if (const ASN1_TIME* next = X509_CRL_get0_nextUpdate(x)) facts.nextUpdate = secondsOf(next);
  const STACK_OF(X509_REVOKED)* revoked = X509_CRL_get_REVOKED(x);
  for (int i = 0; i < sk_X509_REVOKED_num(revoked); ++i)
    facts.entries.push_back(entryOf(sk_X509_REVOKED_value(revoked, i)));
  facts.extensions = X509_CRL_get_ext_count(x);
  return facts;
}

bool openSSLVerifiesCRL(const ByteString& crl, const ByteString& issuer) {
  const CRLHandle read = decodedCRL(crl);
  const X509Handle signer = readCertificate(issuer);
  EVP_PKEY* key = signer ? X509_get0_pubkey(signer.get()) : nullptr;
  const bool verified = read && key != nullptr && X509_CRL_verify(read.get(), key) == 1;
  ERR_clear_error();
  return verified;
}

ByteString madeByOpenSSL(const ExtensionSpec& wanted) {
  const auto facts = factsOf(makeCertificate(makeAuthority(), {.extensions = {wanted}}));
  return facts ? facts->extensions.at(0).value : ByteString();
}

std::vector<ByteString> crlsInFile(const std::filesystem::path& path) {
  const ByteString file = readFile(path);
  if (!file.empty() && file[0] == 0x30) return {file};
  std::vector<ByteString> found;
  const std::string text(file.begin(), file.end());
  for (const char* label : {"-----BEGIN X509 CRL-----", "-----BEGIN CRL-----"})
    for (std::size_t at = text.find(label); at != std::string::npos; at = text.find(label, at + 1))
      if (ByteString der = fromPEM(text.substr(at)); !der.empty()) found.push_back(std::move(der));
  return found;
}

}  // namespace keystrand::test
