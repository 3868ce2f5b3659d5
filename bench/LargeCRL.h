// A CRL of any length, made in memory: v2, serial numbers of 20 octets that a hash spreads, UTCTime dates, a reason
// each, signed with RSA-2048 and SHA-256.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct evp_pkey_st;

namespace keystrand::bench {

using ByteString = std::vector<unsigned char>;

// Base-16 text of the serial number of entry `index`; those from `entries` on are on no list.
std::string serialText(std::uint64_t index);

struct LargeCRL {
  std::uint64_t entries = 0;
  ByteString der;
  ByteString publicKeyInfo;  // DER
};

// Made once for each length and kept.
const LargeCRL& largeCRL(std::uint64_t entries);

}  // namespace keystrand::bench
