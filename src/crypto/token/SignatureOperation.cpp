#include "crypto/token/SignatureOperation.h"

#include "crypto/token/PKCS11SecretKey.h"

namespace keystrand {

CK_RV SignatureOperation::begin(const CK_MECHANISM& mechanism, std::shared_ptr<const PKCS11Key> key,
                                CK_ATTRIBUTE_TYPE usage) {
  if (isActive()) return CKR_OPERATION_ACTIVE;
  const SignatureMechanism* row = findSignatureMechanism(mechanism.mechanism);
  if (row == nullptr) return CKR_MECHANISM_INVALID;
  const bool recovers = row->digest == kAsGiven && row->keyType == CKK_RSA;
  if (usage == CKA_SIGN_RECOVER && !recovers) return CKR_MECHANISM_INVALID;
  if (row->keyType != key->keyType()) return CKR_KEY_TYPE_INCONSISTENT;
  if (!key->flag(usage)) return CKR_KEY_FUNCTION_NOT_PERMITTED;
  if (!hasParameter(mechanism, *row)) return CKR_MECHANISM_PARAM_INVALID;
  if (row->scheme == Scheme::kMAC) {
    const auto* secret = dynamic_cast<const PKCS11SecretKey*>(key.get());
    if (secret == nullptr) return CKR_KEY_TYPE_INCONSISTENT;
    if (const CK_RV made = makeMac(*row, mechanism, secret->value(), mac_); made != CKR_OK) return made;
  }
  digest_ = row->digest != kAsGiven && !mac_ ? digests_.get(row->digest) : nullptr;
  row_ = row;
  key_ = std::move(key);
  inParts_ = false;
  return CKR_OK;
}

void SignatureOperation::end() noexcept {
  row_ = nullptr;
  digest_ = nullptr;
  mac_.reset();
  key_.reset();
}

void SignatureOperation::take(Octets part) {
  if (mac_) {
    mac_->update(part);
  } else {
    digest_->update(part.data(), part.size());
  }
}

}  // namespace keystrand
