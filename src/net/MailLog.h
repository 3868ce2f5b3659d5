// The log with a mail beside it, for programs that alert somebody. The library itself names no mail server, so in it no
// mail is ever sent.
#pragma once

#include "log/Logger.h"

namespace keystrand {

// The most severe level: below it only silence. Messages of this level are mailed.
constexpr unsigned char kMailLevel = 2;

// Writes the line as log() does, line ends becoming blanks. At level 2, with a mail server named by Logger::start, the
// message then goes by mail too, as it is: from the logger's mail sender to its recipient under its subject. A logger
// that writes no line of this level mails it all the same: its own level is that of the file. One without sender or
// recipient mails nothing. Failures are silent; the call lasts no longer than the timeouts of Mailer, and no lock is
// held meanwhile.
[[gnu::format(printf, 3, 4)]] void logWithMail(const Logger& logger, unsigned char level, const char* format, ...);

}  // namespace keystrand
