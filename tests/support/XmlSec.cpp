#include "support/XmlSec.h"

#include <array>
#include <cstdio>

namespace keystrand::test {
namespace {

std::string quoted(const std::string& word) {
  return "'" + word + "'";
}

// What stands between a line that begins a buffer and the one that ends it.
std::vector<std::string> buffersIn(const std::string& told, const std::string& kind) {
  const std::string begin = "== " + kind + " data - start buffer:\n";
  const std::string end = "\n== " + kind + " data - end buffer\n";
  std::vector<std::string> found;
  for (std::size_t from = told.find(begin); from != std::string::npos; from = told.find(begin, from)) {
    from += begin.size();
    found.push_back(told.substr(from, told.find(end, from) - from));
  }
  return found;
}

}  // namespace

XmlSecRun runXmlSec(const std::vector<std::string>& arguments) {
  std::string command = "xmlsec1 " + arguments.front() + " --store-references --store-signatures --print-debug";
  for (std::size_t i = 1; i < arguments.size(); ++i) command += " " + quoted(arguments[i]);
  std::FILE* told = popen((command + " 2>/dev/null").c_str(), "r");
  if (told == nullptr) return {};
  std::string text;
  std::array<char, 65536> piece{};
  for (std::size_t n = 1; n != 0; text.append(piece.data(), n)) n = std::fread(piece.data(), 1, piece.size(), told);
  XmlSecRun run{pclose(told) == 0, buffersIn(text, "PreDigest"), {}};
  const std::vector<std::string> presigned = buffersIn(text, "PreSigned");
  if (!presigned.empty()) run.signedInfo = presigned.front();
  return run;
}

}  // namespace keystrand::test
