#include "keystrand/pkix/AttCertIssuer.h"
#include "pkix/Parts.h"

namespace keystrand {

namespace {
constexpr unsigned char kBaseCertificateID = 0xA0;
constexpr unsigned char kObjectDigestInfo = 0xA1;
}  // namespace

owner<V2Form*> V2Form::clone() const {
  auto copy = std::make_unique<V2Form>();
  copy->issuerName_ = copyOf(issuerName_.get());
  copy->baseCertificateID_ = copyOf(baseCertificateID_.get());
  copy->objectDigestInfo_ = copyOf(objectDigestInfo_.get());
  return copy.release();
}

owner<GeneralNameList*> V2Form::issuerName() const {
  return cloneOf(issuerName_);
}

void V2Form::setIssuerName(const GeneralNameList* names) {
  issuerName_ = copyOf(names);
}

owner<IssuerSerial*> V2Form::baseCertificateID() const {
  return cloneOf(baseCertificateID_);
}

void V2Form::setBaseCertificateID(const IssuerSerial* id) {
  baseCertificateID_ = copyOf(id);
}

owner<ObjectDigestInfo*> V2Form::objectDigestInfo() const {
  return cloneOf(objectDigestInfo_);
}

void V2Form::setObjectDigestInfo(const ObjectDigestInfo* info) {
  objectDigestInfo_ = copyOf(info);
}

std::uint32_t V2Form::contentSize(const Buffer& buffer) const {
  return sizePart(issuerName_, buffer) + sizePart(baseCertificateID_, buffer, kBaseCertificateID) +
         sizePart(objectDigestInfo_, buffer, kObjectDigestInfo);
}

std::uint32_t V2Form::size(const Buffer& buffer, unsigned char tag) const {
  const std::uint32_t n = contentSize(buffer);
  return buffer.sizeHeader(tag, n) + n;
}

void V2Form::put(Buffer& buffer, unsigned char tag) const {
  buffer.putHeader(tag, contentSize(buffer));
  putPart(issuerName_, buffer);
  putPart(baseCertificateID_, buffer, kBaseCertificateID);
  putPart(objectDigestInfo_, buffer, kObjectDigestInfo);
}

bool V2Form::get(Buffer& buffer, unsigned char tag) {
  Element body;
  return openWhole(body, buffer, tag) && getOptional(body, buffer, issuerName_, kSequence) &&
         getOptional(body, buffer, baseCertificateID_, kBaseCertificateID) &&
         getOptional(body, buffer, objectDigestInfo_, kObjectDigestInfo) && endsHere(body, buffer);
}

}  // namespace keystrand
