#include "keystrand/ocsp/ResponseData.h"

#include "ocsp/MessageCoding.h"
#include "support/Memory.h"

namespace keystrand {

namespace {
constexpr unsigned char kByName = 0xA1;
constexpr unsigned char kByKey = 0xA2;
constexpr unsigned char kResponseExtensions = 0xA1;
}  // namespace

ResponderID::ResponderID() = default;
ResponderID::~ResponderID() = default;

owner<ResponderID*> ResponderID::clone() const {
  auto copy = std::make_unique<ResponderID>();
  copy->byName_ = copyOf(byName_.get());
  copy->byKey_ = byKey_;
  return copy.release();
}

owner<Name*> ResponderID::byName() const {
  return cloneOf(byName_);
}
void ResponderID::setByName(const Name* name) {
  byName_ = copyOf(name);
  byKey_.clear();
}
owner<unsigned char*> ResponderID::byKey() const {
  return newBytes(byKey_.view());
}
void ResponderID::setByKey(const unsigned char* bytes, std::uint32_t n) {
  byName_.reset();
  byKey_.assign(bytes, n);
}

std::uint32_t ResponderID::keySize(const Buffer& buffer) const {
  return sizeOctets(buffer, byKey_);
}

std::uint32_t ResponderID::size(const Buffer& buffer) const {
  if (byName_) return sizeWrapped(*byName_, buffer, kByName);
  const std::uint32_t n = keySize(buffer);
  return buffer.sizeHeader(kByKey, n) + n;
}

void ResponderID::put(Buffer& buffer) const {
  if (byName_) return putWrapped(*byName_, buffer, kByName);
  buffer.putHeader(kByKey, keySize(buffer));
  putOctets(buffer, byKey_);
}

bool ResponderID::get(Buffer& in) {
  byName_.reset();
  byKey_.clear();
  if (nextTag(in) == kByName) return getExplicit(in, kByName, [&] { return getNew(byName_, in); });
  return getExplicit(in, kByKey, [&] { return getOctets(in, byKey_); });
}

ResponseData::ResponseData() = default;
ResponseData::~ResponseData() = default;

owner<ResponseData*> ResponseData::clone() const {
  auto copy = std::make_unique<ResponseData>();
  copy->version_ = version_;
  copy->versionExplicit_ = versionExplicit_;
  copy->responderID_ = copyOf(responderID_.get());
  copy->producedAt_ = producedAt_;
  copy->responses_ = copyOf(responses_.get());
  copy->responseExtensions_ = copyOf(responseExtensions_.get());
  return copy.release();
}

owner<ResponderID*> ResponseData::responderID() const {
  return cloneOf(responderID_);
}
void ResponseData::setResponderID(const ResponderID* responder) {
  responderID_ = copyOf(responder);
}
owner<X500Time*> ResponseData::producedAt() const {
  return cloneOf(producedAt_);
}
void ResponseData::setProducedAt(const X500Time* time) {
  producedAt_ = valueOf(time);
}
owner<SingleResponseList*> ResponseData::responses() const {
  return cloneOf(responses_);
}
void ResponseData::setResponses(const SingleResponseList* list) {
  responses_ = copyOf(list);
}
owner<ExtensionList*> ResponseData::responseExtensions() const {
  return cloneOf(responseExtensions_);
}
void ResponseData::setResponseExtensions(const ExtensionList* list) {
  responseExtensions_ = copyOf(list);
}

std::uint32_t ResponseData::contentSize(const Buffer& buffer) const {
  return sizeVersion(buffer, version_, versionExplicit_) + sizePart(responderID_, buffer) +
         sizePart(producedAt_, buffer) + sizePart(responses_, buffer) +
         sizeWrappedPart(responseExtensions_, buffer, kResponseExtensions);
}

std::uint32_t ResponseData::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void ResponseData::put(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  putVersion(buffer, version_, versionExplicit_);
  putPart(responderID_, buffer);
  putPart(producedAt_, buffer);
  putPart(responses_, buffer);
  putWrappedPart(responseExtensions_, buffer, kResponseExtensions);
}

bool ResponseData::get(Buffer& in) {
  Element body;
  return openWhole(body, in, kSequence) && getVersion(body, in, version_, versionExplicit_) &&
         getPart(body, in, responderID_) && !body.atEnd(in) && getGeneralizedTime(in, producedAt_) &&
         getPart(body, in, responses_) && getOptionalPart(body, in, kResponseExtensions, responseExtensions_) &&
         ended(body, in);
}

}  // namespace keystrand
