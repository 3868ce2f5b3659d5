// What OpenSSL reads in certificates and CRLs, for comparison with what we read in them.
#pragma once

#include <openssl/x509.h>

#include <ctime>
#include <string>

#include "support/BuilderParts.h"
#include "support/Builders.h"

namespace keystrand::test {

using CRLHandle = std::unique_ptr<X509_CRL, builder::Releaser<&X509_CRL_free>>;

// Nothing when OpenSSL reads no CRL.
inline CRLHandle readCRL(const ByteString& der) {
  const unsigned char* at = der.data();
  return CRLHandle(d2i_X509_CRL(nullptr, &at, static_cast<long>(der.size())));
}

inline std::string dotted(const ASN1_OBJECT* object) {
  char text[256] = {};
  OBJ_obj2txt(text, sizeof text, object, 1);
  return text;
}

inline std::string hexadecimal(const ASN1_INTEGER* integer) {
  const builder::BigNumber number(ASN1_INTEGER_to_BN(integer, nullptr));
  const std::unique_ptr<char, void (*)(char*)> text(BN_bn2hex(number.get()), [](char* t) { OPENSSL_free(t); });
  return text.get();
}

// Seconds since 1970, GMT; -1 where OpenSSL refuses the text.
inline std::int64_t secondsOf(const ASN1_TIME* time) {
  std::tm parts{};
  return time != nullptr && ASN1_TIME_to_tm(time, &parts) == 1 ? timegm(&parts) : -1;
}

inline ByteString octetsOf(const ASN1_STRING* string) {
  const unsigned char* bytes = ASN1_STRING_get0_data(string);
  return {bytes, bytes + ASN1_STRING_length(string)};
}

// The octets of an extension as OpenSSL makes it.
inline ByteString madeByOpenSSL(const ExtensionSpec& wanted) {
  const auto certificate = builder::decodedCertificate(makeCertificate(makeAuthority(), {.extensions = {wanted}}));
  return octetsOf(X509_EXTENSION_get_data(X509_get_ext(certificate.get(), 0)));
}

}  // namespace keystrand::test
