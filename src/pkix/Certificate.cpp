#include "keystrand/pkix/Certificate.h"

#include "pkix/Parts.h"
#include "pkix/Signed.h"

namespace keystrand {

Certificate::Certificate() = default;
Certificate::~Certificate() = default;

owner<Certificate*> Certificate::clone() const {
  auto copy = std::make_unique<Certificate>();
  copy->info_ = copyOf(info_.get());
  copy->signatureAlgorithm_ = copyOf(signatureAlgorithm_.get());
  copy->signature_ = copyOf(signature_.get());
  copy->digest_ = copyOf(digest_.get());
  return copy.release();
}

std::uint32_t Certificate::contentSize(const Buffer& buffer) const {
  return sizePart(info_, buffer) + sizePart(signatureAlgorithm_, buffer) + sizePart(signature_, buffer);
}

std::uint32_t Certificate::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void Certificate::put(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  putPart(info_, buffer);
  putPart(signatureAlgorithm_, buffer);
  putPart(signature_, buffer);
}

bool Certificate::get(Buffer& buffer) {
  return read(buffer, nullptr);
}

// Without a device nothing can be digested, and a certificate read so would never verify.
bool Certificate::get(SecureBuffer& buffer) {
  return buffer.device() != nullptr && read(buffer, &buffer);
}

// Certificate, RFC 5280 section 4.1.1. The digest covers the body as it was received, whatever its encoding.
bool Certificate::read(Buffer& buffer, SecureBuffer* digester) {
  Element element;
  digest_.reset();
  if (!element.open(buffer, kSequence) || element.end > buffer.size()) return false;
  const std::uint32_t start = buffer.readPosition();
  if (!getNew(info_, buffer)) return false;
  const std::uint32_t end = buffer.readPosition();
  if (!getNew(signatureAlgorithm_, buffer)) return false;
  if (digester != nullptr) digest_ = digestFor(*digester, *signatureAlgorithm_, start, end);
  return getNew(signature_, buffer);
}

bool Certificate::sign(SecureBuffer& buffer) {
  if (!info_ || !signatureAlgorithm_) return false;
  if (!signature_) signature_ = signatureOver(*info_, *signatureAlgorithm_, buffer);
  return signature_ && append(*this, buffer);
}

bool Certificate::sign(Buffer& buffer, const Key& key, MessageDigest& digester) {
  if (!info_ || !signatureAlgorithm_) return false;
  if (!signature_) signature_ = signatureOver(*info_, *signatureAlgorithm_, key, digester);
  return signature_ && append(*this, buffer);
}

bool Certificate::verify(CryptoDevice& device, const KeyInfo& key) {
  return info_ && signatureAlgorithm_ && signature_ &&
         verifySigned(*info_, *signatureAlgorithm_, *signature_, digest_, device, key);
}

bool Certificate::savePEM(int descriptor, SecureBuffer& buffer) {
  buffer.reset();
  return sign(buffer) && buffer.writePEM(descriptor, "CERTIFICATE");
}

bool Certificate::loadPEM(int descriptor, SecureBuffer& buffer) {
  buffer.reset();
  return buffer.readPEM(descriptor) && get(buffer);
}

bool Certificate::hasNoKey() const {
  const KeyInfo* keyInfo = subjectPublicKeyInfoView();
  return keyInfo == nullptr || keyInfo->keyView() == nullptr || keyInfo->keyView()->isStripped();
}

}  // namespace keystrand
