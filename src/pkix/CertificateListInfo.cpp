#include "keystrand/pkix/CertificateListInfo.h"

#include <algorithm>

#include "pkix/Parts.h"

namespace keystrand {
namespace {

constexpr unsigned char kInteger = 2;
constexpr unsigned char kCrlExtensions = 0xA0;
constexpr std::int32_t kNoVersion = -1;
constexpr std::uint64_t kMostObjects = 0x100000;  // bytes

// What becomes a tree of objects takes many times the bytes of its encoding, and anybody may send it. While this lives
// no more of it can be read than any CRL needs; the entries, which stay encoded, are the one part that may be long.
class ModestPart {
 public:
  explicit ModestPart(Buffer& in) noexcept : in_(in), size_(in.size()) {
    in.setSize(static_cast<std::uint32_t>(std::min<std::uint64_t>(size_, in.readPosition() + kMostObjects)));
  }
  ~ModestPart() { in_.setSize(size_); }
  ModestPart(const ModestPart&) = delete;
  ModestPart& operator=(const ModestPart&) = delete;

 private:
  Buffer& in_;
  std::uint32_t size_;
};

template <class Part>
bool getModest(std::unique_ptr<Part>& part, Buffer& in) {
  const ModestPart bounded(in);
  return getNew(part, in);
}

}  // namespace

CertificateListInfo::CertificateListInfo() = default;
CertificateListInfo::~CertificateListInfo() = default;

owner<CertificateListInfo*> CertificateListInfo::clone() const {
  auto copy = std::make_unique<CertificateListInfo>();
  copy->version_ = version_;
  copy->signature_ = copyOf(signature_.get());
  copy->issuer_ = copyOf(issuer_.get());
  copy->thisUpdate_ = thisUpdate_;
  copy->nextUpdate_ = nextUpdate_;
  copy->revokedCertificates_ = copyOf(revokedCertificates_.get());
  copy->crlExtensions_ = copyOf(crlExtensions_.get());
  return copy.release();
}

owner<AlgorithmIdentifier*> CertificateListInfo::signatureAlgorithm() const {
  return cloneOf(signature_);
}
void CertificateListInfo::setSignatureAlgorithm(const AlgorithmIdentifier* algorithm) {
  signature_ = copyOf(algorithm);
}
owner<Name*> CertificateListInfo::issuer() const {
  return cloneOf(issuer_);
}
void CertificateListInfo::setIssuer(const Name* name) {
  issuer_ = copyOf(name);
}
owner<X500Time*> CertificateListInfo::thisUpdate() const {
  return cloneOf(thisUpdate_);
}
void CertificateListInfo::setThisUpdate(const X500Time* time) {
  thisUpdate_ = valueOf(time);
}
owner<X500Time*> CertificateListInfo::nextUpdate() const {
  return cloneOf(nextUpdate_);
}
void CertificateListInfo::setNextUpdate(const X500Time* time) {
  nextUpdate_ = valueOf(time);
}
void CertificateListInfo::setRevokedCertificates(const RevokedCertificateList* list) {
  revokedCertificates_ = copyOf(list);
}
owner<ExtensionList*> CertificateListInfo::crlExtensions() const {
  return cloneOf(crlExtensions_);
}
void CertificateListInfo::setCrlExtensions(const ExtensionList* list) {
  crlExtensions_ = copyOf(list);
}

std::uint32_t CertificateListInfo::contentSize(const Buffer& buffer) const {
  return (version_ != kNoVersion ? buffer.sizeInteger(version_) : 0) + sizePart(signature_, buffer) +
         sizePart(issuer_, buffer) + sizePart(thisUpdate_, buffer) + sizePart(nextUpdate_, buffer) +
         sizePart(revokedCertificates_, buffer) + sizeWrappedPart(crlExtensions_, buffer, kCrlExtensions);
}

std::uint32_t CertificateListInfo::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void CertificateListInfo::put(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  if (version_ != kNoVersion) buffer.putInteger(version_);
  putPart(signature_, buffer);
  putPart(issuer_, buffer);
  putPart(thisUpdate_, buffer);
  putPart(nextUpdate_, buffer);
  putPart(revokedCertificates_, buffer);
  putWrappedPart(crlExtensions_, buffer, kCrlExtensions);
}

bool CertificateListInfo::getVersion(Buffer& in) {
  version_ = kNoVersion;
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
  Element wrapper;
  return nextTag(in) != kCrlExtensions || (wrapper.open(in, kCrlExtensions) && getModest(crlExtensions_, in));
}

// RFC 5280 section 5.1.2. The body may end before each of the optional elements. An unknown one at such a place is
// passed over to the next test and, being nobody's, ends the reading: in the definite form without failure.
bool CertificateListInfo::get(Buffer& in) {
  nextUpdate_.reset();
  revokedCertificates_.reset();
  crlExtensions_.reset();
  Element body;
  const bool mandatory = body.openAny(in, kSequence) && getVersion(in) && getModest(signature_, in) &&
                         getModest(issuer_, in) && thisUpdate_.emplace().get(in);
  return mandatory && (body.atEnd(in) || getNextUpdate(in)) && (body.atEnd(in) || getRevokedCertificates(in)) &&
         (body.atEnd(in) || getCrlExtensions(in)) && (body.definite || in.getEndOfContents());
}

}  // namespace keystrand
