// The log: one line per message, appended to one file by open, write and close each time, so that it can be moved away.
// Failures of the log are silent. Any thread may log.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "log/Catalogue.h"

namespace keystrand {

class Logger {
 public:
  // Levels of the library's own messages.
  static constexpr unsigned char kFailure = 3;
  static constexpr unsigned char kWarning = 4;
  static constexpr unsigned char kNotice = 5;
  static constexpr unsigned char kInformation = 6;
  static constexpr unsigned char kTrace = 7;

  // Process-wide; resets the numbering of the loggers.
  // A null file keeps no log. The mail host serves programs that log with mail; the library gives nullptr.
  static void start(const char* ident, const char* reserved, const char* file, const char* mailHost);
  [[nodiscard]] static std::optional<std::string> mailHost();

  Logger() : Logger(kInformation) {}
  explicit Logger(unsigned char level);

  void setLevel(unsigned char level) noexcept { level_ = level; }
  [[nodiscard]] unsigned char getLevel() const noexcept { return level_; }
  void setDebug() noexcept { level_ = kTrace; }
  void setOff() noexcept { level_ = 0; }
  [[nodiscard]] std::uint32_t instance() const noexcept { return instance_; }

  // Of the mails that logWithMail sends. Copies; nullptr takes them away. The sender is the local part of an address.
  void setMailSubject(const char* text) { mailSubject_ = copied(text); }
  void setMailRecipient(const char* text) { mailRecipient_ = copied(text); }
  void setMailSender(const char* text) { mailSender_ = copied(text); }
  [[nodiscard]] const std::optional<std::string>& mailSubject() const noexcept { return mailSubject_; }
  [[nodiscard]] const std::optional<std::string>& mailRecipient() const noexcept { return mailRecipient_; }
  [[nodiscard]] const std::optional<std::string>& mailSender() const noexcept { return mailSender_; }

 private:
  static std::optional<std::string> copied(const char* text) {
    return text != nullptr ? std::optional<std::string>(text) : std::nullopt;
  }

  unsigned char level_;
  std::uint32_t instance_;
  std::optional<std::string> mailSubject_;
  std::optional<std::string> mailRecipient_;
  std::optional<std::string> mailSender_;
};

// Writes one line when the level is within the logger's. The code takes no part in the output. The format is a row of
// the catalogue, never foreign text. Line ends and other control characters inside the message, those of two octets
// of UTF-8 too, become blanks: one message is one line, and what strangers wrote into a name or a URI stays text.
void log(const Logger& logger, unsigned char level, unsigned long code, const char* format, ...);

// The two halves of log(), for a message that goes elsewhere too: the text, as printf makes it, and its line.
std::string formatMessage(const char* format, std::va_list arguments);
void writeLine(const Logger& logger, unsigned char level, std::string_view message);

// The same for a catalogue row by its code, in the language of the moment; a null logger means no call. The row's own
// conversions take the arguments; surplus ones stay unread. A language without a column brings the text of another row,
// which is written as it stands: its conversions would take arguments that were not made for them.
template <class... Arguments>
void logRow(const Logger* logger, unsigned char level, unsigned long code, unsigned char language,
            Arguments... arguments) {
  if (logger == nullptr || level > logger->getLevel()) return;
  const char* text = messageText(code, language);
  if (language < kLanguages) {
    log(*logger, level, code, text, arguments...);
  } else {
    log(*logger, level, code, "%s", text);
  }
}

}  // namespace keystrand
