// The device that the tests digest and verify with: the one of the library, in a process of its own.
#pragma once

#include <gtest/gtest.h>

#include "keystrand/crypto/CryptoDevice.h"
#include "keystrand/crypto/CryptoKi.h"
#include "keystrand/der/SecureBuffer.h"
#include "support/TestData.h"

namespace keystrand::test {

class TestDevice {
 public:
  TestDevice() { EXPECT_TRUE(device_.open(0, nullptr, 0)); }
  CryptoDevice& get() noexcept { return device_; }
  // Reads the object on the road that digests its body.
  template <class T>
  bool read(T& object, const ByteString& encoding) {
    SecureBuffer buffer(&device_);
    buffer.assign(encoding.data(), static_cast<std::uint32_t>(encoding.size()));
    return object.get(buffer);
  }

 private:
  CryptoKi cryptoKi_;
  CryptoDevice device_{&cryptoKi_};
};

}  // namespace keystrand::test
