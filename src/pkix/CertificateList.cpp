#include "keystrand/pkix/CertificateList.h"

#include <utility>

#include "pkix/Parts.h"
#include "pkix/Signed.h"

namespace keystrand {

CertificateList::CertificateList() = default;
CertificateList::~CertificateList() = default;

owner<CertificateList*> CertificateList::clone() const {
  auto copy = std::make_unique<CertificateList>();
  copy->info_ = copyOf(info_.get());
  copy->signatureAlgorithm_ = copyOf(signatureAlgorithm_.get());
  copy->signature_ = copyOf(signature_.get());
  copy->digest_ = copyOf(digest_.get());
  return copy.release();
}

owner<CertificateListInfo*> CertificateList::info() const {
  return cloneOf(info_);
}
void CertificateList::setInfo(const CertificateListInfo* info) {
  info_ = copyOf(info);
}
owner<CertificateListInfo*> CertificateList::releaseInfo() noexcept {
  return info_.release();
}
owner<AlgorithmIdentifier*> CertificateList::signatureAlgorithm() const {
  return cloneOf(signatureAlgorithm_);
}
void CertificateList::setSignatureAlgorithm(const AlgorithmIdentifier* algorithm) {
  signatureAlgorithm_ = copyOf(algorithm);
}
owner<Signature*> CertificateList::signature() const {
  return cloneOf(signature_);
}
void CertificateList::setSignature(const Signature* signature) {
  signature_ = copyOf(signature);
}

owner<Name*> CertificateList::issuer() const {
  return info_ ? info_->issuer() : nullptr;
}
const Name* CertificateList::issuerView() const noexcept {
  return info_ ? info_->issuerView() : nullptr;
}
owner<X500Time*> CertificateList::thisUpdate() const {
  return info_ ? info_->thisUpdate() : nullptr;
}
const X500Time* CertificateList::thisUpdateView() const noexcept {
  return info_ ? info_->thisUpdateView() : nullptr;
}
owner<X500Time*> CertificateList::nextUpdate() const {
  return info_ ? info_->nextUpdate() : nullptr;
}
const X500Time* CertificateList::nextUpdateView() const noexcept {
  return info_ ? info_->nextUpdateView() : nullptr;
}
RevokedCertificateList* CertificateList::revokedCertificates() noexcept {
  return info_ ? info_->revokedCertificates() : nullptr;
}
const RevokedCertificateList* CertificateList::revokedCertificates() const noexcept {
  return info_ ? std::as_const(*info_).revokedCertificates() : nullptr;
}
owner<ExtensionList*> CertificateList::crlExtensions() const {
  return info_ ? info_->crlExtensions() : nullptr;
}
const ExtensionList* CertificateList::crlExtensionsView() const noexcept {
  return info_ ? info_->crlExtensionsView() : nullptr;
}

std::uint32_t CertificateList::contentSize(const Buffer& buffer) const {
  return sizePart(info_, buffer) + sizePart(signatureAlgorithm_, buffer) + sizePart(signature_, buffer);
}

std::uint32_t CertificateList::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void CertificateList::put(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  putPart(info_, buffer);
  putPart(signatureAlgorithm_, buffer);
  putPart(signature_, buffer);
}

bool CertificateList::get(Buffer& buffer) {
  return read(buffer, nullptr);
}

// Without a device nothing can be digested, and a CRL read so would never verify.
bool CertificateList::get(SecureBuffer& buffer) {
  return buffer.device() != nullptr && read(buffer, &buffer);
}

// CertificateList, RFC 5280 section 5.1. The digest covers the body as it was received, whatever its encoding. The
// length of the whole tells nothing that its parts do not: it may pass the end of the data.
bool CertificateList::read(Buffer& buffer, SecureBuffer* digester) {
  Element crl;
  digest_.reset();
  if (!crl.openAny(buffer, kSequence)) return false;
  const std::uint32_t start = buffer.readPosition();
  if (!getNew(info_, buffer)) return false;
  const std::uint32_t end = buffer.readPosition();
  if (!getNew(signatureAlgorithm_, buffer)) return false;
  if (digester != nullptr) digest_ = digestFor(*digester, *signatureAlgorithm_, start, end);
  return getNew(signature_, buffer) && (crl.definite || buffer.getEndOfContents());
}

bool CertificateList::sign(SecureBuffer& buffer) {
  if (!info_ || !signatureAlgorithm_) return false;
  if (!signature_) signature_ = signatureOver(*info_, *signatureAlgorithm_, buffer);
  return signature_ && append(*this, buffer);
}

bool CertificateList::sign(Buffer& buffer, const Key& key, MessageDigest& digester) {
  if (!info_ || !signatureAlgorithm_) return false;
  if (!signature_) signature_ = signatureOver(*info_, *signatureAlgorithm_, key, digester);
  return signature_ && append(*this, buffer);
}

bool CertificateList::verify(CryptoDevice& device, const KeyInfo& key) const {
  if (!signatureAlgorithm_ || !signature_) return false;
  if (!device.setSignatureAlgorithm(*signatureAlgorithm_)) return false;
  if (isPSS(*signatureAlgorithm_)) return info_ && verifyEncoding(*info_, device, *signature_, key);
  return digest_ && device.verify(*signature_, *digest_, key);
}

}  // namespace keystrand
