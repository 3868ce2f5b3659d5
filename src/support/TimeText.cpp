#include "support/TimeText.h"

#include <algorithm>
#include <array>
#include <span>
#include <utility>

#include "support/Text.h"

namespace keystrand {

namespace {

using Names = std::span<const std::string_view>;
constexpr std::array<std::string_view, 7> kDays = {"sunday",   "monday", "tuesday", "wednesday",
                                                   "thursday", "friday", "saturday"};
constexpr std::array<std::string_view, 12> kMonths = {"january",   "february", "march",    "april",
                                                      "may",       "june",     "july",     "august",
                                                      "september", "october",  "november", "december"};
constexpr std::array<std::string_view, 2> kHalves = {"am", "pm"};
constexpr std::size_t kShortName = 3;

// A conversion that reads a number: of so many digits at most, within bounds, and what it says of the field.
struct Number {
  char conversion;
  int digits;
  int least;
  int most;
  int std::tm::*field;
  int offset;  // from the number to the field
};
constexpr Number kNumbers[] = {
    {'d', 2, 1, 31, &std::tm::tm_mday, 0},       {'e', 2, 1, 31, &std::tm::tm_mday, 0},
    {'H', 2, 0, 23, &std::tm::tm_hour, 0},       {'I', 2, 1, 12, &std::tm::tm_hour, 0},
    {'M', 2, 0, 59, &std::tm::tm_min, 0},        {'S', 2, 0, 60, &std::tm::tm_sec, 0},
    {'m', 2, 1, 12, &std::tm::tm_mon, -1},       {'y', 2, 0, 99, &std::tm::tm_year, 0},
    {'Y', 4, 0, 9999, &std::tm::tm_year, -1900}, {'j', 3, 1, 366, &std::tm::tm_yday, -1},
};
constexpr int kFirstYearOf19 = 69;

constexpr std::pair<char, std::string_view> kComposites[] = {
    {'D', "%m/%d/%y"}, {'F', "%Y-%m-%d"}, {'R', "%H:%M"}, {'T', "%H:%M:%S"}};

bool isBlank(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

class TimeReader {
 public:
  TimeReader(std::string_view text, std::tm& time) : text_(text), time_(time) {}

  bool read(std::string_view format) {
    for (std::size_t i = 0; i < format.size(); ++i) {
      if (isBlank(format[i])) {
        skipBlanks();
      } else if (format[i] == '%' && i + 1 < format.size()) {
        if (!convert(format[++i])) return false;
      } else if (!pass(format[i])) {
        return false;
      }
    }
    return true;
  }

  // Half a day is added once all is read, since the hour may stand behind the half.
  void finish() const {
    if (half_ >= 0) time_.tm_hour = time_.tm_hour % 12 + 12 * half_;
  }

  [[nodiscard]] std::size_t left() const { return text_.size(); }

 private:
  bool convert(char conversion) {
    switch (conversion) {
      case 'a':
      case 'A':
        return name(kDays, time_.tm_wday);
      case 'b':
      case 'B':
      case 'h':
        return name(kMonths, time_.tm_mon);
      case 'p':
        return name(kHalves, half_);
      case 'n':
      case 't':
        skipBlanks();
        return true;
      case '%':
        return pass('%');
      default:
        break;
    }
    for (const auto& [letter, format] : kComposites) {
      if (letter == conversion) return read(format);
    }
    const auto* row = std::ranges::find(kNumbers, conversion, &Number::conversion);
    return row != std::end(kNumbers) && number(*row);
  }

  bool name(Names names, int& index) {
    for (std::size_t i = 0; i < names.size(); ++i) {
      const std::size_t n = startsWithNoCase(text_, names[i]) ? names[i].size() : kShortName;
      if (!startsWithNoCase(text_, names[i].substr(0, n))) continue;
      text_.remove_prefix(std::min(n, names[i].size()));
      index = static_cast<int>(i);
      return true;
    }
    return false;
  }

  bool number(const Number& row) {
    skipBlanks();
    int value = 0;
    int digits = 0;
    for (; digits < row.digits && !text_.empty() && text_[0] >= '0' && text_[0] <= '9'; ++digits) {
      value = value * 10 + (text_[0] - '0');
      text_.remove_prefix(1);
    }
    if (digits == 0 || value < row.least || value > row.most) return false;
    if (row.conversion == 'y' && value < kFirstYearOf19) value += 100;
    time_.*row.field = value + row.offset;
    return true;
  }

  bool pass(char c) {
    if (text_.empty() || text_[0] != c) return false;
    text_.remove_prefix(1);
    return true;
  }

  void skipBlanks() {
    while (!text_.empty() && isBlank(text_[0])) text_.remove_prefix(1);
  }

  std::string_view text_;
  std::tm& time_;
  int half_ = -1;  // of the day, where it is told
};

}  // namespace

std::optional<std::size_t> parseTime(std::string_view text, std::string_view format, std::tm& time) {
  std::tm read = time;
  TimeReader reader(text, read);
  if (!reader.read(format)) return std::nullopt;
  reader.finish();
  time = read;
  return text.size() - reader.left();
}

}  // namespace keystrand
