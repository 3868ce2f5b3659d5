// The response headers of one request as its callers look them up: a table of 30 rows of two 40-byte fields, name and
// value, filled by the header lines of all responses that belong to the request (proxy, redirects, answer), in order.
//
// The fields overflow into each other within the table, and a name is lower-cased only as far as its value is long.
// What is found, and which types of a trusted list are refused, depends on both.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace keystrand {

class CurlHeaders {
 public:
  // One line as it came, line end included. Ignored: 128 bytes or more, no colon, a full table.
  void add(std::string_view line);

  // The value of the first row whose name is exactly `name`: as it came, leading blank and line end included, up to a
  // NUL or the end of the table. Valid as long as the table.
  [[nodiscard]] std::optional<std::string_view> find(std::string_view name) const;

  static constexpr std::size_t kRows = 30;
  static constexpr std::size_t kFieldSize = 40;
  static constexpr std::size_t kRowSize = 2 * kFieldSize;
  static constexpr std::size_t kLineLimit = 128;

 private:
  [[nodiscard]] std::string_view textAt(std::size_t position) const;
  void write(std::size_t position, std::string_view text);
  void lowerCaseName(std::size_t position, std::size_t count);

  std::array<char, kRows * kRowSize> table_{};
};

}  // namespace keystrand
