// A session of the built-in token, and templates for its objects.
#pragma once

#include <gtest/gtest.h>
#include <p11-kit/pkcs11.h>

#include <cstring>
#include <type_traits>
#include <utility>
#include <vector>

#include "OpenDevice.h"
#include "support/Der.h"

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
inline Template secretKey(CK_KEY_TYPE type, ByteString value) {
  return {number(CKA_CLASS, CKO_SECRET_KEY), number(CKA_KEY_TYPE, type), {CKA_VALUE, std::move(value)}};
}
inline Template note() {
  return {number(CKA_CLASS, CKO_DATA), {CKA_VALUE, {'n', 'o', 't', 'e'}}};
}

// A mechanism, with the parameter that it points to where it has one.
struct Mechanism : CK_MECHANISM {
  Mechanism(CK_MECHANISM_TYPE type) : CK_MECHANISM{type, nullptr, 0} {}  // NOLINT(google-explicit-constructor)
  Mechanism(CK_MECHANISM_TYPE type, const ByteString& octets)
      : CK_MECHANISM{type, octets.empty() ? nullptr : const_cast<unsigned char*>(octets.data()), octets.size()} {}
  template <class Parameters>
  requires std::is_trivially_copyable_v<Parameters> Mechanism(CK_MECHANISM_TYPE type, Parameters& parameters)
      : CK_MECHANISM{type, &parameters, sizeof parameters} {}
};

// What a call answered: its return value, the octets that it wrote, and the length that it told.
struct Answer {
  CK_RV code = CKR_OK;
  ByteString octets;
  CK_ULONG length = 0;
};

constexpr CK_FLAGS kReadWrite = CKF_SERIAL_SESSION | CKF_RW_SESSION;

// A read-write session of its own binding.
struct Session {
  using Begin = CK_RV (CryptoKi::*)(CK_SESSION_HANDLE, const CK_MECHANISM*, CK_OBJECT_HANDLE);
  using Whole = CK_RV (CryptoKi::*)(CK_SESSION_HANDLE, const unsigned char*, CK_ULONG, unsigned char*, CK_ULONG*);
  using Update = CK_RV (CryptoKi::*)(CK_SESSION_HANDLE, const unsigned char*, CK_ULONG);
  using Final = CK_RV (CryptoKi::*)(CK_SESSION_HANDLE, unsigned char*, CK_ULONG*);

  explicit Session(CK_FLAGS flags = kReadWrite, CK_SLOT_ID slot = 0) {
    EXPECT_EQ(ki.openSession(slot, flags, nullptr, nullptr, &handle), CKR_OK);
  }
  // Of a module in a file, not open yet.
  explicit Session(const char* module) : ki(module) {}

  // --- objects
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
  Answer attribute(CK_OBJECT_HANDLE object, CK_ATTRIBUTE_TYPE type) {
    Answer outcome{CKR_OK, ByteString(4096)};
    CK_ATTRIBUTE wanted{type, outcome.octets.data(), outcome.octets.size()};
    outcome.code = ki.getAttributeValue(handle, object, &wanted, 1);
    outcome.length = wanted.ulValueLen;
    outcome.octets.resize(outcome.code == CKR_OK ? wanted.ulValueLen : 0);
    return outcome;
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

  // --- keys
  CK_RV generate(const Mechanism& mechanism, Template values, CK_OBJECT_HANDLE* key) {
    const auto attributes = attributesOf(values);
    return ki.generateKey(handle, &mechanism, attributes.data(), attributes.size(), key);
  }
  CK_RV generatePair(const Mechanism& mechanism, Template half, Template whole, CK_OBJECT_HANDLE* publicKey,
                     CK_OBJECT_HANDLE* privateKey) {
    const auto first = attributesOf(half);
    const auto second = attributesOf(whole);
    return ki.generateKeyPair(handle, &mechanism, first.data(), first.size(), second.data(), second.size(), publicKey,
                              privateKey);
  }

  // --- operations, each in its steps
  CK_RV begin(Begin step, const Mechanism& mechanism, CK_OBJECT_HANDLE key) {
    return (ki.*step)(handle, &mechanism, key);
  }
  Answer call(Whole step, const ByteString& data, std::size_t room = 4096) {
    const unsigned char nothing = 0;
    return written(room, [&](unsigned char* out, CK_ULONG* n) {
      return (ki.*step)(handle, data.empty() ? &nothing : data.data(), data.size(), out, n);
    });
  }
  CK_RV call(Update step, const ByteString& part) { return (ki.*step)(handle, part.data(), part.size()); }
  Answer call(Final step, std::size_t room = 4096) {
    return written(room, [&](unsigned char* out, CK_ULONG* n) { return (ki.*step)(handle, out, n); });
  }
  // A signature is right, after its operation has begun.
  CK_RV verify(const ByteString& data, const ByteString& signature) {
    return ki.verify(handle, data.data(), data.size(), signature.data(), signature.size());
  }

  CryptoKi ki;
  CK_SESSION_HANDLE handle = 0;

 private:
  template <class Call>
  static Answer written(std::size_t room, Call call) {
    Answer outcome{CKR_OK, ByteString(room), room};
    outcome.code = call(room != 0 ? outcome.octets.data() : nullptr, &outcome.length);
    outcome.octets.resize(outcome.code == CKR_OK && room != 0 ? outcome.length : 0);
    return outcome;
  }
};

}  // namespace keystrand::test
