#include "crypto/HMAC.h"

#include <algorithm>
#include <array>

namespace keystrand {

void HMAC::takePad(unsigned char pad) {
  SecretBytes block(digest_->blockLength());
  digest_->reset();
  if (key_.size() > block.size()) {
    digest_->update(key_.data(), key_.size());
    digest_->final(block);
  } else {
    std::ranges::copy(key_, block.begin());
  }
  for (unsigned char& octet : block) octet ^= pad;
  digest_->update(block.data(), block.size());
}

void HMAC::init() {
  if (digest_) takePad(0x36);
}

void HMAC::update(std::span<const unsigned char> part) {
  if (digest_) digest_->update(part.data(), part.size());
}

std::uint32_t HMAC::final(std::span<unsigned char> out) {
  if (!digest_ || out.size() < length()) return 0;
  std::array<unsigned char, 64> inner{};
  const std::uint32_t n = digest_->final(inner);
  takePad(0x5C);
  digest_->update(inner.data(), n);
  wipe(inner);
  digest_->final(out);
  init();
  return n;
}

std::uint32_t HMAC::length() const {
  return digest_ ? digest_->digestLength() : 0;
}

}  // namespace keystrand
