// The keys and the device of the benchmarks that sign and verify.
#pragma once

#include <openssl/evp.h>

#include <memory>
#include <vector>

#include "keystrand/crypto/CryptoDevice.h"
#include "keystrand/crypto/CryptoKi.h"

namespace keystrand {

using Octets = std::vector<unsigned char>;

template <auto Release>
struct Releaser {
  void operator()(auto* handle) const noexcept { Release(handle); }
};
using KeyHandle = std::unique_ptr<EVP_PKEY, Releaser<&EVP_PKEY_free>>;
using KeyContext = std::unique_ptr<EVP_PKEY_CTX, Releaser<&EVP_PKEY_CTX_free>>;

struct Algorithm {
  const char* oid;
  const char* digest;
  KeyHandle (*generate)();
};

inline const Algorithm kRSA2048 = {"1.2.840.113549.1.1.11", "SHA256", [] { return KeyHandle(EVP_RSA_gen(2048)); }};
inline const Algorithm kRSA4096 = {"1.2.840.113549.1.1.11", "SHA256", [] { return KeyHandle(EVP_RSA_gen(4096)); }};
inline const Algorithm kP256 = {"1.2.840.10045.4.3.2", "SHA256", [] { return KeyHandle(EVP_EC_gen("P-256")); }};
inline const Algorithm kP384 = {"1.2.840.10045.4.3.3", "SHA384", [] { return KeyHandle(EVP_EC_gen("P-384")); }};

struct OpenDevice {
  OpenDevice() : device(&ki) { device.open(0, nullptr, 0); }
  CryptoKi ki;
  CryptoDevice device;
};

}  // namespace keystrand
