#include "crypto/token/CipherOperation.h"

#include <algorithm>

#include "crypto/hvRSA.h"
#include "crypto/token/PKCS11RSAPrivateKey.h"
#include "crypto/token/PKCS11RSAPublicKey.h"

namespace keystrand {

namespace {

// PKCS #7 padding taken off, in a time that does not tell where it is wrong; false when it is.
bool unpad(SecretBytes& blocks, std::size_t blockLength) {
  if (blocks.empty()) return false;
  const std::size_t n = blocks.back();
  unsigned bad = static_cast<unsigned>(n == 0) | static_cast<unsigned>(n > blockLength);
  for (std::size_t i = 0; i < blockLength; ++i) {
    const unsigned within = static_cast<unsigned>(i < n);
    bad |= within & static_cast<unsigned>(blocks[blocks.size() - 1 - i] != n);
  }
  if (bad != 0) return false;
  blocks.resize(blocks.size() - n);
  return true;
}

CK_RV give(const SecretBytes& result, CK_BYTE* out, CK_ULONG* outLength) {
  const CK_ULONG room = *outLength;
  *outLength = result.size();
  if (room < result.size()) return CKR_BUFFER_TOO_SMALL;
  std::ranges::copy(result, out);
  return CKR_OK;
}

}  // namespace

CK_RV CipherOperation::begin(const CK_MECHANISM& mechanism, std::shared_ptr<const PKCS11Key> key,
                             CK_ATTRIBUTE_TYPE usage) {
  if (active_) return CKR_OPERATION_ACTIVE;
  const bool rsa = mechanism.mechanism == CKM_RSA_PKCS || mechanism.mechanism == CKM_RSA_X_509;
  const CipherMechanism* row = findCipherMechanism(mechanism.mechanism);
  if (!rsa && row == nullptr) return CKR_MECHANISM_INVALID;
  const CK_KEY_TYPE type = key->keyType();
  if (rsa ? type != CKK_RSA : type != row->keyType && type != row->otherKeyType) return CKR_KEY_TYPE_INCONSISTENT;
  if (!key->flag(usage)) return CKR_KEY_FUNCTION_NOT_PERMITTED;
  const bool encrypts = usage == CKA_ENCRYPT || usage == CKA_WRAP;
  if (!rsa) {
    const auto* secret = dynamic_cast<const PKCS11SecretKey*>(key.get());
    if (secret == nullptr) return CKR_KEY_TYPE_INCONSISTENT;
    const CK_RV made = makeCipher(*row, mechanism, *secret, encrypts, cipher_, vector_);
    if (made != CKR_OK) return made;
  }
  active_ = true;
  encrypts_ = encrypts;
  padsRSA_ = mechanism.mechanism == CKM_RSA_PKCS;
  inParts_ = false;
  row_ = row;
  key_ = std::move(key);
  return CKR_OK;
}

CK_RV CipherOperation::whole(const CK_BYTE* data, CK_ULONG length, CK_BYTE* out, CK_ULONG* outLength) {
  if (data == nullptr || outLength == nullptr) return ended(CKR_ARGUMENTS_BAD);
  if (!active_) return CKR_OPERATION_NOT_INITIALIZED;
  if (inParts_) return ended(CKR_OPERATION_ACTIVE);
  if (out == nullptr) {
    *outLength = mostOctets(length);
    return CKR_OK;
  }
  SecretBytes result;
  if (const CK_RV computed = compute({data, length}, result); computed != CKR_OK) return ended(computed);
  const CK_RV given = give(result, out, outLength);
  return given == CKR_OK ? ended(given) : given;
}

CK_RV CipherOperation::take(Octets data, SecretBytes& out) {
  return ended(compute(data, out));
}

CK_RV CipherOperation::update(const CK_BYTE* part, CK_ULONG length, CK_BYTE* out, CK_ULONG* outLength) {
  if (part == nullptr || outLength == nullptr) return ended(CKR_ARGUMENTS_BAD);
  if (!active_) return CKR_OPERATION_NOT_INITIALIZED;
  if (row_ == nullptr) return ended(CKR_MECHANISM_INVALID);
  const CK_ULONG ready = readyLength(length);
  const CK_ULONG room = *outLength;
  *outLength = ready;
  if (out == nullptr) return CKR_OK;
  if (room < ready) return CKR_BUFFER_TOO_SMALL;
  pending_.insert(pending_.end(), part, part + length);
  const std::span<unsigned char> blocks = std::span(pending_).first(ready);
  crypt(blocks, vector_);
  std::ranges::copy(blocks, out);
  SecretBytes left(pending_.begin() + static_cast<std::ptrdiff_t>(ready), pending_.end());
  pending_ = std::move(left);
  inParts_ = true;
  return CKR_OK;
}

CK_RV CipherOperation::finish(CK_BYTE* out, CK_ULONG* outLength) {
  if (outLength == nullptr) return ended(CKR_ARGUMENTS_BAD);
  if (!active_) return CKR_OPERATION_NOT_INITIALIZED;
  if (row_ == nullptr) return ended(CKR_MECHANISM_INVALID);
  if (out == nullptr) {
    *outLength = pads() ? cipher_->blockLength() : 0;
    return CKR_OK;
  }
  SecretBytes result;
  if (const CK_RV computed = computeBlocks(pending_, result); computed != CKR_OK) return ended(computed);
  const CK_RV given = give(result, out, outLength);
  return given == CKR_OK ? ended(given) : given;
}

void CipherOperation::end() noexcept {
  active_ = false;
  row_ = nullptr;
  key_.reset();
  cipher_.reset();
  vector_ = {};
  pending_ = {};
}

CK_RV CipherOperation::ended(CK_RV result) noexcept {
  end();
  return result;
}

std::size_t CipherOperation::blockLength() const {
  return cipher_ != nullptr && !pads() ? cipher_->blockLength() : 1;
}

CK_ULONG CipherOperation::mostOctets(CK_ULONG length) const {
  if (row_ == nullptr) {
    const auto* own = dynamic_cast<const PKCS11RSAPrivateKey*>(key_.get());
    const auto* other = dynamic_cast<const PKCS11RSAPublicKey*>(key_.get());
    return own != nullptr ? own->key().keyLength() : other != nullptr ? other->key().keyLength() : 0;
  }
  const CK_ULONG block = cipher_->blockLength();
  return encrypts_ && pads() ? (length / block + 1) * block : length;
}

// The last block of a padded text waits for the end.
CK_ULONG CipherOperation::readyLength(CK_ULONG length) const {
  const CK_ULONG held = pending_.size() + length;
  const CK_ULONG kept = pads() && !encrypts_ && held != 0 ? 1 : 0;
  return (held - kept) / cipher_->blockLength() * cipher_->blockLength();
}

CK_RV CipherOperation::compute(Octets data, SecretBytes& out) const {
  if (row_ != nullptr) return computeBlocks(data, out);
  return encrypts_ ? encryptRSA(data, out) : decryptRSA(data, out);
}

CK_RV CipherOperation::computeBlocks(Octets data, SecretBytes& out) const {
  const std::size_t block = cipher_->blockLength();
  out.assign(data.begin(), data.end());
  if (encrypts_ && pads()) {
    const std::size_t n = block - data.size() % block;
    out.insert(out.end(), n, static_cast<unsigned char>(n));
  }
  if (out.size() % block != 0) return encrypts_ ? CKR_DATA_LEN_RANGE : CKR_ENCRYPTED_DATA_LEN_RANGE;
  SecretBytes vector = vector_;
  crypt(out, vector);
  if (encrypts_ || !pads()) return CKR_OK;
  if (out.empty()) return CKR_ENCRYPTED_DATA_LEN_RANGE;
  return unpad(out, block) ? CKR_OK : CKR_ENCRYPTED_DATA_INVALID;
}

void CipherOperation::crypt(std::span<unsigned char> blocks, SecretBytes& vector) const {
  const std::size_t n = cipher_->blockLength();
  const bool chains = row_->mode != CipherMode::kECB;
  SecretBytes next(n);
  for (std::size_t at = 0; at < blocks.size(); at += n) {
    const auto block = blocks.subspan(at, n);
    if (encrypts_) {
      for (std::size_t i = 0; chains && i < n; ++i) block[i] ^= vector[i];
      cipher_->encryptBlock(block.data(), block.data());
      std::ranges::copy(block, vector.begin());
    } else {
      std::ranges::copy(block, next.begin());
      cipher_->decryptBlock(block.data(), block.data());
      for (std::size_t i = 0; chains && i < n; ++i) block[i] ^= vector[i];
      vector.swap(next);
    }
  }
}

CK_RV CipherOperation::decryptRSA(Octets data, SecretBytes& out) const {
  const auto* key = dynamic_cast<const PKCS11RSAPrivateKey*>(key_.get());
  if (key == nullptr) return CKR_KEY_TYPE_INCONSISTENT;
  if (data.size() != key->key().keyLength()) return CKR_ENCRYPTED_DATA_LEN_RANGE;
  auto block = hvRSA::privateOperation(key->key(), data);
  if (block && padsRSA_) block = hvRSA::withoutRandomPadding(*block);
  if (!block) return CKR_ENCRYPTED_DATA_INVALID;
  out = std::move(*block);
  return CKR_OK;
}

CK_RV CipherOperation::encryptRSA(Octets data, SecretBytes& out) const {
  const auto* key = dynamic_cast<const PKCS11RSAPublicKey*>(key_.get());
  if (key == nullptr) return CKR_KEY_TYPE_INCONSISTENT;
  const std::size_t length = key->key().keyLength();
  SystemRandomGenerator random;
  std::optional<SecretBytes> block;
  if (padsRSA_) {
    block = hvRSA::withRandomPadding(data, length, random);
  } else if (data.size() <= length) {
    block.emplace(length - data.size());
    block->insert(block->end(), data.begin(), data.end());
  }
  if (!block) return CKR_DATA_LEN_RANGE;
  const auto result = hvRSA::publicOperation(key->key(), *block);
  if (!result) return CKR_DATA_INVALID;
  out.assign(result->begin(), result->end());
  return CKR_OK;
}

}  // namespace keystrand
