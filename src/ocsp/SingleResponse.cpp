#include "keystrand/ocsp/SingleResponse.h"

#include "ocsp/MessageCoding.h"
#include "support/Memory.h"

namespace keystrand {

namespace {
constexpr unsigned char kNextUpdate = 0xA0;
constexpr unsigned char kSingleExtensions = 0xA1;
}  // namespace

SingleResponse::SingleResponse() = default;
SingleResponse::~SingleResponse() = default;

owner<SingleResponse*> SingleResponse::clone() const {
  auto copy = std::make_unique<SingleResponse>();
  copy->certID_ = copyOf(certID_.get());
  copy->certStatus_ = certStatus_;
  copy->thisUpdate_ = thisUpdate_;
  copy->nextUpdate_ = nextUpdate_;
  copy->singleExtensions_ = copyOf(singleExtensions_.get());
  return copy.release();
}

owner<CertID*> SingleResponse::certID() const {
  return cloneOf(certID_);
}
void SingleResponse::setCertID(const CertID* certID) {
  certID_ = copyOf(certID);
}
owner<OCSPCertStatus*> SingleResponse::certStatus() const {
  return cloneOf(certStatus_);
}
void SingleResponse::setCertStatus(const OCSPCertStatus* status) {
  certStatus_ = valueOf(status);
}
owner<X500Time*> SingleResponse::thisUpdate() const {
  return cloneOf(thisUpdate_);
}
void SingleResponse::setThisUpdate(const X500Time* time) {
  thisUpdate_ = valueOf(time);
}
owner<X500Time*> SingleResponse::nextUpdate() const {
  return cloneOf(nextUpdate_);
}
void SingleResponse::setNextUpdate(const X500Time* time) {
  nextUpdate_ = valueOf(time);
}
owner<ExtensionList*> SingleResponse::singleExtensions() const {
  return cloneOf(singleExtensions_);
}
void SingleResponse::setSingleExtensions(const ExtensionList* list) {
  singleExtensions_ = copyOf(list);
}

std::uint32_t SingleResponse::contentSize(const Buffer& buffer) const {
  return sizePart(certID_, buffer) + sizePart(certStatus_, buffer) + sizePart(thisUpdate_, buffer) +
         sizeWrappedPart(nextUpdate_, buffer, kNextUpdate) +
         sizeWrappedPart(singleExtensions_, buffer, kSingleExtensions);
}

std::uint32_t SingleResponse::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void SingleResponse::put(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  putPart(certID_, buffer);
  putPart(certStatus_, buffer);
  putPart(thisUpdate_, buffer);
  putWrappedPart(nextUpdate_, buffer, kNextUpdate);
  putWrappedPart(singleExtensions_, buffer, kSingleExtensions);
}

bool SingleResponse::get(Buffer& in) {
  Element body;
  nextUpdate_.reset();
  return openWhole(body, in, kSequence) && getPart(body, in, certID_) && getPart(body, in, certStatus_) &&
         !body.atEnd(in) && getGeneralizedTime(in, thisUpdate_) &&
         getOptional(body, in, kNextUpdate, [&] { return getGeneralizedTime(in, nextUpdate_); }) &&
         getOptionalPart(body, in, kSingleExtensions, singleExtensions_) && ended(body, in);
}

owner<SingleResponseList*> SingleResponseList::clone() const {
  auto copy = std::make_unique<SingleResponseList>();
  copy->items_.copyFrom(items_);
  return copy.release();
}

void SingleResponseList::add(const SingleResponse& response) {
  items_.append(std::unique_ptr<SingleResponse>(response.clone()));
}

owner<SingleResponse*> SingleResponseList::get(int index) const {
  const SingleResponse* response = view(index);
  return response != nullptr ? response->clone() : nullptr;
}

std::uint32_t SingleResponseList::size(const Buffer& buffer) const {
  return buffer.sizeSequence(sizeOfAll(items_, buffer));
}

void SingleResponseList::put(Buffer& buffer) const {
  buffer.putSequence(sizeOfAll(items_, buffer));
  putAll(items_, buffer);
}

bool SingleResponseList::get(Buffer& buffer) {
  return getList(items_, buffer);
}

}  // namespace keystrand
