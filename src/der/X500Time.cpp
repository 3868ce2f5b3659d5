#include "keystrand/der/X500Time.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "der/Calendar.h"
#include "der/OrdinaryTime.h"
#include "der/TextValue.h"
#include "support/Memory.h"

namespace keystrand {

namespace {

constexpr std::int64_t kNoTime = -1;
constexpr std::string_view kNoTimeText = "999999999999";   // an endless or unknown time
constexpr std::string_view kFailedText = "000000000000Z";  // a time that could not be read
constexpr std::string_view kMidnight = "000000Z";
constexpr std::size_t kUTCTextLength = 17;
constexpr std::size_t kGeneralizedTextLength = 26;
constexpr std::size_t kFractionDigits = 6;
constexpr std::int64_t kSecondsPerDay = 86400;
constexpr int kTmYear = 1900;  // where std::tm begins to count

template <std::size_t N>
void store(std::array<char, N>& target, std::string_view text) {
  target.fill('\0');
  std::copy_n(text.begin(), std::min(text.size(), N - 1), target.begin());
}

// The number at a place of the text as atoi() reads it, modulo 2^32; 0 behind the end and where no digit stands.
std::int32_t numberAt(std::string_view text, std::size_t at) {
  text.remove_prefix(std::min(text.size(), at));
  text.remove_prefix(std::min(text.size(), text.find_first_not_of(" \t\n\v\f\r")));
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  std::uint32_t value = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') break;
    value = value * 10 + static_cast<std::uint32_t>(c - '0');
  }
  return static_cast<std::int32_t>(negative ? 0 - value : value);
}

// Takes the zone out of the text and gives it in seconds east of GMT. The sign and the hours stay in the text: a
// UTCTime without seconds then has them where the seconds would stand, and is read as one with seconds 0.
std::int64_t takeOffset(std::string& text) {
  constexpr std::size_t kSignAndHours = 3;
  std::int64_t offset = 0;
  for (const auto& [sign, factor] : {std::pair{'+', 1}, std::pair{'-', -1}}) {
    const std::size_t at = text.find(sign);
    if (at == std::string::npos) continue;
    const std::int64_t minutes = numberAt(text, at + kSignAndHours);
    text.resize(std::min(text.size(), at + kSignAndHours));
    offset += factor * (std::int64_t{numberAt(text, at + 1)} * 3600 + minutes * 60);
  }
  text.resize(std::min(text.size(), text.find('Z')));
  return offset;
}

// Reads the fields of a text without zone; false when one is missing, which is then 0. A UTCTime of ten characters has
// no seconds. A field may carry a sign or stand behind blanks, as in scanf().
bool scan(const std::string& text, unsigned char tag, CalendarTime& time) {
  const bool generalized = tag == X500Time::kGeneralizedTime;
  const bool withoutSeconds = !generalized && text.size() == 10;
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
  const int found = std::sscanf(text.c_str(), generalized ? "%4d%2d%2d%2d%2d%2d" : "%2d%2d%2d%2d%2d%2d", &year, &month,
                                &day, &hour, &minute, &second);
  time = {generalized ? year : fullYear(year), month, day, hour, minute, withoutSeconds ? 0 : second};
  return found >= (withoutSeconds ? 5 : 6);
}

bool isTime(std::string_view text, unsigned char tag) {
  std::string fields(text);
  takeOffset(fields);
  CalendarTime time;
  return scan(fields, tag, time);
}

// The day of a text of digits with the time of day behind them.
std::int64_t midnightOf(const std::string& text, unsigned char tag) {
  CalendarTime time;
  scan(text, tag, time);
  return epochSeconds({time.year, time.month, time.day, 0, 0, 0});
}

bool hasZone(std::string_view text) {
  return text.find_first_of("+-Z") != std::string_view::npos;
}

// Up to six digits behind the decimal point; nothing where there is no point.
std::optional<std::string> fractionOf(const std::string& text) {
  const std::size_t point = text.find('.');
  if (point == std::string::npos) return std::nullopt;
  const std::string digits = text.substr(point + 1, kFractionDigits);
  return digits.substr(0, digits.find_first_not_of("0123456789"));
}

std::string withoutTrailingZeros(std::string digits) {
  digits.erase(digits.find_last_not_of('0') + 1);
  return digits;
}

std::string digitsOf(std::int64_t value, std::size_t width) {
  std::string digits = std::to_string(value);
  return digits.insert(0, width - std::min(width, digits.size()), '0');
}

// YYYYMMDDhhmmss, with more digits for a year beyond 9999; nothing before the year 0 and where the system's calendar
// ends.
std::optional<std::string> digitsInGMT(std::int64_t seconds) {
  std::tm gmt{};
  const std::time_t time = seconds;
  if (gmtime_r(&time, &gmt) == nullptr || gmt.tm_year < -kTmYear) return std::nullopt;
  std::string text = digitsOf(std::int64_t{gmt.tm_year} + kTmYear, 4);
  for (const int field : {gmt.tm_mon + 1, gmt.tm_mday, gmt.tm_hour, gmt.tm_min, gmt.tm_sec}) text += digitsOf(field, 2);
  return text;
}

}  // namespace

X500Time::X500Time() {
  store(text_, "700101000000Z");
}

// --- setters -----------------------------------------------------------------------------------------------

void X500Time::setUTCText(const char* text) {
  std::string fields(textOrEmpty(text).substr(0, kUTCTextLength));
  const std::string kept = fields;
  const std::int64_t offset = takeOffset(fields);
  CalendarTime time;
  scan(fields, kUTCTime, time);
  setWhole(kUTCTime, epochSeconds(time) - offset, hasZone(kept) ? kept : kept + 'Z');
}

void X500Time::setUTCDate(const char* yymmdd) {
  const std::string text = std::string(textOrEmpty(yymmdd).substr(0, 6)).append(kMidnight);
  setWhole(kUTCTime, midnightOf(text, kUTCTime), text);
}

void X500Time::setGeneralizedDate(const char* yyyymmdd) {
  const std::string text = std::string(textOrEmpty(yyyymmdd).substr(0, 8)).append(kMidnight);
  setWhole(kGeneralizedTime, midnightOf(text, kGeneralizedTime), text);
}

void X500Time::setGeneralizedText(const char* text) {
  std::string fields(textOrEmpty(text).substr(0, kGeneralizedTextLength));
  std::string kept = fields;
  const std::int64_t offset = takeOffset(fields);
  CalendarTime time;
  scan(fields, kGeneralizedTime, time);
  const std::optional<std::string> digits = fractionOf(fields);
  if (digits) {
    const std::size_t point = kept.find('.');
    const std::size_t zone = std::min(kept.size(), kept.find_first_of("Z+-", point));
    const std::string fraction = withoutTrailingZeros(*digits);
    kept = kept.substr(0, point) + (fraction.empty() ? "" : "." + fraction) + kept.substr(zone);
  }
  setWhole(kGeneralizedTime, epochSeconds(time) - offset, hasZone(kept) ? kept : kept + 'Z');
  if (!digits) return;
  store(fraction_, withoutTrailingZeros(*digits));
  std::string scaled = *digits;
  scaled.resize(kFractionDigits, '0');
  microseconds_ = static_cast<std::uint32_t>(numberAt(scaled, 0));
}

void X500Time::setUTC(std::int64_t seconds) {
  if (seconds == kNoTime) return setWhole(tag_, kNoTime, kNoTimeText);
  const std::optional<std::string> digits = digitsInGMT(seconds);
  setWhole(kUTCTime, seconds, digits ? digits->substr(digits->size() - 12) + 'Z' : std::string(kNoTimeText));
}

void X500Time::setGeneralized(std::int64_t seconds) {
  setGeneralized(seconds, 0);
}

void X500Time::setGeneralized(std::int64_t seconds, std::uint32_t microseconds) {
  if (seconds == kNoTime) return setWhole(tag_, kNoTime, kNoTimeText);
  const std::optional<std::string> digits = digitsInGMT(seconds);
  const bool hasText = digits && digits->size() == 14;
  const bool withFraction = microseconds > 0 && microseconds < 1000000;
  const std::string fraction =
      withFraction ? withoutTrailingZeros(digitsOf(microseconds, kFractionDigits)) : std::string();
  setWhole(kGeneralizedTime, seconds,
           hasText ? *digits + (withFraction ? "." + fraction : "") + 'Z' : std::string(kNoTimeText));
  if (!withFraction) return;
  store(fraction_, fraction);
  microseconds_ = microseconds;
}

// A value without a fraction.
void X500Time::setWhole(unsigned char tag, std::int64_t seconds, std::string_view text) noexcept {
  tag_ = tag;
  seconds_ = seconds;
  microseconds_ = 0;
  fraction_.fill('\0');
  store(text_, text);
}

// --- arithmetic --------------------------------------------------------------------------------------------

// The text is made anew for the kind that the value has.
void X500Time::setSeconds(std::int64_t seconds, std::uint32_t microseconds) {
  if (tag_ == kGeneralizedTime) {
    setGeneralized(seconds, microseconds);
  } else {
    setUTC(seconds);
  }
}

void X500Time::add(const CalendarTime& amounts) {
  std::tm gmt{};
  const std::time_t time = seconds_;
  if (gmtime_r(&time, &gmt) == nullptr) return;
  setSeconds(
      epochSeconds({kTmYear + amounts.year + gmt.tm_year, gmt.tm_mon + 1 + amounts.month, gmt.tm_mday + amounts.day,
                    gmt.tm_hour + amounts.hour, gmt.tm_min + amounts.minute, gmt.tm_sec + amounts.second}),
      microseconds_);
}

void X500Time::addDate(int years, int months, int days) {
  add({years, months, days, 0, 0, 0});
}

void X500Time::addTime(int hours, int minutes, int seconds) {
  add({0, 0, 0, hours, minutes, seconds});
}

void X500Time::toMidnight() {
  setSeconds(seconds_ - seconds_ % kSecondsPerDay, 0);
}

// --- comparison --------------------------------------------------------------------------------------------

bool X500Time::equals(const X500Time& other) const noexcept {
  return seconds_ == other.seconds_ && microseconds_ == other.microseconds_;
}

bool X500Time::less(const X500Time& other) const noexcept {
  return std::pair(seconds_, microseconds_) < std::pair(other.seconds_, other.microseconds_);
}

// --- coding ------------------------------------------------------------------------------------------------

owner<char*> X500Time::text() const {
  return newText(textView());
}

std::uint32_t X500Time::size(const Buffer& buffer) const {
  return buffer.sizeOctetString(textView());
}

void X500Time::put(Buffer& buffer) const {
  buffer.putText(textView(), tag_);
}

bool X500Time::get(Buffer& buffer) {
  std::string_view text;
  if (viewText(buffer, tag_, text) && text.data() != nullptr && (readOrdinary(text) || readAny(text))) return true;
  setWhole(tag_, kNoTime, kFailedText);
  return false;
}

// The same answer as readAny gives.
bool X500Time::readOrdinary(std::string_view text) noexcept {
  CalendarTime time;
  if (!readOrdinaryTime(tag_, text, time)) return false;
  setWhole(tag_, epochSeconds(time), text);
  return true;
}

// Every other text. Unlike the setter this reader takes the digits of a short fraction as they stand: .5 is 5
// microseconds. The part of a long text that is kept must be a time too: put writes it, and a file that holds a time
// that cannot be read ends there.
bool X500Time::readAny(std::string_view text) {
  std::string fields(text);
  const std::int64_t offset = takeOffset(fields);
  const std::string_view kept = text.substr(0, kGeneralizedTextLength);
  CalendarTime time;
  if (!scan(fields, tag_, time) || (kept.size() < text.size() && !isTime(kept, tag_))) return false;
  setWhole(tag_, epochSeconds(time) - offset, kept);
  if (const std::optional<std::string> digits = fractionOf(fields)) {
    store(fraction_, *digits);
    microseconds_ = static_cast<std::uint32_t>(numberAt(*digits, 0));
  }
  return true;
}

}  // namespace keystrand
