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

inline const ByteString kMessage = {'m', 'e', 's', 's', 'a', 'g', 'e'};
inline constexpr const char* kPSS = "1.2.840.113549.1.1.10";

}  // namespace keystrand::test
