#include "keystrand/ocsp/OCSPCertStatus.h"

#include "ocsp/MessageCoding.h"

namespace keystrand {

namespace {
constexpr unsigned char kReason = 0xA0;
}  // namespace

owner<X500Time*> RevokedInfo::revocationTime() const {
  return cloneOf(revocationTime_);
}
void RevokedInfo::setRevocationTime(const X500Time* time) {
  revocationTime_ = valueOf(time);
}
void RevokedInfo::setRevocationReason(unsigned char reason) {
  revocationReason_ = reason != kNoReason ? std::optional(reason) : std::nullopt;
}

std::uint32_t RevokedInfo::contentSize(const Buffer& buffer) const {
  const std::uint32_t reason = buffer.sizeEnumerated();
  return sizePart(revocationTime_, buffer) + (revocationReason_ ? buffer.sizeHeader(kReason, reason) + reason : 0);
}

std::uint32_t RevokedInfo::size(const Buffer& buffer, unsigned char tag) const {
  const std::uint32_t n = contentSize(buffer);
  return buffer.sizeHeader(tag, n) + n;
}

void RevokedInfo::put(Buffer& buffer, unsigned char tag) const {
  buffer.putHeader(tag, contentSize(buffer));
  putPart(revocationTime_, buffer);
  if (!revocationReason_) return;
  buffer.putHeader(kReason, buffer.sizeEnumerated());
  buffer.putEnumerated(*revocationReason_);
}

bool RevokedInfo::get(Buffer& in, unsigned char tag) {
  Element body;
  revocationReason_.reset();
  return openWhole(body, in, tag) && getPart(body, in, revocationTime_) &&
         getOptional(body, in, kReason, [&] { return in.getEnumerated(revocationReason_.emplace()); }) &&
         ended(body, in);
}

owner<RevokedInfo*> OCSPCertStatus::revokedInfo() const {
  return cloneOf(revokedInfo_);
}
void OCSPCertStatus::setGood() {
  tag_ = kGood;
  revokedInfo_.reset();
}
void OCSPCertStatus::setUnknown() {
  tag_ = kUnknown;
  revokedInfo_.reset();
}
void OCSPCertStatus::setRevoked(const RevokedInfo& info) {
  tag_ = kRevoked;
  revokedInfo_ = info;
}

std::uint32_t OCSPCertStatus::size(const Buffer& buffer) const {
  return revokedInfo_ ? revokedInfo_->size(buffer, tag_) : buffer.sizeHeader(tag_, 0);
}

void OCSPCertStatus::put(Buffer& buffer) const {
  if (revokedInfo_) return revokedInfo_->put(buffer, tag_);
  buffer.putEmpty(tag_);
}

bool OCSPCertStatus::get(Buffer& in) {
  revokedInfo_.reset();
  tag_ = nextTag(in);
  if (tag_ == kRevoked) return revokedInfo_.emplace().get(in, kRevoked);
  return (tag_ == kGood || tag_ == kUnknown) && in.getEmpty(tag_);
}

}  // namespace keystrand
