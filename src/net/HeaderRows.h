// The header of a message as the socket client keeps it: up to 30 rows of 80 bytes, lower-cased, without CR and LF. A
// longer line goes on in the next row and uses it up, so a long value is found only as far as its row reaches.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "net/Transport.h"

namespace keystrand {

class HeaderRows {
 public:
  static constexpr std::size_t kRows = 30;
  static constexpr std::size_t kRowBytes = 80;

  // Takes in the next byte of the header; false when it was the last one wanted: that of an empty line, or of the last
  // row.
  bool add(unsigned char byte);
  // Reads a new header from the peer, byte by byte, until the last one wanted or until no more come. False when there
  // is nothing in it. A peer that sends drop by drop is given up.
  bool read(Transport& peer);

  // Up to the first empty row; a NUL ends a row. Valid as long as the table, until it changes.
  [[nodiscard]] std::vector<std::string_view> texts() const;

 private:
  [[nodiscard]] std::string_view textAt(std::size_t row) const;
  void nextRow();

  std::array<char, (kRows + 1) * kRowBytes> table_{};
  std::size_t row_ = 0;
  std::size_t column_ = 0;
  std::size_t lineBytes_ = 0;  // of the present line, which may have filled rows before this one
};

// What stands behind `name` in the row, nothing when the row does not hold it. `name` may stand anywhere: a
// "content-location:" has a "location:" in it.
std::optional<std::string_view> textBehind(std::string_view row, std::string_view name);
// The same from one character further on, which is a blank as a rule. A server that leaves the blank out loses the
// first character of its value.
std::optional<std::string_view> valueBehind(std::string_view row, std::string_view name);

// The number at the start of a text, blanks passed over; 0 when there is none, the nearest that fits when it is too
// long.
std::int64_t leadingDecimal(std::string_view text);

}  // namespace keystrand
