#include "support/Text.h"

#include <algorithm>
#include <cstdio>

namespace keystrand {

namespace {

// Day, month and year behind `separator`, then hour, minute and second.
std::string formatTime(const std::tm& time, char separator) {
  char text[100];  // six numbers of at most 11 characters
  const int n =
      std::snprintf(text, sizeof text, "%.2d%c%.2d%c%lld %.2d:%.2d:%.2d", time.tm_mday, separator, time.tm_mon + 1,
                    separator, time.tm_year + 1900LL, time.tm_hour, time.tm_min, time.tm_sec);
  return {text, static_cast<std::size_t>(std::max(n, 0))};
}

std::string piece(std::string_view text, std::size_t from, std::size_t n, const char* behind) {
  return std::string(text.substr(from, n)) + behind;
}

}  // namespace

bool equalsNoCase(std::string_view a, std::string_view b) noexcept {
  return a.size() == b.size() &&
         std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) { return x == y || foldCase(x) == foldCase(y); });
}

bool startsWithNoCase(std::string_view text, std::string_view prefix) noexcept {
  return equalsNoCase(text.substr(0, prefix.size()), prefix);
}

std::size_t findNoCase(std::string_view text, std::string_view part) noexcept {
  if (part.empty()) return std::string_view::npos;
  const auto found = std::search(text.begin(), text.end(), part.begin(), part.end(),
                                 [](char x, char y) { return foldCase(x) == foldCase(y); });
  return found == text.end() ? std::string_view::npos : static_cast<std::size_t>(found - text.begin());
}

std::string formatTimeDots(const std::tm& time) {
  return formatTime(time, '.');
}

std::string nowLocalText() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  return formatTime(local, '/');
}

std::string dotted14(std::string_view text) {
  if (text.size() < 14) return {};
  return dotted8(text) + ' ' + piece(text, 8, 2, ":") + piece(text, 10, 2, ":") + piece(text, 12, 2, "");
}

std::string dotted8(std::string_view text) {
  if (text.size() < 8) return {};
  return piece(text, 0, 2, ".") + piece(text, 2, 2, ".") + piece(text, 4, 4, "");
}

}  // namespace keystrand
