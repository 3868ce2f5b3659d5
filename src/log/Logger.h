// The log: one line per message, appended to one file by open, write and close each time, so that it can be moved away.
// Failures of the log are silent. Any thread may log.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

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
  static void start(const char* ident, const char* reserved, const char* file, const char* mailHost);

  Logger() : Logger(kInformation) {}
  explicit Logger(unsigned char level);

  void setLevel(unsigned char level) noexcept { level_ = level; }
  [[nodiscard]] unsigned char getLevel() const noexcept { return level_; }
  void setDebug() noexcept { level_ = kTrace; }
  void setOff() noexcept { level_ = 0; }
  void setMailSubject(const char* text);
  void setMailRecipient(const char* text);
  void setMailSender(const char* text);
  [[nodiscard]] std::uint32_t instance() const noexcept { return instance_; }

 private:
  friend void logWithMail(Logger&, unsigned char, const char*, ...);
  unsigned char level_;
  std::optional<std::string> mailSubject_;
  std::optional<std::string> mailRecipient_;
  std::optional<std::string> mailSender_;
  std::uint32_t instance_;
};

// Writes one line when the level is within the logger's. The code takes no part in the output.
[[gnu::format(printf, 4, 5)]] void log(Logger& logger, unsigned char level, unsigned long code, const char* format, ...);
// The same line; at level 2, with a mail host set, also a mail.
[[gnu::format(printf, 3, 4)]] void logWithMail(Logger& logger, unsigned char level, const char* format, ...);

}  // namespace keystrand
