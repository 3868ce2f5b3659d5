#include "crypto/CipherMac.h"

#include <algorithm>

namespace keystrand {

void CipherMac::init() {
  chain_.assign(cipher_->blockLength(), 0);
  held_ = 0;
}

void CipherMac::update(std::span<const unsigned char> part) {
  for (const unsigned char octet : part) {
    chain_[held_++] ^= octet;
    if (held_ < chain_.size()) continue;
    cipher_->encryptBlock(chain_.data(), chain_.data());
    held_ = 0;
  }
}

std::uint32_t CipherMac::final(std::span<unsigned char> out) {
  if (out.size() < length()) return 0;
  if (held_ != 0) cipher_->encryptBlock(chain_.data(), chain_.data());
  std::copy_n(chain_.begin(), length(), out.begin());
  init();
  return length();
}

std::uint32_t CipherMac::length() const {
  return static_cast<std::uint32_t>(cipher_->blockLength() / 2);
}

}  // namespace keystrand
