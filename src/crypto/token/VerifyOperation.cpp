#include "crypto/token/VerifyOperation.h"

#include <algorithm>
#include <array>

#include "crypto/EMSA.h"
#include "crypto/hvECDSA.h"
#include "crypto/hvRSA.h"
#include "crypto/token/PKCS11ECDSAPublicKey.h"
#include "crypto/token/PKCS11RSAPublicKey.h"

namespace keystrand {

namespace {

CK_RV answer(bool good) {
  return good ? CKR_OK : CKR_SIGNATURE_INVALID;
}

}  // namespace

CK_RV VerifyOperation::whole(Octets data, Octets signature) {
  const Ending ending(*this);
  if (inParts_) return CKR_OPERATION_ACTIVE;
  if (!takesParts()) return check(data, signature);
  take(data);
  return checkTaken(signature);
}

CK_RV VerifyOperation::update(Octets part) {
  if (!takesParts()) {
    end();
    return CKR_MECHANISM_INVALID;
  }
  take(part);
  inParts_ = true;
  return CKR_OK;
}

CK_RV VerifyOperation::finish(Octets signature) {
  const Ending ending(*this);
  return takesParts() ? checkTaken(signature) : CKR_MECHANISM_INVALID;
}

CK_RV VerifyOperation::checkTaken(Octets signature) {
  std::array<unsigned char, 64> bytes;
  if (mac_) return check(Octets(bytes).first(mac_->final(bytes)), signature);
  const Octets value = Octets(bytes).first(digest_->final(bytes));
  return row_->scheme == Scheme::kPKCS1 ? check(codedDigestInfo(row_->digest, value), signature)
                                        : check(value, signature);
}

// A MAC is computed again; that it differs shows after the same time wherever it does.
CK_RV VerifyOperation::check(Octets data, Octets signature) const {
  if (mac_) {
    if (signature.size() != data.size()) return CKR_SIGNATURE_LEN_RANGE;
    return answer(areEqual(data, signature));
  }
  if (const auto* rsa = dynamic_cast<const PKCS11RSAPublicKey*>(key_.get())) return check(rsa->key(), data, signature);
  if (const auto* ec = dynamic_cast<const PKCS11ECDSAPublicKey*>(key_.get())) return check(ec->key(), data, signature);
  return CKR_KEY_TYPE_INCONSISTENT;
}

CK_RV VerifyOperation::check(const RSAPublicKey& key, Octets data, Octets signature) const {
  if (signature.size() != key.modulus().magnitudeLength()) return CKR_SIGNATURE_LEN_RANGE;
  const auto block = hvRSA::publicOperation(key, signature);
  if (!block) return CKR_SIGNATURE_INVALID;
  if (row_->scheme == Scheme::kPKCS1) {
    const auto held = hvRSA::withoutPadding(*block);
    return answer(held && std::ranges::equal(*held, data));
  }
  if (row_->scheme == Scheme::kRaw) return answer(std::ranges::equal(*block, data));
  return answer(digest_ != nullptr && isPSSEncoded(*block, key.modulus().bitLength(), data, *digest_));
}

CK_RV VerifyOperation::check(const ECDSAPublicKey& key, Octets data, Octets signature) {
  const auto digest = digestIn(data);
  hvECDSA algorithm;
  return answer(digest && algorithm.setKey(key) && algorithm.verify(*digest, signature));
}

}  // namespace keystrand
