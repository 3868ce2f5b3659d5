#include "keystrand/crypto/KeyInfo.h"

#include "crypto/DSAPublicKey.h"
#include "crypto/SecretKeys.h"
#include "der/ConstantOID.h"
#include "der/Element.h"
#include "keystrand/crypto/ECDSAPublicKey.h"
#include "keystrand/crypto/RSAPublicKey.h"
#include "support/Memory.h"

namespace keystrand {

namespace {

std::unique_ptr<Key> makeECKey(const AlgorithmParameter* parameter) {
  auto key = std::make_unique<ECDSAPublicKey>();
  key->setParameters(dynamic_cast<const ECParameters*>(parameter));
  return key;
}

std::unique_ptr<Key> makeDSAKey(const AlgorithmParameter* parameter) {
  auto key = std::make_unique<DSAPublicKey>();
  if (const auto* domain = dynamic_cast<const DSSParameters*>(parameter)) key->setParameters(*domain);
  return key;
}

template <class Secret>
std::unique_ptr<Key> makeKey(const AlgorithmParameter*) {
  return std::make_unique<Secret>();
}

enum class Group : unsigned char { kEC, kRSA, kOther };

struct Row {
  ConstantOID algorithm;
  Group group;
  std::unique_ptr<Key> (*make)(const AlgorithmParameter*);
};

constexpr Row kRows[] = {
    {"1.2.840.10045.2.1"_oid, Group::kEC, &makeECKey},                   // id-ecPublicKey
    {"1.2.840.113549.1.1.1"_oid, Group::kRSA, &makeKey<RSAPublicKey>},   // rsaEncryption
    {"2.5.8.1.1"_oid, Group::kRSA, &makeKey<RSAPublicKey>},              // rsa
    {"1.2.840.113549.1.1.10"_oid, Group::kRSA, &makeKey<RSAPublicKey>},  // id-RSASSA-PSS
    {"1.3.14.3.2.6"_oid, Group::kOther, &makeKey<DESKey>},               // desECB
    {"1.3.14.3.2.7"_oid, Group::kOther, &makeKey<DESKey>},               // desCBC
    {"1.3.14.3.2.9"_oid, Group::kOther, &makeKey<DESKey>},               // desCFB
    {"1.2.840.113549.3.7"_oid, Group::kOther, &makeKey<DES3Key>},        // des-EDE3-CBC
    {"1.2.840.113549.3.8"_oid, Group::kOther, &makeKey<DES3Key>},        // rc5CBC: its keys come in the same shape
    {"1.2.840.10040.4.1"_oid, Group::kOther, &makeDSAKey},               // id-dsa
};

const Row* rowOf(const AlgorithmIdentifier* algorithm) {
  if (algorithm == nullptr || algorithm->oidView() == nullptr) return nullptr;
  for (const Row& row : kRows) {
    if (*algorithm->oidView() == row.algorithm) return &row;
  }
  return nullptr;
}

bool isGroup(const AlgorithmIdentifier* algorithm, Group group) {
  const Row* row = rowOf(algorithm);
  return row != nullptr && row->group == group;
}

std::uint32_t fieldBits(const AlgorithmIdentifier& algorithm) {
  const auto* parameters = dynamic_cast<const ECParameters*>(algorithm.parameterView());
  return parameters != nullptr ? parameters->fieldBits() : 0;
}

}  // namespace

KeyInfo::KeyInfo() = default;
KeyInfo::~KeyInfo() = default;

owner<KeyInfo*> KeyInfo::clone() const {
  auto copy = std::make_unique<KeyInfo>();
  copy->setAlgorithm(algorithm_.get());
  copy->setKey(key_.get());
  return copy.release();
}

owner<Key*> KeyInfo::key() const {
  return cloneOf(key_);
}
void KeyInfo::setKey(const Key* key) {
  key_ = copyOf(key);
}
owner<AlgorithmIdentifier*> KeyInfo::algorithm() const {
  return cloneOf(algorithm_);
}
void KeyInfo::setAlgorithm(const AlgorithmIdentifier* algorithm) {
  algorithm_ = copyOf(algorithm);
}
owner<char*> KeyInfo::algorithmText() const {
  return algorithm_ ? algorithm_->oidText() : nullptr;
}

void KeyInfo::setHasParameters(bool flag) {
  if (algorithm_) algorithm_->setHasParameters(flag);
}

owner<unsigned char*> KeyInfo::keyBytes() const {
  return key_ ? key_->keyBytes() : nullptr;
}

std::uint32_t KeyInfo::keyBytesLength() const {
  if (isGroup(algorithm_.get(), Group::kEC)) return fieldBits(*algorithm_);
  return key_ ? key_->keyLength() : 0;
}

std::uint32_t KeyInfo::keyBitLength() const {
  return isGroup(algorithm_.get(), Group::kEC) ? keyBytesLength() : keyBytesLength() * 8;
}

bool KeyInfo::isAlgorithm(const char* dotted) const {
  return algorithm_ && algorithm_->equals(dotted);
}
bool KeyInfo::isRSA() const {
  return isGroup(algorithm_.get(), Group::kRSA);
}

std::uint32_t KeyInfo::contentSize(const Buffer& buffer) const {
  const std::uint32_t algorithm = algorithm_ ? algorithm_->size(buffer) : 0;
  if (!key_) return algorithm;
  const std::uint32_t key = key_->size(buffer);
  return algorithm + (key_->kind() == KeyKind::kECPublic ? key : buffer.sizeBitString(key));
}

std::uint32_t KeyInfo::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void KeyInfo::put(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  if (algorithm_) algorithm_->put(buffer);
  if (!key_) return;
  if (key_->kind() != KeyKind::kECPublic) buffer.putBitStringHeader(key_->size(buffer), 0);
  key_->put(buffer);
}

bool KeyInfo::get(Buffer& buffer) {
  Element body;
  key_.reset();
  algorithm_ = std::make_unique<AlgorithmIdentifier>();
  if (!body.open(buffer, kSequence) || !algorithm_->get(buffer)) return false;
  const Row* row = rowOf(algorithm_.get());
  if (row == nullptr) return false;
  key_ = row->make(algorithm_->parameterView());
  std::uint32_t n = 0;
  unsigned char unused = 0;
  return (row->group == Group::kEC || buffer.getBitStringHeader(n, unused)) && key_->get(buffer);
}

}  // namespace keystrand
