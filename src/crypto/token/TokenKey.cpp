#include "crypto/token/TokenKey.h"

#include <algorithm>
#include <memory>

#include "crypto/AES.h"
#include "crypto/HMAC.h"
#include "crypto/PBE.h"
#include "crypto/PBEParameter.h"
#include "crypto/SHA1.h"
#include "crypto/SHA256.h"
#include "crypto/Words.h"

namespace keystrand {

namespace {

constexpr std::int32_t kIterations = 3;  // of the token's own derivation, which the stretching follows
constexpr std::size_t kPasswordKeyLength = 20;

// Salt and count of the token's own derivation: the salt is its serial number, with its index added to each octet.
PBEParameter parameterOf(std::span<const unsigned char, TokenKey::kSerialLength> serial) {
  std::array<unsigned char, 8> salt{};
  for (std::size_t i = 0; i < salt.size(); ++i) salt[i] = static_cast<unsigned char>(serial[i] + i);
  return {salt, kIterations};
}

void addOne(std::span<unsigned char> counter) {
  for (std::size_t i = counter.size(); i-- > 0 && ++counter[i] == 0;) {
  }
}

}  // namespace

std::optional<TokenKey> TokenKey::generated(RandomGenerator& random) {
  SecretBytes octets(kLength);
  return random.fill(octets) ? std::optional(TokenKey(std::move(octets))) : std::nullopt;
}

TokenKey TokenKey::ofPIN(Octets pin, std::span<const unsigned char, kSerialLength> serial,
                         std::span<const unsigned char, kSaltLength> salt, std::uint32_t iterations) {
  const PBEParameter own = parameterOf(serial);
  const auto password = pkcs12Key(pin, own.saltView(), static_cast<std::uint64_t>(own.iterationCount()),
                                  PKCS12Purpose::kKey, kPasswordKeyLength);
  auto stretched = pbkdf2(std::make_unique<SHA256>(), password.value(), salt, iterations, kLength);
  return TokenKey(std::move(stretched.value()));
}

std::array<unsigned char, TokenKey::kCheckLength> TokenKey::checkValue() const {
  HMAC mac(std::make_unique<SHA1>());
  mac.setKey(derived("check value"));
  std::array<unsigned char, 20> whole{};
  mac.final(whole);
  std::array<unsigned char, kCheckLength> value{};
  std::copy_n(whole.begin(), value.size(), value.begin());
  return value;
}

std::optional<Bytes> TokenKey::seal(Octets belongsTo, Octets text, RandomGenerator& random) const {
  Bytes sealed(kCounterLength);
  if (!random.fill(sealed)) return std::nullopt;
  sealed.insert(sealed.end(), text.begin(), text.end());
  const std::span<unsigned char> whole(sealed);
  addKeyStream(whole.first(kCounterLength), whole.subspan(kCounterLength));
  const auto proof = tag(belongsTo, whole.first(kCounterLength), whole.subspan(kCounterLength));
  sealed.insert(sealed.end(), proof.begin(), proof.end());
  return sealed;
}

std::optional<SecretBytes> TokenKey::unseal(Octets belongsTo, Octets sealed) const {
  if (sealed.size() < kOverhead) return std::nullopt;
  const Octets counter = sealed.first(kCounterLength);
  const Octets text = sealed.subspan(kCounterLength, sealed.size() - kOverhead);
  if (!areEqual(tag(belongsTo, counter, text), sealed.last(kTagLength))) return std::nullopt;
  SecretBytes plain(text.begin(), text.end());
  addKeyStream(counter, plain);
  return plain;
}

SecretBytes TokenKey::derived(std::string_view purpose) const {
  HMAC mac(std::make_unique<SHA256>());
  mac.setKey(octets_);
  mac.update({reinterpret_cast<const unsigned char*>(purpose.data()), purpose.size()});
  SecretBytes key(mac.length());
  mac.final(key);
  return key;
}

void TokenKey::addKeyStream(Octets counter, std::span<unsigned char> text) const {
  AES cipher;
  cipher.setEncryptionKey(derived("encryption"));
  SecretBytes next(counter.begin(), counter.end());
  SecretBytes stream(cipher.blockLength());
  for (std::size_t at = 0; at < text.size(); at += stream.size()) {
    cipher.encryptBlock(next.data(), stream.data());
    const auto part = text.subspan(at, std::min(stream.size(), text.size() - at));
    for (std::size_t i = 0; i < part.size(); ++i) part[i] ^= stream[i];
    addOne(next);
  }
}

// The length of the first part keeps it apart from the second.
std::array<unsigned char, TokenKey::kTagLength> TokenKey::tag(Octets belongsTo, Octets counter, Octets text) const {
  HMAC mac(std::make_unique<SHA256>());
  mac.setKey(derived("authentication"));
  std::array<unsigned char, 8> length{};
  storeWord<std::endian::big>(std::uint64_t{belongsTo.size()}, length.data());
  mac.update(length);
  mac.update(belongsTo);
  mac.update(counter);
  mac.update(text);
  std::array<unsigned char, kTagLength> value{};
  mac.final(value);
  return value;
}

}  // namespace keystrand
