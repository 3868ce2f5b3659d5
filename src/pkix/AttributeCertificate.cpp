#include "keystrand/pkix/AttributeCertificate.h"

#include "pkix/Parts.h"
#include "pkix/Signed.h"

namespace keystrand {

AttributeCertificate::AttributeCertificate() = default;
AttributeCertificate::~AttributeCertificate() = default;

owner<AttributeCertificate*> AttributeCertificate::clone() const {
  auto copy = std::make_unique<AttributeCertificate>();
  copy->info_ = copyOf(info_.get());
  copy->signatureAlgorithm_ = copyOf(signatureAlgorithm_.get());
  copy->signature_ = copyOf(signature_.get());
  copy->digest_ = copyOf(digest_.get());
  return copy.release();
}

owner<AttributeCertificateInfo*> AttributeCertificate::info() const {
  return cloneOf(info_);
}

void AttributeCertificate::setInfo(const AttributeCertificateInfo* info) {
  digest_.reset();
  info_ = copyOf(info);
}

owner<AlgorithmIdentifier*> AttributeCertificate::outerAlgorithm() const {
  return cloneOf(signatureAlgorithm_);
}

void AttributeCertificate::setOuterAlgorithm(const AlgorithmIdentifier* algorithm) {
  digest_.reset();
  signatureAlgorithm_ = copyOf(algorithm);
}

owner<Signature*> AttributeCertificate::signature() const {
  return cloneOf(signature_);
}

void AttributeCertificate::setSignature(const Signature* signature) {
  signature_ = copyOf(signature);
}

std::uint32_t AttributeCertificate::contentSize(const Buffer& buffer) const {
  return sizePart(info_, buffer) + sizePart(signatureAlgorithm_, buffer) + sizePart(signature_, buffer);
}

std::uint32_t AttributeCertificate::size(const Buffer& buffer, unsigned char tag) const {
  const std::uint32_t n = contentSize(buffer);
  return buffer.sizeHeader(tag, n) + n;
}

void AttributeCertificate::put(Buffer& buffer, unsigned char tag) const {
  buffer.putHeader(tag, contentSize(buffer));
  putPart(info_, buffer);
  putPart(signatureAlgorithm_, buffer);
  putPart(signature_, buffer);
}

bool AttributeCertificate::get(Buffer& buffer, unsigned char tag) {
  return read(buffer, nullptr, tag);
}

// Without a device nothing can be digested, and a certificate read so would never verify.
bool AttributeCertificate::get(SecureBuffer& buffer, unsigned char tag) {
  return buffer.device() != nullptr && read(buffer, &buffer, tag);
}

// AttributeCertificate, RFC 5755 section 4.1. The digest covers the body as it was received, whatever its encoding.
bool AttributeCertificate::read(Buffer& buffer, SecureBuffer* digester, unsigned char tag) {
  Element element;
  digest_.reset();
  if (!openWhole(element, buffer, tag)) return false;
  const std::uint32_t start = buffer.readPosition();
  if (!getNew(info_, buffer)) return false;
  const std::uint32_t end = buffer.readPosition();
  if (!getNew(signatureAlgorithm_, buffer)) return false;
  if (digester != nullptr) digest_ = digestFor(*digester, *signatureAlgorithm_, start, end);
  return getNew(signature_, buffer) && endsHere(element, buffer);
}

bool AttributeCertificate::sign(SecureBuffer& buffer) {
  if (!info_ || !signatureAlgorithm_) return false;
  if (!signature_) signature_ = signatureOver(*info_, *signatureAlgorithm_, buffer);
  return signature_ && append(*this, buffer);
}

bool AttributeCertificate::sign(Buffer& buffer, const Key& key, MessageDigest& digester) {
  if (!info_ || !signatureAlgorithm_) return false;
  if (!signature_) signature_ = signatureOver(*info_, *signatureAlgorithm_, key, digester);
  return signature_ && append(*this, buffer);
}

bool AttributeCertificate::verify(CryptoDevice& device, const KeyInfo& key) {
  return info_ && signatureAlgorithm_ && signature_ &&
         verifySigned(*info_, *signatureAlgorithm_, *signature_, digest_, device, key);
}

}  // namespace keystrand
