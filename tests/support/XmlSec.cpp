#include "support/XmlSec.h"

#include "support/Process.h"

namespace keystrand::test {
namespace {

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
  for (std::size_t i = 1; i < arguments.size(); ++i) command += " '" + arguments[i] + "'";
  const auto [status, text] = runCommand(command + " 2>/dev/null");
  const std::vector<std::string> presigned = buffersIn(text, "PreSigned");
  return {status == 0, buffersIn(text, "PreDigest"), presigned.empty() ? "" : presigned.front()};
}

}  // namespace keystrand::test
