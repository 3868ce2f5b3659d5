// Octets that may be absent, as a member of a structure: one block of exactly their size. A value of no octets is
// present and not the same as an absent one, so that each comes back from an encoding as it arrived.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>

#include "keystrand/support/Api.h"

namespace keystrand {

class OctetValue {
 public:
  OctetValue() = default;
  // Present, though the span be empty.
  explicit OctetValue(std::span<const unsigned char> bytes)
      : bytes_(new unsigned char[bytes.size()]), size_(static_cast<std::uint32_t>(bytes.size())) {
    std::ranges::copy(bytes, bytes_.get());
  }
  OctetValue(const OctetValue& other) { assign(other.data(), other.size()); }
  OctetValue& operator=(const OctetValue& other) {
    if (this != &other) assign(other.data(), other.size());
    return *this;
  }
  OctetValue(OctetValue&&) noexcept = default;
  OctetValue& operator=(OctetValue&&) noexcept = default;
  ~OctetValue() = default;

  // Copies the bytes; nullptr makes the value absent.
  void assign(const unsigned char* bytes, std::uint32_t n) {
    std::unique_ptr<unsigned char[]> copy;
    if (bytes != nullptr) {
      copy.reset(new unsigned char[n]);
      if (n != 0) std::memcpy(copy.get(), bytes, n);
    }
    adopt(copy.release(), n);
  }
  // Takes over an array made with new[], as the readers of Buffer hand it out; nullptr makes the value absent.
  void adopt(owner<unsigned char*> bytes, std::uint32_t n) noexcept {
    bytes_.reset(bytes);
    size_ = n;
  }
  void clear() noexcept { bytes_.reset(); }

  [[nodiscard]] bool present() const noexcept { return bytes_ != nullptr; }
  // Not null for a present value, though it be empty.
  [[nodiscard]] const unsigned char* data() const noexcept { return bytes_.get(); }
  [[nodiscard]] std::uint32_t size() const noexcept { return bytes_ ? size_ : 0; }
  [[nodiscard]] std::span<const unsigned char> view() const noexcept { return {data(), size()}; }

 private:
  std::unique_ptr<unsigned char[]> bytes_;
  std::uint32_t size_ = 0;
};

}  // namespace keystrand
