// Base64 both ways, and a file of 2,048 armours read one by one: ours beside OpenSSL's EVP_EncodeBlock, EVP_DecodeBlock
// and PEM_read_bio.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <unistd.h>

#include <fstream>
#include <memory>
#include <string>

#include "keystrand/der/Buffer.h"
#include "support/Base64.h"
#include "support/TempFolder.h"

namespace keystrand {
namespace {

constexpr std::size_t kSize = 64 * 1024 * 3 / 4;
constexpr int kArmours = 2048;

Bytes someBytes(std::size_t n) {
  Bytes bytes(n);
  for (std::size_t i = 0; i < n; ++i) bytes[i] = static_cast<unsigned char>(i * 167 + i / 256);
  bytes[0] = 0x30;
  return bytes;
}

unsigned char* octets(std::string& text) {
  return reinterpret_cast<unsigned char*>(text.data());
}

void setBytes(benchmark::State& state, std::size_t perIteration) {
  state.SetBytesProcessed(static_cast<std::int64_t>(perIteration) * state.iterations());
}

void encode(benchmark::State& state) {
  const Bytes bytes = someBytes(kSize);
  for (auto _ : state) benchmark::DoNotOptimize(encodeBase64(bytes));
  setBytes(state, kSize);
}
BENCHMARK(encode)->Name("base64_encode/ours");

void encodeByOpenSSL(benchmark::State& state) {
  const Bytes bytes = someBytes(kSize);
  for (auto _ : state) {
    std::string text(kSize / 3 * 4 + 1, '\0');
    benchmark::DoNotOptimize(EVP_EncodeBlock(octets(text), bytes.data(), static_cast<int>(kSize)));
  }
  setBytes(state, kSize);
}
BENCHMARK(encodeByOpenSSL)->Name("base64_encode/openssl");

void decode(benchmark::State& state) {
  const std::string text = encodeBase64(someBytes(kSize));
  const std::span<const unsigned char> in(reinterpret_cast<const unsigned char*>(text.data()), text.size());
  if (decodeBase64(in) != someBytes(kSize)) state.SkipWithError("wrong bytes");
  for (auto _ : state) benchmark::DoNotOptimize(decodeBase64(in));
  setBytes(state, text.size());
}
BENCHMARK(decode)->Name("base64_decode/ours");

void decodeByOpenSSL(benchmark::State& state) {
  std::string text = encodeBase64(someBytes(kSize));
  for (auto _ : state) {
    Bytes bytes(kSize);
    benchmark::DoNotOptimize(EVP_DecodeBlock(bytes.data(), octets(text), static_cast<int>(text.size())));
  }
  setBytes(state, text.size());
}
BENCHMARK(decodeByOpenSSL)->Name("base64_decode/openssl");

// Certificates of usual size under one another.
class ArmourFile {
 public:
  ArmourFile() {
    Buffer buffer;
    const Bytes bytes = someBytes(1400);
    buffer.assign(bytes.data(), 1400);
    const int file = open(path().c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    for (int i = 0; i < kArmours; ++i) buffer.writePEM(file, "CERTIFICATE");
    close(file);
  }
  [[nodiscard]] std::string path() const { return folder_ / "armours"; }

 private:
  test::TempFolder folder_;
};

void readArmours(benchmark::State& state) {
  const ArmourFile file;
  for (auto _ : state) {
    const int in = open(file.path().c_str(), O_RDONLY | O_CLOEXEC);
    Buffer buffer;
    int count = 0;
    while (buffer.readPEMStream(in)) count += buffer.size() == 1400;
    close(in);
    if (count != kArmours) state.SkipWithError("armours are missing");
  }
  state.SetItemsProcessed(kArmours * state.iterations());
}
BENCHMARK(readArmours)->Name("pem_file_of_2048/ours")->Unit(benchmark::kMicrosecond);

void readArmoursByOpenSSL(benchmark::State& state) {
  const ArmourFile file;
  for (auto _ : state) {
    const std::unique_ptr<BIO, int (*)(BIO*)> in(BIO_new_file(file.path().c_str(), "r"), BIO_free);
    char* label = nullptr;
    char* header = nullptr;
    unsigned char* bytes = nullptr;
    long size = 0;
    int count = 0;
    while (PEM_read_bio(in.get(), &label, &header, &bytes, &size) == 1) {
      count += size == 1400;
      OPENSSL_free(label);
      OPENSSL_free(header);
      OPENSSL_free(bytes);
    }
    if (count != kArmours) state.SkipWithError("armours are missing");
  }
  state.SetItemsProcessed(kArmours * state.iterations());
}
BENCHMARK(readArmoursByOpenSSL)->Name("pem_file_of_2048/openssl")->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace keystrand
