// The library as cache_init leaves it, with a folder and a log of the test's own. Every test runs in a process of its
// own, so the shared tables are empty at its start.
#pragma once

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "cache/CACache.h"
#include "cache/Library.h"
#include "log/Catalogue.h"
#include "log/Logger.h"
#include "support/LogReader.h"
#include "support/Settings.h"
#include "support/TempFolder.h"

namespace keystrand::test {

constexpr unsigned char kEnglish = 1;

// The text of a message that takes no arguments.
inline std::string message(unsigned long code) {
  return messageText(code, kEnglish);
}

// 4677, with the number of rows.
inline std::string rowsMessage(int count) {
  return "CA certificates included into certificate list: " + std::to_string(count);
}

class LibraryFixture : public ::testing::Test {
 protected:
  LibraryFixture() {
    library().cryptoKi = std::make_unique<CryptoKi>();
    library().cryptoDevice = std::make_unique<CryptoDevice>(library().cryptoKi.get());
    library().cryptoDevice->open(0, nullptr, 0);
    library().caListPath = folder / "caCertsList-3.5";
    library().crlCachePath = folder / "crlCache";
    library().initialised = true;
    settings().language = kEnglish;
    Logger::start("test", nullptr, (folder / "log").c_str(), nullptr);
  }
  ~LibraryFixture() override {
    library().cryptoDevice.reset();
    library().cryptoKi.reset();
  }

  // A context that logs what is at this level or below.
  static std::unique_ptr<CACache> contextLogging(unsigned char level) {
    settings().logLevel = level;
    return std::make_unique<CACache>();
  }

  // The messages that were logged since the last call.
  std::vector<std::string> logged() { return log_.next(); }

  TempFolder folder;

 private:
  LogReader log_{folder / "log"};
};

}  // namespace keystrand::test
