// The token as OpenSC's command-line tool sees it.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <string>

#include "support/Process.h"

namespace keystrand::test {
namespace {

struct Outcome {
  int status = -1;
  std::string text;
};

Outcome runTool(const std::string& arguments) {
  const std::string command =
      findProgram("pkcs11-tool") + " --module " + KEYSTRAND_TOKEN_MODULE + " " + arguments + " 2>&1";
  Outcome outcome;
  std::FILE* pipe = popen(command.c_str(), "r");
  std::array<char, 4096> part{};
  for (std::size_t n = 0; pipe != nullptr && (n = std::fread(part.data(), 1, part.size(), pipe)) != 0;) {
    outcome.text.append(part.data(), n);
  }
  if (pipe != nullptr) outcome.status = pclose(pipe);
  return outcome;
}

}  // namespace

TEST(PKCS11Tool, PassesItsSelfTest) {
  if (KEYSTRAND_SANITIZED != 0) GTEST_SKIP() << "the tool cannot load a sanitized module";
  if (findProgram("pkcs11-tool").empty()) GTEST_SKIP() << "opensc is not installed";
  const Outcome slots = runTool("--list-slots");
  EXPECT_EQ(slots.status, 0);
  EXPECT_NE(slots.text.find("Not Persistent Token"), std::string::npos) << slots.text;
  const Outcome tested = runTool("--test");
  EXPECT_EQ(tested.status, 0);
  EXPECT_NE(tested.text.find("No errors"), std::string::npos) << tested.text;
}

}  // namespace keystrand::test
