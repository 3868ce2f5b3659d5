#include "support/Console.h"

#include <termios.h>

#include <cerrno>
#include <optional>
#include <string_view>

namespace keystrand {

namespace {

// Each key at once and unseen, for as long as it lives. Signals keep their keys.
class UnseenInput {
 public:
  explicit UnseenInput(int console) : console_(console) {
    termios settings{};
    if (tcgetattr(console, &settings) != 0) return;
    former_ = settings;
    settings.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    tcsetattr(console, TCSAFLUSH, &settings);
  }
  ~UnseenInput() {
    if (former_) tcsetattr(console_, TCSAFLUSH, &*former_);
  }
  UnseenInput(const UnseenInput&) = delete;
  UnseenInput& operator=(const UnseenInput&) = delete;

 private:
  int console_;
  std::optional<termios> former_;
};

void show(int out, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(out, text.data(), text.size());
    if (written < 0 && errno != EINTR) return;
    if (written > 0) text.remove_prefix(static_cast<std::size_t>(written));
  }
}

// False at the end.
bool nextKey(int in, unsigned char& key) {
  ssize_t count = 0;
  do {
    count = read(in, &key, 1);
  } while (count < 0 && errno == EINTR);
  return count == 1 && key != '\r' && key != '\n';
}

}  // namespace

SecretBytes readSecret(const char* prompt, int in, int out) {
  constexpr unsigned char kBackspace = 8;
  constexpr unsigned char kDelete = 127;
  const UnseenInput unseen(in);
  show(out, prompt != nullptr ? prompt : "");
  SecretBytes secret;
  secret.reserve(kLongestSecret);
  for (unsigned char key = 0; nextKey(in, key);) {
    if (key == kBackspace || key == kDelete) {
      if (secret.empty()) continue;
      secret.pop_back();
      show(out, "\b \b");
    } else if (secret.size() < kLongestSecret) {
      secret.push_back(key);
      show(out, "*");
    }
  }
  show(out, "\n");
  return secret;
}

}  // namespace keystrand
