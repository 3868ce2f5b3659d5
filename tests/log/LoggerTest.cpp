#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "log/Logger.h"
#include "support/Settings.h"
#include "support/TempFolder.h"

namespace keystrand {
namespace {

std::vector<std::string> linesOf(const std::string& path) {
  std::ifstream in(path);
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

class LoggerTest : public testing::Test {
 protected:
  test::TempFolder folder_;
  const std::string file_ = (folder_ / "log").string();
};

TEST_F(LoggerTest, LineHasTheFormThatReadersParse) {
  Logger::start("verifier", nullptr, file_.c_str(), nullptr);
  const Logger first(Logger::kTrace);
  const Logger second(Logger::kTrace);
  log(second, Logger::kInformation, 4677, messageText(4677, 1), 12);
  ASSERT_EQ(linesOf(file_).size(), 1U);
  // The letter l behind both numbers belongs to the form.
  EXPECT_THAT(linesOf(file_)[0],
              testing::MatchesRegex(".*[0-9][0-9]:[0-9][0-9]:[0-9][0-9] +verifier\\[" + std::to_string(getpid()) +
                                    "l\\.2l\\]: CA certificates included into certificate list: 12"));
  struct stat status {};
  ASSERT_EQ(stat(file_.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST_F(LoggerTest, LevelsAndHostileTexts) {
  Logger::start(nullptr, nullptr, file_.c_str(), nullptr);
  Logger logger(Logger::kWarning);
  log(logger, Logger::kNotice, 4675, "%s", "not written");
  log(logger, Logger::kWarning, 4675, "%s", "one line\nthat feigns another[1l.1l]: 100%s\r\x1B[2J");
  log(logger, Logger::kWarning, 4675, "%s",
      "\xC2\x80[\xC2\x9B"
      "31m\xC2\x9F.\xC2\xA0\xC3\x9B\xC3\x80\x9B\xC2\xC2\x85\xC2");
  log(logger, Logger::kFailure, 4675, "%s", std::string(100000, 'x').c_str());
  logger.setOff();
  log(logger, Logger::kFailure, 4675, "%s", "silent");
  const auto lines = linesOf(file_);
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_THAT(lines[0], testing::EndsWith("(null)[" + std::to_string(getpid()) +
                                          "l.1l]: one line that feigns another[1l.1l]: 100%s  [2J"));
  // The control characters of two octets; of the octets that are no character, those stay that are none by themselves.
  EXPECT_THAT(lines[1], testing::EndsWith("]:  [ 31m .\xC2\xA0\xC3\x9B\xC3\x80\x9B\xC2 \xC2"));
  EXPECT_THAT(lines[2], testing::EndsWith(std::string(100000, 'x')));
}

// The neighbour's text may ask for arguments that its own code's call never had.
TEST_F(LoggerTest, ALanguageWithoutAColumnBringsANeighboursTextAsItStands) {
  Logger::start("x", nullptr, file_.c_str(), nullptr);
  const Logger logger(Logger::kTrace);
  std::vector<std::string> texts;
  for (const auto& [base, table] : {std::pair(kErrorBase, errorMessages), {kInfoBase, infoMessages}}) {
    for (unsigned long code = base; code < base + table.size(); ++code) {
      const auto language = static_cast<unsigned char>(2 + code % 254);
      logRow(&logger, Logger::kTrace, code, language);
      texts.emplace_back(messageText(code, language));
      std::ranges::replace(texts.back(), '\n', ' ');
    }
  }
  const auto lines = linesOf(file_);
  ASSERT_EQ(lines.size(), texts.size());
  for (std::size_t i = 0; i < lines.size(); ++i) EXPECT_THAT(lines[i], testing::EndsWith("l]: " + texts[i]));
}

TEST_F(LoggerTest, FailuresAreSilentAndTheFileCanBeMovedAway) {
  Logger::start("x", nullptr, "/nonexistent/folder/log", nullptr);
  const Logger logger(Logger::kTrace);
  log(logger, Logger::kFailure, 5120, messageText(5120, 0));
  ASSERT_EQ(mkfifo((folder_ / "pipe").c_str(), 0600), 0);
  Logger::start("x", nullptr, (folder_ / "pipe").c_str(), nullptr);
  log(logger, Logger::kFailure, 5120, "%s", "nobody reads the pipe, and nobody waits for that");
  Logger::start("x", nullptr, nullptr, nullptr);
  log(logger, Logger::kFailure, 5120, messageText(5120, 0));
  Logger::start("x", nullptr, file_.c_str(), nullptr);
  log(logger, Logger::kFailure, 5120, messageText(5120, 0));
  std::filesystem::rename(file_, file_ + ".old");
  log(logger, Logger::kFailure, 5120, messageText(5120, 1));
  EXPECT_THAT(linesOf(file_ + ".old"), testing::ElementsAre(testing::EndsWith("Errore interno")));
  EXPECT_THAT(linesOf(file_), testing::ElementsAre(testing::EndsWith("Internal error")));
}

TEST_F(LoggerTest, LinesOfConcurrentLoggersStayWhole) {
  Logger::start("x", nullptr, file_.c_str(), nullptr);
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([i] {
      const Logger logger(Logger::kTrace);
      const std::string text(3000, static_cast<char>('a' + i));
      for (int n = 0; n < 50; ++n) log(logger, Logger::kTrace, 4675, "%s", text.c_str());
    });
  }
  for (auto& thread : threads) thread.join();
  const auto lines = linesOf(file_);
  ASSERT_EQ(lines.size(), 200U);
  for (const auto& line : lines) {
    const std::string text = line.substr(line.find("]: ") + 3);
    EXPECT_EQ(text, std::string(3000, text[0]));
  }
}

TEST(Catalogue, RowsStandAtTheirCodesWithTheirMisspellings) {
  using Row = std::tuple<unsigned long, unsigned char, const char*>;
  for (const auto& [code, language, text] :
       {Row{5120, 0, "Errore interno"}, Row{5192, 0, "Impossibile inizializzare la lista dei Certificati"},
        Row{5192, 1, "Failed to initialize the list of CA certificates"},
        Row{5222, 1, "Certificare encoding not conform to the BER format"},
        Row{5246, 1, "FAiled to download European TSL"}, Row{5257, 1, "Failed to check country TSL"},
        Row{4608, 1, "disabled"}, Row{4618, 1, "Signer:\n%s"}, Row{4711, 0, "CRL presenti nella chache: %d"},
        Row{4724, 0, "Il controllo delLe CRL e' disabilitato"}, Row{4731, 1, "TSL [%s] downloaded"},
        // a language beyond the two reads on into the next rows, and never beyond the table
        Row{5120, 2, messageText(5121, 0)}, Row{5257, 255, "Failed to check country TSL"}, Row{5119, 0, ""},
        Row{5258, 0, ""}}) {
    EXPECT_STREQ(messageText(code, language), text) << code;
  }
}

TEST(Catalogue, BothColumnsTakeTheSameArguments) {
  const auto conversions = [](std::string text) {
    std::string found;
    for (std::size_t at = text.find('%'); at != std::string::npos; at = text.find('%', at + 1)) found += text[at + 1];
    return found;
  };
  for (const auto& table : {errorMessages, infoMessages}) {
    for (const Message& message : table) {
      EXPECT_NE(std::string(message.italian), "") << message.english;
      EXPECT_EQ(conversions(message.italian), conversions(message.english)) << message.english;
    }
  }
}

}  // namespace
}  // namespace keystrand
