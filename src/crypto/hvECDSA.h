// ECDSA verification (X9.62, RFC 5480), over OpenSSL's curves.
#pragma once

#include <memory>
#include <span>

#include "keystrand/crypto/ECDSAPublicKey.h"

struct ec_point_st;

namespace keystrand {

class hvECDSA {
 public:
  // Prepares group and point; false for an unknown curve, a point off it or at infinity.
  bool setKey(const ECDSAPublicKey& key);
  // `signature` is r and s, each left-padded to the length of the order, one behind the other.
  [[nodiscard]] bool verify(std::span<const unsigned char> digest, std::span<const unsigned char> signature) const;

 private:
  std::shared_ptr<const ec_group_st> group_;
  std::shared_ptr<const ec_point_st> point_;
};

}  // namespace keystrand
