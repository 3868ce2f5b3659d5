// A Buffer over bytes that someone else owns and keeps unchanged while it lives. For reading only.
#pragma once

#include <cstdint>
#include <span>

#include "keystrand/der/Buffer.h"

namespace keystrand {

class BorrowedBuffer final : public Buffer {
 public:
  explicit BorrowedBuffer(std::span<const unsigned char> bytes) {
    attach(const_cast<unsigned char*>(bytes.data()), static_cast<std::uint32_t>(bytes.size()));
  }
  BorrowedBuffer(const BorrowedBuffer&) = delete;
  BorrowedBuffer& operator=(const BorrowedBuffer&) = delete;
  ~BorrowedBuffer() override { detach(); }
};

}  // namespace keystrand
