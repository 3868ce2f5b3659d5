#include "pkix/CRLOracle.h"

#include <openssl/bn.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <ctime>
#include <memory>

namespace keystrand::test {
namespace {

template <auto Release>
struct Releaser {
  void operator()(auto* handle) const noexcept { Release(handle); }
};
void freeText(char* text) {
  OPENSSL_free(text);
}
void freeBytes(unsigned char* bytes) {
  OPENSSL_free(bytes);
}

using CRL = std::unique_ptr<X509_CRL, Releaser<&X509_CRL_free>>;
using Certificate = std::unique_ptr<X509, Releaser<&X509_free>>;
using Enumerated = std::unique_ptr<ASN1_ENUMERATED, Releaser<&ASN1_ENUMERATED_free>>;
using Number = std::unique_ptr<BIGNUM, Releaser<&BN_free>>;
using Bio = std::unique_ptr<BIO, Releaser<&BIO_free_all>>;
using Text = std::unique_ptr<char, Releaser<&freeText>>;
using OpenSSLBytes = std::unique_ptr<unsigned char, Releaser<&freeBytes>>;

std::int64_t secondsOf(const ASN1_TIME* time) {
  std::tm parts{};
  return time != nullptr && ASN1_TIME_to_tm(time, &parts) == 1 ? timegm(&parts) : -1;
}

CRLContent::Entry entryOf(const X509_REVOKED* revoked) {
  const Number serial(ASN1_INTEGER_to_BN(X509_REVOKED_get0_serialNumber(revoked), nullptr));
  CRLContent::Entry entry;
  entry.serial = Text(BN_bn2hex(serial.get())).get();
  entry.date = secondsOf(X509_REVOKED_get0_revocationDate(revoked));
  const int place = X509_REVOKED_get_ext_by_NID(revoked, NID_crl_reason, -1);
  if (place < 0) return entry;
  const Enumerated reason(static_cast<ASN1_ENUMERATED*>(X509V3_EXT_d2i(X509_REVOKED_get_ext(revoked, place))));
  if (reason) entry.reason = static_cast<int>(ASN1_ENUMERATED_get(reason.get()));
  return entry;
}

}  // namespace

std::optional<CRLContent> readByOpenSSL(std::span<const unsigned char> der) {
  const unsigned char* at = der.data();
  const CRL crl(d2i_X509_CRL(nullptr, &at, static_cast<long>(der.size())));
  if (!crl) return std::nullopt;
  CRLContent content;
  content.version = X509_CRL_get_version(crl.get());
  content.thisUpdate = secondsOf(X509_CRL_get0_lastUpdate(crl.get()));
  if (const ASN1_TIME* next = X509_CRL_get0_nextUpdate(crl.get())) content.nextUpdate = secondsOf(next);
  const STACK_OF(X509_REVOKED)* revoked = X509_CRL_get_REVOKED(crl.get());
  for (int i = 0; i < sk_X509_REVOKED_num(revoked); ++i) {
    content.entries.push_back(entryOf(sk_X509_REVOKED_value(revoked, i)));
  }
  content.extensions = X509_CRL_get_ext_count(crl.get());
  return content;
}

bool crlVerifiesByOpenSSL(const ByteString& crl, const ByteString& issuer) {
  const unsigned char* at = crl.data();
  const CRL read(d2i_X509_CRL(nullptr, &at, static_cast<long>(crl.size())));
  at = issuer.data();
  const Certificate signer(d2i_X509(nullptr, &at, static_cast<long>(issuer.size())));
  EVP_PKEY* key = signer ? X509_get0_pubkey(signer.get()) : nullptr;
  const bool verified = read && key != nullptr && X509_CRL_verify(read.get(), key) == 1;
  ERR_clear_error();
  return verified;
}

std::vector<ByteString> crlsInFile(const std::filesystem::path& path) {
  const ByteString file = readFile(path);
  if (!file.empty() && file[0] == 0x30) return {file};
  std::vector<ByteString> found;
  const Bio bio(BIO_new_mem_buf(file.data(), static_cast<int>(file.size())));
  char* name = nullptr;
  char* header = nullptr;
  unsigned char* data = nullptr;
  long length = 0;
  while (PEM_read_bio(bio.get(), &name, &header, &data, &length) == 1) {
    const Text ownedName(name);
    const Text ownedHeader(header);
    const OpenSSLBytes ownedData(data);
    if (std::string(name).ends_with("CRL")) found.emplace_back(data, data + length);
  }
  return found;
}

}  // namespace keystrand::test
