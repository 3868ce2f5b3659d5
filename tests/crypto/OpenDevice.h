// A device on the built-in token, open on its one slot, and what tests hand to it.
#pragma once

#include <memory>
#include <string>

#include "keystrand/crypto/CryptoDevice.h"
#include "keystrand/crypto/CryptoKi.h"
#include "support/Signing.h"

namespace keystrand::test {

struct OpenDevice {
  OpenDevice() : device(&ki) { opened = device.open(0, nullptr, 0); }

  CryptoKi ki;
  CryptoDevice device;
  bool opened = false;
};

inline std::unique_ptr<KeyInfo> keyInfoFrom(const ByteString& der) {
  Buffer buffer;
  buffer.assign(der.data(), static_cast<std::uint32_t>(der.size()));
  auto info = std::make_unique<KeyInfo>();
  return info->get(buffer) ? std::move(info) : nullptr;
}

inline std::unique_ptr<KeyInfo> keyInfoOf(const PrivateKey& key) {
  return keyInfoFrom(publicKeyInfo(key));
}

inline std::unique_ptr<DigestInfo> digestWith(CryptoDevice& device, const ByteString& data) {
  return std::unique_ptr<DigestInfo>(device.digest(data.data(), data.size()));
}

// Over the data, by the algorithm that is selected; RSASSA-PSS is verified over the data itself.
inline bool verifies(CryptoDevice& device, const ByteString& data, const ByteString& signature, const KeyInfo& key,
                     bool pss = false) {
  const Signature octets(signature);
  if (pss) return device.verifyRaw(data.data(), data.size(), octets, key);
  const auto digest = digestWith(device, data);
  return digest != nullptr && device.verify(octets, *digest, key);
}

// The algorithms of signatures that the device knows, each with a kind of key.
inline const ByteString kMessage = {'m', 'e', 's', 's', 'a', 'g', 'e'};
inline constexpr const char* kPSS = "1.2.840.113549.1.1.10";

struct AlgorithmRow {
  const char *oid, *key;
  SigningSpec signing;
  const char* digest = nullptr;  // to be selected first
};

inline const AlgorithmRow kAlgorithms[] = {
    {"1.2.840.113549.1.1.5", "RSA-2048", {"SHA1"}},
    {"1.3.14.3.2.29", "RSA-2048", {"SHA1"}},
    {"1.2.840.113549.1.1.11", "RSA-2048", {"SHA256"}},
    {"1.2.840.113549.1.1.11", "RSA-1024", {"SHA256"}},
    {"1.2.840.113549.1.1.11", "RSA-2049", {"SHA256"}},
    {"1.2.840.113549.1.1.11", "RSA-3072", {"SHA256"}},
    {"1.2.840.113549.1.1.12", "RSA-2048", {"SHA384"}},
    {"1.2.840.113549.1.1.13", "RSA-2048", {"SHA512"}},
    {"1.2.840.113549.1.1.4", "RSA-2048", {"MD5"}},
    {"1.3.14.3.2.3", "RSA-2048", {"MD5"}},
    {"1.3.36.3.3.1.2", "RSA-2048", {"RIPEMD160"}},
    {kPSS, "RSA-2048", {"SHA1", true}, "1.3.14.3.2.26"},
    {kPSS, "RSA-2048", {"SHA256", true}, "2.16.840.1.101.3.4.2.1"},
    {kPSS, "RSA-2049", {"SHA256", true}, "2.16.840.1.101.3.4.2.1"},
    {kPSS, "RSA-2048", {"SHA384", true}, "2.16.840.1.101.3.4.2.2"},
    {kPSS, "RSA-2048", {"SHA512", true}, "2.16.840.1.101.3.4.2.3"},
    {"1.2.840.10045.4.1", "P-256", {"SHA1"}},
    {"1.2.840.10045.4.3.1", "P-224", {"SHA224"}},
    {"1.2.840.10045.4.3.2", "P-256", {"SHA256"}},
    {"1.2.840.10045.4.3.3", "P-384", {"SHA384"}},
    {"1.2.840.10045.4.3.4", "P-521", {"SHA512"}},
    {"1.2.840.10045.4.3.4", "P-256", {"SHA512"}},
    {"1.2.840.10045.4.3.2", "secp256k1", {"SHA256"}},
    {"1.2.840.10045.4.3.2", "brainpoolP256r1", {"SHA256"}},
    {"1.2.840.10045.4.3.3", "brainpoolP384r1", {"SHA384"}},
    {"1.2.840.10045.4.3.4", "brainpoolP512r1", {"SHA512"}},
};

}  // namespace keystrand::test
