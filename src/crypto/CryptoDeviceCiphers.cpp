// Encryption and decryption: by RSA keys, by secret keys of the token, and by keys out of passwords.
#include <algorithm>
#include <cstring>

#include "crypto/DeviceState.h"
#include "crypto/PBE.h"
#include "crypto/PBEParameter.h"
#include "crypto/TemporaryKey.h"
#include "crypto/token/PasswordParameters.h"
#include "crypto/token/RC2Parameters.h"
#include "support/SecretBytes.h"

namespace keystrand {

namespace {

constexpr const char* kRawRSA = "2.5.8.1.1";

// The ciphers of PKCS #12 (RFC 7292 appendix C); those with RC4 have none on the token.
struct PBERow {
  ConstantOID oid;
  CK_MECHANISM_TYPE generation;
  CK_MECHANISM_TYPE cipher;
  CK_ULONG effectiveBits;  // of RC2
};

constexpr PBERow kPBE[] = {
    {"1.2.840.113549.1.12.1.3"_oid, CKM_PBE_SHA1_DES3_EDE_CBC, CKM_DES3_CBC_PAD, 0},
    {"1.2.840.113549.1.12.1.4"_oid, CKM_PBE_SHA1_DES2_EDE_CBC, CKM_DES3_CBC_PAD, 0},
    {"1.2.840.113549.1.12.1.5"_oid, CKM_PBE_SHA1_RC2_128_CBC, CKM_RC2_CBC_PAD, 128},
    {"1.2.840.113549.1.12.1.6"_oid, CKM_PBE_SHA1_RC2_40_CBC, CKM_RC2_CBC_PAD, 40},
};

// By the type of the key: CBC with padding.
struct CipherRow {
  CK_KEY_TYPE keyType;
  CK_MECHANISM_TYPE cipher;
};

constexpr CipherRow kCiphers[] = {
    {CKK_AES, CKM_AES_CBC_PAD},   {CKK_DES, CKM_DES_CBC_PAD}, {CKK_DES2, CKM_DES3_CBC_PAD},
    {CKK_DES3, CKM_DES3_CBC_PAD}, {CKK_RC2, CKM_RC2_CBC_PAD},
};

}  // namespace

// A cipher that was begun and never asked for its result, because there was no memory for it or it would have been too
// long, is given up for the new one: a call without data ends it.
CK_RV CryptoDevice::State::beginCipher(bool encrypts, const CK_MECHANISM& mechanism, CK_OBJECT_HANDLE by) {
  const auto begin = [&] {
    return encrypts ? ki.encryptInit(session, &mechanism, by) : ki.decryptInit(session, &mechanism, by);
  };
  const CK_RV begun = begin();
  if (begun != CKR_OPERATION_ACTIVE) return begun;
  encrypts ? ki.encrypt(session, nullptr, 0, nullptr, nullptr) : ki.decrypt(session, nullptr, 0, nullptr, nullptr);
  return begin();
}

bool CryptoDevice::State::crypt(bool encrypts, const CK_MECHANISM& mechanism, std::span<const unsigned char> data,
                                CK_OBJECT_HANDLE by, Buffer& out) {
  out.reset();
  const auto run = [&](unsigned char* target, CK_ULONG* length) {
    return encrypts ? ki.encrypt(session, pointer(data), data.size(), target, length)
                    : ki.decrypt(session, pointer(data), data.size(), target, length);
  };
  const auto result = succeeded(beginCipher(encrypts, mechanism, by)) ? resultOf(run) : std::nullopt;
  if (result) out.append(result->data(), static_cast<std::uint32_t>(result->size()));
  return result.has_value();
}

bool CryptoDevice::encrypt(const unsigned char* data, std::size_t length, Handle key, Buffer& out) {
  State& state = *state_;
  if (!state.cipher) return state.succeeded(CKR_MECHANISM_INVALID);
  return state.crypt(true, *state.cipher, {data, length}, key, out);
}

bool CryptoDevice::encrypt(const unsigned char* data, std::size_t length, Buffer& out) {
  return encrypt(data, length, state_->keyInUse, out);
}

bool CryptoDevice::encrypt(const unsigned char* data, std::size_t length, const KeyInfo& key, Buffer& out) {
  TemporaryKey object(state_->ki, state_->session);
  return state_->succeeded(object.create(key.keyView(), CKA_ENCRYPT)) && encrypt(data, length, object.handle(), out);
}

bool CryptoDevice::decrypt(const unsigned char* data, std::size_t length, Handle key, Buffer& out) {
  State& state = *state_;
  if (!state.cipher) return state.succeeded(CKR_MECHANISM_INVALID);
  return state.crypt(false, *state.cipher, {data, length}, key, out);
}

bool CryptoDevice::decrypt(const unsigned char* data, std::size_t length, Buffer& out) {
  return decrypt(data, length, state_->keyInUse, out);
}

owner<Signature*> CryptoDevice::rawSign(const unsigned char* data, std::size_t length) {
  return setCipher(kRawRSA) ? signRaw(data, length) : nullptr;
}
owner<Signature*> CryptoDevice::rawSign(const unsigned char* data, std::size_t length, Handle key) {
  return setCipher(kRawRSA) ? signRaw(data, length, key) : nullptr;
}
bool CryptoDevice::rawVerify(const unsigned char* data, std::size_t length, const Signature& signature, Handle key) {
  return setSignatureAlgorithm(kRawRSA) && verifyRaw(data, length, signature, key);
}
bool CryptoDevice::rawVerify(const unsigned char* data, std::size_t length, const Signature& signature,
                             const KeyInfo& key) {
  return setSignatureAlgorithm(kRawRSA) && verifyRaw(data, length, signature, key);
}
bool CryptoDevice::rawEncrypt(const unsigned char* data, std::size_t length, const KeyInfo& key, Buffer& out) {
  return setCipher(kRawRSA) && encrypt(data, length, key, out);
}
bool CryptoDevice::rawDecrypt(const unsigned char* data, std::size_t length, Buffer& out) {
  return setCipher(kRawRSA) && decrypt(data, length, out);
}

CK_MECHANISM_TYPE CryptoDevice::State::paddedMechanism(CK_OBJECT_HANDLE secret) {
  const auto type = attributeOf(secret, CKA_KEY_TYPE);
  CK_KEY_TYPE keyType = 0;
  if (!type || type->size() != sizeof keyType) return kNoMechanism;
  std::memcpy(&keyType, type->data(), sizeof keyType);
  const auto row = std::ranges::find(kCiphers, keyType, &CipherRow::keyType);
  return row != std::end(kCiphers) ? row->cipher : kNoMechanism;
}

// RC2 has its effective length in front of the vector: all bits of the key.
std::optional<Bytes> CryptoDevice::State::parameterOf(CK_MECHANISM_TYPE padded, CK_OBJECT_HANDLE secret,
                                                      std::span<const unsigned char> vector) {
  if (padded != CKM_RC2_CBC_PAD) return Bytes(vector.begin(), vector.end());
  const auto length = attributeOf(secret, CKA_VALUE_LEN);
  RC2Parameters parameters{};
  if (!length || length->size() != sizeof parameters.effectiveBits || vector.size() != sizeof parameters.vector) {
    succeeded(CKR_MECHANISM_PARAM_INVALID);
    return std::nullopt;
  }
  std::memcpy(&parameters.effectiveBits, length->data(), length->size());
  parameters.effectiveBits *= 8;
  std::ranges::copy(vector, parameters.vector);
  const auto* octets = reinterpret_cast<const unsigned char*>(&parameters);
  return Bytes(octets, octets + sizeof parameters);
}

bool CryptoDevice::State::cryptSecret(bool encrypts, std::span<const unsigned char> vector,
                                      std::span<const unsigned char> data, Buffer& out) {
  const CK_MECHANISM_TYPE mechanism = paddedMechanism(keyInUse);
  if (mechanism == kNoMechanism) return succeeded(CKR_KEY_TYPE_INCONSISTENT);
  auto parameter = parameterOf(mechanism, keyInUse, vector);
  return parameter && crypt(encrypts, {mechanism, parameter->data(), parameter->size()}, data, keyInUse, out);
}

bool CryptoDevice::encryptSecret(const unsigned char* data, std::size_t length, const unsigned char* vector,
                                 std::size_t vectorLength, Buffer& out) {
  return state_->cryptSecret(true, {vector, vectorLength}, {data, length}, out);
}
bool CryptoDevice::decryptSecret(const unsigned char* data, std::size_t length, const unsigned char* vector,
                                 std::size_t vectorLength, Buffer& out) {
  return state_->cryptSecret(false, {vector, vectorLength}, {data, length}, out);
}

bool CryptoDevice::setPBE(const char* dotted) {
  const OID oid = dotted != nullptr ? OID(dotted) : OID();
  const auto row = std::ranges::find_if(kPBE, [&oid](const PBERow& candidate) { return oid == candidate.oid; });
  state_->pbe = {};
  if (row == std::end(kPBE)) return state_->succeeded(CKR_MECHANISM_INVALID);
  state_->pbe.generation = row->generation;
  state_->pbe.cipher = row->cipher;
  state_->pbe.effectiveBits = row->effectiveBits;
  return state_->succeeded(CKR_OK);
}

bool CryptoDevice::setPBE(const AlgorithmIdentifier& algorithm) {
  const std::unique_ptr<char[]> text(algorithm.oidText());
  const auto* parameter = dynamic_cast<const PBEParameter*>(algorithm.parameterView());
  if (!setPBE(text.get())) return false;
  if (parameter == nullptr || parameter->iterationCount() < 1) {
    state_->pbe = {};
    return state_->succeeded(CKR_MECHANISM_PARAM_INVALID);
  }
  const auto salt = parameter->saltView();
  return setPBESalt(salt.data(), salt.size(), static_cast<std::uint32_t>(parameter->iterationCount()));
}

bool CryptoDevice::setPBESalt(const unsigned char* salt, std::size_t length, std::uint32_t iterations) {
  state_->pbe.salt.assign(salt, salt + length);
  state_->pbe.iterations = iterations;
  return state_->succeeded(CKR_OK);
}

// The key lives for this operation alone.
bool CryptoDevice::State::cryptPBE(bool encrypts, const char* password, std::span<const unsigned char> data,
                                   Buffer& out) {
  if (password == nullptr) return succeeded(CKR_ARGUMENTS_BAD);
  auto text = bmpPassword({reinterpret_cast<const unsigned char*>(password), std::strlen(password)});
  if (pbe.generation == kNoMechanism) return succeeded(CKR_MECHANISM_INVALID);
  if (!text) return succeeded(CKR_MECHANISM_PARAM_INVALID);
  RC2Parameters vector{pbe.effectiveBits, {}};
  PBEParameters given{vector.vector, text->data(), text->size(), pbe.salt.data(), pbe.salt.size(), pbe.iterations};
  TemporaryKey key(ki, session);
  if (!succeeded(key.generate({pbe.generation, &given, sizeof given}))) return false;
  CK_MECHANISM mechanism{pbe.cipher, vector.vector, sizeof vector.vector};
  if (pbe.effectiveBits != 0) mechanism = {pbe.cipher, &vector, sizeof vector};
  return crypt(encrypts, mechanism, data, key.handle(), out);
}

bool CryptoDevice::encryptPBE(const unsigned char* data, std::size_t length, const char* password, Buffer& out) {
  return state_->cryptPBE(true, password, {data, length}, out);
}
bool CryptoDevice::decryptPBE(const unsigned char* data, std::size_t length, const char* password, Buffer& out) {
  return state_->cryptPBE(false, password, {data, length}, out);
}

}  // namespace keystrand
