#include "crypto/PasswordBasedMac.h"

#include "crypto/DigestTable.h"
#include "crypto/Digests.h"
#include "crypto/PBMParameter.h"

namespace keystrand {

PasswordBasedMac::~PasswordBasedMac() = default;

void PasswordBasedMac::clear() {
  digest_.reset();
  key_ = {};
}
void PasswordBasedMac::setKey(std::span<const unsigned char> key) {
  key_.assign(key.begin(), key.end());
  init();
}
void PasswordBasedMac::init() {}
void PasswordBasedMac::update(std::span<const unsigned char>) {}
std::uint32_t PasswordBasedMac::final(std::span<unsigned char>) {
  return 0;
}
std::uint32_t PasswordBasedMac::length() const {
  return 0;
}

bool PasswordBasedMac::setPassword(std::span<const unsigned char> password, const PBMParameter& parameter) {
  constexpr std::int32_t kMostIterations = 10'000'000;
  const AlgorithmIdentifier* owf = parameter.owfView();
  const DigestRow* row = owf != nullptr && owf->oidView() != nullptr ? findDigest(*owf->oidView()) : nullptr;
  if (row == nullptr || parameter.iterationCount() < 1 || parameter.iterationCount() > kMostIterations) return false;
  const auto function = makeDigest(row->mechanism);
  SecretBytes value(row->length);
  function->update(password.data(), password.size());
  function->update(parameter.saltView().data(), parameter.saltView().size());
  function->final(value);
  for (std::int32_t i = 1; i < parameter.iterationCount(); ++i) {
    function->update(value.data(), value.size());
    function->final(value);
  }
  setKey(value);
  return true;
}

}  // namespace keystrand
