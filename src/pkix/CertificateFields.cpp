// The accessors of Certificate: its own parts, and those that it forwards to its body.
#include "keystrand/pkix/Certificate.h"
#include "support/Memory.h"

namespace keystrand {

// The body for a change. The digest of what was received says nothing about it any more.
CertificateInfo& Certificate::editedInfo() {
  digest_.reset();
  if (!info_) info_ = std::make_unique<CertificateInfo>();
  return *info_;
}

void Certificate::setInfo(const CertificateInfo* info) {
  digest_.reset();
  info_ = copyOf(info);
}

owner<AlgorithmIdentifier*> Certificate::outerAlgorithm() const {
  return cloneOf(signatureAlgorithm_);
}

void Certificate::setOuterAlgorithm(const AlgorithmIdentifier* algorithm) {
  digest_.reset();
  signatureAlgorithm_ = copyOf(algorithm);
}

owner<Signature*> Certificate::signature() const {
  return cloneOf(signature_);
}

void Certificate::setSignature(const Signature* signature) {
  signature_ = copyOf(signature);
}

BigInteger Certificate::serialNumber() const {
  return info_ ? info_->serialNumber() : BigInteger();
}

owner<char*> Certificate::serialNumberText(int base) const {
  return info_ ? info_->serialNumberText(base) : nullptr;
}

void Certificate::setSerialNumber(const BigInteger& value) {
  editedInfo().setSerialNumber(value);
}

void Certificate::setSerialNumberFromBytes(const unsigned char* bytes, std::uint32_t n) {
  editedInfo().setSerialNumberFromBytes(bytes, n);
}

std::uint32_t Certificate::version() const {
  return info_ ? info_->version() : 0;
}

void Certificate::setVersion(std::uint32_t version) {
  editedInfo().setVersion(version);
}

owner<Name*> Certificate::issuer() const {
  return info_ ? info_->issuer() : nullptr;
}

const Name* Certificate::issuerView() const noexcept {
  return info_ ? info_->issuerView() : nullptr;
}

void Certificate::setIssuer(const Name* name) {
  editedInfo().setIssuer(name);
}

owner<Name*> Certificate::subject() const {
  return info_ ? info_->subject() : nullptr;
}

const Name* Certificate::subjectView() const noexcept {
  return info_ ? info_->subjectView() : nullptr;
}

void Certificate::setSubject(const Name* name) {
  editedInfo().setSubject(name);
}

owner<Validity*> Certificate::validity() const {
  return info_ ? info_->validity() : nullptr;
}

void Certificate::setValidity(const Validity* validity) {
  editedInfo().setValidity(validity);
}

owner<AlgorithmIdentifier*> Certificate::signatureAlgorithm() const {
  return info_ ? info_->signatureAlgorithm() : nullptr;
}

void Certificate::setSignatureAlgorithm(const char* dotted) {
  editedInfo().setSignatureAlgorithm(dotted);
}

void Certificate::setSignatureAlgorithm(const AlgorithmIdentifier* algorithm) {
  editedInfo().setSignatureAlgorithm(algorithm);
}

owner<KeyInfo*> Certificate::subjectPublicKeyInfo() const {
  return info_ ? info_->subjectPublicKeyInfo() : nullptr;
}

const KeyInfo* Certificate::subjectPublicKeyInfoView() const noexcept {
  return info_ ? info_->subjectPublicKeyInfoView() : nullptr;
}

void Certificate::setSubjectPublicKeyInfo(const KeyInfo* keyInfo) {
  editedInfo().setSubjectPublicKeyInfo(keyInfo);
}

owner<ExtensionList*> Certificate::extensions() const {
  return info_ ? info_->extensions() : nullptr;
}

const ExtensionList* Certificate::extensionsView() const noexcept {
  return info_ ? info_->extensionsView() : nullptr;
}

void Certificate::setExtensions(const ExtensionList* list) {
  editedInfo().setExtensions(list);
}

}  // namespace keystrand
