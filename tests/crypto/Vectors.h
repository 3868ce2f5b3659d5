// Files of published vectors in lines "name = value".
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <string>

#include "support/TestData.h"

namespace keystrand::test {

using Fields = std::map<std::string, std::string>;

// A vector ends with its `last` line; what came before stays in force. What stands in brackets, but for the length of a
// modulus, is the field "section".
template <class Use>
void forEachVector(const std::filesystem::path& path, const std::string& last, Use use) {
  std::ifstream in(path);
  ASSERT_TRUE(in) << path;
  Fields fields;
  for (std::string line; std::getline(in, line);) {
    line.erase(line.find_last_not_of("\r ") + 1);
    const auto equals = line.find(" = ");
    if (line.starts_with('[') && line.find("mod") == std::string::npos) {
      fields["section"] = line.substr(1, line.size() - 2);
    } else if (equals != std::string::npos) {
      const std::string name = line.substr(0, equals);
      fields[name] = line.substr(equals + 3);
      if (name == last) use(fields);
    }
  }
}

inline std::vector<Fields> vectorsOf(const std::filesystem::path& path, const std::string& last) {
  std::vector<Fields> all;
  forEachVector(path, last, [&](const Fields& fields) { all.push_back(fields); });
  return all;
}

}  // namespace keystrand::test
