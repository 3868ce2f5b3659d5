#include "keystrand/crypto/RSAPrivateKey.h"

#include <algorithm>

#include "crypto/IntegerBytes.h"
#include "der/Element.h"

namespace keystrand {

namespace {
constexpr std::size_t kFirstPrivate = 2;
constexpr std::size_t kFirstPrime = 3;
constexpr std::int32_t kTwoPrimes = 0;  // the version
}  // namespace

RSAPrivateKey::~RSAPrivateKey() {
  for (std::size_t i = kFirstPrivate; i < integers_.size(); ++i) integers_[i].wipe();
}

RSAPrivateKey& RSAPrivateKey::operator=(const RSAPrivateKey& other) {
  RSAPrivateKey copy(other);
  integers_.swap(copy.integers_);
  return *this;
}

bool RSAPrivateKey::hasPrimes() const noexcept {
  return std::none_of(integers_.begin() + kFirstPrime, integers_.end(),
                      [](const BigInteger& part) { return part.isZero(); });
}

owner<unsigned char*> RSAPrivateKey::keyBytes() const {
  return newMagnitude(modulus());
}
std::uint32_t RSAPrivateKey::keyLength() const {
  return modulus().magnitudeLength();
}
owner<Key*> RSAPrivateKey::clone() const {
  return new RSAPrivateKey(*this);
}

bool RSAPrivateKey::isStripped() const {
  return std::ranges::all_of(integers_, &BigInteger::stripped);
}
void RSAPrivateKey::setStripped() {
  for (BigInteger& part : integers_) part.setStripped(true);
}

std::uint32_t RSAPrivateKey::contentSize(const Buffer& buffer) const {
  std::uint32_t n = buffer.sizeInteger(kTwoPrimes);
  for (const BigInteger& part : integers_) n += part.size(buffer);
  return n;
}

std::uint32_t RSAPrivateKey::privateSize(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void RSAPrivateKey::putPrivate(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  buffer.putInteger(kTwoPrimes);
  for (const BigInteger& part : integers_) part.put(buffer);
}

bool RSAPrivateKey::getPrivate(Buffer& buffer) {
  Element body;
  std::int32_t version = 0;
  return body.open(buffer, kSequence) && buffer.getInteger(version) && version == kTwoPrimes &&
         std::ranges::all_of(integers_, [&buffer](BigInteger& part) { return part.get(buffer); });
}

std::uint32_t RSAPrivateKey::size(const Buffer& buffer) const {
  return publicKey().size(buffer);
}
void RSAPrivateKey::put(Buffer& buffer) const {
  publicKey().put(buffer);
}
bool RSAPrivateKey::get(Buffer& buffer) {
  RSAPublicKey half;
  if (!half.get(buffer)) return false;
  *this = RSAPrivateKey(Integers{half.modulus(), half.exponent()});
  return true;
}

}  // namespace keystrand
