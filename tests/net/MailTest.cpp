// Mails of the log, against servers that say what they are told to; the texts are those of RFC 5321 and RFC 2047.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <regex>
#include <thread>

#include "net/Bytes.h"
#include "net/FreshNetState.h"
#include "net/MailLog.h"
#include "net/MailText.h"
#include "net/Mailer.h"
#include "support/Base64.h"
#include "support/ScriptedServer.h"
#include "support/TempFolder.h"
#include "support/TestData.h"

namespace keystrand {
namespace {

using namespace std::string_literals;
using test::ScriptedServer;
using Then = ScriptedServer::Then;

std::string hostName() {
  std::array<char, 256> name{};
  EXPECT_EQ(gethostname(name.data(), name.size() - 1), 0);
  return name.data();
}

// The commands of one mail; the date always has the same length.
std::vector<std::string> commands(const std::string& rest) {
  const std::string from = "alerts@" + hostName();
  return {"HELO " + hostName() + "\r\n",
          "MAIL FROM:<" + from + ">\r\n",
          "RCPT TO:<admin@keystrand.example>\r\n",
          "DATA\r\n",
          "Date: Sat, 21 Nov 2026 20:07:00 +0000\r\nFrom: <" + from + ">\r\nTo: <admin@keystrand.example>\r\n" + rest +
              ".\r\n",
          "QUIT\r\n"};
}

class LogWithMail : public FreshNetState {
 protected:
  void start(const char* mailHost) { Logger::start("verifier", nullptr, file_.c_str(), mailHost); }
  [[nodiscard]] std::string logged() const {
    const test::ByteString bytes = test::readFile(file_);
    return {bytes.begin(), bytes.end()};
  }
  // A SOCKS server that plays the mail server too, since that has its fixed port.
  static ScriptedServer::Dialogue throughSocks(const std::vector<std::string>& said) {
    ScriptedServer::Dialogue dialogue;
    dialogue.steps = {{3, "\5\0"s}, {10, "\5\0\0\1\0\0\0\0\0\0"s + "220-two lines\r\n220 ready\r\n"}};
    for (const std::string& command : said) {
      dialogue.steps.push_back({command.size(), command == "DATA\r\n" ? "354\r\n" : "250-so\r\n250 it is\r\n"});
    }
    return dialogue;
  }

  const test::TempFolder folder_;
  const std::string file_ = (folder_ / "log").string();
};

TEST_F(LogWithMail, SaysExactlyThisFromSeveralThreads) {
  const auto said = commands("Subject: disk\r\n\r\n..hidden\r\nfull: 100%\r\n");
  const ScriptedServer::Dialogue dialogue = throughSocks(said);
  ScriptedServer server(dialogue);
  everythingThrough(server.port());
  start("192.0.2.25");
  constexpr int kThreads = 4;
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([] {
      Logger logger;
      logger.setMailSender("alerts");
      logger.setMailRecipient("admin@keystrand.example");
      logger.setMailSubject("disk");
      logWithMail(logger, kMailLevel, ".hidden\nfull: %d%%", 100);
    });
  }
  for (auto& thread : threads) thread.join();
  std::string expected = "\5\1\0\5\1\0\1\xC0\0\2\x19\0\x19"s;
  for (const std::string& command : said) expected += command;
  const auto heard = server.requests();
  ASSERT_EQ(heard.size(), static_cast<std::size_t>(kThreads));
  const std::regex date("Date: [A-Z][a-z]{2}, [0-9]{2} [A-Z][a-z]{2} [0-9]{4} [0-9]{2}:[0-9]{2}:[0-9]{2} \\+0000\r");
  for (const std::string& request : heard) {
    EXPECT_EQ(std::regex_replace(request, date, "Date: Sat, 21 Nov 2026 20:07:00 +0000\r"), expected);
  }
  const std::string lines = logged();
  EXPECT_EQ(std::ranges::count(lines, '\n'), kThreads);
  EXPECT_THAT(lines, testing::EndsWith("l]: .hidden full: 100%\n"));
}

TEST_F(LogWithMail, KeepsToItsLevelAndToWhatItWasGiven) {
  ScriptedServer server(ScriptedServer::Dialogue{{{3, ""}}, Then::close});
  everythingThrough(server.port());
  struct Row {
    const char* name;
    const char* mailHost;
    const char* sender;
    const char* recipient;
    unsigned char level;
    unsigned char loggerLevel;
    bool asked;
    int lines;
  };
  for (const Row& row : {
           Row{"no mail host", nullptr, "a", "b@c", 2, 7, false, 1},
           Row{"a failure", "192.0.2.25", "a", "b@c", 3, 7, false, 1},
           Row{"level 1", "192.0.2.25", "a", "b@c", 1, 7, false, 1},
           Row{"a silent logger, a failure", "192.0.2.25", "a", "b@c", 3, 0, false, 0},
           Row{"a silent logger", "192.0.2.25", "a", "b@c", 2, 0, true, 0},
           Row{"no sender", "192.0.2.25", nullptr, "b@c", 2, 7, false, 1},
           Row{"no recipient", "192.0.2.25", "a", nullptr, 2, 7, false, 1},
           Row{"a command in the sender", "192.0.2.25", "a>\r\nRCPT TO:<x", "b@c", 2, 7, false, 1},
           Row{"a command in the recipient", "192.0.2.25", "a", "b@c>\r\nDATA", 2, 7, false, 1},
           Row{"a second recipient", "192.0.2.25", "a", "b@c> <d@e", 2, 7, false, 1},
           Row{"an octet above ASCII", "192.0.2.25", "a", "b\xC3\xA9@c", 2, 7, false, 1},
           Row{"an empty recipient", "192.0.2.25", "a", "", 2, 7, false, 1},
           Row{"all of it", "192.0.2.25", "a", "b@c", 2, 7, true, 1},
       }) {
    SCOPED_TRACE(row.name);
    std::filesystem::remove(file_);
    start(row.mailHost);
    Logger logger(row.loggerLevel);
    logger.setMailSender(row.sender);
    logger.setMailRecipient(row.recipient);
    const std::size_t before = server.requests().size();
    logWithMail(logger, row.level, "%s", "text");
    const std::string lines = logged();
    EXPECT_EQ(std::ranges::count(lines, '\n'), row.lines);
    if (row.asked) {
      EXPECT_TRUE(test::eventually([&] { return server.requests().size() > before; }));
    } else {
      EXPECT_EQ(server.requests().size(), before);
    }
  }
}

// Each stage answers something else than it should; what the server says after that plays no part.
TEST(Mailer, GivesUp) {
  const auto said = commands("Subject: s\r\n\r\nbody\r\n");
  const Mail mail{"alerts", "admin@keystrand.example", "s", "body"};
  struct Row {
    const char* name;
    std::size_t stage;  // of the greeting and the commands
    std::string answer;
    Then then;
    bool sent;
  };
  for (const Row& row : {
           Row{"taken, and no goodbye", 6, "", Then::close, true},
           Row{"busy", 0, "421 busy\r\n", Then::close, false},
           Row{"not SMTP", 0, "\r\n", Then::close, false},
           Row{"a greeting without end", 0, "220-x\r\n", Then::drip, false},
           Row{"a silent server", 0, "", Then::silence, false},
           Row{"a refused sender", 2, "550 no\r\n", Then::close, false},
           Row{"a refused recipient", 3, "550-no\r\n550 no\r\n", Then::close, false},
           Row{"DATA that is over at once", 4, "250 ok\r\n", Then::close, false},
           Row{"a refused message", 5, "554 spam\r\n", Then::close, false},
           Row{"silence about the message", 5, "", Then::silence, false},
           Row{"a reset", 3, "", Then::reset, false},
       }) {
    SCOPED_TRACE(row.name);
    ScriptedServer::Dialogue dialogue;
    for (std::size_t i = 0; i <= row.stage; ++i) {
      const std::size_t awaits = i == 0 ? 0 : said[i - 1].size();
      dialogue.steps.push_back({awaits, i == row.stage ? row.answer : i == 4 ? "354 go\r\n" : "250 ok\r\n"});
    }
    dialogue.then = row.then;
    ScriptedServer server(dialogue);
    EXPECT_EQ(Mailer(kLoopback, server.port(), row.then == Then::close ? 20 : 1).send(mail), row.sent);
  }
  EXPECT_FALSE(Mailer(kLoopback, test::freePort(), 1).send(mail)) << "nobody there";
}

TEST(MailText, FieldsStayInTheirPlaces) {
  EXPECT_EQ(mailDate(0), "Thu, 01 Jan 1970 00:00:00 +0000");
  EXPECT_EQ(mailDate(1'709'210'096), "Thu, 29 Feb 2024 12:34:56 +0000");
  for (const auto& [subject, text] :
       {std::pair<std::string, std::string>{"", ""},
        {"Plain: 100%", "Plain: 100%"},
        {"a\r\nBcc: x@y", "=?utf-8?B?YQ0KQmNjOiB4QHk=?="},
        {"perch\xC3\xA9", "=?utf-8?B?cGVyY2jDqQ==?="},
        {std::string(44, 'a') + "\xC3\xA9",  // the character goes into the second word as a whole
         "=?utf-8?B?YWFhYWFhYWFhYWFhYWFhYWFhYWFhYWFhYWFhYWFhYWFhYWFhYWFhYWFhYWE=?=\r\n =?utf-8?B?w6k=?="}}) {
    EXPECT_EQ(mailSubject(subject), text);
  }
  for (const std::string& hostile : {std::string(5000, 'x'), std::string(500, '\x80'), std::string(3, '\0')}) {
    for (std::string rest = mailSubject(hostile); !rest.empty();) {
      const std::string line = rest.substr(0, rest.find("\r\n"));
      EXPECT_LE(line.size(), 76U);
      rest.erase(0, std::min(rest.size(), line.size() + 2));
    }
  }
  const std::string coded =
      "MIME-Version: 1.0\r\nContent-Type: text/plain; charset=utf-8\r\nContent-Transfer-Encoding: base64\r\n\r\n";
  for (const auto& [body, text] : {std::pair<std::string, std::string>{"", "\r\n"},
                                   {"one", "\r\none\r\n"},
                                   {"unix\nmac\rdos\r\n", "\r\nunix\r\nmac\r\ndos\r\n"},
                                   {"\n.\nQUIT\n..", "\r\n\r\n..\r\nQUIT\r\n...\r\n"},
                                   {"\r\n.\r\nQUIT\r\n", "\r\n\r\n..\r\nQUIT\r\n"},
                                   {"\r.\r\r\n.", "\r\n\r\n..\r\n\r\n..\r\n"},
                                   {"\xC3\xA8", coded + "w6g=\r\n"},
                                   {std::string(1, '\0'), coded + "AA==\r\n"}}) {
    EXPECT_EQ(mailBody(body), text);
  }
  EXPECT_THAT(mailBody(std::string(999, '.')), testing::StartsWith(coded + "Li4uLi4u"));
}

}  // namespace
}  // namespace keystrand
