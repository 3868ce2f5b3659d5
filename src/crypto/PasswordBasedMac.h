// A message authentication code under a secret key. The base keeps the key and makes it of a password (RFC 4211 section
// 4.4); a child supplies the algorithm.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "keystrand/crypto/MessageDigest.h"
#include "support/SecretBytes.h"

namespace keystrand {

class PBMParameter;

class PasswordBasedMac {
 public:
  PasswordBasedMac() = default;
  PasswordBasedMac(const PasswordBasedMac&) = delete;
  PasswordBasedMac& operator=(const PasswordBasedMac&) = delete;
  virtual ~PasswordBasedMac();
  // Forgets key and digest.
  virtual void clear();
  // Keeps a copy, and begins a message.
  virtual void setKey(std::span<const unsigned char> key);
  // Begins a message under the key that was set; what was begun before is given up.
  virtual void init();
  virtual void update(std::span<const unsigned char> part);
  // Writes length() octets, returns their number and begins the next message; 0 when out is too small.
  virtual std::uint32_t final(std::span<unsigned char> out);
  [[nodiscard]] virtual std::uint32_t length() const;

  // The one-way function of the parameter, applied so many times to password and salt, becomes the key. False for a
  // function that is not known, or a count below 1 or above what any sender asks for.
  bool setPassword(std::span<const unsigned char> password, const PBMParameter& parameter);

 protected:
  std::unique_ptr<MessageDigest> digest_;
  SecretBytes key_;
};

}  // namespace keystrand
