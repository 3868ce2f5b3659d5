// Every certificate that the published vectors and the test data hold, as DER.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "support/TestData.h"

namespace keystrand::test {

struct CertificateFile {
  std::string name;  // path below its folder
  ByteString der;
};

// PKITS and the other certificates of the vectors' package; those of the test data too, where it is present.
std::vector<CertificateFile> certificateFiles();

}  // namespace keystrand::test
