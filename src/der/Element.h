// One constructed element while it is being read: where it ends, in the definite or in the indefinite form
// (X.690 8.1.3).
#pragma once

#include <cstdint>

#include "keystrand/der/Buffer.h"

namespace keystrand {

constexpr unsigned char kSequence = 0x30;
constexpr unsigned char kSet = 0x31;

struct Element {
  std::uint64_t end = 0;
  bool definite = true;

  // Reads the header; false unless it carries this tag. Indefinite length is accepted only by openAny.
  bool open(Buffer& in, unsigned char tag) {
    unsigned char found = 0;
    std::uint32_t n = 0;
    if (!in.getHeader(found, n) || found != tag) return false;
    end = std::uint64_t{in.readPosition()} + n;
    return true;
  }
  bool openAny(Buffer& in, unsigned char tag) {
    unsigned char found = 0;
    std::uint32_t n = 0;
    if (!in.getHeader(found, n, definite) || found != tag) return false;
    end = std::uint64_t{in.readPosition()} + n;
    return true;
  }
  [[nodiscard]] bool atEnd(const Buffer& in) const { return definite ? in.readPosition() >= end : in.peekByte() == 0; }
  // Content left by the header, in the definite form.
  [[nodiscard]] std::uint64_t left(const Buffer& in) const {
    return end > in.readPosition() ? end - in.readPosition() : 0;
  }
};

// One level of nesting, for as long as it lives. False when the data nests too deep: the reader then gives up.
class Nesting {
 public:
  explicit Nesting(Buffer& buffer) noexcept : buffer_(buffer), entered_(buffer.enter()) {}
  ~Nesting() {
    if (entered_) buffer_.leave();
  }
  Nesting(const Nesting&) = delete;
  Nesting& operator=(const Nesting&) = delete;
  explicit operator bool() const noexcept { return entered_; }

 private:
  Buffer& buffer_;
  bool entered_;
};

}  // namespace keystrand
