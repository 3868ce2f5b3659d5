#include "LargeCRL.h"

#include <openssl/evp.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>

#include "keystrand/der/Buffer.h"

namespace keystrand::bench {

namespace {

template <auto Release>
struct Releaser {
  void operator()(auto* handle) const noexcept { Release(handle); }
};
using Key = std::unique_ptr<EVP_PKEY, Releaser<&EVP_PKEY_free>>;
using Digester = std::unique_ptr<EVP_MD_CTX, Releaser<&EVP_MD_CTX_free>>;

constexpr std::size_t kSerialOctets = 20;
using Serial = std::array<unsigned char, kSerialOctets>;

// SplitMix64.
std::uint64_t spread(std::uint64_t value) {
  value = (value ^ value >> 30) * 0xBF58476D1CE4E5B9;
  value = (value ^ value >> 27) * 0x94D049BB133111EB;
  return value ^ value >> 31;
}

Serial serialOf(std::uint64_t index) {
  Serial serial{};
  const std::array<std::uint64_t, 3> words = {spread(3 * index + 1), spread(3 * index + 2), spread(3 * index + 3)};
  std::memcpy(serial.data(), words.data(), serial.size());
  serial[0] = static_cast<unsigned char>(0x40 | (serial[0] & 0x3F));
  return serial;
}

std::span<const unsigned char> held(const Buffer& buffer) {
  return buffer.range(0, buffer.size());
}

void putParts(Buffer& out, unsigned char tag, const std::vector<ByteString>& parts) {
  std::size_t n = 0;
  for (const ByteString& part : parts) n += part.size();
  out.reserve(static_cast<std::uint32_t>(n + 16));
  out.putHeader(tag, static_cast<std::uint32_t>(n));
  for (const ByteString& part : parts) out.putBytes(part.data(), static_cast<std::uint32_t>(part.size()));
}

ByteString element(unsigned char tag, const std::vector<ByteString>& parts) {
  Buffer out;
  putParts(out, tag, parts);
  return {held(out).begin(), held(out).end()};
}

ByteString text(unsigned char tag, const char* value) {
  return element(tag, {ByteString(value, value + std::strlen(value))});
}

ByteString entryList(std::uint64_t entries) {
  constexpr std::array<unsigned char, 14> kReason = {0x30, 0x0C, 0x30, 0x0A, 0x06, 0x03, 0x55,
                                                     0x1D, 0x15, 0x04, 0x03, 0x0A, 0x01, 0x00};
  Buffer out;
  out.reserve(static_cast<std::uint32_t>(entries * 64));
  for (std::uint64_t i = 0; i < entries; ++i) {
    const Serial serial = serialOf(i);
    std::array<char, 16> date{};
    std::snprintf(date.data(), date.size(), "%02u%02u%02u%02u%02u%02uZ", 20 + static_cast<unsigned>(i % 5),
                  1 + static_cast<unsigned>(i % 12), 1 + static_cast<unsigned>(i % 28), static_cast<unsigned>(i % 24),
                  static_cast<unsigned>(i % 60), static_cast<unsigned>(i / 60 % 60));
    out.putSequence(51);
    out.putHeader(0x02, kSerialOctets);
    out.putBytes(serial.data(), kSerialOctets);
    out.putText(date.data(), 0x17);
    out.putBytes(kReason.data(), kReason.size() - 1);
    out.putByte(static_cast<unsigned char>(i % 6));
  }
  return element(0x30, {{held(out).begin(), held(out).end()}});
}

template <class Encode, class Object>
ByteString encoded(Encode encode, Object* object) {
  ByteString der(static_cast<std::size_t>(encode(object, nullptr)));
  unsigned char* at = der.data();
  encode(object, &at);
  return der;
}

ByteString sign(EVP_PKEY* key, const ByteString& body) {
  const Digester digester(EVP_MD_CTX_new());
  std::size_t length = static_cast<std::size_t>(EVP_PKEY_get_size(key));
  ByteString bits(1 + length);
  if (EVP_DigestSignInit(digester.get(), nullptr, EVP_sha256(), nullptr, key) != 1 ||
      EVP_DigestSign(digester.get(), bits.data() + 1, &length, body.data(), body.size()) != 1) {
    std::abort();
  }
  return element(0x03, {bits});
}

LargeCRL make(std::uint64_t entries) {
  const Key key(EVP_RSA_gen(2048U));
  const ByteString algorithm =
      element(0x30, {{0x06, 0x09, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x01, 0x0B}, {0x05, 0x00}});
  const ByteString commonName = element(0x30, {{0x06, 0x03, 0x55, 0x04, 0x03}, text(0x0C, "Issuer of many")});
  const ByteString number = element(0x30, {{0x06, 0x03, 0x55, 0x1D, 0x14}, {0x04, 0x03, 0x02, 0x01, 0x07}});
  const ByteString body = element(0x30, {{0x02, 0x01, 0x01},
                                         algorithm,
                                         element(0x30, {element(0x31, {commonName})}),
                                         text(0x17, "250101000000Z"),
                                         text(0x17, "350101000000Z"),
                                         entryList(entries),
                                         element(0xA0, {element(0x30, {number})})});
  return {entries, element(0x30, {body, algorithm, sign(key.get(), body)}), encoded(&i2d_PUBKEY, key.get())};
}

}  // namespace

std::string serialText(std::uint64_t index) {
  std::string digits;
  for (const unsigned char octet : serialOf(index)) {
    digits += "0123456789ABCDEF"[octet >> 4];
    digits += "0123456789ABCDEF"[octet & 15];
  }
  return digits;
}

const LargeCRL& largeCRL(std::uint64_t entries) {
  static std::map<std::uint64_t, LargeCRL> made;
  const auto found = made.find(entries);
  return found != made.end() ? found->second : made.emplace(entries, make(entries)).first->second;
}

}  // namespace keystrand::bench
