// The built-in token by its function list, as CryptoKi hands it on.
#include <p11-kit/pkcs11.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string_view>

#include "OpenDevice.h"
#include "keystrand/crypto/RSAPublicKey.h"

namespace keystrand::test {

namespace {

template <std::size_t N>
std::string textOf(const unsigned char (&field)[N]) {
  return {reinterpret_cast<const char*>(field), N};
}

std::string padded(std::string_view text, std::size_t length) {
  return std::string(text) + std::string(length - text.size(), ' ');
}

// One attribute of a template, with its value.
struct Value {
  CK_ATTRIBUTE_TYPE type;
  ByteString octets;
};

Value number(CK_ATTRIBUTE_TYPE type, CK_ULONG value) {
  Value made{type, ByteString(sizeof value)};
  std::memcpy(made.octets.data(), &value, sizeof value);
  return made;
}
Value flag(CK_ATTRIBUTE_TYPE type, bool value) {
  return {type, {static_cast<unsigned char>(value ? 1 : 0)}};
}

using Template = std::vector<Value>;
std::vector<CK_ATTRIBUTE> attributesOf(Template& values) {
  std::vector<CK_ATTRIBUTE> attributes;
  for (Value& value : values) attributes.push_back({value.type, value.octets.data(), value.octets.size()});
  return attributes;
}

Template with(Template values, const Value& more) {
  values.push_back(more);
  return values;
}

ByteString joined(ByteString front, const ByteString& back) {
  front.insert(front.end(), back.begin(), back.end());
  return front;
}

const ByteString kExponent = {1, 0, 1};
Template rsaKey(ByteString modulus = ByteString(128, 0xC1)) {
  return {number(CKA_CLASS, CKO_PUBLIC_KEY),
          number(CKA_KEY_TYPE, CKK_RSA),
          {CKA_MODULUS, std::move(modulus)},
          {CKA_PUBLIC_EXPONENT, kExponent}};
}
Template note() {
  return {number(CKA_CLASS, CKO_DATA), {CKA_VALUE, {'n', 'o', 't', 'e'}}};
}

// A read-write session of its own binding.
struct Session {
  explicit Session(CK_FLAGS flags = CKF_SERIAL_SESSION | CKF_RW_SESSION) {
    EXPECT_EQ(ki.openSession(0, flags, nullptr, nullptr, &handle), CKR_OK);
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

}  // namespace

TEST(PKCS11CryptoKi, DescribesItself) {
  CryptoKi ki;
  CK_INFO info{};
  ASSERT_EQ(ki.getInfo(&info), CKR_OK);
  EXPECT_EQ(info.cryptokiVersion.major, 2);
  EXPECT_EQ(info.cryptokiVersion.minor, 0);
  EXPECT_EQ(textOf(info.manufacturerID), padded("Halvorn S.p.A.", 32));
  EXPECT_EQ(textOf(info.libraryDescription), padded("PKCS #11 PKCS11CryptoKi", 32));
  CK_ULONG count = 0;
  CK_SLOT_ID slot = 99;
  ASSERT_EQ(ki.getSlotList(CK_FALSE, nullptr, &count), CKR_OK);
  EXPECT_EQ(count, 1U);
  ASSERT_EQ(ki.getSlotList(CK_TRUE, &slot, &count), CKR_OK);
  EXPECT_EQ(slot, 0U);
  CK_SLOT_INFO slotInfo{};
  ASSERT_EQ(ki.getSlotInfo(slot, &slotInfo), CKR_OK);
  EXPECT_EQ(textOf(slotInfo.slotDescription), padded("Crypto Software Module", 64));
  EXPECT_EQ(slotInfo.flags, CKF_TOKEN_PRESENT);
  CK_TOKEN_INFO token{};
  ASSERT_EQ(ki.getTokenInfo(slot, &token), CKR_OK);
  EXPECT_EQ(textOf(token.label), padded("Not Persistent Token", 32));
  EXPECT_EQ(textOf(token.serialNumber), "0000000000000000");
  EXPECT_EQ(token.flags, 1025U);
  EXPECT_EQ(token.ulMaxSessionCount, 4U);
  EXPECT_EQ(token.ulFreePrivateMemory, ~0UL);
}

// The layout of the platform, every function there, and those of the standard's two-step kind refused.
TEST(PKCS11CryptoKi, GivesAWholeFunctionList) {
  CryptoKi ki;
  const CK_FUNCTION_LIST* list = ki.functionList();
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(list->version.major, 2);
  EXPECT_EQ(list->version.minor, 0);
  constexpr std::size_t kFunctions = 68;
  static_assert(sizeof(CK_FUNCTION_LIST) == (kFunctions + 1) * sizeof(void*));
  void* functions[kFunctions];
  std::memcpy(functions, reinterpret_cast<const unsigned char*>(list) + sizeof(void*), sizeof functions);
  EXPECT_EQ(std::ranges::count(functions, nullptr), 0);
  EXPECT_EQ(ki.getFunctionList(nullptr), CKR_ARGUMENTS_BAD);
  CK_ULONG n = 0;
  CK_SLOT_ID slot = 0;
  EXPECT_EQ(ki.getFunctionStatus(1), CKR_FUNCTION_NOT_SUPPORTED);
  EXPECT_EQ(ki.cancelFunction(1), CKR_FUNCTION_NOT_SUPPORTED);
  EXPECT_EQ(ki.waitForSlotEvent(CKF_DONT_BLOCK, &slot, nullptr), CKR_FUNCTION_NOT_SUPPORTED);
  EXPECT_EQ(ki.digestEncryptUpdate(1, nullptr, 0, nullptr, &n), CKR_FUNCTION_NOT_SUPPORTED);
  EXPECT_EQ(ki.decryptVerifyUpdate(1, nullptr, 0, nullptr, &n), CKR_FUNCTION_NOT_SUPPORTED);
}

TEST(PKCS11CryptoKi, TellsItsMechanisms) {
  CryptoKi ki;
  CK_ULONG count = 0;
  ASSERT_EQ(ki.getMechanismList(0, nullptr, &count), CKR_OK);
  ASSERT_EQ(count, 42U);
  std::vector<CK_MECHANISM_TYPE> list(count);
  --count;
  EXPECT_EQ(ki.getMechanismList(0, list.data(), &count), CKR_BUFFER_TOO_SMALL);
  ASSERT_EQ(ki.getMechanismList(0, list.data(), &count), CKR_OK);
  EXPECT_EQ(list.front(), CKM_MD5);
  EXPECT_EQ(list[21], 0x230U);
  EXPECT_EQ(list[40], CKM_SHA512);
  EXPECT_EQ(list.back(), CKM_SHA512_RSA_PKCS);
  EXPECT_EQ(std::ranges::count(list, CKM_ECDSA), 0);
  CK_MECHANISM_INFO info{};
  for (const CK_MECHANISM_TYPE mechanism : list) EXPECT_EQ(ki.getMechanismInfo(0, mechanism, &info), CKR_OK);
  ASSERT_EQ(ki.getMechanismInfo(0, CKM_RSA_PKCS, &info), CKR_OK);
  EXPECT_EQ(info.ulMinKeySize, 512U);
  EXPECT_EQ(info.ulMaxKeySize, 2048U);
  EXPECT_EQ(info.flags, 0x67B00UL);
  EXPECT_EQ(ki.getMechanismInfo(0, CKM_ECDSA, &info), CKR_MECHANISM_INVALID);
  EXPECT_EQ(ki.getMechanismInfo(1, CKM_MD5, &info), CKR_SLOT_ID_INVALID);
}

TEST(PKCS11CryptoKi, OpensFiveSessions) {
  CryptoKi ki;
  CK_SESSION_HANDLE sessions[6] = {};
  EXPECT_EQ(ki.openSession(1, 6, nullptr, nullptr, sessions), CKR_SLOT_ID_INVALID);
  EXPECT_EQ(ki.openSession(0, 6, nullptr, nullptr, nullptr), CKR_ARGUMENTS_BAD);
  EXPECT_EQ(ki.openSession(0, CKF_RW_SESSION, nullptr, nullptr, sessions), CKR_SESSION_PARALLEL_NOT_SUPPORTED);
  for (CK_SESSION_HANDLE i = 0; i < 5; ++i) {
    ASSERT_EQ(ki.openSession(0, i % 2 == 0 ? 6 : 4, nullptr, nullptr, &sessions[i]), CKR_OK);
    EXPECT_EQ(sessions[i], i + 1);
  }
  EXPECT_EQ(ki.openSession(0, 6, nullptr, nullptr, &sessions[5]), CKR_SESSION_COUNT);
  CK_SESSION_INFO info{};
  ASSERT_EQ(ki.getSessionInfo(1, &info), CKR_OK);
  EXPECT_EQ(info.state, CKS_RW_PUBLIC_SESSION);
  ASSERT_EQ(ki.getSessionInfo(2, &info), CKR_OK);
  EXPECT_EQ(info.state, CKS_RO_PUBLIC_SESSION);
  EXPECT_EQ(ki.closeSession(3), CKR_OK);
  EXPECT_EQ(ki.closeSession(3), CKR_SESSION_CLOSED);
  EXPECT_EQ(ki.closeSession(0), CKR_SESSION_HANDLE_INVALID);
  EXPECT_EQ(ki.closeSession(6), CKR_SESSION_HANDLE_INVALID);
  ASSERT_EQ(ki.openSession(0, 6, nullptr, nullptr, &sessions[5]), CKR_OK);
  EXPECT_EQ(sessions[5], 3U);
  EXPECT_EQ(ki.closeAllSessions(0), CKR_OK);
  EXPECT_EQ(ki.getSessionInfo(1, &info), CKR_SESSION_CLOSED);
}

// The handle comes before the arguments, and those before what the session has under way.
TEST(PKCS11CryptoKi, LooksAtTheSessionFirst) {
  Session open;
  CryptoKi& ki = open.ki;
  const std::pair<const char*, std::function<CK_RV(CK_SESSION_HANDLE)>> calls[] = {
      {"GetSessionInfo", [&](auto s) { return ki.getSessionInfo(s, nullptr); }},
      {"GetOperationState", [&](auto s) { return ki.getOperationState(s, nullptr, nullptr); }},
      {"SetOperationState", [&](auto s) { return ki.setOperationState(s, nullptr, 0, 0, 0); }},
      {"Login", [&](auto s) { return ki.login(s, CKU_USER, nullptr, 0); }},
      {"CreateObject", [&](auto s) { return ki.createObject(s, nullptr, 0, nullptr); }},
      {"CopyObject", [&](auto s) { return ki.copyObject(s, 1, nullptr, 0, nullptr); }},
      {"GetObjectSize", [&](auto s) { return ki.getObjectSize(s, 1, nullptr); }},
      {"GetAttributeValue", [&](auto s) { return ki.getAttributeValue(s, 1, nullptr, 0); }},
      {"SetAttributeValue", [&](auto s) { return ki.setAttributeValue(s, 1, nullptr, 0); }},
      {"FindObjectsInit", [&](auto s) { return ki.findObjectsInit(s, nullptr, 1); }},
      {"FindObjects", [&](auto s) { return ki.findObjects(s, nullptr, 1, nullptr); }},
      {"DigestInit", [&](auto s) { return ki.digestInit(s, nullptr); }},
      {"Digest", [&](auto s) { return ki.digest(s, nullptr, 0, nullptr, nullptr); }},
      {"DigestUpdate", [&](auto s) { return ki.digestUpdate(s, nullptr, 0); }},
      {"DigestFinal", [&](auto s) { return ki.digestFinal(s, nullptr, nullptr); }},
      {"VerifyInit", [&](auto s) { return ki.verifyInit(s, nullptr, 1); }},
      {"Verify", [&](auto s) { return ki.verify(s, nullptr, 0, nullptr, 0); }},
      {"VerifyUpdate", [&](auto s) { return ki.verifyUpdate(s, nullptr, 0); }},
      {"VerifyFinal", [&](auto s) { return ki.verifyFinal(s, nullptr, 0); }},
      {"SeedRandom", [&](auto s) { return ki.seedRandom(s, nullptr, 0); }},
      {"GenerateRandom", [&](auto s) { return ki.generateRandom(s, nullptr, 0); }},
  };
  for (const auto& [name, call] : calls) {
    EXPECT_EQ(call(0), CKR_SESSION_HANDLE_INVALID) << name;
    EXPECT_EQ(call(5), CKR_SESSION_CLOSED) << name;
    EXPECT_EQ(call(open.handle), CKR_ARGUMENTS_BAD) << name;
  }
}

TEST(PKCS11CryptoKi, NeedsNoLogin) {
  Session open;
  const auto* pin = reinterpret_cast<const unsigned char*>("12345");
  EXPECT_EQ(open.ki.login(open.handle, CKU_USER, pin, 5), CKR_USER_PIN_NOT_INITIALIZED);
  EXPECT_EQ(open.ki.login(open.handle, 7, pin, 5), CKR_USER_TYPE_INVALID);
  EXPECT_EQ(open.ki.logout(open.handle), CKR_USER_NOT_LOGGED_IN);
  open.created(with(rsaKey(), flag(CKA_PRIVATE, true)));
}

TEST(PKCS11CryptoKi, RefusesTemplatesByWhatIsWrong) {
  const Template point = {number(CKA_CLASS, CKO_PUBLIC_KEY), number(CKA_KEY_TYPE, CKK_EC)};
  const Value p256{CKA_EC_PARAMS, fromHex("06082a8648ce3d030107")};
  struct Row {
    const char* name;
    Template values;
    CK_RV result;
  };
  Session readOnly(CKF_SERIAL_SESSION);
  for (const Row& row : {
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
    EXPECT_EQ(readOnly.create(row.values, &object), row.result) << row.name;
    EXPECT_EQ(object != 0, row.result == CKR_OK) << row.name;
  }
}

TEST(PKCS11CryptoKi, ReadsAndChangesAttributes) {
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

TEST(PKCS11CryptoKi, FindsCopiesAndDestroysObjects) {
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

TEST(PKCS11CryptoKi, DigestsByTheRulesOfOperations) {
  Session open;
  CryptoKi& ki = open.ki;
  const ByteString abc = {'a', 'b', 'c'};
  ByteString out(64);
  CK_ULONG length = out.size();
  const CK_MECHANISM sha256{CKM_SHA256, nullptr, 0};
  for (const CK_MECHANISM_TYPE none : {CKM_RIPEMD128, CKM_MD2, CKM_RSA_PKCS, CKM_SHA512_256}) {
    const CK_MECHANISM mechanism{none, nullptr, 0};
    EXPECT_EQ(ki.digestInit(open.handle, &mechanism), CKR_MECHANISM_INVALID);
  }
  EXPECT_EQ(ki.digest(open.handle, abc.data(), 3, out.data(), &length), CKR_OPERATION_NOT_INITIALIZED);
  EXPECT_EQ(ki.digestUpdate(open.handle, abc.data(), 3), CKR_OPERATION_NOT_INITIALIZED);
  ASSERT_EQ(ki.digestInit(open.handle, &sha256), CKR_OK);
  EXPECT_EQ(ki.digestInit(open.handle, &sha256), CKR_OPERATION_ACTIVE);
  EXPECT_EQ(ki.digest(open.handle, abc.data(), 3, nullptr, &length), CKR_OK);
  EXPECT_EQ(length, 32U);
  length = 31;
  EXPECT_EQ(ki.digest(open.handle, abc.data(), 3, out.data(), &length), CKR_BUFFER_TOO_SMALL);
  EXPECT_EQ(length, 32U);
  EXPECT_EQ(ki.digest(open.handle, abc.data(), 3, out.data(), &length), CKR_OK);
  out.resize(length);
  EXPECT_EQ(out, digestOf("SHA256", abc));
  ASSERT_EQ(ki.digestInit(open.handle, &sha256), CKR_OK);
  ASSERT_EQ(ki.digestUpdate(open.handle, abc.data(), 1), CKR_OK);
  length = 1;
  EXPECT_EQ(ki.digestFinal(open.handle, out.data(), &length), CKR_BUFFER_TOO_SMALL);
  ASSERT_EQ(ki.digestUpdate(open.handle, abc.data() + 1, 2), CKR_OK);
  EXPECT_EQ(ki.digestFinal(open.handle, out.data(), &length), CKR_OK);
  EXPECT_EQ(out, digestOf("SHA256", abc));
}

TEST(PKCS11CryptoKi, VerifiesByTheRulesOfOperations) {
  const PrivateKey key = privateKey("RSA-2048");
  const ByteString data = {'d', 'a', 't', 'a'};
  const ByteString good = signatureOf(key, {"SHA256"}, data);
  const auto info = keyInfoOf(key);
  ByteString modulus(256);
  dynamic_cast<const RSAPublicKey&>(*info->keyView()).modulus().magnitude(modulus);
  Session open;
  CryptoKi& ki = open.ki;
  const CK_OBJECT_HANDLE object = open.created(rsaKey(modulus));
  const CK_OBJECT_HANDLE forbidden = open.created(with(rsaKey(modulus), flag(CKA_VERIFY, false)));
  const CK_OBJECT_HANDLE text = open.created(note());
  CK_RSA_PKCS_PSS_PARAMS salted{CKM_SHA256, CKG_MGF1_SHA256, 20};
  struct Beginning {
    const char* name;
    CK_MECHANISM mechanism;
    CK_OBJECT_HANDLE key;
    CK_RV result;
  };
  for (const Beginning& row : {
           Beginning{"no object", {CKM_SHA256_RSA_PKCS, nullptr, 0}, 999, CKR_KEY_HANDLE_INVALID},
           Beginning{"no key", {CKM_SHA256_RSA_PKCS, nullptr, 0}, text, CKR_KEY_HANDLE_INVALID},
           Beginning{"not for this", {CKM_SHA256_RSA_PKCS, nullptr, 0}, forbidden, CKR_KEY_FUNCTION_NOT_PERMITTED},
           Beginning{"RSA key", {CKM_ECDSA, nullptr, 0}, object, CKR_KEY_TYPE_INCONSISTENT},
           Beginning{"ISO 9796", {CKM_RSA_9796, nullptr, 0}, object, CKR_MECHANISM_INVALID},
           Beginning{"PSS alone", {CKM_RSA_PKCS_PSS, nullptr, 0}, object, CKR_MECHANISM_INVALID},
           Beginning{"no parameter", {CKM_SHA256_RSA_PKCS_PSS, nullptr, 0}, object, CKR_MECHANISM_PARAM_INVALID},
           Beginning{
               "other salt", {CKM_SHA256_RSA_PKCS_PSS, &salted, sizeof salted}, object, CKR_MECHANISM_PARAM_INVALID},
       }) {
    EXPECT_EQ(ki.verifyInit(open.handle, &row.mechanism, row.key), row.result) << row.name;
    EXPECT_EQ(ki.verify(open.handle, data.data(), 4, good.data(), good.size()), CKR_OPERATION_NOT_INITIALIZED)
        << row.name;
  }
  struct Check {
    const char* name;
    ByteString signature;
    CK_RV result;
  };
  const CK_MECHANISM mechanism{CKM_SHA256_RSA_PKCS, nullptr, 0};
  for (const Check& row : {Check{"good", good, CKR_OK}, Check{"spoilt", withBitFlipped(good), CKR_SIGNATURE_INVALID},
                           Check{"short", ByteString(good.begin() + 1, good.end()), CKR_SIGNATURE_LEN_RANGE},
                           Check{"long", joined({0}, good), CKR_SIGNATURE_LEN_RANGE}}) {
    ASSERT_EQ(ki.verifyInit(open.handle, &mechanism, object), CKR_OK) << row.name;
    EXPECT_EQ(ki.verifyInit(open.handle, &mechanism, object), CKR_OPERATION_ACTIVE) << row.name;
    EXPECT_EQ(ki.verify(open.handle, data.data(), 4, row.signature.data(), row.signature.size()), row.result)
        << row.name;
    ASSERT_EQ(ki.verifyInit(open.handle, &mechanism, object), CKR_OK) << row.name;
    EXPECT_EQ(ki.verifyUpdate(open.handle, data.data(), 1), CKR_OK) << row.name;
    EXPECT_EQ(ki.verifyUpdate(open.handle, data.data() + 1, 3), CKR_OK) << row.name;
    EXPECT_EQ(ki.verifyFinal(open.handle, row.signature.data(), row.signature.size()), row.result) << row.name;
    EXPECT_EQ(ki.verifyFinal(open.handle, good.data(), good.size()), CKR_OPERATION_NOT_INITIALIZED) << row.name;
  }
  // A key that goes while it is in use goes when the operation ends.
  ASSERT_EQ(ki.verifyInit(open.handle, &mechanism, object), CKR_OK);
  ASSERT_EQ(ki.destroyObject(open.handle, object), CKR_OK);
  EXPECT_EQ(ki.verify(open.handle, data.data(), 4, good.data(), good.size()), CKR_OK);
}

TEST(PKCS11CryptoKi, VerifiesRawRSAAndBareDigests) {
  const PrivateKey rsa = privateKey("RSA-1024");
  const PrivateKey curve = privateKey("P-256");
  const ByteString data = {'d', 'a', 't', 'a'};
  Session open;
  ByteString modulus(128);
  dynamic_cast<const RSAPublicKey&>(*keyInfoOf(rsa)->keyView()).modulus().magnitude(modulus);
  const CK_OBJECT_HANDLE key = open.created(rsaKey(modulus));
  const ByteString signature = signatureRound(rsa, data);
  ByteString block(128, 0xFF);
  block[0] = 0;
  block[1] = 1;
  block[123] = 0;
  std::ranges::copy(data, block.begin() + 124);
  const auto check = [&](CK_MECHANISM_TYPE type, const ByteString& what) {
    const CK_MECHANISM mechanism{type, nullptr, 0};
    EXPECT_EQ(open.ki.verifyInit(open.handle, &mechanism, key), CKR_OK);
    return open.ki.verify(open.handle, what.data(), what.size(), signature.data(), signature.size());
  };
  EXPECT_EQ(check(CKM_RSA_PKCS, data), CKR_OK);
  EXPECT_EQ(check(CKM_RSA_PKCS, block), CKR_SIGNATURE_INVALID);
  EXPECT_EQ(check(CKM_RSA_X_509, block), CKR_OK);
  EXPECT_EQ(check(CKM_RSA_X_509, data), CKR_SIGNATURE_INVALID);
  const CK_MECHANISM single{CKM_RSA_PKCS, nullptr, 0};
  EXPECT_EQ(open.ki.verifyInit(open.handle, &single, key), CKR_OK);
  EXPECT_EQ(open.ki.verifyUpdate(open.handle, data.data(), 4), CKR_MECHANISM_INVALID);

  // With ECDSA the digest stands alone or in a DigestInfo; nothing else is taken for one.
  OpenDevice device;
  ASSERT_TRUE(device.device.setSignatureAlgorithm("1.2.840.10045.4.3.2"));
  const Signature ecdsa(signatureOf(curve, {"SHA256"}, data));
  const ByteString digest = digestOf("SHA256", data);
  const auto info = keyInfoOf(curve);
  const auto raw = [&](const ByteString& what) {
    return device.device.verifyRaw(what.data(), what.size(), ecdsa, *info);
  };
  EXPECT_TRUE(raw(digest));
  EXPECT_TRUE(raw(joined(fromHex("3031300d060960864801650304020105000420"), digest)));
  EXPECT_TRUE(raw(joined(fromHex("302f300b0609608648016503040201"
                                 "0420"),
                         digest)));
  EXPECT_FALSE(raw(joined(fromHex("308131300d060960864801650304020105000420"), digest)));
  EXPECT_FALSE(raw(joined(joined(fromHex("3031300d060960864801650304020105000420"), digest), {0})));
  EXPECT_FALSE(raw(joined(digest, {0})));
  EXPECT_FALSE(raw({}));
}

TEST(PKCS11CryptoKi, FillsWithRandomOctets) {
  Session open;
  ByteString first(13, 0);
  ByteString second(13, 0);
  ByteString more(65536, 0);
  EXPECT_EQ(open.ki.generateRandom(open.handle, first.data(), 12), CKR_OK);
  EXPECT_EQ(open.ki.generateRandom(open.handle, second.data(), 12), CKR_OK);
  EXPECT_EQ(open.ki.generateRandom(open.handle, more.data(), more.size()), CKR_OK);
  EXPECT_NE(first, second);
  EXPECT_EQ(first.back(), 0);  // nothing is written behind the end
  for (int octet = 0; octet < 256; ++octet) {
    EXPECT_GT(std::ranges::count(more, static_cast<unsigned char>(octet)), 128) << octet;
  }
  EXPECT_EQ(open.ki.seedRandom(open.handle, first.data(), 12), CKR_RANDOM_SEED_NOT_SUPPORTED);
}

TEST(PKCS11CryptoKi, InitializesAndFinalizes) {
  CryptoKi ki;
  CryptoKi other;
  CK_SESSION_HANDLE session = 0;
  CK_SESSION_INFO info{};
  EXPECT_EQ(ki.initialize(), CKR_OK);
  EXPECT_EQ(other.initialize(), CKR_CRYPTOKI_ALREADY_INITIALIZED);
  ASSERT_EQ(ki.openSession(0, 4, nullptr, nullptr, &session), CKR_OK);
  EXPECT_EQ(ki.finalize(&session), CKR_ARGUMENTS_BAD);
  EXPECT_EQ(ki.finalize(nullptr), CKR_OK);  // the other binding still stands
  EXPECT_EQ(ki.getSessionInfo(session, &info), CKR_OK);
  EXPECT_EQ(ki.finalize(nullptr), CKR_OK);
  EXPECT_EQ(ki.getSessionInfo(session, &info), CKR_CRYPTOKI_NOT_INITIALIZED);
  EXPECT_EQ(ki.finalize(nullptr), CKR_CRYPTOKI_NOT_INITIALIZED);
  EXPECT_EQ(ki.initialize(), CKR_OK);
  EXPECT_EQ(ki.getSessionInfo(session, &info), CKR_SESSION_CLOSED);
}

}  // namespace keystrand::test
