#include "net/MailText.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <span>

#include "support/Base64.h"

namespace keystrand {

namespace {

constexpr std::size_t kLongestLine = 998;  // RFC 5322 section 2.1.1
constexpr std::size_t kShortSubject = 900;
constexpr std::size_t kWordOctets = 45;  // 60 characters of Base64: an encoded word has 75 at most (RFC 2047 section 2)

bool isPrintable(char c) {
  return c >= ' ' && c <= '~';
}

std::string base64(std::string_view text) {
  return encodeBase64({reinterpret_cast<const unsigned char*>(text.data()), text.size()});
}

// How much of the text goes into one encoded word: no character is divided (RFC 2047 section 5).
std::size_t wordLength(std::string_view text) {
  if (text.size() <= kWordOctets) return text.size();
  std::size_t n = kWordOctets;
  while (n > kWordOctets - 4 && (static_cast<unsigned char>(text[n]) & 0xC0U) == 0x80) --n;
  return n;
}

// The text with CR LF for every end of a line, whichever it had, and one behind the last line. A line that begins with
// a dot gets another one, which the server takes away (RFC 5321 section 4.5.2).
std::string asLines(std::string_view text) {
  std::string lines;
  bool atStart = true;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n') continue;
    if (c == '\n' || c == '\r') {
      lines += "\r\n";
      atStart = true;
      continue;
    }
    if (atStart && c == '.') lines += '.';
    lines += c;
    atStart = false;
  }
  if (!atStart) lines += "\r\n";
  return lines;
}

bool goesAsItIs(std::string_view text) {
  std::size_t column = 0;
  for (const char c : text) {
    const bool ends = c == '\n' || c == '\r';
    if (!ends && !isPrintable(c) && c != '\t') return false;
    column = ends ? 0 : column + 1;
    if (column >= kLongestLine) return false;
  }
  return true;
}

}  // namespace

std::string mailDate(std::int64_t seconds) {
  constexpr std::array kDays = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  constexpr std::array kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  const std::time_t time = seconds;
  std::tm parts{};
  if (gmtime_r(&time, &parts) == nullptr) return {};
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%s, %02d %s %04d %02d:%02d:%02d +0000",
                kDays.at(static_cast<std::size_t>(parts.tm_wday)), parts.tm_mday,
                kMonths.at(static_cast<std::size_t>(parts.tm_mon)), parts.tm_year + 1900, parts.tm_hour, parts.tm_min,
                parts.tm_sec);
  return text.data();
}

std::string mailSubject(std::string_view subject) {
  if (subject.size() <= kShortSubject && std::ranges::all_of(subject, isPrintable)) return std::string(subject);
  std::string words;
  while (!subject.empty()) {
    const std::size_t n = wordLength(subject);
    if (!words.empty()) words += "\r\n ";
    words += "=?utf-8?B?" + base64(subject.substr(0, n)) + "?=";
    subject.remove_prefix(n);
  }
  return words;
}

std::string mailBody(std::string_view body) {
  if (goesAsItIs(body)) return "\r\n" + asLines(body);
  const std::string lines = encodeBase64Lines({reinterpret_cast<const unsigned char*>(body.data()), body.size()});
  return "MIME-Version: 1.0\r\nContent-Type: text/plain; charset=utf-8\r\nContent-Transfer-Encoding: base64\r\n\r\n" +
         asLines(lines);
}

}  // namespace keystrand
