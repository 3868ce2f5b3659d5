// Every OCSP message of the test data, as DER.
#pragma once

#include <string>
#include <vector>

#include "support/TestData.h"

namespace keystrand::test {

struct OCSPFile {
  std::string name;  // path below the test data
  ByteString der;    // the first element of what the file holds
};

// Empty where the test data is absent.
std::vector<OCSPFile> responseFiles();
std::vector<OCSPFile> requestFiles();

}  // namespace keystrand::test
