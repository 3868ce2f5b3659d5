#include "keystrand/pkix/Holder.h"

#include "pkix/Parts.h"

namespace keystrand {

namespace {
constexpr unsigned char kBaseCertificateID = 0xA0;
constexpr unsigned char kEntityName = 0xA1;
constexpr unsigned char kObjectDigestInfo = 0xA2;
}  // namespace

owner<Holder*> Holder::clone() const {
  auto copy = std::make_unique<Holder>();
  copy->baseCertificateID_ = copyOf(baseCertificateID_.get());
  copy->entityName_ = copyOf(entityName_.get());
  copy->objectDigestInfo_ = copyOf(objectDigestInfo_.get());
  return copy.release();
}

owner<IssuerSerial*> Holder::baseCertificateID() const {
  return cloneOf(baseCertificateID_);
}

void Holder::setBaseCertificateID(const IssuerSerial* id) {
  baseCertificateID_ = copyOf(id);
}

owner<GeneralNameList*> Holder::entityName() const {
  return cloneOf(entityName_);
}

void Holder::setEntityName(const GeneralNameList* names) {
  entityName_ = copyOf(names);
}

owner<ObjectDigestInfo*> Holder::objectDigestInfo() const {
  return cloneOf(objectDigestInfo_);
}

void Holder::setObjectDigestInfo(const ObjectDigestInfo* info) {
  objectDigestInfo_ = copyOf(info);
}

std::uint32_t Holder::contentSize(const Buffer& buffer) const {
  return sizePart(baseCertificateID_, buffer, kBaseCertificateID) + sizePart(entityName_, buffer, kEntityName) +
         sizePart(objectDigestInfo_, buffer, kObjectDigestInfo);
}

std::uint32_t Holder::size(const Buffer& buffer, unsigned char tag) const {
  const std::uint32_t n = contentSize(buffer);
  return buffer.sizeHeader(tag, n) + n;
}

void Holder::put(Buffer& buffer, unsigned char tag) const {
  buffer.putHeader(tag, contentSize(buffer));
  putPart(baseCertificateID_, buffer, kBaseCertificateID);
  putPart(entityName_, buffer, kEntityName);
  putPart(objectDigestInfo_, buffer, kObjectDigestInfo);
}

bool Holder::get(Buffer& buffer, unsigned char tag) {
  Element body;
  return openWhole(body, buffer, tag) && getOptional(body, buffer, baseCertificateID_, kBaseCertificateID) &&
         getOptional(body, buffer, entityName_, kEntityName) &&
         getOptional(body, buffer, objectDigestInfo_, kObjectDigestInfo) && endsHere(body, buffer);
}

}  // namespace keystrand
