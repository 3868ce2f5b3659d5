#include "net/CurlHeaders.h"

#include <algorithm>

namespace keystrand {

void CurlHeaders::add(std::string_view line) {
  if (line.size() >= kLineLimit) return;
  line = line.substr(0, line.find('\0'));
  const std::size_t colon = line.find(':');
  if (colon == std::string_view::npos) return;
  const std::string_view before = line.substr(0, colon);
  const std::string_view name = before.substr(before.rfind('\n') + 1);  // npos + 1 is the start
  const std::string_view value = line.substr(colon + 1);

  std::size_t row = 0;
  while (row < table_.size() && table_[row] != '\0') row += kRowSize;
  if (row == table_.size()) return;
  write(row, name);
  write(row + kFieldSize, value);
  lowerCaseName(row, value.size());
}

std::optional<std::string_view> CurlHeaders::find(std::string_view name) const {
  for (std::size_t row = 0; row < table_.size(); row += kRowSize)
    if (textAt(row) == name) return textAt(row + kFieldSize);
  return std::nullopt;
}

std::string_view CurlHeaders::textAt(std::size_t position) const {
  const std::string_view rest(table_.data() + position, table_.size() - position);
  return rest.substr(0, rest.find('\0'));
}

// A text longer than its field goes on into the next ones, a row so entered counts as taken; the table's end cuts it.
void CurlHeaders::write(std::size_t position, std::string_view text) {
  const std::size_t n = std::min(text.size(), table_.size() - position);
  std::copy_n(text.data(), n, table_.data() + position);
}

void CurlHeaders::lowerCaseName(std::size_t position, std::size_t count) {
  for (std::size_t i = position; i < position + std::min(count, kFieldSize); ++i)
    if (table_[i] >= 'A' && table_[i] <= 'Z') table_[i] = static_cast<char>(table_[i] - 'A' + 'a');
}

}  // namespace keystrand
