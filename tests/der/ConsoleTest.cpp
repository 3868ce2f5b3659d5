// Command lines, times out of text, and secrets at a console, beside what the C library makes of the same.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

#include <thread>

#include "support/Console.h"
#include "support/Options.h"
#include "support/TimeText.h"

namespace keystrand::test {
namespace {

TEST(Options, AreReadAsGetoptReadsThem) {
  using Line = std::vector<std::string>;
  for (const Line& line : {Line{"p", "-a", "-bvalue", "-c", "next", "file", "-a"}, Line{"p", "-abvalue"},
                           Line{"p", "-ac", "-a"}, Line{"p", "--", "-a"}, Line{"p", "-", "-a"}, Line{"p", "-x", "-a"},
                           Line{"p", "-c"}, Line{"p", "-:"}, Line{"p", "-c", "--", "-a"}, Line{"p"}, Line{"p", ""}}) {
    SCOPED_TRACE(testing::PrintToString(line));
    std::vector<char*> argv;
    for (const std::string& word : line) argv.push_back(const_cast<char*>(word.c_str()));
    argv.push_back(nullptr);
    const int argc = static_cast<int>(line.size());
    OptionReader reader(argc, argv.data());
    optind = 0;
    testing::internal::CaptureStderr();
    for (int expected = 0; expected != -1;) {
      expected = getopt(argc, argv.data(), "+ab:c:");  // in the order of POSIX
      EXPECT_EQ(reader.next("ab:c:"), expected);
      EXPECT_STREQ(reader.argument(), expected == 'b' || expected == 'c' ? optarg : nullptr);
    }
    const std::string told = testing::internal::GetCapturedStderr();
    if (line.size() > 1 && line[1] == "-x") {
      EXPECT_NE(told.find("option x not found\n"), std::string::npos);
    }
    EXPECT_EQ(reader.index(), optind);
  }
}

TEST(TimeText, IsReadAsStrptimeReadsIt) {
  struct Row {
    const char *text, *format;
  };
  for (const Row& row : {Row{"Sun, 06 NOV 1994 08:49:37 GMT", "%a, %d %b %Y %H:%M:%S"},
                         Row{"Sunday, 06-November-94", "%A, %d-%B-%y"},
                         Row{"may 3", "%h %e"},
                         Row{"12/31/68 23:59", "%D %R"},
                         Row{"12/31/69", "%D"},
                         Row{"2024-02-29T00:00:60Z", "%FT%T"},
                         Row{"12:30 am", "%I:%M %p"},
                         Row{"pm 1", "%p %I"},
                         Row{"2024366", "%Y%j"},
                         Row{"  7", "%d"},
                         Row{"100%", "%y0%%"},
                         Row{"1\t\n2", "%d %m"},
                         Row{"24", "%H"},
                         Row{"13", "%I"},
                         Row{"00", "%d"},
                         Row{"x", "%d"},
                         Row{"", "%d"},
                         Row{"foo", "%b"},
                         Row{"mayhem", "%b"},
                         Row{"99999", "%Y"},
                         Row{"1", "%"},
                         Row{"5", "%5"},
                         Row{"", ""}}) {
    SCOPED_TRACE(std::string(row.text) + " as " + row.format);
    std::tm theirs{};
    std::tm ours{};
    const char* end = strptime(row.text, row.format, &theirs);
    const auto read = parseTime(row.text, row.format, ours);
    ASSERT_EQ(read.has_value(), end != nullptr);
    if (!read) continue;
    EXPECT_EQ(static_cast<std::ptrdiff_t>(*read), end - row.text);
    EXPECT_EQ(ours.tm_hour * 3600 + ours.tm_min * 60 + ours.tm_sec,
              theirs.tm_hour * 3600 + theirs.tm_min * 60 + theirs.tm_sec);
    // the C library fills fields that the format does not name
    const auto names = [&](const char* letters) {
      return std::string_view(row.format).find_first_of(letters) != std::string_view::npos;
    };
    EXPECT_TRUE(ours.tm_mon == theirs.tm_mon || !names("bBhmDF"));
    EXPECT_TRUE(ours.tm_mday == theirs.tm_mday || !names("deDF"));
    EXPECT_TRUE(ours.tm_year == theirs.tm_year || !names("yYDF"));
    EXPECT_TRUE(ours.tm_yday == theirs.tm_yday || !names("j"));
  }
}

TEST(Console, SecretsAreNotShown) {
  const int console = posix_openpt(O_RDWR | O_NOCTTY);
  ASSERT_GE(console, 0);
  ASSERT_EQ(grantpt(console), 0);
  ASSERT_EQ(unlockpt(console), 0);
  const int user = open(ptsname(console), O_RDWR | O_NOCTTY);
  ASSERT_GE(user, 0);
  SecretBytes secret;
  std::thread reader([&] { secret = readSecret("PIN: ", user, user); });
  std::string shown;
  const auto await = [&](std::size_t n) {
    for (char c = 0; shown.size() < n && read(console, &c, 1) == 1;) shown += c;
  };
  await(5);  // keys that come before the prompt are thrown away
  const std::string keys = "\b12x\b34" + std::string(300, '5') + "\r";
  ASSERT_EQ(write(console, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
  reader.join();
  EXPECT_EQ(std::string(secret.begin(), secret.end()), "1234" + std::string(kLongestSecret - 4, '5'));
  const std::string expected = "PIN: ***\b \b" + std::string(kLongestSecret - 2, '*') + "\r\n";
  await(expected.size());
  EXPECT_EQ(shown, expected);
  termios after{};
  ASSERT_EQ(tcgetattr(user, &after), 0);
  EXPECT_NE(after.c_lflag & ECHO, 0U) << "as it was";
  close(user);
  close(console);

  int pipes[2];
  ASSERT_EQ(pipe(pipes), 0);
  ASSERT_EQ(write(pipes[1], "from a file", 11), 11);
  close(pipes[1]);
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  const SecretBytes piped = readSecret(nullptr, pipes[0], nowhere);
  EXPECT_EQ(std::string(piped.begin(), piped.end()), "from a file");
  close(pipes[0]);
  close(nowhere);
}

}  // namespace
}  // namespace keystrand::test
