// What a trusted list says by XPath and OpenSSL alone, to be compared with what the library makes of it.
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "support/TestData.h"

namespace keystrand::test {

struct TSLCounts {
  int taken = 0;
  int otherType = 0;
  int refusedStatus = 0;
  int otherUse = 0;
  bool operator==(const TSLCounts&) const = default;
};

struct TSLExpectedCA {
  std::string base64;
  std::string type;
  std::string status;
  std::optional<std::string> name;
  std::optional<std::string> startingTime;
  int history = 0;  // former states
};

struct TSLExpectation {
  TSLCounts counts;
  std::string territory;
  int number = 0;
  int withoutCertificate = 0;  // services taken of which OpenSSL reads no certificate
  // Of the services taken, by subject, issuer and serial number; of several services with one the last.
  std::map<std::string, TSLExpectedCA> certificates;
};

// Nothing when the file cannot be read or has neither number nor territory.
std::optional<TSLExpectation> expectationOf(const std::filesystem::path& path, bool allServices);

}  // namespace keystrand::test
