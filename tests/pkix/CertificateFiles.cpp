#include "pkix/CertificateFiles.h"

#include <algorithm>
#include <array>

#include "support/Builders.h"
#include "support/Der.h"

namespace keystrand::test {
namespace {

constexpr std::array kEndings = {".cer", ".crt", ".der", ".pem"};

// The first element of DER, or the first armour of a certificate; empty for anything else.
ByteString certificateIn(const ByteString& content) {
  if (!content.empty() && content.front() == 0x30) return firstElement(content).whole;
  const std::string text(content.begin(), content.end());
  const std::size_t begin = text.find("-----BEGIN CERTIFICATE-----");
  return begin == std::string::npos ? ByteString() : fromPEM(text.substr(begin));
}

void addFolder(std::vector<CertificateFile>& files, const std::filesystem::path& folder) {
  if (!std::filesystem::exists(folder)) return;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    if (std::ranges::find(kEndings, entry.path().extension()) == kEndings.end()) continue;
    ByteString der = certificateIn(readFile(entry.path()));
    if (!der.empty()) files.push_back({std::filesystem::relative(entry.path(), folder), std::move(der)});
  }
}

}  // namespace

std::vector<CertificateFile> certificateFiles() {
  std::vector<CertificateFile> files;
  addFolder(files, publishedVectors() / "x509");
  if (const auto folder = testData("cert")) addFolder(files, *folder);
  std::ranges::sort(files, {}, &CertificateFile::name);
  return files;
}

}  // namespace keystrand::test
