// The built-in token by its function list, as CryptoKi hands it on: itself, its slot, its sessions.
#include <algorithm>
#include <functional>
#include <string_view>

#include "TokenObjects.h"

namespace keystrand::test {
namespace {

template <std::size_t N>
std::string textOf(const unsigned char (&field)[N]) {
  return {reinterpret_cast<const char*>(field), N};
}

std::string padded(std::string_view text, std::size_t length) {
  return std::string(text) + std::string(length - text.size(), ' ');
}

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
  for (const auto& [place, mechanism] :
       {std::pair{0, CKM_MD5}, {21, 0x230UL}, {40, CKM_SHA512}, {41, CKM_SHA512_RSA_PKCS}})
    EXPECT_EQ(list[static_cast<std::size_t>(place)], mechanism);
  EXPECT_EQ(std::ranges::count(list, CKM_ECDSA), 0);
  CK_MECHANISM_INFO info{};
  for (const CK_MECHANISM_TYPE mechanism : list) EXPECT_EQ(ki.getMechanismInfo(0, mechanism, &info), CKR_OK);
  ASSERT_EQ(ki.getMechanismInfo(0, CKM_RSA_PKCS, &info), CKR_OK);
  EXPECT_EQ(std::tuple(info.ulMinKeySize, info.ulMaxKeySize, info.flags), std::tuple(512U, 2048U, 0x67B00U));
  EXPECT_EQ(ki.getMechanismInfo(0, CKM_ECDSA, &info), CKR_MECHANISM_INVALID);
  EXPECT_EQ(ki.getMechanismInfo(1, CKM_MD5, &info), CKR_SLOT_ID_INVALID);
}

TEST(PKCS11CryptoKi, OpensFiveSessions) {
  CryptoKi ki;
  CK_SESSION_HANDLE session = 0;
  const auto open = [&](CK_SLOT_ID slot, CK_FLAGS flags) {
    return ki.openSession(slot, flags, nullptr, nullptr, &session);
  };
  EXPECT_EQ(open(1, 6), CKR_SLOT_ID_INVALID);
  EXPECT_EQ(ki.openSession(0, 6, nullptr, nullptr, nullptr), CKR_ARGUMENTS_BAD);
  EXPECT_EQ(open(0, CKF_RW_SESSION), CKR_SESSION_PARALLEL_NOT_SUPPORTED);
  CK_SESSION_INFO info{};
  for (CK_SESSION_HANDLE i = 1; i <= 5; ++i) {
    ASSERT_EQ(open(0, i % 2 != 0 ? 6 : 4), CKR_OK);
    EXPECT_EQ(session, i);
    ASSERT_EQ(ki.getSessionInfo(i, &info), CKR_OK);
    EXPECT_EQ(info.state, i % 2 != 0 ? CKS_RW_PUBLIC_SESSION : CKS_RO_PUBLIC_SESSION);
  }
  EXPECT_EQ(open(0, 6), CKR_SESSION_COUNT);
  EXPECT_EQ(ki.closeSession(3), CKR_OK);
  for (const auto& [handle, result] :
       {std::pair{3UL, CKR_SESSION_CLOSED}, {0UL, CKR_SESSION_HANDLE_INVALID}, {6UL, CKR_SESSION_HANDLE_INVALID}})
    EXPECT_EQ(ki.closeSession(handle), result) << handle;
  ASSERT_EQ(open(0, 6), CKR_OK);
  EXPECT_EQ(session, 3U) << "the place that is free";
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
      {"VerifyRecoverInit", [&](auto s) { return ki.verifyRecoverInit(s, nullptr, 1); }},
      {"VerifyRecover", [&](auto s) { return ki.verifyRecover(s, nullptr, 0, nullptr, nullptr); }},
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
