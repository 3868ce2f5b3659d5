#include "keystrand/pkix/CertificateList.h"

#include <utility>

#include "der/ConstantOID.h"
#include "der/Reading.h"
#include "keystrand/crypto/CryptoDevice.h"
#include "support/Memory.h"

namespace keystrand {
namespace {

constexpr ConstantOID kRSASSAPSS = "1.2.840.113549.1.1.10"_oid;

}  // namespace

CertificateList::CertificateList() = default;
CertificateList::~CertificateList() = default;

owner<CertificateList*> CertificateList::clone() const {
  auto copy = std::make_unique<CertificateList>();
  copy->info_.reset(cloneOf(info_));
  copy->signatureAlgorithm_.reset(cloneOf(signatureAlgorithm_));
  copy->signature_.reset(cloneOf(signature_));
  copy->digest_.reset(cloneOf(digest_));
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
  return (info_ ? info_->size(buffer) : 0) + (signatureAlgorithm_ ? signatureAlgorithm_->size(buffer) : 0) +
         (signature_ ? signature_->size(buffer) : 0);
}

std::uint32_t CertificateList::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void CertificateList::put(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  if (info_) info_->put(buffer);
  if (signatureAlgorithm_) signatureAlgorithm_->put(buffer);
  if (signature_) signature_->put(buffer);
}

// An algorithm that the device doesn't know leaves no digest: the CRL is read all the same and verifies with no key.
void CertificateList::takeDigest(SecureBuffer& in, std::uint32_t from, std::uint32_t to) {
  if (in.setSignatureAlgorithm(*signatureAlgorithm_)) digest_.reset(in.digestRange(from, to));
}

template <class AnyBuffer>
bool CertificateList::read(AnyBuffer& in) {
  digest_.reset();
  Element crl;
  if (!crl.openAny(in, kSequence)) return false;
  if (crl.definite && crl.left(in) > in.remaining()) return false;  // what lies behind the data held is not this CRL's
  const std::uint32_t from = in.readPosition();
  if (!getNew(info_, in)) return false;
  const std::uint32_t to = in.readPosition();
  if (!getNew(signatureAlgorithm_, in)) return false;
  takeDigest(in, from, to);
  return getNew(signature_, in) && (crl.definite || in.getEndOfContents());
}

bool CertificateList::get(Buffer& buffer) {
  return read(buffer);
}

// Without a device nothing can be digested, and a CRL read so would never verify.
bool CertificateList::get(SecureBuffer& buffer) {
  return buffer.device() != nullptr && read(buffer);
}

bool CertificateList::sign(SecureBuffer& buffer) {
  if (!signature_) {
    if (!info_ || !signatureAlgorithm_) return false;
    const std::uint32_t mark = buffer.size();
    info_->put(buffer);
    if (buffer.setSignatureAlgorithm(*signatureAlgorithm_)) signature_.reset(buffer.signFrom(mark));
    buffer.setSize(mark);
    if (!signature_) return false;
  }
  buffer.reserve(size(buffer));
  put(buffer);
  return true;
}

// RSASSA-PSS is checked over the data itself, and that is what put makes of the body.
bool CertificateList::verifyBody(CryptoDevice& device, const KeyInfo& key) const {
  if (!info_) return false;
  Buffer body;
  body.reserve(info_->size(body));
  info_->put(body);
  const auto bytes = body.range(0, body.size());
  return device.verifyRaw(bytes.data(), bytes.size(), *signature_, key);
}

bool CertificateList::verify(CryptoDevice& device, const KeyInfo& key) const {
  if (!signatureAlgorithm_ || !signature_) return false;
  if (!device.setSignatureAlgorithm(*signatureAlgorithm_)) return false;
  const OID* algorithm = signatureAlgorithm_->oidView();
  if (algorithm != nullptr && *algorithm == kRSASSAPSS) return verifyBody(device, key);
  return digest_ && device.verify(*signature_, *digest_, key);
}

}  // namespace keystrand
