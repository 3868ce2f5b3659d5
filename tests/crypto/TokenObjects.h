// A session of the built-in token, and templates for its objects.
#pragma once

#include <p11-kit/pkcs11.h>

#include <cstring>
#include <utility>
#include <vector>

#include "OpenDevice.h"

namespace keystrand::test {

// One attribute of a template, with its value.
struct Value {
  CK_ATTRIBUTE_TYPE type;
  ByteString octets;
};

inline Value number(CK_ATTRIBUTE_TYPE type, CK_ULONG value) {
  Value made{type, ByteString(sizeof value)};
  std::memcpy(made.octets.data(), &value, sizeof value);
  return made;
}
inline Value flag(CK_ATTRIBUTE_TYPE type, bool value) {
  return {type, {static_cast<unsigned char>(value ? 1 : 0)}};
}

using Template = std::vector<Value>;
inline std::vector<CK_ATTRIBUTE> attributesOf(Template& values) {
  std::vector<CK_ATTRIBUTE> attributes;
  for (Value& value : values) attributes.push_back({value.type, value.octets.data(), value.octets.size()});
  return attributes;
}

inline Template with(Template values, const Value& more) {
  values.push_back(more);
  return values;
}

inline const ByteString kExponent = {1, 0, 1};
inline Template rsaKey(ByteString modulus = ByteString(128, 0xC1)) {
  return {number(CKA_CLASS, CKO_PUBLIC_KEY),
          number(CKA_KEY_TYPE, CKK_RSA),
          {CKA_MODULUS, std::move(modulus)},
          {CKA_PUBLIC_EXPONENT, kExponent}};
}
inline Template note() {
  return {number(CKA_CLASS, CKO_DATA), {CKA_VALUE, {'n', 'o', 't', 'e'}}};
}

// A read-write session of its own binding.
struct Session {
  explicit Session(CK_FLAGS flags = CKF_SERIAL_SESSION | CKF_RW_SESSION, CK_SLOT_ID slot = 0) {
    EXPECT_EQ(ki.openSession(slot, flags, nullptr, nullptr, &handle), CKR_OK);
  }
  CK_RV create(Template values, CK_OBJECT_HANDLE* object) {
    const auto attributes = attributesOf(values);
    return ki.createObject(handle, attributes.data(), attributes.size(), object);
  }
  CK_OBJECT_HANDLE created(const Template& values) {
    CK_OBJECT_HANDLE object = 0;
    EXPECT_EQ(create(values, &object), CKR_OK);
    return object;
  }
  CK_RV set(CK_OBJECT_HANDLE object, Template values) {
    const auto attributes = attributesOf(values);
    return ki.setAttributeValue(handle, object, attributes.data(), attributes.size());
  }
  std::vector<CK_OBJECT_HANDLE> found(Template values) {
    const auto attributes = attributesOf(values);
    std::vector<CK_OBJECT_HANDLE> objects(100);
    CK_ULONG count = 0;
    EXPECT_EQ(ki.findObjectsInit(handle, attributes.data(), attributes.size()), CKR_OK);
    EXPECT_EQ(ki.findObjects(handle, objects.data(), objects.size(), &count), CKR_OK);
    EXPECT_EQ(ki.findObjectsFinal(handle), CKR_OK);
    objects.resize(count);
    return objects;
  }

  CryptoKi ki;
  CK_SESSION_HANDLE handle = 0;
};

}  // namespace keystrand::test
