// The objects of the built-in token.
#include "TokenObjects.h"

namespace keystrand::test {

TEST(PKCS11Object, RefusesTemplatesByWhatIsWrong) {
  const Template point = {number(CKA_CLASS, CKO_PUBLIC_KEY), number(CKA_KEY_TYPE, CKK_EC)};
  const Value p256{CKA_EC_PARAMS, fromHex("06082a8648ce3d030107")};
  using Row = std::tuple<const char*, Template, CK_RV>;
  Session readOnly(CKF_SERIAL_SESSION);
  for (const auto& [name, values, result] : {
           Row{"complete", rsaKey(), CKR_OK},
           Row{"certificate",
               {number(CKA_CLASS, CKO_CERTIFICATE),
                number(CKA_CERTIFICATE_TYPE, CKC_X_509),
                {CKA_SUBJECT, {0x30, 0}},
                {CKA_VALUE, {0x30, 0}}},
               CKR_OK},
           Row{"curve and point", with(with(point, p256), {CKA_EC_POINT, {4, 1, 0}}), CKR_OK},
           Row{"said twice alike", with(rsaKey(), number(CKA_KEY_TYPE, CKK_RSA)), CKR_OK},
           Row{"no class", {number(CKA_KEY_TYPE, CKK_RSA)}, CKR_TEMPLATE_INCOMPLETE},
           Row{"no key type", {number(CKA_CLASS, CKO_PUBLIC_KEY)}, CKR_TEMPLATE_INCOMPLETE},
           Row{"no modulus", {rsaKey()[0], rsaKey()[1], rsaKey()[3]}, CKR_TEMPLATE_INCOMPLETE},
           Row{"no point", with(point, p256), CKR_TEMPLATE_INCOMPLETE},
           Row{"certificate without value",
               {number(CKA_CLASS, CKO_CERTIFICATE), number(CKA_CERTIFICATE_TYPE, CKC_X_509), {CKA_SUBJECT, {0x30, 0}}},
               CKR_TEMPLATE_INCOMPLETE},
           Row{"said twice", with(rsaKey(), {CKA_MODULUS, {5}}), CKR_TEMPLATE_INCONSISTENT},
           Row{"attribute of a private key", with(rsaKey(), flag(CKA_SENSITIVE, true)), CKR_TEMPLATE_INCONSISTENT},
           Row{"computed attribute", with(rsaKey(), number(CKA_MODULUS_BITS, 1024)), CKR_ATTRIBUTE_READ_ONLY},
           Row{"trusted", with(rsaKey(), flag(CKA_TRUSTED, true)), CKR_ATTRIBUTE_READ_ONLY},
           Row{"unknown attribute", with(rsaKey(), flag(0x4444, true)), CKR_ATTRIBUTE_TYPE_INVALID},
           Row{"class of four octets", {{CKA_CLASS, {0, 0, 0, 0}}}, CKR_ATTRIBUTE_VALUE_INVALID},
           Row{"class not kept here", {number(CKA_CLASS, CKO_HW_FEATURE)}, CKR_ATTRIBUTE_VALUE_INVALID},
           Row{"type not kept here",
               {number(CKA_CLASS, CKO_PUBLIC_KEY), number(CKA_KEY_TYPE, CKK_DH)},
               CKR_ATTRIBUTE_VALUE_INVALID},
           Row{"empty modulus", rsaKey({}), CKR_ATTRIBUTE_VALUE_INVALID},
           Row{"boolean of two octets", with(rsaKey(), {CKA_VERIFY, {1, 1}}), CKR_ATTRIBUTE_VALUE_INVALID},
           Row{"boolean 2", with(rsaKey(), {CKA_VERIFY, {2}}), CKR_ATTRIBUTE_VALUE_INVALID},
           Row{"date of six octets", with(rsaKey(), {CKA_START_DATE, ByteString(6, '1')}), CKR_ATTRIBUTE_VALUE_INVALID},
           Row{"curve cut short", with(with(point, {CKA_EC_PARAMS, {6, 8, 1}}), {CKA_EC_POINT, {4, 1, 0}}),
               CKR_ATTRIBUTE_VALUE_INVALID},
           Row{"point without header", with(with(point, p256), {CKA_EC_POINT, ByteString(65, 4)}),
               CKR_ATTRIBUTE_VALUE_INVALID},
           Row{"token object", with(note(), flag(CKA_TOKEN, true)), CKR_SESSION_READ_ONLY},
       }) {
    CK_OBJECT_HANDLE object = 0;
    EXPECT_EQ(readOnly.create(values, &object), result) << name;
    EXPECT_EQ(object != 0, result == CKR_OK) << name;
  }
}

TEST(PKCS11Object, ReadsAndChangesAttributes) {
  Session open;
  const CK_OBJECT_HANDLE key = open.created(rsaKey(ByteString{0, 1, 5}));
  ByteString modulus(2);
  CK_ULONG bits = 0;
  CK_BBOOL verify = CK_FALSE;
  CK_ATTRIBUTE wanted[] = {{CKA_MODULUS_BITS, &bits, sizeof bits},
                           {CKA_MODULUS, modulus.data(), modulus.size()},
                           {CKA_VERIFY, &verify, 1},
                           {CKA_SENSITIVE, nullptr, 0},
                           {CKA_MODULUS, nullptr, 0}};
  EXPECT_EQ(open.ki.getAttributeValue(open.handle, key, wanted, 5), CKR_BUFFER_TOO_SMALL);
  EXPECT_EQ(bits, 9U);
  EXPECT_EQ(wanted[1].ulValueLen, CK_UNAVAILABLE_INFORMATION);
  EXPECT_EQ(verify, CK_TRUE);
  EXPECT_EQ(wanted[3].ulValueLen, CK_UNAVAILABLE_INFORMATION);
  EXPECT_EQ(wanted[4].ulValueLen, 3U);
  EXPECT_EQ(open.ki.getAttributeValue(open.handle, key, wanted + 3, 1), CKR_ATTRIBUTE_TYPE_INVALID);
  EXPECT_EQ(open.ki.getAttributeValue(open.handle, key + 1, wanted, 1), CKR_OBJECT_HANDLE_INVALID);

  // Nothing of a template is taken when one attribute of it is refused.
  EXPECT_EQ(open.set(key, {{CKA_LABEL, {'a'}}, {CKA_MODULUS, {7}}}), CKR_ATTRIBUTE_READ_ONLY);
  EXPECT_TRUE(open.found({{CKA_LABEL, {'a'}}}).empty());
  for (const char* label : {"long label", "short", "longer label", ""}) {
    ByteString octets(label, label + std::strlen(label));
    EXPECT_EQ(open.set(key, {{CKA_LABEL, octets}}), CKR_OK);
    EXPECT_EQ(open.found({{CKA_LABEL, octets}}), std::vector{key}) << label;
  }
  const CK_OBJECT_HANDLE fixed = open.created(with(note(), flag(CKA_MODIFIABLE, false)));
  EXPECT_EQ(open.set(fixed, {{CKA_LABEL, {'a'}}}), CKR_ATTRIBUTE_READ_ONLY);
}

TEST(PKCS11Object, FindsCopiesAndDestroysObjects) {
  Session open;
  Session other;
  const CK_OBJECT_HANDLE key = open.created(rsaKey());
  const CK_OBJECT_HANDLE first = open.created(note());
  const CK_OBJECT_HANDLE second = other.created(note());
  EXPECT_EQ(open.found({}), (std::vector{key, first, second}));
  EXPECT_EQ(open.found({number(CKA_CLASS, CKO_DATA)}), (std::vector{first, second}));
  EXPECT_EQ(other.found({number(CKA_CLASS, CKO_PUBLIC_KEY), flag(CKA_TOKEN, false)}), std::vector{key});
  EXPECT_TRUE(open.found({flag(0x4444, true)}).empty());

  CK_OBJECT_HANDLE copy = 0;
  Template changes = {flag(CKA_MODIFIABLE, false), {CKA_LABEL, {'c'}}};
  auto attributes = attributesOf(changes);
  ASSERT_EQ(open.ki.copyObject(open.handle, first, attributes.data(), attributes.size(), &copy), CKR_OK);
  EXPECT_EQ(open.found({{CKA_VALUE, {'n', 'o', 't', 'e'}}, {CKA_LABEL, {'c'}}}), std::vector{copy});
  changes = {{CKA_MODULUS, {7}}};
  attributes = attributesOf(changes);
  EXPECT_EQ(open.ki.copyObject(open.handle, key, attributes.data(), 1, &copy), CKR_ATTRIBUTE_READ_ONLY);
  CK_ULONG size = 0;
  EXPECT_EQ(open.ki.getObjectSize(open.handle, key, &size), CKR_OK);
  EXPECT_GT(size, 128U);

  EXPECT_EQ(open.ki.destroyObject(open.handle, key), CKR_OK);
  EXPECT_EQ(open.ki.destroyObject(open.handle, key), CKR_OBJECT_HANDLE_INVALID);
  EXPECT_GT(open.created(rsaKey()), second);  // a handle never stands for a second object
  EXPECT_EQ(other.ki.closeSession(open.handle), CKR_OK);
  EXPECT_EQ(other.found({}), std::vector{second});

  CK_ULONG count = 0;
  EXPECT_EQ(other.ki.findObjects(other.handle, &copy, 1, &count), CKR_OPERATION_NOT_INITIALIZED);
  EXPECT_EQ(other.ki.findObjectsFinal(other.handle), CKR_OPERATION_NOT_INITIALIZED);
  ASSERT_EQ(other.ki.findObjectsInit(other.handle, nullptr, 0), CKR_OK);
  EXPECT_EQ(other.ki.findObjectsInit(other.handle, nullptr, 0), CKR_OPERATION_ACTIVE);
}

}  // namespace keystrand::test
