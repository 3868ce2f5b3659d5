#include "cache/TestCA.h"

#include <openssl/x509.h>

#include <cstdio>
#include <fstream>

#include "der/BorrowedBuffer.h"
#include "support/Texts.h"

namespace keystrand::test {
namespace {

std::string hexadecimal(int number) {
  char text[16];
  std::snprintf(text, sizeof text, "%X", static_cast<unsigned int>(number));
  return text;
}

}  // namespace

ByteString makeCA(const CAPlan& plan) {
  std::vector<ExtensionSpec> extensions = {{"basicConstraints", "critical,CA:TRUE"}};
  if (!plan.subjectKeyIdentifier.empty()) extensions.push_back({"subjectKeyIdentifier", plan.subjectKeyIdentifier});
  static const ByteString anyCertificate = makeAuthority().certificate;  // names and extensions are all our own
  const Authority signer = {plan.signer ? plan.signer : plan.key, anyCertificate};
  return makeCertificate(signer, {.serial = hexadecimal(plan.serial),
                                  .subject = nameOf(plan.subject),
                                  .issuer = nameOf(plan.issuer.value_or(plan.subject)),
                                  .key = plan.key,
                                  .extensions = extensions});
}

PrivateKey rsaKey() {
  return privateKey("RSA-2048");
}

NameSpec nameOf(const std::string& commonName) {
  return {{"C", "IT"}, {"CN", commonName}};
}

std::string subjectText(const std::string& commonName) {
  return "C=IT,CN=" + commonName;
}

std::unique_ptr<Certificate> decoded(const ByteString& der) {
  BorrowedBuffer buffer(der);
  auto certificate = std::make_unique<Certificate>();
  return certificate->get(buffer) ? std::move(certificate) : nullptr;
}

std::unique_ptr<TSLMetadata> stateOf(const StatePlan& plan, std::unique_ptr<TSLMetadata> former) {
  auto state = std::make_unique<TSLMetadata>();
  state->setCountryCode(plan.country);
  state->setServiceType(plan.type);
  state->setServiceName(plan.name);
  state->setServiceStatus(plan.status);
  state->setStatusStartingTime(plan.time);
  state->setNext(former.release());
  return state;
}

std::string armoured(const ByteString& der) {
  return asText(toPEM(der, "CERTIFICATE"));
}

void writePEM(const std::filesystem::path& path, const std::vector<ByteString>& certificates) {
  std::ofstream out(path, std::ios::binary);
  for (const ByteString& der : certificates) out << armoured(der);
}

}  // namespace keystrand::test
