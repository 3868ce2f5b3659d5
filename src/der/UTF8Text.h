// UTF-8 and 16-bit units, with the tolerances that the names of old certificates need.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <variant>

namespace keystrand {

// Reads one unit of a text and moves on. A lead byte alone decides the length, one to six bytes, and the bytes behind
// it are not tested to be continuation bytes; of the code point the low 16 bits are kept. False for a lone continuation
// byte, for FE and FF, and for a sequence that the text cuts short.
bool readUnit(std::string_view text, std::size_t& position, char16_t& unit) noexcept;
bool isASCII(std::string_view text) noexcept;
bool isConvertible(std::string_view text) noexcept;

// One unit as one to three bytes; surrogates one by one.
void appendUnit(std::string& out, char16_t unit);

// The text as it is where it is valid UTF-8 in its form (leads of two to four bytes, each with its continuation bytes),
// otherwise every byte taken for a Latin-1 character.
void appendRepaired(std::string& out, std::string_view text);

// The units of a value one by one, whichever form holds it. Ends, with 0, at the end or at the first NUL.
class UnitReader {
 public:
  using Value = std::variant<std::monostate, std::u16string, std::string>;
  explicit UnitReader(const Value& value) noexcept;

  char16_t next() noexcept;

 private:
  std::u16string_view units_;
  std::string_view text_;
  std::size_t position_ = 0;
};

}  // namespace keystrand
