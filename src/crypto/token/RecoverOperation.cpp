#include "crypto/token/RecoverOperation.h"

#include <algorithm>

#include "crypto/hvRSA.h"

namespace keystrand {

CK_RV RecoverOperation::begin(const CK_MECHANISM& mechanism, const std::shared_ptr<const PKCS11Key>& key) {
  if (key_) return CKR_OPERATION_ACTIVE;
  if (mechanism.mechanism != CKM_RSA_PKCS && mechanism.mechanism != CKM_RSA_X_509) return CKR_MECHANISM_INVALID;
  auto rsa = std::dynamic_pointer_cast<const PKCS11RSAPublicKey>(key);
  if (!rsa) return CKR_KEY_TYPE_INCONSISTENT;
  if (!rsa->flag(CKA_VERIFY_RECOVER)) return CKR_KEY_FUNCTION_NOT_PERMITTED;
  padded_ = mechanism.mechanism == CKM_RSA_PKCS;
  key_ = std::move(rsa);
  return CKR_OK;
}

CK_RV RecoverOperation::recover(const CK_BYTE* signature, CK_ULONG length, CK_BYTE* out, CK_ULONG* outLength) {
  if (signature == nullptr || outLength == nullptr) return ended(CKR_ARGUMENTS_BAD);
  if (!key_) return CKR_OPERATION_NOT_INITIALIZED;
  if (length != key_->key().modulus().magnitudeLength()) return ended(CKR_SIGNATURE_LEN_RANGE);
  const auto data = dataIn({signature, length});
  if (!data) return ended(CKR_SIGNATURE_INVALID);
  const CK_ULONG room = *outLength;
  *outLength = data->size();
  if (out == nullptr) return CKR_OK;
  if (room < data->size()) return CKR_BUFFER_TOO_SMALL;
  std::ranges::copy(*data, out);
  return ended(CKR_OK);
}

CK_RV RecoverOperation::ended(CK_RV result) noexcept {
  end();
  return result;
}

std::optional<Bytes> RecoverOperation::dataIn(std::span<const unsigned char> signature) const {
  auto block = hvRSA::publicOperation(key_->key(), signature);
  if (!block || !padded_) return block;
  const auto data = hvRSA::withoutPadding(*block);
  return data ? std::optional(Bytes(data->begin(), data->end())) : std::nullopt;
}

}  // namespace keystrand
