#include "net/HeaderRows.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "support/Text.h"

namespace keystrand {

bool HeaderRows::add(unsigned char byte) {
  if (byte == '\n') {
    if (lineBytes_ == 0) return false;
    lineBytes_ = 0;
    if (column_ != 0) nextRow();  // a line that just fills its row has moved on already
  } else if (byte != '\r') {
    table_[row_ * kRowBytes + column_] = foldCase(static_cast<char>(byte));
    ++lineBytes_;
    if (++column_ == kRowBytes) nextRow();
  }
  return row_ < kRows;
}

bool HeaderRows::read(Transport& peer) {
  *this = {};
  const Transport::Limit limit(peer);
  unsigned char byte = 0;
  while (peer.readExact({&byte, 1}) == 0 && add(byte)) {
  }
  return !textAt(0).empty();
}

std::vector<std::string_view> HeaderRows::texts() const {
  std::vector<std::string_view> rows;
  for (std::size_t row = 0; !textAt(row).empty(); ++row) rows.push_back(textAt(row));  // the one past the last is empty
  return rows;
}

std::string_view HeaderRows::textAt(std::size_t row) const {
  const std::string_view whole(table_.data() + row * kRowBytes, kRowBytes);
  return whole.substr(0, whole.find('\0'));
}

void HeaderRows::nextRow() {
  ++row_;
  column_ = 0;
}

std::optional<std::string_view> textBehind(std::string_view row, std::string_view name) {
  const std::size_t at = row.find(name);
  if (at == std::string_view::npos) return std::nullopt;
  return row.substr(at + name.size());
}

std::optional<std::string_view> valueBehind(std::string_view row, std::string_view name) {
  const auto text = textBehind(row, name);
  return text ? std::optional(text->substr(std::min<std::size_t>(1, text->size()))) : std::nullopt;
}

std::int64_t leadingDecimal(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
  const bool negative = text.starts_with('-');
  if (text.starts_with('+')) text.remove_prefix(1);
  std::int64_t value = 0;
  if (std::from_chars(text.data(), text.data() + text.size(), value).ec == std::errc::result_out_of_range)
    return negative ? std::numeric_limits<std::int64_t>::min() : std::numeric_limits<std::int64_t>::max();
  return value;
}

}  // namespace keystrand
