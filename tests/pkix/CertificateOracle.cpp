#include "pkix/CertificateOracle.h"

#include <openssl/err.h>
#include <openssl/x509.h>

#include <ctime>
#include <memory>

namespace keystrand::test {

namespace {

struct Free {
  void operator()(X509* certificate) const noexcept { X509_free(certificate); }
  void operator()(BIGNUM* number) const noexcept { BN_free(number); }
};
using X509Handle = std::unique_ptr<X509, Free>;

X509Handle decoded(const ByteString& der) {
  const unsigned char* at = der.data();
  X509Handle certificate(d2i_X509(nullptr, &at, static_cast<long>(der.size())));
  ERR_clear_error();
  return at == der.data() + der.size() ? std::move(certificate) : nullptr;
}

std::string dotted(const ASN1_OBJECT* object) {
  char text[256] = {};
  OBJ_obj2txt(text, sizeof text, object, 1);
  return text;
}

std::string hexadecimal(const ASN1_INTEGER* integer) {
  const std::unique_ptr<BIGNUM, Free> number(ASN1_INTEGER_to_BN(integer, nullptr));
  char* text = BN_bn2hex(number.get());
  std::string copy = text;
  OPENSSL_free(text);
  return copy;
}

ByteString encoding(X509_NAME* name) {
  const unsigned char* bytes = nullptr;
  std::size_t n = 0;
  X509_NAME_get0_der(name, &bytes, &n);
  return {bytes, bytes + n};
}

std::optional<std::int64_t> seconds(const ASN1_TIME* time) {
  std::tm fields{};
  if (ASN1_TIME_to_tm(time, &fields) != 1) return std::nullopt;
  return timegm(&fields);
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

}  // namespace

std::optional<CertificateFacts> factsOf(const ByteString& certificate) {
  const X509Handle x = decoded(certificate);
  if (!x) return std::nullopt;
  CertificateFacts facts;
  facts.version = X509_get_version(x.get());
  facts.serial = hexadecimal(X509_get0_serialNumber(x.get()));
  facts.issuer = encoding(X509_get_issuer_name(x.get()));
  facts.subject = encoding(X509_get_subject_name(x.get()));
  facts.notBefore = seconds(X509_get0_notBefore(x.get()));
  facts.notAfter = seconds(X509_get0_notAfter(x.get()));
  const ASN1_OBJECT* algorithm = nullptr;
  X509_ALGOR_get0(&algorithm, nullptr, nullptr, X509_get0_tbs_sigalg(x.get()));
  facts.signatureAlgorithm = dotted(algorithm);
  ASN1_OBJECT* keyAlgorithm = nullptr;
  X509_PUBKEY_get0_param(&keyAlgorithm, nullptr, nullptr, nullptr, X509_get_X509_PUBKEY(x.get()));
  facts.keyAlgorithm = dotted(keyAlgorithm);
  const EVP_PKEY* key = X509_get0_pubkey(x.get());
  facts.keyBits = key != nullptr ? EVP_PKEY_get_bits(key) : 0;
  facts.extensions = extensionsOf(x.get());
  ERR_clear_error();
  return facts;
}

ByteString madeByOpenSSL(const ExtensionSpec& wanted) {
  const auto facts = factsOf(makeCertificate(makeAuthority(), {.extensions = {wanted}}));
  return facts ? facts->extensions.at(0).value : ByteString();
}

bool openSSLVerifies(const ByteString& certificate, const ByteString& issuer) {
  const X509Handle subject = decoded(certificate);
  const X509Handle signer = decoded(issuer);
  EVP_PKEY* key = signer ? X509_get0_pubkey(signer.get()) : nullptr;
  const bool verified = subject && key != nullptr && X509_verify(subject.get(), key) == 1;
  ERR_clear_error();
  return verified;
}

}  // namespace keystrand::test
