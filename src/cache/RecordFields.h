// The fields that the records of the CA list file share: the two letters of a territory, and texts that may be missing.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "keystrand/der/Buffer.h"

namespace keystrand {

using CountryCode = std::array<char, 2>;  // zeros when unknown

// The first two bytes of a text; zeros stand for missing ones.
inline CountryCode countryCodeOf(std::string_view text) {
  CountryCode code{};
  std::copy_n(text.begin(), std::min(text.size(), code.size()), code.begin());
  return code;
}

// Whether the text is exactly these two characters.
inline bool isCountry(const CountryCode& code, const char* text) noexcept {
  return text != nullptr && std::strlen(text) == code.size() && std::memcmp(text, code.data(), code.size()) == 0;
}

using CountryOctets = std::array<unsigned char, 2>;

inline std::uint32_t sizeCountryCode(const Buffer& buffer, const CountryCode& code) {
  return buffer.sizeOctetString(std::bit_cast<CountryOctets>(code).data(), static_cast<std::uint32_t>(code.size()));
}

inline void putCountryCode(Buffer& buffer, const CountryCode& code) {
  buffer.putOctetString(std::bit_cast<CountryOctets>(code).data(), static_cast<std::uint32_t>(code.size()));
}

// Another element in its place leaves the code zero and is no failure here: the reader of the next field meets it.
inline bool getCountryCode(Buffer& buffer, CountryCode& code) {
  CountryOctets octets{};
  const bool isRead = buffer.getOctetString(std::span(octets));
  code = std::bit_cast<CountryCode>(octets);
  return isRead;
}

// A missing text is left out when a record is written, while the reader expects each in its place: a record with a
// missing text does not come back. Files of other makers have NULL in such a place, which reads as missing.
inline std::uint32_t sizeText(const Buffer& buffer, const std::optional<std::string>& text) {
  return text ? buffer.sizeOctetString(text->c_str()) : 0;
}

inline void putText(Buffer& buffer, const std::optional<std::string>& text) {
  if (text) buffer.putOctetString(text->c_str());
}

inline bool getText(Buffer& buffer, std::optional<std::string>& text) {
  char* read = nullptr;
  const bool isRead = buffer.getOctetString(read);
  const std::unique_ptr<char[]> owned(read);
  text = owned ? std::optional<std::string>(owned.get()) : std::nullopt;
  return isRead;
}

}  // namespace keystrand
