// What a client of the exported functions does, for scenarios. The library starts once per process, so a scenario has a
// process of its own, as ctest gives each test.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "keystrand/keystrand.h"
#include "keystrand/pkix/Certificate.h"
#include "keystrand/pkix/CertificateList.h"
#include "keystrand/pkix/DistributionPoint.h"
#include "support/LogReader.h"
#include "support/TempFolder.h"
#include "support/TestData.h"

namespace keystrand::test {

constexpr unsigned long kNoCode = static_cast<unsigned long>(-1);

inline std::filesystem::path pkits(const std::string& relative) {
  return publishedVectors() / "x509" / "PKITS_data" / relative;
}

inline bool initialise(std::string caDir, std::string logFile = "", std::string crlDir = "") {
  std::string ident = "scenario";
  return cache_init(caDir.data(), crlDir.data(), ident.data(), logFile.empty() ? nullptr : logFile.data()) == 1;
}

// The library with data files and a log in a folder of its own, tracing in English from the first context on.
class RunningLibrary {
 public:
  RunningLibrary() {
    cache_setLang(1);
    cache_enableLog(7);
    initialise(folder_.path().string(), logFile());
  }
  ~RunningLibrary() { cache_finalize(); }

  [[nodiscard]] const TempFolder& folder() const { return folder_; }
  [[nodiscard]] std::string logFile() const { return (folder_ / "log").string(); }

  // The messages logged since the last call, without time, ident and numbers.
  std::vector<std::string> messages() { return log_.next(); }

 private:
  TempFolder folder_;
  LogReader log_{logFile()};
};

class Client {
 public:
  Client() : context_(cache_getContext()) {}
  ~Client() { cache_releaseContext(context_); }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  [[nodiscard]] void* context() const { return context_; }
  bool addCA(const std::filesystem::path& path) const {
    std::string text = path.string();
    return cache_addCACert(context_, text.data()) == 1;
  }
  bool addCA(ByteString der) const {
    return cache_addCACertDER(context_, der.data(), static_cast<unsigned int>(der.size())) == 1;
  }

  static std::unique_ptr<DistributionPointName> at(const std::vector<std::string>& urls) {
    GeneralNameList names;
    for (const auto& url : urls) {
      GeneralName name;
      name.setURI(url.c_str());
      names.add(name);
    }
    auto point = std::make_unique<DistributionPointName>();
    point->setFullName(&names);
    return point;
  }

  // 1 revoked, 0 not revoked, otherwise minus the code that tells why there is no answer.
  long search(const std::vector<std::string>& urls, std::string serial, int caRow = 0) const {
    return search(*at(urls), std::move(serial), caRow);
  }
  long search(DistributionPointName& point, std::string serial, int caRow = 0) const {
    if (cache_searchCRL(context_, &point, caRow, serial.data()) == 1) return 1;
    const unsigned long code = cache_getErrCode(context_);
    return code == kNoCode ? 0 : -static_cast<long>(code);
  }

 private:
  void* context_;
};

}  // namespace keystrand::test
