#include "keystrand/crypto/AlgorithmIdentifier.h"

#include "crypto/ParameterClasses.h"
#include "der/Element.h"
#include "support/Memory.h"

namespace keystrand {

namespace {
constexpr unsigned char kNullTag = 0x05;
}

AlgorithmParameter::~AlgorithmParameter() = default;

AlgorithmIdentifier::AlgorithmIdentifier() = default;
AlgorithmIdentifier::AlgorithmIdentifier(const char* dotted, bool hasParameters) {
  setOID(dotted, hasParameters);
}
AlgorithmIdentifier::AlgorithmIdentifier(const OID& oid, bool hasParameters) {
  setOID(oid, hasParameters);
}
AlgorithmIdentifier::~AlgorithmIdentifier() = default;

owner<AlgorithmIdentifier*> AlgorithmIdentifier::clone() const {
  auto copy = std::make_unique<AlgorithmIdentifier>();
  copy->oid_ = oid_;
  copy->parameter_ = copyOf(parameter_.get());
  copy->hasParameters_ = hasParameters_;
  return copy.release();
}

void AlgorithmIdentifier::setOID(const char* dotted, bool hasParameters) {
  setOID(OID(dotted), hasParameters);
}

void AlgorithmIdentifier::setOID(const OID& oid, bool hasParameters) {
  oid_ = oid;
  parameter_.reset();
  hasParameters_ = hasParameters;
}

owner<OID*> AlgorithmIdentifier::oid() const {
  return oid_ ? oid_->clone() : nullptr;
}
owner<char*> AlgorithmIdentifier::oidText() const {
  return oid_ ? oid_->toText() : nullptr;
}
owner<AlgorithmParameter*> AlgorithmIdentifier::parameter() const {
  return cloneOf(parameter_);
}

void AlgorithmIdentifier::setParameter(const AlgorithmParameter* parameter) {
  parameter_ = copyOf(parameter);
  hasParameters_ = true;
}

bool AlgorithmIdentifier::equals(const char* dotted) const {
  return oid_ && oid_->equals(dotted);
}
bool AlgorithmIdentifier::equals(const OID& oid) const noexcept {
  return oid_ && oid_->equals(oid);
}
bool AlgorithmIdentifier::equals(const AlgorithmIdentifier& other) const noexcept {
  return other.oid_ && equals(*other.oid_);
}

std::uint32_t AlgorithmIdentifier::contentSize(const Buffer& buffer) const {
  const std::uint32_t identifier = oid_ ? buffer.sizeOID(*oid_) : 0;
  if (!hasParameters_) return identifier;
  return identifier + (parameter_ ? parameter_->size(buffer) : buffer.sizeNull());
}

std::uint32_t AlgorithmIdentifier::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void AlgorithmIdentifier::put(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  if (oid_) buffer.putOID(*oid_);
  if (!hasParameters_) return;
  if (parameter_) {
    parameter_->put(buffer);
  } else {
    buffer.putNull();
  }
}

bool AlgorithmIdentifier::get(Buffer& buffer) {
  const Nesting level(buffer);  // the parameters of some algorithms hold algorithms
  Element body;
  oid_.emplace();
  parameter_.reset();
  hasParameters_ = true;
  if (!level || !body.open(buffer, kSequence) || !buffer.getOID(*oid_)) return false;
  hasParameters_ = !body.atEnd(buffer);
  if (!hasParameters_) return true;
  if (buffer.peekByte() == kNullTag) {
    static_cast<void>(buffer.getNull());
    return true;
  }
  parameter_ = makeParameter(*oid_);
  return !parameter_ || parameter_->get(buffer);
}

}  // namespace keystrand
