// One task that may fill a context's working buffer with a whole file or download. The buffer outlives it with its
// context, so at its end a block that has become large is given back.
#pragma once

#include "keystrand/der/Buffer.h"

namespace keystrand {

class LargeWork {
 public:
  explicit LargeWork(Buffer& buffer) noexcept : buffer_(buffer) {}
  ~LargeWork() {
    if (buffer_.limit() > kMostIdle) buffer_.release();
  }
  LargeWork(const LargeWork&) = delete;
  LargeWork& operator=(const LargeWork&) = delete;

 private:
  static constexpr std::uint32_t kMostIdle = 0x100000;  // bytes

  Buffer& buffer_;
};

}  // namespace keystrand
