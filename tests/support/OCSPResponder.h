// A real responder: `openssl ocsp` called for each request that reaches a free port of 127.0.0.1.
//
//   OCSPResponder responder(ca, ca, {"-ndays", "7"});
//   responder.add("1001");
//   responder.revoke("1002", "keyCompromise");
//   ... ocsp_check(context, responder.url().data(), issuer, serial) ...
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "support/Builders.h"
#include "support/ScriptedServer.h"
#include "support/TempFolder.h"

namespace keystrand::test {

class OCSPResponder {
 public:
  static constexpr const char* kNotInstalled = "openssl is not installed";
  static bool installed();

  // Answers about certificates of the issuer in the name of the signer. Further options are those of `openssl ocsp`:
  // -resp_key_id, -resp_no_certs, -rmd and so on.
  OCSPResponder(const Authority& issuer, const Authority& signer, std::vector<std::string> options = {});

  // Serial numbers in hexadecimal; any other is unknown. The reason is openssl's word for it, or empty for none.
  void add(const std::string& serial);
  void revoke(const std::string& serial, const std::string& reason = "", const std::string& date = "250102030405Z");

  [[nodiscard]] std::string url() const { return server_.url("/ocsp"); }
  // The body of each request so far.
  std::vector<ByteString> requests();
  // The answer to a request, as it goes out over HTTP; empty when openssl gives none.
  [[nodiscard]] ByteString answerTo(const ByteString& request) const;

 private:
  void addLine(const std::string& line) const;
  [[nodiscard]] ScriptedServer::Answer serve(const std::string& request) const;

  TempFolder folder_;
  std::vector<std::string> options_;
  ScriptedServer server_;
};

}  // namespace keystrand::test
