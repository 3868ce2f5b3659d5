// Where tests find their inputs.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

namespace keystrand::test {

using ByteString = std::vector<unsigned char>;

inline ByteString readFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

inline void writeFile(const std::filesystem::path& path, const ByteString& bytes) {
  std::ofstream out(path, std::ios::binary);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

// A file or folder of the test data outside the tree, named by KEYSTRAND_TESTDATA; nothing where it is absent, and the
// test then skips, saying so: if (!path) GTEST_SKIP() << kNoTestData;
constexpr const char* kNoTestData = "KEYSTRAND_TESTDATA does not hold this file";
inline std::optional<std::filesystem::path> testData(const std::string& relative) {
  const char* root = std::getenv("KEYSTRAND_TESTDATA");
  if (root == nullptr) return std::nullopt;
  std::filesystem::path path = std::filesystem::path(root) / relative;
  if (!std::filesystem::exists(path)) return std::nullopt;
  return path;
}

// NIST and other published vectors of the Debian package python3-cryptography-vectors.
inline std::filesystem::path publishedVectors() {
  return "/usr/lib/python3/dist-packages/cryptography_vectors";
}

// The fixed inputs of this tree, tests/data.
inline std::filesystem::path treeData() {
  return KEYSTRAND_TREE_DATA;
}

}  // namespace keystrand::test
