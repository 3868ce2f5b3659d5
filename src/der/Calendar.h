// The Gregorian calendar in GMT, without leap seconds and without the time zone of the process.
#pragma once

#include <cstdint>

namespace keystrand {

// Fields as written: month 1 to 12, day 1 to 31. Out of their range they carry over, as timegm() has it.
struct CalendarTime {
  std::int64_t year = 0;
  std::int64_t month = 0;
  std::int64_t day = 0;
  std::int64_t hour = 0;
  std::int64_t minute = 0;
  std::int64_t second = 0;
};

// Days from 1970-01-01 to the first of the month. Counted in years that begin in March, so that the leap day comes
// last.
constexpr std::int64_t daysBeforeMonth(std::int64_t year, std::int64_t month) {
  const std::int64_t months = year * 12 + (month - 3);
  const std::int64_t marchYear = months >= 0 ? months / 12 : -((11 - months) / 12);
  const std::int64_t marchMonth = months - marchYear * 12;
  const std::int64_t centuries = marchYear >= 0 ? marchYear / 100 : -((99 - marchYear) / 100);
  const std::int64_t fourCenturies = centuries >= 0 ? centuries / 4 : -((3 - centuries) / 4);
  const std::int64_t fourYears = marchYear >= 0 ? marchYear / 4 : -((3 - marchYear) / 4);
  constexpr std::int64_t kDaysTo1970March = 719468;  // from 0000-03-01 to 1970-01-01
  return marchYear * 365 + fourYears - centuries + fourCenturies + (marchMonth * 153 + 2) / 5 - kDaysTo1970March;
}

// Seconds since 1970-01-01 00:00:00.
constexpr std::int64_t epochSeconds(const CalendarTime& time) {
  const std::int64_t days = daysBeforeMonth(time.year, time.month) + time.day - 1;
  return ((days * 24 + time.hour) * 60 + time.minute) * 60 + time.second;
}

static_assert(epochSeconds({1970, 1, 1, 0, 0, 0}) == 0);
static_assert(epochSeconds({1950, 1, 1, 0, 0, 0}) == -631152000);
static_assert(epochSeconds({9999, 12, 31, 23, 59, 59}) == 253402300799);

}  // namespace keystrand
