#include "log/Logger.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "keystrand/der/X500Time.h"
#include "keystrand/support/SystemClock.h"

namespace keystrand {
namespace {

struct LogTarget {
  std::string ident;
  std::optional<std::string> file;
  std::optional<std::string> mailHost;
};

// Threads of the client may log while the process exits, so this is never destroyed.
struct LogState {
  std::mutex mutex;
  LogTarget target;  // guarded by mutex
  std::atomic<std::uint32_t> loggerCount{0};
};

LogState& state() {
  static auto* instance = new LogState;
  return *instance;
}

LogTarget currentTarget() {
  const std::lock_guard lock(state().mutex);
  return state().target;
}

bool isControl(char c) {
  return static_cast<unsigned char>(c) < ' ' || c == '\x7F';
}

// U+0080 to U+009F, two octets in UTF-8. Terminals obey them as they do an escape sequence.
bool beginsWithC1(std::string_view text) {
  constexpr char kFirst = '\xC2';
  return text.size() > 1 && text[0] == kFirst && (static_cast<unsigned char>(text[1]) & 0xE0U) == 0x80U;
}

// One message is one line.
std::string asOneLine(std::string_view message) {
  std::string text;
  text.reserve(message.size());
  for (std::size_t i = 0; i < message.size(); ++i) {
    const bool isC1 = beginsWithC1(message.substr(i));
    text += isC1 || isControl(message[i]) ? ' ' : message[i];
    if (isC1) ++i;
  }
  return text;
}

// The letter l behind each number is part of the line's form.
std::string prefix(const std::string& ident, std::uint32_t instance) {
  const std::unique_ptr<X500Time> now(SystemClock::now());
  const std::unique_ptr<char[]> time(now->dateTimeLocal());
  return std::string(time.get()) + ' ' + ident + '[' + std::to_string(static_cast<unsigned int>(getpid())) + "l." +
         std::to_string(instance) + "l]: ";
}

// One write, so that the lines of concurrent contexts stay whole. The opening does not block, because a FIFO that
// nobody reads would hold it for ever; the write does.
void appendLine(const char* path, int flags, std::string_view line) {
  const int descriptor = open(path, O_WRONLY | O_APPEND | O_CLOEXEC | O_NOCTTY | O_NONBLOCK | flags, S_IRUSR | S_IWUSR);
  if (descriptor < 0) return;
  fcntl(descriptor, F_SETFL, O_APPEND);
  while (write(descriptor, line.data(), line.size()) < 0 && errno == EINTR) {
  }
  close(descriptor);
}

constexpr unsigned char kConsoleLevel = 3;  // messages below it also go to the console
constexpr const char* kConsole = "/dev/console";

}  // namespace

void Logger::start(const char* ident, const char* /*reserved*/, const char* file, const char* mailHost) {
  LogTarget target;
  target.ident = ident != nullptr ? ident : "(null)";
  if (file != nullptr) target.file = file;
  if (mailHost != nullptr) target.mailHost = mailHost;
  const std::lock_guard lock(state().mutex);
  state().target = std::move(target);
  state().loggerCount = 0;
}

Logger::Logger(unsigned char level) : level_(level), instance_(++state().loggerCount) {}

std::optional<std::string> Logger::mailHost() {
  return currentTarget().mailHost;
}

std::string formatMessage(const char* format, std::va_list arguments) {
  std::va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, again);  // NOLINT(clang-analyzer-valist.*): copied above
  va_end(again);
  if (length <= 0) return {};
  std::string text(static_cast<std::size_t>(length), '\0');
  std::vsnprintf(text.data(), text.size() + 1, format, arguments);
  return text;
}

void writeLine(const Logger& logger, unsigned char level, std::string_view message) {
  if (level > logger.getLevel()) return;
  const LogTarget target = currentTarget();
  if (!target.file && level >= kConsoleLevel) return;
  const std::string line = prefix(target.ident, logger.instance()) + asOneLine(message) + '\n';
  if (target.file) appendLine(target.file->c_str(), O_CREAT, line);
  if (level < kConsoleLevel) appendLine(kConsole, 0, line);
}

void log(const Logger& logger, unsigned char level, unsigned long /*code*/, const char* format, ...) {
  if (level > logger.getLevel()) return;
  std::va_list arguments;
  va_start(arguments, format);
  const std::string message = formatMessage(format, arguments);
  va_end(arguments);
  writeLine(logger, level, message);
}

}  // namespace keystrand
