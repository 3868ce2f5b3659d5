#include "support/OCSPResponder.h"

#include <fstream>
#include <memory>

#include "support/Process.h"

namespace keystrand::test {
namespace {

ByteString bodyOf(const std::string& request) {
  const std::size_t head = request.find("\r\n\r\n");
  return head == std::string::npos ? ByteString()
                                   : ByteString(request.begin() + static_cast<std::ptrdiff_t>(head) + 4, request.end());
}

}  // namespace

bool OCSPResponder::installed() {
  return !findProgram("openssl").empty();
}

OCSPResponder::OCSPResponder(const Authority& issuer, const Authority& signer, std::vector<std::string> options)
    : options_(std::move(options)), server_([this](const std::string& request) { return serve(request); }) {
  writeAuthority(issuer, folder_ / "ca.pem", folder_ / "ca.key");
  writeAuthority(signer, folder_ / "signer.pem", folder_ / "signer.key");
  addLine("");
}

void OCSPResponder::addLine(const std::string& line) const {
  std::ofstream(folder_ / "index.txt", std::ios::app) << line;
}

void OCSPResponder::add(const std::string& serial) {
  addLine("V\t391231235959Z\t\t" + serial + "\tunknown\t/CN=" + serial + "\n");
}

void OCSPResponder::revoke(const std::string& serial, const std::string& reason, const std::string& date) {
  addLine("R\t391231235959Z\t" + date + (reason.empty() ? "" : ",") + reason + "\t" + serial +
          "\tunknown\t/CN=" + serial + "\n");
}

std::vector<ByteString> OCSPResponder::requests() {
  std::vector<ByteString> bodies;
  for (const std::string& request : server_.requests()) bodies.push_back(bodyOf(request));
  return bodies;
}

ByteString OCSPResponder::answerTo(const ByteString& request) const {
  const TempFolder exchange;
  writeFile(exchange / "request", request);
  std::string command = findProgram("openssl") + " ocsp -index " + (folder_ / "index.txt").string() + " -CA " +
                        (folder_ / "ca.pem").string() + " -rsigner " + (folder_ / "signer.pem").string() + " -rkey " +
                        (folder_ / "signer.key").string() + " -reqin " + (exchange / "request").string() +
                        " -respout " + (exchange / "response").string();
  for (const std::string& option : options_) command += " " + option;
  static_cast<void>(runCommand(command + " 2>/dev/null"));
  return readFile(exchange / "response");
}

ScriptedServer::Answer OCSPResponder::serve(const std::string& request) const {
  const ByteString answer = answerTo(bodyOf(request));
  if (answer.empty()) return {"HTTP/1.1 500 Internal Server Error\r\nContent-Length: 0\r\n\r\n"};
  return {ScriptedServer::ok({answer.begin(), answer.end()}, "Content-Type: application/ocsp-response\r\n")};
}

}  // namespace keystrand::test
