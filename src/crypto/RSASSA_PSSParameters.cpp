#include "crypto/RSASSA_PSSParameters.h"

#include "der/Element.h"
#include "support/Memory.h"

namespace keystrand {

namespace {

constexpr unsigned char kHashTag = 0xA0;
constexpr unsigned char kMaskGenTag = 0xA1;
constexpr unsigned char kSaltLengthTag = 0xA2;
constexpr unsigned char kTrailerFieldTag = 0xA3;

using Algorithm = std::unique_ptr<AlgorithmIdentifier>;
using Number = std::optional<std::int32_t>;

std::uint32_t innerSize(const Buffer& buffer, const Algorithm& algorithm) {
  return algorithm->size(buffer);
}
std::uint32_t innerSize(const Buffer& buffer, Number number) {
  return buffer.sizeInteger(*number);
}
void putInner(Buffer& buffer, const Algorithm& algorithm) {
  algorithm->put(buffer);
}
void putInner(Buffer& buffer, Number number) {
  buffer.putInteger(*number);
}
bool getInner(Buffer& buffer, Algorithm& algorithm) {
  algorithm = std::make_unique<AlgorithmIdentifier>();
  return algorithm->get(buffer);
}
bool getInner(Buffer& buffer, Number& number) {
  return buffer.getInteger(number.emplace());
}

// One field, OPTIONAL, in an explicit tag.
template <class Field>
std::uint32_t sizeField(const Buffer& buffer, unsigned char tag, const Field& field) {
  if (!field) return 0;
  const std::uint32_t inner = innerSize(buffer, field);
  return buffer.sizeHeader(tag, inner) + inner;
}

template <class Field>
void putField(Buffer& buffer, unsigned char tag, const Field& field) {
  if (!field) return;
  buffer.putHeader(tag, innerSize(buffer, field));
  putInner(buffer, field);
}

template <class Field>
bool getField(Buffer& buffer, const Element& body, unsigned char tag, Field& field) {
  field.reset();
  if (body.atEnd(buffer) || buffer.peekByte() != tag) return true;
  Element wrapper;
  return wrapper.open(buffer, tag) && getInner(buffer, field);
}

}  // namespace

RSASSA_PSSParameters::RSASSA_PSSParameters(const RSASSA_PSSParameters& other)
    : hash_(copyOf(other.hash_.get())),
      maskGen_(copyOf(other.maskGen_.get())),
      saltLength_(other.saltLength_),
      trailerField_(other.trailerField_) {}

std::uint32_t RSASSA_PSSParameters::contentSize(const Buffer& buffer) const {
  return sizeField(buffer, kHashTag, hash_) + sizeField(buffer, kMaskGenTag, maskGen_) +
         sizeField(buffer, kSaltLengthTag, saltLength_) + sizeField(buffer, kTrailerFieldTag, trailerField_);
}

std::uint32_t RSASSA_PSSParameters::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void RSASSA_PSSParameters::put(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  putField(buffer, kHashTag, hash_);
  putField(buffer, kMaskGenTag, maskGen_);
  putField(buffer, kSaltLengthTag, saltLength_);
  putField(buffer, kTrailerFieldTag, trailerField_);
}

bool RSASSA_PSSParameters::get(Buffer& buffer) {
  Element body;
  return body.open(buffer, kSequence)                                 //
         && getField(buffer, body, kHashTag, hash_)                   // hashAlgorithm [0]
         && getField(buffer, body, kMaskGenTag, maskGen_)             // maskGenAlgorithm [1]
         && getField(buffer, body, kSaltLengthTag, saltLength_)       // saltLength [2]
         && getField(buffer, body, kTrailerFieldTag, trailerField_);  // trailerField [3]
}

}  // namespace keystrand
