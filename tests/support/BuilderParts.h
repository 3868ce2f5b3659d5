// What the builders are made of: OpenSSL handles, names, numbers, times, extensions and signing contexts from their
// descriptions. A mistake of the test itself ends its process with a message.
#pragma once

#include <openssl/bn.h>
#include <openssl/conf.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>
#include <openssl/x509v3.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "support/Builders.h"

namespace keystrand::test::builder {

template <auto Release>
struct Releaser {
  void operator()(auto* handle) const noexcept { Release(handle); }
};
using X509Handle = std::unique_ptr<X509, Releaser<&X509_free>>;
using NameHandle = std::unique_ptr<X509_NAME, Releaser<&X509_NAME_free>>;
using ExtensionHandle = std::unique_ptr<X509_EXTENSION, Releaser<&X509_EXTENSION_free>>;
using IntegerHandle = std::unique_ptr<ASN1_INTEGER, Releaser<&ASN1_INTEGER_free>>;
using TimeHandle = std::unique_ptr<ASN1_TIME, Releaser<&ASN1_TIME_free>>;
using BigNumber = std::unique_ptr<BIGNUM, Releaser<&BN_free>>;
using DigestContext = std::unique_ptr<EVP_MD_CTX, Releaser<&EVP_MD_CTX_free>>;
using ConfHandle = std::unique_ptr<CONF, Releaser<&NCONF_free>>;
using BioHandle = std::unique_ptr<BIO, Releaser<&BIO_free>>;

inline void require(bool done, const std::string& what) {
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

inline NameHandle nameOf(const NameSpec& wanted) {
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

inline IntegerHandle integerOf(const std::string& hex) {
  BIGNUM* number = nullptr;
  require(BN_hex2bn(&number, hex.c_str()) == static_cast<int>(hex.size()), hex);
  const BigNumber owned(number);
  return IntegerHandle(BN_to_ASN1_INTEGER(number, nullptr));
}

inline TimeHandle timeOf(const std::string& text) {
  TimeHandle time(ASN1_TIME_new());
  require(ASN1_TIME_set_string_X509(time.get(), text.c_str()) == 1, text);
  return time;
}

inline ExtensionHandle extensionOf(const ExtensionSpec& wanted, X509V3_CTX& context) {
  ConfHandle conf(NCONF_new(nullptr));
  const BioHandle text(BIO_new_mem_buf(wanted.sections.data(), static_cast<int>(wanted.sections.size())));
  require(wanted.sections.empty() || NCONF_load_bio(conf.get(), text.get(), nullptr) == 1, wanted.sections);
  X509V3_set_nconf(&context, conf.get());
  return ExtensionHandle(
      made(X509V3_EXT_nconf(conf.get(), &context, wanted.name.c_str(), wanted.value.c_str()), wanted.name));
}

// Adds each extension with `add`, which is one of OpenSSL's three functions for it.
template <class T, class Add>
void addExtensions(T* target, const std::vector<ExtensionSpec>& all, X509* issuer, X509* subject, X509_CRL* crl,
                   Add add) {
  X509V3_CTX context;
  X509V3_set_ctx(&context, issuer, subject, nullptr, crl, 0);
  for (const ExtensionSpec& wanted : all) {
    require(add(target, extensionOf(wanted, context).get(), -1) == 1, wanted.name);
  }
}

// Digest, padding and key ready to sign, as X509_sign_ctx and X509_CRL_sign_ctx take them.
inline DigestContext signer(const PrivateKey& key, const SigningSpec& wanted, int saltLength = RSA_PSS_SALTLEN_DIGEST) {
  DigestContext context(EVP_MD_CTX_new());
  EVP_PKEY_CTX* keyContext = nullptr;
  require(EVP_DigestSignInit(context.get(), &keyContext, EVP_get_digestbyname(wanted.digest.c_str()), nullptr,
                             key.get()) == 1,
          wanted.digest);
  if (wanted.pss) {
    require(EVP_PKEY_CTX_set_rsa_padding(keyContext, RSA_PKCS1_PSS_PADDING) == 1, "PSS");
    require(EVP_PKEY_CTX_set_rsa_pss_saltlen(keyContext, saltLength) == 1, "PSS");
  }
  return context;
}

// Nothing when OpenSSL refuses the bytes, or finds more behind the certificate.
inline X509Handle readCertificate(const ByteString& der) {
  const unsigned char* at = der.data();
  X509Handle certificate(d2i_X509(nullptr, &at, static_cast<long>(der.size())));
  ERR_clear_error();
  return at == der.data() + der.size() ? std::move(certificate) : nullptr;
}

inline X509Handle decodedCertificate(const ByteString& der) {
  X509Handle certificate = readCertificate(der);
  require(certificate != nullptr, "certificate");
  return certificate;
}

}  // namespace keystrand::test::builder
