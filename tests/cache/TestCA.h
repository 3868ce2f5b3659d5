// CAs in the few words that tests of the list need.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "keystrand/pkix/Certificate.h"
#include "support/Builders.h"

namespace keystrand::test {

// A sound certificate unless a field is changed; keys on P-256 are the quick ones.
struct CAPlan {
  std::string subject = "First CA";        // its CN, behind C=IT
  std::optional<std::string> issuer = {};  // else the subject
  int serial = 1;
  PrivateKey key = privateKey();
  PrivateKey signer = {};                 // else the own key
  std::string subjectKeyIdentifier = {};  // hexadecimal; empty: no such extension
};
ByteString makeCA(const CAPlan& plan = {});
PrivateKey rsaKey();

NameSpec nameOf(const std::string& commonName);
// The text form of such a name, the key of its row.
std::string subjectText(const std::string& commonName);

// As the library decodes it; empty when it does not.
std::unique_ptr<Certificate> decoded(const ByteString& der);

std::string armoured(const ByteString& der);
void writePEM(const std::filesystem::path& path, const std::vector<ByteString>& certificates);

}  // namespace keystrand::test
