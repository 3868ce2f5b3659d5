// A digest algorithm. Instances hold the state of one computation; one thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "keystrand/crypto/DigestInfo.h"

namespace keystrand {

class KEYSTRAND_API MessageDigest {
 public:
  virtual ~MessageDigest();
  virtual void reset();  // what was taken in is given up
  // The whole digest in one call; a new DigestInfo that the caller deletes, nullptr from the base.
  [[nodiscard]] virtual owner<DigestInfo*> digest(const unsigned char* data, std::size_t length);
  virtual void update(const unsigned char* data, std::size_t length);
  // Writes digestLength() bytes and returns their number; 0 when out is too small. Resets the state.
  virtual std::uint32_t final(std::span<unsigned char> out);
  [[nodiscard]] virtual std::uint32_t digestLength() const;
  [[nodiscard]] virtual std::uint32_t blockLength() const;
  [[nodiscard]] virtual const char* oid() const;  // dotted, nullptr from the base
};

}  // namespace keystrand
