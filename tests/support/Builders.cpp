#include "support/Builders.h"

#include <openssl/pem.h>

#include <map>

#include "support/BuilderParts.h"
#include "support/Der.h"
#include "support/Signing.h"

namespace keystrand::test {

using namespace builder;

namespace {

using CRLHandle = std::unique_ptr<X509_CRL, Releaser<&X509_CRL_free>>;
using RevokedHandle = std::unique_ptr<X509_REVOKED, Releaser<&X509_REVOKED_free>>;

// Without an issuer the certificate is its own.
ByteString signedCertificate(const CertificateSpec& wanted, const PrivateKey& issuerKey, const X509Handle& issuer) {
  X509Handle certificate(X509_new());
  X509* x = certificate.get();
  X509_set_version(x, wanted.version);
  X509_set_serialNumber(x, integerOf(wanted.serial).get());
  X509_set_subject_name(x, nameOf(wanted.subject).get());
  X509_set_issuer_name(x,
                       wanted.issuer ? nameOf(*wanted.issuer).get() : X509_get_subject_name(issuer ? issuer.get() : x));
  X509_set1_notBefore(x, timeOf(wanted.notBefore).get());
  X509_set1_notAfter(x, timeOf(wanted.notAfter).get());
  require(X509_set_pubkey(x, wanted.key.get()) == 1, "public key");
  if (wanted.version >= 2) addExtensions(x, wanted.extensions, issuer ? issuer.get() : x, x, nullptr, X509_add_ext);
  require(X509_sign_ctx(x, signer(issuerKey, wanted.signing).get()) > 0, "signature of a certificate");
  return encoded(x, i2d_X509);
}

void addEntry(X509_CRL* crl, const CRLEntrySpec& wanted) {
  RevokedHandle entry(X509_REVOKED_new());
  X509_REVOKED_set_serialNumber(entry.get(), integerOf(wanted.serial).get());
  X509_REVOKED_set_revocationDate(entry.get(), timeOf(wanted.revocationDate).get());
  if (!wanted.extensions.empty()) {
    addExtensions(entry.get(), wanted.extensions, nullptr, nullptr, crl, X509_REVOKED_add_ext);
  }
  require(X509_CRL_add0_revoked(crl, entry.get()) == 1, wanted.serial);
  static_cast<void>(entry.release());
}

EVP_PKEY* generated(const std::string& kind) {
  if (kind.starts_with("RSA-")) {
    return EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", static_cast<std::size_t>(std::stoul(kind.substr(4))));
  }
  return EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", kind.c_str());
}

}  // namespace

PrivateKey privateKey(const std::string& kind, int number) {
  static std::map<std::pair<std::string, int>, PrivateKey> keys;
  PrivateKey& key = keys[{kind, number}];
  if (!key) key.reset(made(generated(kind), kind), EVP_PKEY_free);
  return key;
}

Authority makeAuthority(const AuthoritySpec& wanted, const Authority* issuer) {
  CertificateSpec certificate{.serial = wanted.serial,
                              .subject = wanted.subject,
                              .notBefore = wanted.notBefore,
                              .notAfter = wanted.notAfter,
                              .key = wanted.key,
                              .extensions = wanted.extensions,
                              .signing = wanted.signing};
  if (issuer != nullptr) return {wanted.key, makeCertificate(*issuer, certificate)};
  return {wanted.key, signedCertificate(certificate, wanted.key, nullptr)};
}

ByteString makeCertificate(const Authority& issuer, const CertificateSpec& wanted) {
  return signedCertificate(wanted, issuer.key, decodedCertificate(issuer.certificate));
}

ByteString makeCRL(const Authority& issuer, const CRLSpec& wanted) {
  const X509Handle certificate = decodedCertificate(issuer.certificate);
  CRLHandle handle(X509_CRL_new());
  X509_CRL* crl = handle.get();
  if (wanted.version != 0) X509_CRL_set_version(crl, wanted.version);
  X509_CRL_set_issuer_name(crl,
                           wanted.issuer ? nameOf(*wanted.issuer).get() : X509_get_subject_name(certificate.get()));
  X509_CRL_set1_lastUpdate(crl, timeOf(wanted.thisUpdate).get());
  if (wanted.nextUpdate) X509_CRL_set1_nextUpdate(crl, timeOf(*wanted.nextUpdate).get());
  for (const CRLEntrySpec& entry : wanted.entries) addEntry(crl, entry);
  if (wanted.version != 0) addExtensions(crl, wanted.extensions, certificate.get(), nullptr, crl, X509_CRL_add_ext);
  require(X509_CRL_sign_ctx(crl, signer(issuer.key, wanted.signing).get()) > 0, "signature of a CRL");
  return encoded(crl, i2d_X509_CRL);
}

ByteString makeSigned(const ByteString& body, const PrivateKey& key, const SigningSpec& signing) {
  // The identifier of the algorithm, from something that the same key signs the same way.
  const ByteString sample = signedCertificate({.key = key, .extensions = {}, .signing = signing}, key, nullptr);
  const ByteString algorithm = children(sample).at(1);
  return element(0x30, body + algorithm + element(0x03, ByteString{0} + signatureOf(key, signing, body)));
}

void writeAuthority(const Authority& authority, const std::filesystem::path& certificate,
                    const std::filesystem::path& key) {
  writeFile(certificate, toPEM(authority.certificate, "CERTIFICATE"));
  const BioHandle file(BIO_new_file(key.c_str(), "w"));
  require(PEM_write_bio_PrivateKey(file.get(), authority.key.get(), nullptr, nullptr, 0, nullptr, nullptr) == 1, key);
}

bool openSSLVerifies(const ByteString& certificate, const ByteString& issuer) {
  const X509Handle subject = readCertificate(certificate);
  const X509Handle ca = readCertificate(issuer);
  EVP_PKEY* key = ca ? X509_get0_pubkey(ca.get()) : nullptr;
  const bool verified = subject && key != nullptr && X509_verify(subject.get(), key) == 1;
  ERR_clear_error();
  return verified;
}

ByteString toPEM(const ByteString& der, const std::string& label) {
  const BioHandle out(BIO_new(BIO_s_mem()));
  require(PEM_write_bio(out.get(), label.c_str(), "", der.data(), static_cast<long>(der.size())) > 0, label);
  char* text = nullptr;
  const long n = BIO_get_mem_data(out.get(), &text);
  return {text, text + n};
}

ByteString fromPEM(const std::string& text) {
  const BioHandle in(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
  char* label = nullptr;
  char* header = nullptr;
  unsigned char* bytes = nullptr;
  long n = 0;
  ByteString der;
  if (PEM_read_bio(in.get(), &label, &header, &bytes, &n) == 1) der.assign(bytes, bytes + n);
  OPENSSL_free(label);
  OPENSSL_free(header);
  OPENSSL_free(bytes);
  ERR_clear_error();
  return der;
}

std::string toBase64(const ByteString& bytes) {
  std::string text(4 * ((bytes.size() + 2) / 3) + 1, '\0');
  const int n =
      EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()), bytes.data(), static_cast<int>(bytes.size()));
  text.resize(static_cast<std::size_t>(n));
  return text;
}

ByteString fromHex(std::string digits) {
  std::erase(digits, ' ');
  if (digits.empty()) return {};  // which OpenSSL refuses
  long n = 0;
  unsigned char* bytes = made(OPENSSL_hexstr2buf(digits.c_str(), &n), digits);
  ByteString out(bytes, bytes + n);
  OPENSSL_free(bytes);
  return out;
}

ByteString withBitFlipped(ByteString bytes, std::size_t bitFromEnd) {
  bytes.at(bytes.size() - 1 - bitFromEnd / 8) ^= static_cast<unsigned char>(1U << bitFromEnd % 8);
  return bytes;
}

}  // namespace keystrand::test
