#include "crypto/token/DigestOperation.h"

namespace keystrand {

CK_RV DigestOperation::begin(const CK_MECHANISM* mechanism) {
  if (mechanism == nullptr) return CKR_ARGUMENTS_BAD;
  if (active_ != nullptr) return CKR_OPERATION_ACTIVE;
  active_ = digests_.get(mechanism->mechanism);
  inParts_ = false;
  return active_ != nullptr ? CKR_OK : CKR_MECHANISM_INVALID;
}

CK_RV DigestOperation::whole(const CK_BYTE* data, CK_ULONG length, CK_BYTE* out, CK_ULONG* outLength) {
  if (data == nullptr || outLength == nullptr) return ended(CKR_ARGUMENTS_BAD);
  if (active_ == nullptr) return CKR_OPERATION_NOT_INITIALIZED;
  if (inParts_) return ended(CKR_OPERATION_ACTIVE);
  if (out != nullptr && *outLength >= active_->digestLength()) active_->update(data, length);
  return finish(out, outLength);
}

CK_RV DigestOperation::update(const CK_BYTE* part, CK_ULONG length) {
  if (part == nullptr) return ended(CKR_ARGUMENTS_BAD);
  if (active_ == nullptr) return CKR_OPERATION_NOT_INITIALIZED;
  active_->update(part, length);
  inParts_ = true;
  return CKR_OK;
}

CK_RV DigestOperation::finish(CK_BYTE* out, CK_ULONG* outLength) {
  if (outLength == nullptr) return ended(CKR_ARGUMENTS_BAD);
  if (active_ == nullptr) return CKR_OPERATION_NOT_INITIALIZED;
  const CK_ULONG room = *outLength;
  *outLength = active_->digestLength();
  if (out == nullptr) return CKR_OK;
  if (room < *outLength) return CKR_BUFFER_TOO_SMALL;
  active_->final({out, room});
  return ended(CKR_OK);
}

CK_RV DigestOperation::ended(CK_RV result) noexcept {
  end();
  return result;
}

}  // namespace keystrand
