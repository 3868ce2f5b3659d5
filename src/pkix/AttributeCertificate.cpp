#include "keystrand/pkix/AttributeCertificate.h"

#include "pkix/Parts.h"
#include "pkix/Signed.h"

namespace keystrand {

AttributeCertificate::AttributeCertificate() = default;
AttributeCertificate::~AttributeCertificate() = default;

owner<AttributeCertificate*> AttributeCertificate::clone() const {
  auto copy = std::make_unique<AttributeCertificate>();
  copy->info_ = info_;
  copy->signatureAlgorithm_ = copyOf(signatureAlgorithm_.get());
  copy->signature_ = copyOf(signature_.get());
  copy->digest_ = copyOf(digest_.get());
  return copy.release();
}

std::uint32_t AttributeCertificate::contentSize(const Buffer& buffer) const {
  return info_.size() + sizePart(signatureAlgorithm_, buffer) + sizePart(signature_, buffer);
}

std::uint32_t AttributeCertificate::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void AttributeCertificate::put(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  if (info_.present()) buffer.putBytes(info_.data(), info_.size());
  putPart(signatureAlgorithm_, buffer);
  putPart(signature_, buffer);
}

bool AttributeCertificate::get(SecureBuffer& buffer) {
  Element element;
  Element body;
  digest_.reset();
  if (buffer.device() == nullptr || !element.open(buffer, kSequence) || element.end > buffer.size()) return false;
  const std::uint32_t start = buffer.readPosition();
  if (!openWhole(body, buffer, kSequence) || !close(body, buffer)) return false;
  const std::uint32_t end = buffer.readPosition();
  const auto bytes = buffer.range(start, end);
  info_.assign(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
  if (!getNew(signatureAlgorithm_, buffer)) return false;
  digest_ = digestFor(buffer, *signatureAlgorithm_, start, end);
  return getNew(signature_, buffer);
}

bool AttributeCertificate::verify(CryptoDevice& device, const KeyInfo& key) const {
  if (!signatureAlgorithm_ || !signature_ || !device.setSignatureAlgorithm(*signatureAlgorithm_)) return false;
  if (isPSS(*signatureAlgorithm_)) return device.verifyRaw(info_.data(), info_.size(), *signature_, key);
  return digest_ && device.verify(*signature_, *digest_, key);
}

}  // namespace keystrand
