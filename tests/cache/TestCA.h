// CAs in the few words that tests of the list need, what trusted lists say of them, and a list to work on.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "keystrand/pkix/Certificate.h"
#include "support/Builders.h"
#include "support/LibraryFixture.h"

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

// What a trusted list says of a service, null where it says nothing, and what it said of it before.
struct StatePlan {
  const char* country = "IT";
  const char* type = "type";
  const char* name = "name";
  const char* status = "now";
  const char* time = "time";
};
std::unique_ptr<TSLMetadata> stateOf(const StatePlan& plan = {}, std::unique_ptr<TSLMetadata> former = nullptr);

class CAFixture : public LibraryFixture {
 protected:
  bool add(const CAPlan& plan) { return context->addCertificateDER(makeCA(plan)); }
  void insert(const CAPlan& plan, std::int32_t source, std::unique_ptr<TSLMetadata> state = nullptr) {
    const std::lock_guard lock(library().caMutex);
    ASSERT_TRUE(context->insert(decoded(makeCA(plan)), source, std::move(state)));
  }

  std::unique_ptr<CACache> context = contextLogging(Logger::kTrace);
};

std::string armoured(const ByteString& der);
void writePEM(const std::filesystem::path& path, const std::vector<ByteString>& certificates);

}  // namespace keystrand::test
