// A point in time as X.509 knows it: UTCTime or GeneralizedTime (RFC 5280 section 4.1.2.5), with the text it arrived
// in.
//
// seconds() is always GMT, the offset of the text taken out; text() keeps the offset as written. seconds() of -1 stands
// for no time at all and is earlier than every valid date.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "keystrand/der/Buffer.h"

namespace keystrand {

struct CalendarTime;

class KEYSTRAND_API X500Time {
 public:
  static constexpr unsigned char kUTCTime = 23;
  static constexpr unsigned char kGeneralizedTime = 24;

  X500Time();  // 1970-01-01 00:00:00 as UTCTime "700101000000Z"
  [[nodiscard]] owner<X500Time*> clone() const { return new X500Time(*this); }

  void setUTCText(const char* text);
  void setUTCDate(const char* yymmdd);
  void setUTC(std::int64_t seconds);
  void setGeneralizedText(const char* text);
  void setGeneralizedDate(const char* yyyymmdd);
  void setGeneralized(std::int64_t seconds);
  void setGeneralized(std::int64_t seconds, std::uint32_t microseconds);
  void addDate(int years, int months, int days);
  void addTime(int hours, int minutes, int seconds);
  void toMidnight();

  [[nodiscard]] std::int64_t seconds() const noexcept { return seconds_; }
  [[nodiscard]] std::uint32_t microseconds() const noexcept { return microseconds_; }
  [[nodiscard]] unsigned char tag() const noexcept { return tag_; }
  [[nodiscard]] owner<char*> text() const;
  [[nodiscard]] const char* textView() const noexcept { return text_.data(); }          // valid while this object lives
  [[nodiscard]] const char* fractionView() const noexcept { return fraction_.data(); }  // likewise

  [[nodiscard]] bool equals(const X500Time& other) const noexcept;
  [[nodiscard]] bool notEquals(const X500Time& other) const noexcept { return !equals(other); }
  [[nodiscard]] bool less(const X500Time& other) const noexcept;
  [[nodiscard]] bool greater(const X500Time& other) const noexcept { return other.less(*this); }
  [[nodiscard]] bool lessOrEqual(const X500Time& other) const noexcept { return !other.less(*this); }
  [[nodiscard]] bool greaterOrEqual(const X500Time& other) const noexcept { return !less(other); }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

  // New texts, delete[]d by the caller.
  [[nodiscard]] owner<char*> dateShortLocal() const;
  [[nodiscard]] owner<char*> dateLongLocal() const;
  [[nodiscard]] owner<char*> timeGMT() const;
  [[nodiscard]] owner<char*> timeLocal() const;
  [[nodiscard]] owner<char*> dateGMT() const;
  [[nodiscard]] owner<char*> dateLocal() const;
  [[nodiscard]] owner<char*> dateTimeGMT() const;
  [[nodiscard]] owner<char*> dateTimeLocal() const;
  [[nodiscard]] owner<char*> formatGMT(const char* format) const;
  [[nodiscard]] owner<char*> formatLocal(const char* format) const;
  void formatGMT(char* target, std::size_t n, const char* format) const;
  void formatLocal(char* target, std::size_t n, const char* format) const;

  // Process-wide; at most 20 characters are kept. The local forms append it from its fourth character on.
  static void setTimeZoneName(const char* name);
  [[nodiscard]] static owner<char*> timeZoneName();

 private:
  void setWhole(unsigned char tag, std::int64_t seconds, std::string_view text) noexcept;
  void setSeconds(std::int64_t seconds, std::uint32_t microseconds);
  void add(const CalendarTime& amounts);
  bool readOrdinary(std::string_view text) noexcept;
  bool readAny(std::string_view text);

  std::int64_t seconds_ = 0;
  std::uint32_t microseconds_ = 0;
  std::array<char, 27> text_{};
  std::array<char, 7> fraction_{};  // digits behind the decimal point of the seconds
  unsigned char tag_ = kUTCTime;
};

}  // namespace keystrand
