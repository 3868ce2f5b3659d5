#include "keystrand/crypto/MessageDigest.h"

namespace keystrand {

MessageDigest::~MessageDigest() = default;
void MessageDigest::reset() {}
owner<DigestInfo*> MessageDigest::digest(const unsigned char*, std::size_t) {
  return nullptr;
}
void MessageDigest::update(const unsigned char*, std::size_t) {}
std::uint32_t MessageDigest::final(std::span<unsigned char>) {
  return 0;
}
std::uint32_t MessageDigest::digestLength() const {
  return 0;
}
std::uint32_t MessageDigest::blockLength() const {
  return 0;
}
const char* MessageDigest::oid() const {
  return nullptr;
}

}  // namespace keystrand
