#include "support/ServerCertificate.h"

#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <cstdio>
#include <memory>
#include <stdexcept>

namespace keystrand::test {

namespace {

template <auto Release>
struct Releaser {
  void operator()(auto* handle) const noexcept { Release(handle); }
};
using Key = std::unique_ptr<EVP_PKEY, Releaser<&EVP_PKEY_free>>;
using Certificate = std::unique_ptr<X509, Releaser<&X509_free>>;
using File = std::unique_ptr<std::FILE, Releaser<&std::fclose>>;

Certificate selfSigned(EVP_PKEY* key) {
  Certificate certificate(X509_new());
  X509* x = certificate.get();
  constexpr long kDay = 86400;
  ASN1_INTEGER_set(X509_get_serialNumber(x), 1);
  X509_gmtime_adj(X509_getm_notBefore(x), -2 * kDay);
  X509_gmtime_adj(X509_getm_notAfter(x), -kDay);
  const auto* host = reinterpret_cast<const unsigned char*>("somebody.else");
  X509_NAME_add_entry_by_txt(X509_get_subject_name(x), "CN", MBSTRING_ASC, host, -1, -1, 0);
  X509_set_issuer_name(x, X509_get_subject_name(x));
  X509_set_pubkey(x, key);
  if (X509_sign(x, key, EVP_sha256()) == 0) throw std::runtime_error("cannot sign the server certificate");
  return certificate;
}

}  // namespace

void writeServerCertificate(const std::filesystem::path& certificate, const std::filesystem::path& key) {
  const Key pair(EVP_EC_gen("P-256"));
  const Certificate made = selfSigned(pair.get());
  const File certificateFile(std::fopen(certificate.c_str(), "w"));
  const File keyFile(std::fopen(key.c_str(), "w"));
  if (PEM_write_X509(certificateFile.get(), made.get()) != 1 ||
      PEM_write_PrivateKey(keyFile.get(), pair.get(), nullptr, nullptr, 0, nullptr, nullptr) != 1)
    throw std::runtime_error("cannot write the server certificate");
}

}  // namespace keystrand::test
