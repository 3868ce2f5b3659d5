#include "net/Mailer.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <ctime>
#include <optional>
#include <string_view>

#include "net/MailText.h"
#include "net/Transport.h"

namespace keystrand {

namespace {

constexpr std::size_t kLongestAddress = 254;  // what the longest command line leaves (RFC 5321 section 4.5.3.1.3)
constexpr std::size_t kLongestReply = 1U << 16U;

bool isAddress(std::string_view text) {
  return !text.empty() && text.size() <= kLongestAddress &&
         std::ranges::all_of(text, [](char c) { return c > ' ' && c <= '~' && c != '<' && c != '>'; });
}

std::string localHostName() {
  std::array<char, 256> name{};
  const bool told = gethostname(name.data(), name.size() - 1) == 0;
  return told && isAddress(name.data()) ? name.data() : "localhost";
}

// The conversation with the server, command by command.
class Dialogue {
 public:
  explicit Dialogue(Transport& transport) : transport_(transport) {}

  // Sends the text and reads the reply; true when its code begins with this digit (RFC 5321 section 4.2.1).
  bool say(const std::string& text, char expected) {
    return transport_.write({reinterpret_cast<const unsigned char*>(text.data()), text.size()}) == 0 && hear(expected);
  }

  // All lines of one reply: a hyphen behind the code says that another one follows.
  bool hear(char expected) {
    std::string line;
    do {
      if (!readLine(line) || line.size() < 3) return false;
    } while (line.size() > 3 && line[3] == '-');
    return line[0] == expected;
  }

 private:
  bool readLine(std::string& line) {
    line.clear();
    for (unsigned char byte = 0; byte != '\n'; line += static_cast<char>(byte)) {
      if (++heard_ > kLongestReply || transport_.readExact({&byte, 1}) != 0) return false;
    }
    return true;
  }

  Transport& transport_;
  std::size_t heard_ = 0;
};

}  // namespace

bool Mailer::send(const Mail& mail) const {
  const std::string here = localHostName();
  const std::string from = mail.sender + '@' + here;
  if (mail.sender.empty() || !isAddress(from) || !isAddress(mail.recipient)) return false;
  Transport transport;
  transport.setTimeout(timeoutSeconds_);
  const Transport::Limit limit(transport, kTimeouts);
  if (transport.connect(host_, port_) != 0) return false;
  Dialogue server(transport);
  const bool taken =
      server.hear('2') && server.say("HELO " + here + "\r\n", '2') && server.say("MAIL FROM:<" + from + ">\r\n", '2') &&
      server.say("RCPT TO:<" + mail.recipient + ">\r\n", '2') && server.say("DATA\r\n", '3') &&
      server.say("Date: " + mailDate(std::time(nullptr)) + "\r\nFrom: <" + from + ">\r\nTo: <" + mail.recipient +
                     ">\r\nSubject: " + mailSubject(mail.subject) + "\r\n" + mailBody(mail.body) + ".\r\n",
                 '2');
  static_cast<void>(server.say("QUIT\r\n", '2'));
  return taken;
}

}  // namespace keystrand
