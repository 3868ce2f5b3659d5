#include "keystrand/pkix/CertificateListInfo.h"

#include "der/Reading.h"
#include "support/Memory.h"

namespace keystrand {
namespace {

constexpr unsigned char kInteger = 2;
constexpr unsigned char kExtensionsTag = 0xA0;

owner<X500Time*> cloneOf(const std::optional<X500Time>& time) {
  return time ? time->clone() : nullptr;
}

std::optional<X500Time> copyOf(const X500Time* time) {
  return time != nullptr ? std::optional(*time) : std::nullopt;
}

}  // namespace

CertificateListInfo::CertificateListInfo() = default;
CertificateListInfo::~CertificateListInfo() = default;

owner<CertificateListInfo*> CertificateListInfo::clone() const {
  auto copy = std::make_unique<CertificateListInfo>();
  copy->version_ = version_;
  copy->signature_.reset(keystrand::cloneOf(signature_));
  copy->issuer_.reset(keystrand::cloneOf(issuer_));
  copy->thisUpdate_ = thisUpdate_;
  copy->nextUpdate_ = nextUpdate_;
  copy->revokedCertificates_.reset(keystrand::cloneOf(revokedCertificates_));
  copy->crlExtensions_.reset(keystrand::cloneOf(crlExtensions_));
  return copy.release();
}

owner<AlgorithmIdentifier*> CertificateListInfo::signatureAlgorithm() const {
  return keystrand::cloneOf(signature_);
}
void CertificateListInfo::setSignatureAlgorithm(const AlgorithmIdentifier* algorithm) {
  signature_ = keystrand::copyOf(algorithm);
}
owner<Name*> CertificateListInfo::issuer() const {
  return keystrand::cloneOf(issuer_);
}
void CertificateListInfo::setIssuer(const Name* name) {
  issuer_ = keystrand::copyOf(name);
}
owner<X500Time*> CertificateListInfo::thisUpdate() const {
  return cloneOf(thisUpdate_);
}
void CertificateListInfo::setThisUpdate(const X500Time* time) {
  thisUpdate_ = copyOf(time);
}
owner<X500Time*> CertificateListInfo::nextUpdate() const {
  return cloneOf(nextUpdate_);
}
void CertificateListInfo::setNextUpdate(const X500Time* time) {
  nextUpdate_ = copyOf(time);
}
void CertificateListInfo::setRevokedCertificates(const RevokedCertificateList* list) {
  revokedCertificates_ = keystrand::copyOf(list);
}
owner<ExtensionList*> CertificateListInfo::crlExtensions() const {
  return keystrand::cloneOf(crlExtensions_);
}
void CertificateListInfo::setCrlExtensions(const ExtensionList* list) {
  crlExtensions_ = keystrand::copyOf(list);
}

std::uint32_t CertificateListInfo::contentSize(const Buffer& buffer) const {
  std::uint32_t size = version_ != -1 ? buffer.sizeInteger(version_) : 0;
  if (signature_) size += signature_->size(buffer);
  if (issuer_) size += issuer_->size(buffer);
  if (thisUpdate_) size += thisUpdate_->size(buffer);
  if (nextUpdate_) size += nextUpdate_->size(buffer);
  if (revokedCertificates_) size += revokedCertificates_->size(buffer);
  if (crlExtensions_) {
    const std::uint32_t inner = crlExtensions_->size(buffer);
    size += buffer.sizeHeader(kExtensionsTag, inner) + inner;
  }
  return size;
}

std::uint32_t CertificateListInfo::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void CertificateListInfo::put(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  if (version_ != -1) buffer.putInteger(version_);
  if (signature_) signature_->put(buffer);
  if (issuer_) issuer_->put(buffer);
  if (thisUpdate_) thisUpdate_->put(buffer);
  if (nextUpdate_) nextUpdate_->put(buffer);
  if (revokedCertificates_) revokedCertificates_->put(buffer);
  if (crlExtensions_) {
    buffer.putHeader(kExtensionsTag, crlExtensions_->size(buffer));
    crlExtensions_->put(buffer);
  }
}

bool CertificateListInfo::getVersion(Buffer& in) {
  version_ = -1;
  unsigned char tag = 0;
  std::uint32_t n = 0;
  return in.peekHeader(tag, n) && (tag != kInteger || in.getInteger(version_));
}

bool CertificateListInfo::getNextUpdate(Buffer& in) {
  const unsigned char tag = nextTag(in);
  const bool isTime = tag == X500Time::kUTCTime || tag == X500Time::kGeneralizedTime;
  return !isTime || nextUpdate_.emplace().get(in);
}

bool CertificateListInfo::getRevokedCertificates(Buffer& in) {
  return nextTag(in) != kSequence || getNew(revokedCertificates_, in);
}

bool CertificateListInfo::getCrlExtensions(Buffer& in) {
  unsigned char tag = nextTag(in);
  std::uint32_t n = 0;
  return tag != kExtensionsTag || (in.getHeader(tag, n) && getNew(crlExtensions_, in));
}

// RFC 5280 section 5.1.2. The body may end before each of the optional elements. An unknown one at such a place is
// passed over to the next test and, being nobody's, ends the reading: in the definite form without failure.
bool CertificateListInfo::get(Buffer& in) {
  nextUpdate_.reset();
  revokedCertificates_.reset();
  crlExtensions_.reset();
  Element body;
  const bool mandatory = body.openAny(in, kSequence) && getVersion(in) && getNew(signature_, in) &&
                         getNew(issuer_, in) && thisUpdate_.emplace().get(in);
  return mandatory && (body.atEnd(in) || getNextUpdate(in)) && (body.atEnd(in) || getRevokedCertificates(in)) &&
         (body.atEnd(in) || getCrlExtensions(in)) && (body.definite || in.getEndOfContents());
}

}  // namespace keystrand
