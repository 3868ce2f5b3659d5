#include "crypto/token/SignOperation.h"

#include <algorithm>
#include <array>

#include "crypto/EMSA.h"
#include "crypto/hvECDSA.h"
#include "crypto/hvRSA.h"
#include "crypto/token/PKCS11ECDSAPrivateKey.h"
#include "crypto/token/PKCS11RSAPrivateKey.h"

namespace keystrand {

CK_RV SignOperation::whole(const CK_BYTE* data, CK_ULONG length, CK_BYTE* out, CK_ULONG* outLength) {
  if (data == nullptr || outLength == nullptr) return ended(CKR_ARGUMENTS_BAD);
  if (!isActive()) return CKR_OPERATION_NOT_INITIALIZED;
  if (inParts_) return ended(CKR_OPERATION_ACTIVE);
  bool there = false;
  if (const CK_RV room = makeRoom(out, outLength, there); !there) return room;
  if (!takesParts()) return ended(sign({data, length}, {out, *outLength}));
  take({data, length});
  return ended(signTaken({out, *outLength}));
}

CK_RV SignOperation::update(const CK_BYTE* part, CK_ULONG length) {
  if (part == nullptr) return ended(CKR_ARGUMENTS_BAD);
  if (!isActive()) return CKR_OPERATION_NOT_INITIALIZED;
  if (!takesParts()) return ended(CKR_MECHANISM_INVALID);
  take({part, length});
  inParts_ = true;
  return CKR_OK;
}

CK_RV SignOperation::finish(CK_BYTE* out, CK_ULONG* outLength) {
  if (outLength == nullptr) return ended(CKR_ARGUMENTS_BAD);
  if (!isActive()) return CKR_OPERATION_NOT_INITIALIZED;
  if (!takesParts()) return ended(CKR_MECHANISM_INVALID);
  bool there = false;
  if (const CK_RV room = makeRoom(out, outLength, there); !there) return room;
  return ended(signTaken({out, *outLength}));
}

CK_RV SignOperation::ended(CK_RV result) noexcept {
  end();
  return result;
}

CK_ULONG SignOperation::resultLength() const {
  if (mac_) return mac_->length();
  if (const auto* rsa = dynamic_cast<const PKCS11RSAPrivateKey*>(key_.get())) return rsa->key().keyLength();
  const auto* ec = dynamic_cast<const PKCS11ECDSAPrivateKey*>(key_.get());
  return ec != nullptr ? CK_ULONG{2} * ec->key().parametersView()->orderBytes() : 0;
}

CK_RV SignOperation::makeRoom(const CK_BYTE* out, CK_ULONG* outLength, bool& there) const {
  const CK_ULONG room = *outLength;
  *outLength = resultLength();
  there = out != nullptr && room >= *outLength;
  return out == nullptr ? CKR_OK : CKR_BUFFER_TOO_SMALL;
}

CK_RV SignOperation::signTaken(std::span<unsigned char> out) {
  if (mac_) return mac_->final(out) != 0 ? CKR_OK : CKR_FUNCTION_FAILED;
  std::array<unsigned char, 64> bytes;
  const Octets value = Octets(bytes).first(digest_->final(bytes));
  return row_->scheme == Scheme::kPKCS1 ? sign(codedDigestInfo(row_->digest, value), out) : sign(value, out);
}

CK_RV SignOperation::sign(Octets data, std::span<unsigned char> out) {
  return row_->keyType == CKK_EC ? signEC(data, out) : signRSA(data, out);
}

CK_RV SignOperation::signRSA(Octets data, std::span<unsigned char> out) {
  const auto* rsa = dynamic_cast<const PKCS11RSAPrivateKey*>(key_.get());
  if (rsa == nullptr) return CKR_KEY_TYPE_INCONSISTENT;
  std::optional<Bytes> block;
  if (row_->scheme == Scheme::kPKCS1) block = hvRSA::withPadding(data, out.size());
  if (row_->scheme == Scheme::kPSS) {
    SystemRandomGenerator random;
    Bytes salt(digest_->digestLength());
    if (!random.fill(salt)) return CKR_RANDOM_NO_RNG;
    block = encodePSS(rsa->key().modulus().bitLength(), data, salt, *digest_);
  }
  if (row_->scheme == Scheme::kRaw && data.size() <= out.size()) {
    block.emplace(out.size() - data.size());
    block->insert(block->end(), data.begin(), data.end());
  }
  if (!block) return row_->digest == kAsGiven ? CKR_DATA_LEN_RANGE : CKR_KEY_SIZE_RANGE;
  const auto signature = hvRSA::privateOperation(rsa->key(), *block);
  if (!signature) return row_->scheme == Scheme::kRaw ? CKR_DATA_INVALID : CKR_FUNCTION_FAILED;
  std::ranges::copy(*signature, out.begin());
  return CKR_OK;
}

CK_RV SignOperation::signEC(Octets data, std::span<unsigned char> out) {
  const auto* ec = dynamic_cast<const PKCS11ECDSAPrivateKey*>(key_.get());
  const auto digest = digestIn(data);
  if (ec == nullptr) return CKR_KEY_TYPE_INCONSISTENT;
  if (!digest) return CKR_DATA_LEN_RANGE;
  hvECDSA algorithm;
  const auto signature = algorithm.setKey(ec->key()) ? algorithm.sign(*digest) : std::nullopt;
  if (!signature || signature->size() != out.size()) return CKR_FUNCTION_FAILED;
  std::ranges::copy(*signature, out.begin());
  return CKR_OK;
}

}  // namespace keystrand
