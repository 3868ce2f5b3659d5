#include "cache/TestCA.h"

#include <openssl/x509.h>

#include <cstdio>
#include <fstream>

#include "der/BorrowedBuffer.h"
#include "support/Base64.h"

namespace keystrand::test {
namespace {

using X509Handle = std::unique_ptr<X509, decltype(&X509_free)>;

X509Handle parsed(const ByteString& der) {
  const unsigned char* in = der.data();
  return {d2i_X509(nullptr, &in, static_cast<long>(der.size())), &X509_free};
}

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

std::string base64(const ByteString& der) {
  return encodeBase64(der);
}

std::string armoured(const ByteString& der) {
  const ByteString text = toPEM(der, "CERTIFICATE");
  return {text.begin(), text.end()};
}

void writeFile(const std::filesystem::path& path, const ByteString& bytes) {
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

void writePEM(const std::filesystem::path& path, const std::vector<ByteString>& certificates) {
  std::ofstream out(path, std::ios::binary);
  for (const ByteString& der : certificates) out << armoured(der);
}

std::vector<ByteString> certificatesBelow(const std::filesystem::path& folder, const std::string& extension) {
  std::vector<ByteString> certificates;
  for (const auto& file : std::filesystem::recursive_directory_iterator(folder)) {
    if (file.path().extension() != extension) continue;
    ByteString bytes = readFile(file.path());
    const ByteString unarmoured = fromPEM({bytes.begin(), bytes.end()});
    certificates.push_back(unarmoured.empty() ? std::move(bytes) : unarmoured);
  }
  return certificates;
}

bool opensslVerifies(const ByteString& issuer, const ByteString& issued) {
  const X509Handle ca = parsed(issuer);
  const X509Handle certificate = parsed(issued);
  return ca && certificate && X509_verify(certificate.get(), X509_get0_pubkey(ca.get())) == 1;
}

}  // namespace keystrand::test
