// What all our digests share: input is gathered into blocks, the end is padded with one bit, zeros and the length
// (FIPS 180-4 section 5.1, RFC 1321 sections 3.1 and 3.2). An Algorithm supplies the rest:
//
//   struct Algorithm {
//     using Word = ...;                                  // of the chaining value
//     static constexpr const char* kOID = ...;
//     static constexpr std::array<Word, n> kInitial;     // the chaining value at the start
//     static constexpr std::size_t kDigestLength, kBlockLength;
//     static constexpr std::endian kOrder;               // of words and length in bytes
//     static void blocks(Word* state, const unsigned char* data, std::size_t count);
//   };
#pragma once

#include <string.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <memory>

#include "crypto/Words.h"
#include "keystrand/crypto/MessageDigest.h"

namespace keystrand {

template <class Algorithm>
class BlockDigest : public MessageDigest {
 public:
  // What was digested may have been a key or a password: nothing of it stays here, not for the next message either.
  ~BlockDigest() override {
    explicit_bzero(state_.data(), sizeof state_);
    explicit_bzero(pending_.data(), sizeof pending_);
  }

  void reset() override {
    state_ = Algorithm::kInitial;
    pending_ = {};
    length_ = 0;
  }

  [[nodiscard]] owner<DigestInfo*> digest(const unsigned char* data, std::size_t length) override {
    std::array<unsigned char, Algorithm::kDigestLength> value;
    reset();
    update(data, length);
    final(value);
    return new DigestInfo(AlgorithmIdentifier(Algorithm::kOID), value);
  }

  void update(const unsigned char* data, std::size_t length) override {
    std::span<const unsigned char> input(data, length);
    const std::size_t held = length_ % kBlock;
    length_ += length;
    if (held != 0) {
      const auto head = input.first(std::min(input.size(), kBlock - held));
      std::ranges::copy(head, pending_.begin() + held);
      if (held + head.size() < kBlock) return;
      Algorithm::blocks(state_.data(), pending_.data(), 1);
      input = input.subspan(head.size());
    }
    const std::size_t whole = input.size() / kBlock;
    if (whole != 0) Algorithm::blocks(state_.data(), input.data(), whole);
    std::ranges::copy(input.subspan(whole * kBlock), pending_.begin());
  }

  std::uint32_t final(std::span<unsigned char> out) override {
    if (out.size() < Algorithm::kDigestLength) return 0;
    pad();
    std::array<unsigned char, sizeof(state_)> value;
    for (std::size_t i = 0; i < state_.size(); ++i) storeWord<Algorithm::kOrder>(state_[i], &value[i * sizeof(Word)]);
    std::copy_n(value.begin(), Algorithm::kDigestLength, out.begin());
    reset();
    return Algorithm::kDigestLength;
  }

  [[nodiscard]] std::uint32_t digestLength() const override { return Algorithm::kDigestLength; }
  [[nodiscard]] std::uint32_t blockLength() const override { return kBlock; }
  [[nodiscard]] const char* oid() const override { return Algorithm::kOID; }

 private:
  using Word = typename Algorithm::Word;
  static constexpr std::size_t kBlock = Algorithm::kBlockLength;
  static constexpr std::size_t kLengthField = 2 * sizeof(Word);  // the length in bits is two words

  void pad() {
    const std::uint64_t bytes = length_;
    std::size_t held = bytes % kBlock;
    pending_[held++] = 0x80;
    if (held > kBlock - kLengthField) {
      std::fill(pending_.begin() + held, pending_.end(), static_cast<unsigned char>(0));
      Algorithm::blocks(state_.data(), pending_.data(), 1);
      held = 0;
    }
    std::fill(pending_.begin() + held, pending_.end(), static_cast<unsigned char>(0));
    putLength(bytes);
    Algorithm::blocks(state_.data(), pending_.data(), 1);
  }

  // In bits: 64 of them, or 128 whose upper half a count of bytes in 64 bits nearly leaves empty.
  void putLength(std::uint64_t bytes) {
    unsigned char* end = pending_.data() + kBlock;
    if constexpr (kLengthField == 16) storeWord<Algorithm::kOrder>(bytes >> 61, end - 16);
    storeWord<Algorithm::kOrder>(bytes << 3, end - 8);
  }

  std::array<Word, Algorithm::kInitial.size()> state_ = Algorithm::kInitial;
  std::array<unsigned char, kBlock> pending_{};
  std::uint64_t length_ = 0;  // bytes
};

}  // namespace keystrand
