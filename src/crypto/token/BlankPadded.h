// Texts in the fixed fields of PKCS #11: filled up with blanks, without an end of their own.
#pragma once

#include <algorithm>
#include <string_view>

namespace keystrand {

constexpr std::string_view kManufacturer = "Halvorn S.p.A.";

template <std::size_t N>
void pad(unsigned char (&field)[N], std::string_view text) {
  std::ranges::fill(field, static_cast<unsigned char>(' '));
  std::ranges::copy(text.substr(0, N), field);
}

}  // namespace keystrand
