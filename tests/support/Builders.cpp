#include "support/Builders.h"

#include <openssl/bn.h>
#include <openssl/conf.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/x509v3.h>

#include <map>
#include <stdexcept>
#include <utility>

#include "support/Der.h"

namespace keystrand::test {

namespace {

template <auto Release>
struct Releaser {
  void operator()(auto* handle) const noexcept { Release(handle); }
};
using X509Handle = std::unique_ptr<X509, Releaser<&X509_free>>;
using CRLHandle = std::unique_ptr<X509_CRL, Releaser<&X509_CRL_free>>;
using RevokedHandle = std::unique_ptr<X509_REVOKED, Releaser<&X509_REVOKED_free>>;
using NameHandle = std::unique_ptr<X509_NAME, Releaser<&X509_NAME_free>>;
using ExtensionHandle = std::unique_ptr<X509_EXTENSION, Releaser<&X509_EXTENSION_free>>;
using IntegerHandle = std::unique_ptr<ASN1_INTEGER, Releaser<&ASN1_INTEGER_free>>;
using TimeHandle = std::unique_ptr<ASN1_TIME, Releaser<&ASN1_TIME_free>>;
using BigNumber = std::unique_ptr<BIGNUM, Releaser<&BN_free>>;
using DigestContext = std::unique_ptr<EVP_MD_CTX, Releaser<&EVP_MD_CTX_free>>;
using ConfHandle = std::unique_ptr<CONF, Releaser<&NCONF_free>>;
using BioHandle = std::unique_ptr<BIO, Releaser<&BIO_free>>;

// A mistake of the test itself: the process ends with the message.
void require(bool done, const std::string& what) {
  const char* reason = ERR_reason_error_string(ERR_peek_last_error());
  if (!done) throw std::runtime_error("builder: " + what + ": " + (reason != nullptr ? reason : "refused"));
}

template <class T>
T* made(T* handle, const std::string& what) {
  require(handle != nullptr, what);
  return handle;
}

template <class T, class Encode>
ByteString encoded(T* object, Encode encode) {
  ByteString der(static_cast<std::size_t>(encode(object, nullptr)));
  unsigned char* out = der.data();
  encode(object, &out);
  return der;
}

NameHandle nameOf(const NameSpec& wanted) {
  NameHandle name(X509_NAME_new());
  for (const Attribute& attribute : wanted) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(attribute.value.data());
    require(X509_NAME_add_entry_by_txt(name.get(), attribute.label.c_str(),
                                       attribute.type != 0 ? attribute.type : MBSTRING_UTF8, bytes,
                                       static_cast<int>(attribute.value.size()), -1, attribute.inSameRDN ? -1 : 0) == 1,
            attribute.label);
  }
  return name;
}

IntegerHandle integerOf(const std::string& hex) {
  BIGNUM* number = nullptr;
  require(BN_hex2bn(&number, hex.c_str()) == static_cast<int>(hex.size()), hex);
  const BigNumber owned(number);
  return IntegerHandle(BN_to_ASN1_INTEGER(number, nullptr));
}

TimeHandle timeOf(const std::string& text) {
  TimeHandle time(ASN1_TIME_new());
  require(ASN1_TIME_set_string_X509(time.get(), text.c_str()) == 1, text);
  return time;
}

ExtensionHandle extensionOf(const ExtensionSpec& wanted, X509V3_CTX& context) {
  ConfHandle conf(NCONF_new(nullptr));
  const BioHandle text(BIO_new_mem_buf(wanted.sections.data(), static_cast<int>(wanted.sections.size())));
  require(wanted.sections.empty() || NCONF_load_bio(conf.get(), text.get(), nullptr) == 1, wanted.sections);
  X509V3_set_nconf(&context, conf.get());
  return ExtensionHandle(
      made(X509V3_EXT_nconf(conf.get(), &context, wanted.name.c_str(), wanted.value.c_str()), wanted.name));
}

// Adds each extension with `add`, which is one of OpenSSL's three functions for it.
template <class T, class Add>
void addExtensions(T* target, const std::vector<ExtensionSpec>& specs, X509* issuer, X509* subject, X509_CRL* crl,
                   Add add) {
  X509V3_CTX context;
  X509V3_set_ctx(&context, issuer, subject, nullptr, crl, 0);
  for (const ExtensionSpec& wanted : specs) {
    require(add(target, extensionOf(wanted, context).get(), -1) == 1, wanted.name);
  }
}

// Digest, padding and key ready to sign, as X509_sign_ctx and X509_CRL_sign_ctx take them.
DigestContext signer(const PrivateKey& key, const SigningSpec& wanted) {
  DigestContext context(EVP_MD_CTX_new());
  EVP_PKEY_CTX* keyContext = nullptr;
  require(EVP_DigestSignInit(context.get(), &keyContext, EVP_get_digestbyname(wanted.digest.c_str()), nullptr,
                             key.get()) == 1,
          wanted.digest);
  if (wanted.pss) {
    require(EVP_PKEY_CTX_set_rsa_padding(keyContext, RSA_PKCS1_PSS_PADDING) == 1, "PSS");
    require(EVP_PKEY_CTX_set_rsa_pss_saltlen(keyContext, RSA_PSS_SALTLEN_DIGEST) == 1, "PSS");
  }
  return context;
}

X509Handle decodedCertificate(const ByteString& der) {
  const unsigned char* at = der.data();
  return X509Handle(made(d2i_X509(nullptr, &at, static_cast<long>(der.size())), "certificate"));
}

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
  const DigestContext context = signer(key, signing);
  std::size_t n = 0;
  require(EVP_DigestSign(context.get(), nullptr, &n, body.data(), body.size()) == 1, "size of a signature");
  ByteString signature(n);
  require(EVP_DigestSign(context.get(), signature.data(), &n, body.data(), body.size()) == 1, "signature");
  signature.resize(n);
  // The identifier of the algorithm, from something that the same key signs the same way.
  const ByteString sample = signedCertificate({.key = key, .extensions = {}, .signing = signing}, key, nullptr);
  const ByteString algorithm = children(sample).at(1);
  return element(0x30, body + algorithm + element(0x03, ByteString{0} + signature));
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
