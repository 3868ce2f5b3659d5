#include "net/MailLog.h"

#include <cstdarg>

#include "net/Mailer.h"

namespace keystrand {

void logWithMail(const Logger& logger, unsigned char level, const char* format, ...) {
  if (level > logger.getLevel() && level != kMailLevel) return;
  std::va_list arguments;
  va_start(arguments, format);
  const std::string message = formatMessage(format, arguments);
  va_end(arguments);
  writeLine(logger, level, message);
  const auto host = Logger::mailHost();
  if (level != kMailLevel || !host || !logger.mailSender() || !logger.mailRecipient()) return;
  const Mailer mailer(*host);
  static_cast<void>(
      mailer.send({*logger.mailSender(), *logger.mailRecipient(), logger.mailSubject().value_or(""), message}));
}

}  // namespace keystrand
