#include "ocsp/OCSPRequest.h"

#include "ocsp/MessageCoding.h"
#include "pkix/Signed.h"
#include "support/Memory.h"

namespace keystrand {

namespace {
constexpr unsigned char kSingleRequestExtensions = 0xA0;
constexpr unsigned char kRequestorName = 0xA1;
constexpr unsigned char kRequestExtensions = 0xA2;
constexpr unsigned char kOptionalSignature = 0xA0;
}  // namespace

owner<Request*> Request::clone() const {
  auto copy = std::make_unique<Request>();
  copy->reqCert_ = copyOf(reqCert_.get());
  copy->singleRequestExtensions_ = copyOf(singleRequestExtensions_.get());
  return copy.release();
}

owner<CertID*> Request::reqCert() const {
  return cloneOf(reqCert_);
}
void Request::setReqCert(const CertID* certID) {
  reqCert_ = copyOf(certID);
}
owner<ExtensionList*> Request::singleRequestExtensions() const {
  return cloneOf(singleRequestExtensions_);
}
void Request::setSingleRequestExtensions(const ExtensionList* list) {
  singleRequestExtensions_ = copyOf(list);
}

std::uint32_t Request::contentSize(const Buffer& buffer) const {
  return sizePart(reqCert_, buffer) + sizeWrappedPart(singleRequestExtensions_, buffer, kSingleRequestExtensions);
}

std::uint32_t Request::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void Request::put(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  putPart(reqCert_, buffer);
  putWrappedPart(singleRequestExtensions_, buffer, kSingleRequestExtensions);
}

bool Request::get(Buffer& in) {
  Element body;
  return openWhole(body, in, kSequence) && getPart(body, in, reqCert_) &&
         getOptionalPart(body, in, kSingleRequestExtensions, singleRequestExtensions_) && ended(body, in);
}

owner<RequestList*> RequestList::clone() const {
  auto copy = std::make_unique<RequestList>();
  copy->items_.copyFrom(items_);
  return copy.release();
}

void RequestList::add(const Request& request) {
  items_.append(std::unique_ptr<Request>(request.clone()));
}

owner<Request*> RequestList::get(int index) const {
  const Request* request = view(index);
  return request != nullptr ? request->clone() : nullptr;
}

std::uint32_t RequestList::size(const Buffer& buffer) const {
  return buffer.sizeSequence(sizeOfAll(items_, buffer));
}

void RequestList::put(Buffer& buffer) const {
  buffer.putSequence(sizeOfAll(items_, buffer));
  putAll(items_, buffer);
}

bool RequestList::get(Buffer& buffer) {
  return getList(items_, buffer);
}

owner<TBSRequest*> TBSRequest::clone() const {
  auto copy = std::make_unique<TBSRequest>();
  copy->version_ = version_;
  copy->versionExplicit_ = versionExplicit_;
  copy->requestorName_ = copyOf(requestorName_.get());
  copy->requestList_ = copyOf(requestList_.get());
  copy->requestExtensions_ = copyOf(requestExtensions_.get());
  return copy.release();
}

owner<GeneralName*> TBSRequest::requestorName() const {
  return cloneOf(requestorName_);
}
void TBSRequest::setRequestorName(const GeneralName* name) {
  requestorName_ = copyOf(name);
}
owner<RequestList*> TBSRequest::requestList() const {
  return cloneOf(requestList_);
}
void TBSRequest::setRequestList(const RequestList* list) {
  requestList_ = copyOf(list);
}
owner<ExtensionList*> TBSRequest::requestExtensions() const {
  return cloneOf(requestExtensions_);
}
void TBSRequest::setRequestExtensions(const ExtensionList* list) {
  requestExtensions_ = copyOf(list);
}

std::uint32_t TBSRequest::contentSize(const Buffer& buffer) const {
  return sizeVersion(buffer, version_, versionExplicit_) + sizeWrappedPart(requestorName_, buffer, kRequestorName) +
         sizePart(requestList_, buffer) + sizeWrappedPart(requestExtensions_, buffer, kRequestExtensions);
}

std::uint32_t TBSRequest::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void TBSRequest::put(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  putVersion(buffer, version_, versionExplicit_);
  putWrappedPart(requestorName_, buffer, kRequestorName);
  putPart(requestList_, buffer);
  putWrappedPart(requestExtensions_, buffer, kRequestExtensions);
}

bool TBSRequest::get(Buffer& in) {
  Element body;
  return openWhole(body, in, kSequence) && getVersion(body, in, version_, versionExplicit_) &&
         getOptionalPart(body, in, kRequestorName, requestorName_) && getPart(body, in, requestList_) &&
         getOptionalPart(body, in, kRequestExtensions, requestExtensions_) && ended(body, in);
}

owner<OCSPRequest*> OCSPRequest::clone() const {
  auto copy = std::make_unique<OCSPRequest>();
  copy->tbsRequest_ = copyOf(tbsRequest_.get());
  copy->optionalSignature_ = copyOf(optionalSignature_.get());
  return copy.release();
}

owner<TBSRequest*> OCSPRequest::tbsRequest() const {
  return cloneOf(tbsRequest_);
}
void OCSPRequest::setTbsRequest(const TBSRequest* request) {
  tbsRequest_ = copyOf(request);
}
owner<OCSPSignature*> OCSPRequest::optionalSignature() const {
  return cloneOf(optionalSignature_);
}
void OCSPRequest::setOptionalSignature(const OCSPSignature* signature) {
  optionalSignature_ = copyOf(signature);
}

bool OCSPRequest::sign(CryptoDevice& device, const AlgorithmIdentifier& algorithm) {
  if (!tbsRequest_) return false;
  SecureBuffer work(&device);
  const std::unique_ptr<Signature> made = signatureOver(*tbsRequest_, algorithm, work);
  if (!made) return false;
  if (!optionalSignature_) optionalSignature_ = std::make_unique<OCSPSignature>();
  optionalSignature_->setSignatureAlgorithm(&algorithm);
  optionalSignature_->setSignature(made.get());
  return true;
}

std::uint32_t OCSPRequest::contentSize(const Buffer& buffer) const {
  return sizePart(tbsRequest_, buffer) + sizeWrappedPart(optionalSignature_, buffer, kOptionalSignature);
}

std::uint32_t OCSPRequest::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void OCSPRequest::put(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  putPart(tbsRequest_, buffer);
  putWrappedPart(optionalSignature_, buffer, kOptionalSignature);
}

bool OCSPRequest::get(Buffer& in) {
  Element body;
  return openWhole(body, in, kSequence) && getPart(body, in, tbsRequest_) &&
         getOptionalPart(body, in, kOptionalSignature, optionalSignature_) && ended(body, in);
}

}  // namespace keystrand
