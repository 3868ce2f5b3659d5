#include "net/HTTPDate.h"

#include <cstddef>
#include <string>

#include "support/Text.h"

namespace keystrand {
namespace {

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}
bool isLetter(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}
char upper(char c) {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

// Walks a text that may end anywhere; beyond its end it reads NUL.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : text_(text) {}

  [[nodiscard]] char peek(std::size_t offset = 0) const {
    return at_ + offset < text_.size() ? text_[at_ + offset] : '\0';
  }
  void skip(std::size_t n) { at_ = at_ + n < text_.size() ? at_ + n : text_.size(); }
  void skipAnyOf(std::string_view set) {
    while (peek() != '\0' && set.find(peek()) != std::string_view::npos) skip(1);
  }
  void skipUntilAnyOf(std::string_view set) {
    while (peek() != '\0' && set.find(peek()) == std::string_view::npos) skip(1);
  }
  void skipUntilLetter() {
    while (peek() != '\0' && !isLetter(peek())) skip(1);
  }
  // 0 where no number stands; at most nine digits count.
  int number() {
    int value = 0;
    for (int digits = 0; isDigit(peek()); skip(1)) {
      if (digits++ < 9) value = value * 10 + (peek() - '0');
    }
    return value;
  }

 private:
  std::string_view text_;
  std::size_t at_ = 0;
};

// The month by as few letters as tell it apart, in either case; 0 when none fits.
int month(const Scanner& at) {
  const char second = upper(at.peek(1));
  const char third = upper(at.peek(2));
  switch (upper(at.peek())) {
    case 'A':
      return second == 'P' ? 4 : 8;
    case 'D':
      return 12;
    case 'F':
      return 2;
    case 'J':
      return second == 'A' ? 1 : third == 'N' ? 6 : 7;
    case 'M':
      return third == 'R' ? 3 : 5;
    case 'N':
      return 11;
    case 'O':
      return 10;
    case 'S':
      return 9;
    default:
      return 0;
  }
}

struct Fields {
  int year = 0, month = 0, day = 0, hours = 0, minutes = 0, seconds = 0;
};

void readTime(Scanner& at, Fields& fields) {
  fields.hours = at.number();
  if (at.peek() != ':') return;
  at.skip(1);
  fields.minutes = at.number();
  if (at.peek() != ':') return;
  at.skip(1);
  fields.seconds = at.number();
}

constexpr std::string_view kBlanks = " \t";

Fields read(std::string_view text) {
  const bool dayFirst = findNoCase(text, "GMT") != std::string_view::npos;  // else the form of asctime
  Scanner at(text);
  Fields fields;
  at.skipAnyOf(kBlanks);
  at.skipUntilAnyOf(" ,");
  at.skip(1);
  at.skipAnyOf(" ,");
  if (dayFirst) {
    fields.day = at.number();
    at.skipUntilLetter();
  }
  fields.month = month(at);
  at.skip(3);
  at.skipAnyOf(" -");
  (dayFirst ? fields.year : fields.day) = at.number();
  at.skipAnyOf(kBlanks);
  readTime(at, fields);
  if (!dayFirst) {
    at.skipAnyOf(kBlanks);
    fields.year = at.number();
  }
  return fields;
}

bool plausible(const Fields& f) {
  return f.month >= 1 && f.month <= 12 && f.day >= 1 && f.day <= 31 && f.hours <= 23 && f.minutes <= 59 &&
         f.seconds <= 60;
}

}  // namespace

X500Time parseHTTPDate(std::string_view text) {
  Fields fields = read(text);
  if (fields.year > 1000) fields.year %= 1000;
  if (fields.year > 100) fields.year %= 100;
  X500Time time;
  if (!plausible(fields) || fields.year > 99) return time;
  std::string digits;
  for (const int value : {fields.year, fields.month, fields.day, fields.hours, fields.minutes, fields.seconds}) {
    digits += static_cast<char>('0' + value / 10);
    digits += static_cast<char>('0' + value % 10);
  }
  time.setUTCText(digits.c_str());
  return time;
}

}  // namespace keystrand
