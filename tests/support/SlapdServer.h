// A real directory: slapd with a folder of its own, on a free port of 127.0.0.1, for the life of the object. It holds
// the suffix c=IT and what a test adds. Anybody may read.
//
// Attributes of an entry: certificateRevocationList, which is told with the option ";binary" whatever was asked for,
// and plainRevocationList, a string of octets without options.
//
//   if (!SlapdServer::installed()) GTEST_SKIP() << SlapdServer::kNotInstalled;
//   SlapdServer server({{.rdn = "cn=CA", .crl = bytes}});
//   ... search(server.url("cn=CA,c=IT?certificateRevocationList;binary")) ...
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "support/Process.h"
#include "support/TempFolder.h"
#include "support/TestData.h"

namespace keystrand::test {

class SlapdServer {
 public:
  struct Entry {
    std::string rdn;  // "cn=name", below c=IT or a comma and what it is below: "cn=name,cn=other"
    std::optional<ByteString> crl = {};
    std::optional<ByteString> plainCRL = {};
    std::string modified = "20260101000000Z";
  };

  static constexpr const char* kNotInstalled = "slapd and ldap-utils are not installed";
  static bool installed() { return !findProgram("slapd").empty() && !findProgram("ldapmodify").empty(); }

  explicit SlapdServer(const std::vector<Entry>& entries);

  [[nodiscard]] std::uint16_t port() const { return port_; }
  [[nodiscard]] std::string url(const std::string& dnAndQuery) const;
  // Another CRL in the entry; its modifyTimestamp becomes the present time.
  void replaceCRL(const std::string& rdn, const ByteString& crl) const;

 private:
  void writeConfiguration() const;
  [[nodiscard]] std::string path(const std::string& name) const { return (folder_ / name).string(); }

  TempFolder folder_;
  std::uint16_t port_ = 0;
  std::optional<Process> process_;
};

}  // namespace keystrand::test
