// The printable forms of a time, by strftime().
#include <algorithm>
#include <ctime>
#include <mutex>
#include <span>
#include <string>
#include <string_view>

#include "der/TextValue.h"
#include "keystrand/der/X500Time.h"
#include "support/Memory.h"

namespace keystrand {

namespace {

constexpr std::size_t kTextCapacity = 64;  // of every text handed out, its NUL included
constexpr std::size_t kZoneNameLength = 20;
constexpr std::size_t kZoneNamePrefix = 3;

enum class Zone { kGMT, kLocal };

struct ZoneName {
  std::mutex mutex;
  std::string text;
};

// Never destroyed: every line of the log asks for it, and threads of the client may log while the process exits.
ZoneName& zoneName() {
  static auto& instance = *new ZoneName;
  return instance;
}

// What the local forms close with: the name without its first three characters.
std::string shownZoneName() {
  ZoneName& name = zoneName();
  const std::lock_guard lock(name.mutex);
  return name.text.substr(std::min(name.text.size(), kZoneNamePrefix));
}

// Empty where strftime() has no result, which is also its answer to a text that does not fit.
std::string formatted(const std::tm& fields, const std::string& format, std::size_t capacity) {
  std::string text(capacity, '\0');
  text.resize(std::strftime(text.data(), capacity, format.c_str(), &fields));
  return text;
}

// The fraction stands right behind the seconds, wherever the format has them.
std::string withFraction(const std::tm& fields, std::string_view format, std::string_view fraction,
                         std::size_t capacity) {
  std::size_t seconds = format.find("%S");
  if (seconds == std::string_view::npos) seconds = format.find("%T");
  if (fraction.empty() || seconds == std::string_view::npos) return formatted(fields, std::string(format), capacity);
  const std::string_view rest = format.substr(seconds + 2);
  std::string text = formatted(fields, std::string(format.substr(0, seconds + 2)), capacity);
  text.append(".").append(fraction).append(formatted(fields, std::string(rest), capacity));
  return text.substr(0, capacity - 1);
}

std::string textOf(const X500Time& time, Zone zone, const char* format, std::size_t capacity) {
  std::tm fields{};
  const std::time_t seconds = time.seconds();
  if (format == nullptr || capacity == 0) return {};
  if ((zone == Zone::kGMT ? gmtime_r(&seconds, &fields) : localtime_r(&seconds, &fields)) == nullptr) return {};
  return withFraction(fields, format, time.fractionView(), capacity);
}

owner<char*> newTextOf(const X500Time& time, Zone zone, const char* format, std::string_view ending = {}) {
  return newText(textOf(time, zone, format, kTextCapacity).append(ending));
}

void copyTo(std::span<char> target, std::string_view text) {
  if (target.data() == nullptr || target.empty()) return;
  target[text.copy(target.data(), target.size() - 1)] = '\0';
}

}  // namespace

owner<char*> X500Time::dateShortLocal() const {
  return newTextOf(*this, Zone::kLocal, "%y%m%d");
}

owner<char*> X500Time::dateLongLocal() const {
  return newTextOf(*this, Zone::kLocal, "%Y%m%d");
}

owner<char*> X500Time::timeGMT() const {
  return newTextOf(*this, Zone::kGMT, "%H:%M:%S", " GMT");
}

owner<char*> X500Time::timeLocal() const {
  return newTextOf(*this, Zone::kLocal, "%H:%M:%S", " " + shownZoneName());
}

owner<char*> X500Time::dateGMT() const {
  return newTextOf(*this, Zone::kGMT, "%x", " GMT");
}

owner<char*> X500Time::dateLocal() const {
  return newTextOf(*this, Zone::kLocal, "%x", " " + shownZoneName());
}

owner<char*> X500Time::dateTimeGMT() const {
  return newTextOf(*this, Zone::kGMT, "%x %H:%M:%S", " GMT");
}

owner<char*> X500Time::dateTimeLocal() const {
  return newTextOf(*this, Zone::kLocal, "%x %H:%M:%S", " " + shownZoneName());
}

owner<char*> X500Time::formatGMT(const char* format) const {
  return newTextOf(*this, Zone::kGMT, format);
}

owner<char*> X500Time::formatLocal(const char* format) const {
  return newTextOf(*this, Zone::kLocal, format);
}

void X500Time::formatGMT(char* target, std::size_t n, const char* format) const {
  copyTo({target, n}, textOf(*this, Zone::kGMT, format, n));
}

void X500Time::formatLocal(char* target, std::size_t n, const char* format) const {
  copyTo({target, n}, textOf(*this, Zone::kLocal, format, n));
}

void X500Time::setTimeZoneName(const char* name) {
  ZoneName& zone = zoneName();
  const std::lock_guard lock(zone.mutex);
  zone.text = textOrEmpty(name).substr(0, kZoneNameLength);
}

owner<char*> X500Time::timeZoneName() {
  ZoneName& zone = zoneName();
  const std::lock_guard lock(zone.mutex);
  return newText(zone.text);
}

}  // namespace keystrand
