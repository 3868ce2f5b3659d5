#include "der/Octets.h"
#include "keystrand/pkix/Certificate.h"
#include "pkix/Parts.h"

namespace keystrand {

namespace {

constexpr unsigned char kVersion = 0xA0;
// Unique identifiers are known by their constructed tags only. The primitive tags, which DER asks for, are unknown here
// and make the certificate unreadable; certificates have long ceased to carry them (RFC 5280 section 4.1.2.8).
constexpr unsigned char kIssuerUniqueID = 0xA1;
constexpr unsigned char kSubjectUniqueID = 0xA2;
constexpr unsigned char kExtensions = 0xA3;
constexpr std::uint32_t kV1 = 0;

bool getUniqueID(Buffer& in, OctetValue& id, unsigned char tag) {
  unsigned char unused = 0;
  return getBits(in, id, unused, tag);
}

std::uint32_t sizeUniqueID(const Buffer& buffer, const OctetValue& id) {
  return id.present() ? buffer.sizeBitString(id.size()) : 0;
}

void putUniqueID(Buffer& buffer, const OctetValue& id, unsigned char tag) {
  if (id.present()) buffer.putBitString(id.data(), id.size(), 0, tag);
}

}  // namespace

owner<CertificateInfo*> CertificateInfo::clone() const {
  auto copy = std::make_unique<CertificateInfo>();
  copy->version_ = version_;
  copy->versionExplicit_ = versionExplicit_;
  copy->serialNumber_ = serialNumber_;
  copy->signature_ = copyOf(signature_.get());
  copy->issuer_ = copyOf(issuer_.get());
  copy->validity_ = validity_;
  copy->subject_ = copyOf(subject_.get());
  copy->subjectPublicKeyInfo_ = copyOf(subjectPublicKeyInfo_.get());
  copy->issuerUniqueID_ = issuerUniqueID_;
  copy->subjectUniqueID_ = subjectUniqueID_;
  copy->extensions_ = copyOf(extensions_.get());
  return copy.release();
}

owner<char*> CertificateInfo::serialNumberText(int base) const {
  return serialNumber_.toText(base);
}

void CertificateInfo::setSerialNumberFromBytes(const unsigned char* bytes, std::uint32_t n) {
  serialNumber_ = BigInteger(std::span<const unsigned char>(bytes, bytes != nullptr ? n : 0));
}

owner<AlgorithmIdentifier*> CertificateInfo::signatureAlgorithm() const {
  return cloneOf(signature_);
}

void CertificateInfo::setSignatureAlgorithm(const char* dotted) {
  signature_ = std::make_unique<AlgorithmIdentifier>(dotted);
}

void CertificateInfo::setSignatureAlgorithm(const AlgorithmIdentifier* algorithm) {
  signature_ = copyOf(algorithm);
}

owner<Name*> CertificateInfo::issuer() const {
  return cloneOf(issuer_);
}

void CertificateInfo::setIssuer(const Name* name) {
  issuer_ = copyOf(name);
}

owner<Validity*> CertificateInfo::validity() const {
  return cloneOf(validity_);
}

void CertificateInfo::setValidity(const Validity* validity) {
  validity_ = valueOf(validity);
}

owner<Name*> CertificateInfo::subject() const {
  return cloneOf(subject_);
}

void CertificateInfo::setSubject(const Name* name) {
  subject_ = copyOf(name);
}

owner<KeyInfo*> CertificateInfo::subjectPublicKeyInfo() const {
  return cloneOf(subjectPublicKeyInfo_);
}

void CertificateInfo::setSubjectPublicKeyInfo(const KeyInfo* keyInfo) {
  subjectPublicKeyInfo_ = copyOf(keyInfo);
}

owner<ExtensionList*> CertificateInfo::extensions() const {
  return cloneOf(extensions_);
}

void CertificateInfo::setExtensions(const ExtensionList* list) {
  extensions_ = copyOf(list);
}

std::uint32_t CertificateInfo::contentSize(const Buffer& buffer) const {
  std::uint32_t n = 0;
  if (writesVersion()) {
    const std::uint32_t version = buffer.sizeInteger(static_cast<std::int32_t>(version_));
    n = buffer.sizeHeader(kVersion, version) + version;
  }
  return n + serialNumber_.size(buffer) + sizePart(signature_, buffer) + sizePart(issuer_, buffer) +
         sizePart(validity_, buffer) + sizePart(subject_, buffer) + sizePart(subjectPublicKeyInfo_, buffer) +
         sizeUniqueID(buffer, issuerUniqueID_) + sizeUniqueID(buffer, subjectUniqueID_) +
         sizeWrappedPart(extensions_, buffer, kExtensions);
}

std::uint32_t CertificateInfo::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void CertificateInfo::put(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  if (writesVersion()) {
    buffer.putHeader(kVersion, buffer.sizeInteger(static_cast<std::int32_t>(version_)));
    buffer.putInteger(static_cast<std::int32_t>(version_));
  }
  serialNumber_.put(buffer);
  putPart(signature_, buffer);
  putPart(issuer_, buffer);
  putPart(validity_, buffer);
  putPart(subject_, buffer);
  putPart(subjectPublicKeyInfo_, buffer);
  putUniqueID(buffer, issuerUniqueID_, kIssuerUniqueID);
  putUniqueID(buffer, subjectUniqueID_, kSubjectUniqueID);
  putWrappedPart(extensions_, buffer, kExtensions);
}

// TBSCertificate, RFC 5280 section 4.1.
bool CertificateInfo::get(Buffer& buffer) {
  Element body;
  return body.open(buffer, kSequence) && getVersion(buffer)  // 4.1.2.1
         && serialNumber_.get(buffer)                        // 4.1.2.2
         && getNew(signature_, buffer)                       // 4.1.2.3
         && getNew(issuer_, buffer)                          // 4.1.2.4
         && validity_.emplace().get(buffer)                  // 4.1.2.5
         && getNew(subject_, buffer)                         // 4.1.2.6
         && getNew(subjectPublicKeyInfo_, buffer)            // 4.1.2.7
         && getOptionalTail(buffer);                         // 4.1.2.8, 4.1.2.9
}

// An absent version is v1; one that is written out as 0 is kept so, that the body comes back as it was signed.
bool CertificateInfo::getVersion(Buffer& buffer) {
  version_ = kV1;
  versionExplicit_ = false;
  if (nextTag(buffer) != kVersion) return true;
  Element wrapper;
  std::int32_t version = 0;
  if (!wrapper.open(buffer, kVersion) || !buffer.getInteger(version)) return false;
  version_ = static_cast<std::uint32_t>(version);
  versionExplicit_ = version_ == kV1;
  return true;
}

// A v1 certificate ends with its key, whatever follows.
bool CertificateInfo::getOptionalTail(Buffer& buffer) {
  issuerUniqueID_.clear();
  subjectUniqueID_.clear();
  extensions_.reset();
  if (version_ == kV1) return true;
  if (nextTag(buffer) == kIssuerUniqueID && !getUniqueID(buffer, issuerUniqueID_, kIssuerUniqueID)) return false;
  if (nextTag(buffer) == kSubjectUniqueID && !getUniqueID(buffer, subjectUniqueID_, kSubjectUniqueID)) return false;
  if (nextTag(buffer) != kExtensions) return true;
  Element wrapper;
  return wrapper.open(buffer, kExtensions) && getNew(extensions_, buffer);
}

}  // namespace keystrand
