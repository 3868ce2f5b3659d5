// The bilingual catalogue of messages. Codes never move: clients store and compare them.
#pragma once

#include <span>

namespace keystrand {

constexpr unsigned long kErrorBase = 5120;
constexpr unsigned long kInfoBase = 4608;

constexpr unsigned char kLanguages = 2;  // 0 Italian, 1 English

struct Message {
  const char* italian;
  const char* english;
};

extern const std::span<const Message> errorMessages;  // 5120 to 5257
extern const std::span<const Message> infoMessages;   // 4608 to 4731

// The text of a code in a language. The tables are read flat, as the codes' owners index them:
// a language beyond 1 reads on into the following rows, up to the last cell. "" for a code of neither table.
const char* messageText(unsigned long code, unsigned char language);

struct NamePair {
  const char* italian;
  const char* english;
};
extern const std::span<const NamePair> verificationParameters;
extern const std::span<const NamePair> verificationValues;
extern const std::span<const NamePair> commandTexts;

}  // namespace keystrand
