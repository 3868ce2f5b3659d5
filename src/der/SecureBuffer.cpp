#include "keystrand/der/SecureBuffer.h"

#include <algorithm>
#include <span>

#include "keystrand/crypto/CryptoDevice.h"

namespace keystrand {

namespace {

// Longer ranges go to the device in pieces of this size.
constexpr std::uint32_t kChunk = 0x80000;

// The bytes of a block from `from` up to but not including `to`, both clamped to the limit.
std::span<const unsigned char> blockRange(const Buffer& buffer, std::uint32_t from, std::uint32_t to) {
  std::uint32_t held = 0;
  const unsigned char* block = buffer.data(held);
  const std::uint32_t end = std::min(to, buffer.limit());
  const std::uint32_t start = std::min(from, end);
  return {block + start, end - start};
}

}  // namespace

SecureBuffer::SecureBuffer(CryptoDevice* device) : device_(device) {}

SecureBuffer::SecureBuffer(CryptoDevice* device, std::uint32_t size) : Buffer(size), device_(device) {}

SecureBuffer::SecureBuffer(const SecureBuffer& other) : Buffer(other), device_(other.device_) {}

SecureBuffer::~SecureBuffer() = default;

bool SecureBuffer::setDigestAlgorithm(const AlgorithmIdentifier& algorithm) {
  return device_ != nullptr && device_->setDigest(algorithm);
}

bool SecureBuffer::setSignatureAlgorithm(const AlgorithmIdentifier& algorithm) {
  return device_ != nullptr && device_->setSignatureAlgorithm(algorithm);
}

owner<DigestInfo*> SecureBuffer::digestRange(std::uint32_t from, std::uint32_t to) {
  if (device_ == nullptr) return nullptr;
  const std::span<const unsigned char> bytes = blockRange(*this, from, to);
  return device_->digest(bytes.data(), bytes.size());
}

owner<DigestInfo*> SecureBuffer::digestAll() {
  return digestFrom(0);
}

owner<DigestInfo*> SecureBuffer::digestUpToCursor() {
  return digestRange(0, readPosition());
}

owner<DigestInfo*> SecureBuffer::digestUpToCursor(std::uint32_t from) {
  return digestRange(from, readPosition());
}

owner<DigestInfo*> SecureBuffer::digestFrom(std::uint32_t from) {
  return size() < kChunk ? digestRange(from, size()) : digestChunks(from, size(), kChunk);
}

// A chunk of 0 stands for the whole range at once.
owner<DigestInfo*> SecureBuffer::digestChunks(std::uint32_t from, std::uint32_t to, std::uint32_t chunk) {
  if (device_ == nullptr || !device_->digestInit()) return nullptr;
  std::span<const unsigned char> left = blockRange(*this, from, to);
  do {
    const std::size_t n = chunk == 0 ? left.size() : std::min<std::size_t>(chunk, left.size());
    if (!device_->digestUpdate(left.data(), n)) return nullptr;
    left = left.subspan(n);
  } while (!left.empty());
  return device_->digestFinal();
}

// The whole contents go to the device in pieces by what the buffer holds, a part of them by what the part holds.
owner<Signature*> SecureBuffer::signAll() {
  return signRange(0, size() >= kChunk);
}

owner<Signature*> SecureBuffer::signFrom(std::uint32_t from) {
  return signRange(from, size() >= from && size() - from >= kChunk);
}

owner<Signature*> SecureBuffer::signRange(std::uint32_t from, bool inPieces) {
  if (device_ == nullptr) return nullptr;
  std::span<const unsigned char> left = blockRange(*this, from, size());
  if (!inPieces) return device_->signData(left.data(), left.size());
  if (!device_->signInit()) return nullptr;
  while (!left.empty()) {
    const std::size_t n = std::min<std::size_t>(kChunk, left.size());
    if (!device_->signUpdate(left.data(), n)) return nullptr;
    left = left.subspan(n);
  }
  return device_->signFinal();
}

bool SecureBuffer::replaced(bool done, const Buffer& by) {
  if (!done) return false;
  const auto made = by.range(0, by.size());
  assign(made.data(), static_cast<std::uint32_t>(made.size()));
  return true;
}

bool SecureBuffer::encrypt() {
  Buffer out;
  const auto held = range(0, size());
  return device_ != nullptr && replaced(device_->encrypt(held.data(), held.size(), out), out);
}
bool SecureBuffer::decrypt() {
  Buffer out;
  const auto held = range(0, size());
  return device_ != nullptr && replaced(device_->decrypt(held.data(), held.size(), out), out);
}
bool SecureBuffer::encryptSecret(const unsigned char* vector, std::uint32_t length) {
  Buffer out;
  const auto held = range(0, size());
  return device_ != nullptr && replaced(device_->encryptSecret(held.data(), held.size(), vector, length, out), out);
}
bool SecureBuffer::decryptSecret(const unsigned char* vector, std::uint32_t length) {
  Buffer out;
  const auto held = range(0, size());
  return device_ != nullptr && replaced(device_->decryptSecret(held.data(), held.size(), vector, length, out), out);
}
bool SecureBuffer::encryptPBE(const char* password) {
  Buffer out;
  const auto held = range(0, size());
  return device_ != nullptr && replaced(device_->encryptPBE(held.data(), held.size(), password, out), out);
}
bool SecureBuffer::decryptPBE(const char* password) {
  Buffer out;
  const auto held = range(0, size());
  return device_ != nullptr && replaced(device_->decryptPBE(held.data(), held.size(), password, out), out);
}

}  // namespace keystrand
