// Controls of a message (RFC 4511 section 4.1.11).
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ldap/Coding.h"

namespace keystrand {

class Control {
 public:
  Control() = default;
  explicit Control(std::string_view controlType, unsigned char criticality = 0,
                   std::optional<Bytes> controlValue = std::nullopt)
      : controlType_(controlType), criticality_(criticality), controlValue_(std::move(controlValue)) {}

  [[nodiscard]] const std::string& controlType() const noexcept { return controlType_; }
  [[nodiscard]] unsigned char criticality() const noexcept { return criticality_; }
  [[nodiscard]] const std::optional<Bytes>& controlValue() const noexcept { return controlValue_; }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void encode(Buffer& buffer) const;
  bool decode(Buffer& in);

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::string controlType_;
  unsigned char criticality_ = 0;
  std::optional<Bytes> controlValue_;
};

class Controls {
 public:
  void add(Control control) { controls_.push_back(std::move(control)); }
  [[nodiscard]] const std::vector<Control>& controls() const noexcept { return controls_; }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer, unsigned char tag) const {
    return sizeListOf(buffer, controls_, tag);
  }
  void encode(Buffer& buffer, unsigned char tag) const { putListOf(buffer, controls_, tag); }
  bool decode(Buffer& in, unsigned char tag) { return getListOf(in, controls_, tag); }

 private:
  std::vector<Control> controls_;
};

}  // namespace keystrand
