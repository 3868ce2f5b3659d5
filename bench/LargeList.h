// The largest trusted list of the test data, and the digest of it that its signature holds.
#pragma once

#include <optional>
#include <string>

#include "support/TestData.h"

namespace keystrand::bench {

// The file; nothing where KEYSTRAND_TESTDATA does not hold it.
inline std::optional<std::string> largeList() {
  const auto path = test::testData("tl/2023/IT.xml");
  return path ? std::optional(path->string()) : std::nullopt;
}
inline constexpr const char* kNoList = "KEYSTRAND_TESTDATA does not hold the list";

}  // namespace keystrand::bench
