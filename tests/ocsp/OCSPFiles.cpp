#include "ocsp/OCSPFiles.h"

#include <algorithm>
#include <array>
#include <filesystem>

#include "support/Builders.h"
#include "support/Der.h"

namespace keystrand::test {
namespace {

namespace fs = std::filesystem;

constexpr std::array kFolders = {"ocsp", "crl/pyhanko-freshness"};
constexpr std::array kEndings = {".bin", ".der", ".ocsp", ".ors", ".pem"};

// DER, Base64 lines without armour, or the armour of that label among others.
ByteString messageIn(const ByteString& content, const std::string& label) {
  if (content.empty()) return {};
  if (content.front() == 0x30) return firstElement(content).whole;
  const std::string text(content.begin(), content.end());
  const std::string begin = "-----BEGIN " + label + "-----";
  if (const std::size_t at = text.find(begin); at != std::string::npos) return fromPEM(text.substr(at));
  if (text.find("-----") != std::string::npos) return {};
  return fromPEM(begin + "\n" + text.substr(0, text.find_last_not_of("\r\n") + 1) + "\n-----END " + label + "-----\n");
}

// The names of bare files tell requests from responses.
bool isRequest(const fs::path& path) {
  const std::string name = path.filename().string();
  return name.starts_with("req-") || name.ends_with("-req.der") || name.ends_with(".req.der");
}

bool holdsMessage(const fs::path& path, bool request) {
  if (std::ranges::find(kEndings, path.extension()) == kEndings.end()) return false;
  if (path.extension() == ".pem") return true;
  return isRequest(path) == request && path.stem() != "responderCert";
}

std::vector<OCSPFile> messageFiles(const std::string& label, bool request) {
  std::vector<OCSPFile> files;
  for (const char* name : kFolders) {
    const auto folder = testData(name);
    if (!folder) continue;
    for (const auto& entry : fs::recursive_directory_iterator(*folder)) {
      if (!entry.is_regular_file() || !holdsMessage(entry.path(), request)) continue;
      ByteString der = messageIn(readFile(entry.path()), label);
      if (!der.empty()) files.push_back({name / fs::relative(entry.path(), *folder), std::move(der)});
    }
  }
  std::ranges::sort(files, {}, &OCSPFile::name);
  return files;
}

}  // namespace

std::vector<OCSPFile> responseFiles() {
  return messageFiles("OCSP RESPONSE", false);
}

std::vector<OCSPFile> requestFiles() {
  return messageFiles("OCSP REQUEST", true);
}

}  // namespace keystrand::test
