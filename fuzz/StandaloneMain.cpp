// Gives every file below the folders named, and below $KEYSTRAND_TESTDATA/malformed, to a fuzz target.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

namespace fs = std::filesystem;

int replay(const fs::path& folder) {
  if (!fs::is_directory(folder)) return 0;
  int files = 0;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
    if (!entry.is_regular_file()) continue;
    std::ifstream in(entry.path(), std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(in), {}};
    // a copy of exactly this size, so that a sanitizer sees the first byte read beyond it
    const std::vector<std::uint8_t> input(bytes.begin(), bytes.end());
    static_cast<void>(std::fprintf(stderr, "%s\n", entry.path().c_str()));
    LLVMFuzzerTestOneInput(input.data(), input.size());
    ++files;
  }
  return files;
}

}  // namespace

int main(int argc, char** argv) {
  int seeds = 0;
  for (int i = 1; i < argc; ++i) seeds += replay(argv[i]);
  const char* testData = std::getenv("KEYSTRAND_TESTDATA");
  const int malformed = testData != nullptr ? replay(fs::path(testData) / "malformed") : 0;
  std::printf("%d seeds and %d malformed files replayed\n", seeds, malformed);
  if (testData == nullptr) std::puts("KEYSTRAND_TESTDATA is not set: the malformed files were left out");
  return seeds != 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
