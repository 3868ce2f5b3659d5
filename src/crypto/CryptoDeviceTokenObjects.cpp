// Certificates and data objects of the token, and the removal of keys.
#include "crypto/AttributeTemplate.h"
#include "crypto/DeviceState.h"

namespace keystrand {

namespace {

constexpr const char* kCertificateLabel = "X.509 Certificate";
constexpr const char* kDataLabel = "Generic Data";

}  // namespace

bool CryptoDevice::State::store(const AttributeTemplate& attributes) {
  CK_OBJECT_HANDLE made = CK_INVALID_HANDLE;
  if (!succeeded(attributes.create(ki, session, made))) return false;
  listObjects();
  return true;
}

// The value of an object, in place of what out held.
bool CryptoDevice::State::valueOf(CK_OBJECT_HANDLE object, Buffer& out) {
  out.reset();
  if (object == CK_INVALID_HANDLE) return succeeded(CKR_OBJECT_HANDLE_INVALID);
  const auto value = attributeOf(object, CKA_VALUE);
  if (value) out.append(value->data(), static_cast<std::uint32_t>(value->size()));
  return value.has_value();
}

bool CryptoDevice::State::remove(CK_OBJECT_HANDLE object) {
  if (object == CK_INVALID_HANDLE) return succeeded(CKR_OBJECT_HANDLE_INVALID);
  if (!succeeded(ki.destroyObject(session, object))) return false;
  if (keyInUse == object) keyInUse = CK_INVALID_HANDLE;
  listObjects();
  return true;
}

CK_OBJECT_HANDLE CryptoDevice::State::at(CK_OBJECT_CLASS objectClass, std::uint32_t index) {
  const auto& cached = objectsOf(objectClass);
  return index < cached.size() ? cached[index].handle : CK_INVALID_HANDLE;
}

bool CryptoDevice::removePrivateKey(const unsigned char* id, std::size_t idLength) {
  return state_->remove(state_->findById(CKO_PRIVATE_KEY, {id, idLength}));
}
bool CryptoDevice::removePrivateKey(const char* label) {
  return state_->remove(state_->findByLabel(CKO_PRIVATE_KEY, label));
}
bool CryptoDevice::removePublicKey(const unsigned char* id, std::size_t idLength) {
  return state_->remove(state_->findById(CKO_PUBLIC_KEY, {id, idLength}));
}
bool CryptoDevice::removePublicKey(const char* label) {
  return state_->remove(state_->findByLabel(CKO_PUBLIC_KEY, label));
}

bool CryptoDevice::selectSecretKey(const char* label) {
  return state_->select(state_->findByLabel(CKO_SECRET_KEY, label));
}
bool CryptoDevice::selectSecretKey(const unsigned char* id, std::size_t idLength) {
  return state_->select(state_->findById(CKO_SECRET_KEY, {id, idLength}));
}

bool CryptoDevice::storeCertificate(const unsigned char* der, std::size_t length, const unsigned char* subject,
                                    std::size_t subjectLength, const unsigned char* id, std::size_t idLength,
                                    const char* label) {
  AttributeTemplate attributes;
  attributes.addNumber(CKA_CLASS, CKO_CERTIFICATE);
  attributes.addNumber(CKA_CERTIFICATE_TYPE, CKC_X_509);
  attributes.addFlag(CKA_TOKEN, true);
  attributes.addText(CKA_LABEL, label != nullptr ? label : kCertificateLabel);
  attributes.add(CKA_SUBJECT, {subject, subjectLength});
  attributes.add(CKA_ID, {id, idLength});
  attributes.add(CKA_VALUE, {der, length});
  return state_->store(attributes);
}

bool CryptoDevice::certificateAt(std::uint32_t index, Buffer& out) {
  return state_->valueOf(state_->at(CKO_CERTIFICATE, index), out);
}
bool CryptoDevice::certificateById(const unsigned char* id, std::size_t idLength, Buffer& out) {
  return state_->valueOf(state_->findById(CKO_CERTIFICATE, {id, idLength}), out);
}
bool CryptoDevice::certificateByLabel(const char* label, Buffer& out) {
  return state_->valueOf(state_->findByLabel(CKO_CERTIFICATE, label), out);
}

bool CryptoDevice::storeData(const unsigned char* value, std::size_t length, const unsigned char* id,
                             std::size_t idLength, const char* label) {
  AttributeTemplate attributes;
  attributes.addNumber(CKA_CLASS, CKO_DATA);
  attributes.addFlag(CKA_TOKEN, true);
  attributes.addText(CKA_LABEL, label != nullptr ? label : kDataLabel);
  if (id != nullptr) attributes.add(CKA_OBJECT_ID, {id, idLength});
  attributes.add(CKA_VALUE, {value, length});
  return state_->store(attributes);
}

bool CryptoDevice::dataAt(std::uint32_t index, Buffer& out) {
  return state_->valueOf(state_->at(CKO_DATA, index), out);
}
bool CryptoDevice::dataById(const unsigned char* id, std::size_t idLength, Buffer& out) {
  return state_->valueOf(state_->findById(CKO_DATA, {id, idLength}), out);
}
bool CryptoDevice::dataByLabel(const char* label, Buffer& out) {
  return state_->valueOf(state_->findByLabel(CKO_DATA, label), out);
}

bool CryptoDevice::State::changeValue(CK_OBJECT_HANDLE object, std::span<const unsigned char> value) {
  if (object == CK_INVALID_HANDLE) return succeeded(CKR_OBJECT_HANDLE_INVALID);
  AttributeTemplate changes;
  changes.add(CKA_VALUE, value);
  return succeeded(ki.setAttributeValue(session, object, changes.attributes().data(), changes.attributes().size()));
}

bool CryptoDevice::changeData(const unsigned char* id, std::size_t idLength, const unsigned char* value,
                              std::size_t length) {
  return state_->changeValue(state_->findById(CKO_DATA, {id, idLength}), {value, length});
}
bool CryptoDevice::changeData(const char* label, const unsigned char* value, std::size_t length) {
  return state_->changeValue(state_->findByLabel(CKO_DATA, label), {value, length});
}

}  // namespace keystrand
