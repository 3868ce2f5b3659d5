#include "keystrand/ocsp/OCSPSignature.h"

#include "ocsp/OCSPSignatureReading.h"
#include "support/Memory.h"

namespace keystrand {

OCSPSignature::OCSPSignature() = default;
OCSPSignature::~OCSPSignature() = default;

owner<OCSPSignature*> OCSPSignature::clone() const {
  auto copy = std::make_unique<OCSPSignature>();
  copy->copyFrom(*this);
  return copy.release();
}

void OCSPSignature::copyFrom(const OCSPSignature& other) {
  signatureAlgorithm_ = copyOf(other.signatureAlgorithm_.get());
  signature_ = copyOf(other.signature_.get());
  certs_ = copyOf(other.certs_.get());
}

owner<AlgorithmIdentifier*> OCSPSignature::signatureAlgorithm() const {
  return cloneOf(signatureAlgorithm_);
}
void OCSPSignature::setSignatureAlgorithm(const AlgorithmIdentifier* algorithm) {
  signatureAlgorithm_ = copyOf(algorithm);
}
owner<Signature*> OCSPSignature::signature() const {
  return cloneOf(signature_);
}
void OCSPSignature::setSignature(const Signature* signature) {
  signature_ = copyOf(signature);
}
owner<CertList*> OCSPSignature::certs() const {
  return cloneOf(certs_);
}
void OCSPSignature::setCerts(const CertList* certs) {
  certs_ = copyOf(certs);
}

std::uint32_t OCSPSignature::contentSize(const Buffer& buffer) const {
  return sizePart(signatureAlgorithm_, buffer) + sizePart(signature_, buffer) +
         sizeWrappedPart(certs_, buffer, kSignatureCerts);
}

void OCSPSignature::putContent(Buffer& buffer) const {
  putPart(signatureAlgorithm_, buffer);
  putPart(signature_, buffer);
  putWrappedPart(certs_, buffer, kSignatureCerts);
}

std::uint32_t OCSPSignature::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void OCSPSignature::put(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  putContent(buffer);
}

template <class AnyBuffer>
bool OCSPSignature::read(AnyBuffer& in) {
  Element body;
  return openWhole(body, in, kSequence) && getContent(body, in);
}

bool OCSPSignature::get(Buffer& buffer) {
  return read(buffer);
}

bool OCSPSignature::get(SecureBuffer& buffer) {
  return read(buffer);
}

}  // namespace keystrand
