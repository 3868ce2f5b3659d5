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

  // "YYMMDDhhmmssZ", of at most 17 characters, and "YYYYMMDDhhmmss.ffffffZ", of at most 26; an offset may stand for the
  // Z, which is added where neither stands. Fields that cannot be read are 0, and none is checked against its range.
  void setUTCText(const char* text);
  void setGeneralizedText(const char* text);
  // Midnight GMT of a day.
  void setUTCDate(const char* yymmdd);
  void setGeneralizedDate(const char* yyyymmdd);
  // From the seconds since 1970-01-01 00:00:00 GMT; -1 makes it no time, of the tag it has. Microseconds from 1,000,000
  // on count as none.
  void setUTC(std::int64_t seconds);
  void setGeneralized(std::int64_t seconds);
  void setGeneralized(std::int64_t seconds, std::uint32_t microseconds);
  // Any number of each, negative ones too; what passes the end of a month or of a day carries over. toMidnight goes to
  // the start of the day in GMT, before 1970 to its end. All make the text anew.
  void addDate(int years, int months, int days);
  void addTime(int hours, int minutes, int seconds);
  void toMidnight();

  [[nodiscard]] std::int64_t seconds() const noexcept { return seconds_; }
  [[nodiscard]] std::uint32_t microseconds() const noexcept { return microseconds_; }
  [[nodiscard]] unsigned char tag() const noexcept { return tag_; }
  [[nodiscard]] owner<char*> text() const;                                              // new, delete[]d by the caller
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

  // New texts, delete[]d by the caller, by strftime() and so in the language of the process where there are words; a
  // fraction stands behind the seconds. "" where strftime() has no result or one of more than 63 characters.
  [[nodiscard]] owner<char*> dateShortLocal() const;  // YYMMDD
  [[nodiscard]] owner<char*> dateLongLocal() const;   // YYYYMMDD
  [[nodiscard]] owner<char*> timeGMT() const;         // hh:mm:ss GMT
  [[nodiscard]] owner<char*> timeLocal() const;       // hh:mm:ss and the time zone's name
  [[nodiscard]] owner<char*> dateGMT() const;         // "%x GMT"
  [[nodiscard]] owner<char*> dateLocal() const;
  [[nodiscard]] owner<char*> dateTimeGMT() const;  // "%x %H:%M:%S GMT"
  [[nodiscard]] owner<char*> dateTimeLocal() const;
  [[nodiscard]] owner<char*> formatGMT(const char* format) const;
  [[nodiscard]] owner<char*> formatLocal(const char* format) const;
  // The same into n bytes, NUL included.
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
