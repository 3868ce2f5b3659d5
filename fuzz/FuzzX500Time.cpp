// Times. The first byte is the tag, the rest the text: the fast road and the general one, which a zone that is spelt
// out takes, give the same instant; what was read comes back; the setters and the printable forms take any text.
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "Property.h"
#include "keystrand/der/X500Time.h"

namespace {

using keystrand::Buffer;
using keystrand::X500Time;
using keystrand::fuzz::require;

bool read(X500Time& time, unsigned char tag, const std::string& text) {
  Buffer in;
  in.putHeader(tag, static_cast<std::uint32_t>(text.size()));
  for (const char c : text) in.putByte(static_cast<unsigned char>(c));
  return time.get(in);
}

void comesBack(const X500Time& time) {
  Buffer copy;
  time.put(copy);
  require(copy.size() == time.size(copy), "size tells what put writes");
  X500Time back;
  require(back.get(copy), "what was written is read");
  require(back.equals(time) && back.tag() == time.tag(), "as it was");
  require(std::strcmp(back.textView(), time.textView()) == 0, "with its text");
}

// The digits of the input, as many as the ordinary form of this kind has. With a zone that is spelt out the same digits
// take the general road.
void bothRoadsAgree(unsigned char tag, const std::string& text, std::size_t count) {
  std::string digits;
  for (std::size_t i = 0; i < count; ++i)
    digits += static_cast<char>('0' + (i < text.size() ? static_cast<unsigned char>(text[i]) % 10 : 0));
  X500Time fast, general;
  require(read(fast, tag, digits + 'Z') && read(general, tag, digits + "+0000"), "both roads read digits");
  require(fast.equals(general), "and name the same instant");
}

void printsWithinBlocks(const X500Time& time, const char* format) {
  char block[16];
  time.formatGMT(block, sizeof block, format);
  require(std::memchr(block, '\0', sizeof block) != nullptr, "a text ends within its block");
  const std::unique_ptr<char[]> text(time.formatGMT(format));
  require(std::strlen(text.get()) < 64, "and within 64 bytes");
  const std::unique_ptr<char[]> full(time.dateTimeGMT());
  require(std::strlen(full.get()) >= 4, "with its zone");
}

void settersStayWithinText(const std::string& text) {
  X500Time time;
  for (const auto set :
       {&X500Time::setUTCText, &X500Time::setUTCDate, &X500Time::setGeneralizedText, &X500Time::setGeneralizedDate}) {
    (time.*set)(text.c_str());
    require(std::strlen(time.textView()) <= 26 && std::strlen(time.fractionView()) <= 6, "texts keep their places");
    require(time.microseconds() < 1000000, "microseconds are those of one second");
    time.addDate(1, -1, 1);
    time.toMidnight();
    require(time.seconds() % 86400 == 0, "midnight is midnight");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr unsigned char kNull = 5;
  constexpr std::size_t kKeptText = 26;
  if (size == 0) return 0;
  const unsigned char tag = data[0];
  const std::string text(data + 1, data + size);
  if (tag != 0) {
    X500Time time;
    const bool done = read(time, tag, text);
    require(done || (time.seconds() == -1 && time.microseconds() == 0), "a failure leaves no time");
    require(!done || tag != kNull, "NULL is no time");
    if (done && std::strlen(text.c_str()) <= kKeptText) comesBack(time);
    printsWithinBlocks(time, text.c_str());
  }
  bothRoadsAgree(X500Time::kUTCTime, text, 12);
  bothRoadsAgree(X500Time::kGeneralizedTime, text, 14);
  settersStayWithinText(text);
  return 0;
}
