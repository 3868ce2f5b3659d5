#include "keystrand/ocsp/CertID.h"

#include "ocsp/MessageCoding.h"
#include "support/Memory.h"

namespace keystrand {

CertID::CertID() = default;
CertID::~CertID() = default;

owner<CertID*> CertID::clone() const {
  auto copy = std::make_unique<CertID>();
  copy->hashAlgorithm_ = copyOf(hashAlgorithm_.get());
  copy->issuerNameHash_ = issuerNameHash_;
  copy->issuerKeyHash_ = issuerKeyHash_;
  copy->serialNumber_ = serialNumber_;
  return copy.release();
}

owner<AlgorithmIdentifier*> CertID::hashAlgorithm() const {
  return cloneOf(hashAlgorithm_);
}
void CertID::setHashAlgorithm(const char* dotted) {
  hashAlgorithm_ = std::make_unique<AlgorithmIdentifier>(dotted);
}
void CertID::setHashAlgorithm(const AlgorithmIdentifier* algorithm) {
  hashAlgorithm_ = copyOf(algorithm);
}
owner<unsigned char*> CertID::issuerNameHash() const {
  return newBytes(issuerNameHash_.view());
}
owner<unsigned char*> CertID::issuerKeyHash() const {
  return newBytes(issuerKeyHash_.view());
}

std::uint32_t CertID::contentSize(const Buffer& buffer) const {
  return sizePart(hashAlgorithm_, buffer) + sizeOctets(buffer, issuerNameHash_) + sizeOctets(buffer, issuerKeyHash_) +
         serialNumber_.size(buffer);
}

std::uint32_t CertID::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void CertID::put(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  putPart(hashAlgorithm_, buffer);
  putOctets(buffer, issuerNameHash_);
  putOctets(buffer, issuerKeyHash_);
  serialNumber_.put(buffer);
}

// Both hashes come from one algorithm, so two lengths are a mistake; readers of the hashes go by one length.
bool CertID::get(Buffer& in) {
  Element body;
  return openWhole(body, in, kSequence) && getPart(body, in, hashAlgorithm_) && !body.atEnd(in) &&
         getOctets(in, issuerNameHash_) && !body.atEnd(in) && getOctets(in, issuerKeyHash_) &&
         issuerKeyHash_.size() == issuerNameHash_.size() && !body.atEnd(in) && serialNumber_.get(in) && ended(body, in);
}

}  // namespace keystrand
