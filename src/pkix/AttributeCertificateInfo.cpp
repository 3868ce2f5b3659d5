#include "keystrand/pkix/AttributeCertificateInfo.h"

#include "pkix/Parts.h"
#include "pkix/UniqueBits.h"

namespace keystrand {

owner<AttributeCertificateInfo*> AttributeCertificateInfo::clone() const {
  auto copy = std::make_unique<AttributeCertificateInfo>();
  copy->version_ = version_;
  copy->holder_ = copyOf(holder_.get());
  copy->issuer_ = copyOf(issuer_.get());
  copy->signature_ = copyOf(signature_.get());
  copy->serialNumber_ = serialNumber_;
  copy->validity_ = copyOf(validity_.get());
  copy->attributes_ = copyOf(attributes_.get());
  copy->issuerUniqueID_ = issuerUniqueID_;
  copy->issuerUniqueIDUnused_ = issuerUniqueIDUnused_;
  copy->extensions_ = copyOf(extensions_.get());
  return copy.release();
}

owner<Holder*> AttributeCertificateInfo::holder() const {
  return cloneOf(holder_);
}

void AttributeCertificateInfo::setHolder(const Holder* holder) {
  holder_ = copyOf(holder);
}

owner<AttCertIssuer*> AttributeCertificateInfo::issuer() const {
  return cloneOf(issuer_);
}

void AttributeCertificateInfo::setIssuer(const AttCertIssuer* issuer) {
  issuer_ = copyOf(issuer);
}

owner<AlgorithmIdentifier*> AttributeCertificateInfo::signatureAlgorithm() const {
  return cloneOf(signature_);
}

void AttributeCertificateInfo::setSignatureAlgorithm(const char* dotted) {
  signature_ = dotted != nullptr ? std::make_unique<AlgorithmIdentifier>(dotted) : nullptr;
}

void AttributeCertificateInfo::setSignatureAlgorithm(const AlgorithmIdentifier* algorithm) {
  signature_ = copyOf(algorithm);
}

owner<char*> AttributeCertificateInfo::serialNumberText(int base) const {
  return serialNumber_.toText(base);
}

owner<AttCertValidity*> AttributeCertificateInfo::attrCertValidityPeriod() const {
  return cloneOf(validity_);
}

void AttributeCertificateInfo::setAttrCertValidityPeriod(const AttCertValidity* period) {
  validity_ = copyOf(period);
}

owner<AttributeList*> AttributeCertificateInfo::attributes() const {
  return cloneOf(attributes_);
}

void AttributeCertificateInfo::setAttributes(const AttributeList* list) {
  attributes_ = copyOf(list);
}

owner<unsigned char*> AttributeCertificateInfo::issuerUniqueID() const {
  return newBytes(issuerUniqueID_.view());
}

void AttributeCertificateInfo::setIssuerUniqueID(const unsigned char* bytes, std::uint32_t n) {
  issuerUniqueID_.assign(bytes, n);
  issuerUniqueIDUnused_ = 0;
}

owner<ExtensionList*> AttributeCertificateInfo::extensions() const {
  return cloneOf(extensions_);
}

void AttributeCertificateInfo::setExtensions(const ExtensionList* list) {
  extensions_ = copyOf(list);
}

std::uint32_t AttributeCertificateInfo::contentSize(const Buffer& buffer) const {
  return buffer.sizeInteger(version_) + sizePart(holder_, buffer) + sizePart(issuer_, buffer) +
         sizePart(signature_, buffer) + serialNumber_.size(buffer) + sizePart(validity_, buffer) +
         sizePart(attributes_, buffer) + sizeOptionalBits(buffer, issuerUniqueID_) + sizePart(extensions_, buffer);
}

std::uint32_t AttributeCertificateInfo::size(const Buffer& buffer, unsigned char tag) const {
  const std::uint32_t n = contentSize(buffer);
  return buffer.sizeHeader(tag, n) + n;
}

void AttributeCertificateInfo::put(Buffer& buffer, unsigned char tag) const {
  buffer.putHeader(tag, contentSize(buffer));
  buffer.putInteger(version_);
  putPart(holder_, buffer);
  putPart(issuer_, buffer);
  putPart(signature_, buffer);
  serialNumber_.put(buffer);
  putPart(validity_, buffer);
  putPart(attributes_, buffer);
  putOptionalBits(buffer, issuerUniqueID_, issuerUniqueIDUnused_);
  putPart(extensions_, buffer);
}

// AttributeCertificateInfo, RFC 5755 section 4.1. The body of the obsolete version 1, which leaves its version out, is
// not read. The extensions carry no tag of their own: only the end of the body tells them from what follows it.
bool AttributeCertificateInfo::get(Buffer& buffer, unsigned char tag) {
  Element body;
  extensions_.reset();
  return openWhole(body, buffer, tag) && buffer.getInteger(version_)               // 4.2.1
         && getNew(holder_, buffer)                                                // 4.2.2
         && getNew(issuer_, buffer)                                                // 4.2.3
         && getNew(signature_, buffer)                                             // 4.2.4
         && serialNumber_.get(buffer)                                              // 4.2.5
         && getNew(validity_, buffer)                                              // 4.2.6
         && getNew(attributes_, buffer)                                            // 4.2.7
         && getOptionalBits(body, buffer, issuerUniqueID_, issuerUniqueIDUnused_)  // 4.2.8
         && (!isNext(body, buffer, kSequence) || getNew(extensions_, buffer))      // 4.2.9
         && endsHere(body, buffer);
}

}  // namespace keystrand
