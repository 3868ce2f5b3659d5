#include "keystrand/ocsp/BasicOCSPResponse.h"

#include "keystrand/crypto/CryptoDevice.h"
#include "ocsp/OCSPSignatureReading.h"
#include "pkix/Signed.h"
#include "support/Memory.h"

namespace keystrand {

BasicOCSPResponse::BasicOCSPResponse() = default;
BasicOCSPResponse::~BasicOCSPResponse() = default;

owner<BasicOCSPResponse*> BasicOCSPResponse::clone() const {
  auto copy = std::make_unique<BasicOCSPResponse>();
  copy->tbsResponseData_ = copyOf(tbsResponseData_.get());
  copy->signature_.copyFrom(signature_);
  copy->digest_ = copyOf(digest_.get());
  return copy.release();
}

owner<ResponseData*> BasicOCSPResponse::tbsResponseData() const {
  return cloneOf(tbsResponseData_);
}
void BasicOCSPResponse::setTbsResponseData(const ResponseData* data) {
  tbsResponseData_ = copyOf(data);
  digest_.reset();
}
void BasicOCSPResponse::setSignatureAlgorithm(const AlgorithmIdentifier* algorithm) {
  signature_.setSignatureAlgorithm(algorithm);
  digest_.reset();
}

bool BasicOCSPResponse::verify(CryptoDevice& device, const KeyInfo& key) {
  const AlgorithmIdentifier* algorithm = signatureAlgorithmView();
  return tbsResponseData_ && algorithm != nullptr && signatureView() != nullptr &&
         verifySigned(*tbsResponseData_, *algorithm, *signatureView(), digest_, device, key);
}

bool BasicOCSPResponse::sign(CryptoDevice& device, const AlgorithmIdentifier& algorithm) {
  if (!tbsResponseData_) return false;
  SecureBuffer work(&device);
  const std::unique_ptr<Signature> made = signatureOver(*tbsResponseData_, algorithm, work);
  if (!made) return false;
  setSignatureAlgorithm(&algorithm);
  setSignature(made.get());
  return true;
}

std::uint32_t BasicOCSPResponse::contentSize(const Buffer& buffer) const {
  return sizePart(tbsResponseData_, buffer) + signature_.contentSize(buffer);
}

std::uint32_t BasicOCSPResponse::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void BasicOCSPResponse::put(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  putPart(tbsResponseData_, buffer);
  signature_.putContent(buffer);
}

template <class AnyBuffer>
bool BasicOCSPResponse::read(AnyBuffer& in) {
  Element body;
  digest_.reset();
  return openWhole(body, in, kSequence) && getPart(body, in, tbsResponseData_) && signature_.getContent(body, in);
}

bool BasicOCSPResponse::get(Buffer& buffer) {
  return read(buffer);
}

bool BasicOCSPResponse::get(SecureBuffer& buffer) {
  return read(buffer);
}

}  // namespace keystrand
