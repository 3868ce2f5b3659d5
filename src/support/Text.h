// Small helpers over text. Letters are those of ASCII; no locale is ever asked.
#pragma once

#include <cstddef>
#include <ctime>
#include <string>
#include <string_view>

namespace keystrand {

constexpr char foldCase(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

[[nodiscard]] bool equalsNoCase(std::string_view a, std::string_view b) noexcept;
[[nodiscard]] bool startsWithNoCase(std::string_view text, std::string_view prefix) noexcept;
// Where `part` begins in `text`, std::string_view::npos if nowhere or if either is empty.
[[nodiscard]] std::size_t findNoCase(std::string_view text, std::string_view part) noexcept;

// "31.12.2029 23:59:59"
[[nodiscard]] std::string formatTimeDots(const std::tm& time);
// The present local time, "31/12/2029 23:59:59".
[[nodiscard]] std::string nowLocalText();
// DDMMYYYYhhmmss as "31.12.2029 23:59:59" and DDMMYYYY as "31.12.2029"; a shorter text gives an empty one.
[[nodiscard]] std::string dotted14(std::string_view text);
[[nodiscard]] std::string dotted8(std::string_view text);

}  // namespace keystrand
