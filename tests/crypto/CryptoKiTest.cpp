#include <p11-kit/pkcs11.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>

#include "TokenObjects.h"
#include "keystrand/crypto/CryptoKi.h"
#include "keystrand/crypto/RSAPublicKey.h"
#include "support/Coding.h"
#include "support/TempFolder.h"

namespace keystrand::test {
TEST(CryptoKi, SaysErrorsInItsOwnWords) {
  for (const auto& [result, text] :
       {std::pair{CK_RV{CKR_OK}, "OK"},
        {CKR_CANCEL, "cancel"},
        {CKR_NEED_TO_CREATE_THREADS, "e' necessario creare threads"},
        {CKR_FUNCTION_CANCELED, "funzione  cancellata"},
        {CKR_SESSION_READ_WRITE_SO_EXISTS, "una sessione di lettura/scrittuta esiste gia'"},
        {CKR_UNWRAPPING_KEY_SIZE_RANGE, "lunghezza della chiave di unwrapping non vaida"},
        {CKR_SIGNATURE_INVALID, "firma non valida"},
        {CKR_MUTEX_NOT_LOCKED, "mutex non bloccato"},
        {CKR_VENDOR_DEFINED | 5, "definito dal produttore"},
        {4, "errore sconosciuto"},
        {CKR_FUNCTION_REJECTED, "errore sconosciuto"}}) {
    EXPECT_EQ(taken(CryptoKi::errorText(result)), text);
  }
}

TEST(CryptoKi, NamesMechanisms) {
  for (const auto& [mechanism, name] : {std::pair{CK_MECHANISM_TYPE{0}, "RSA_PKCS_KEY_PAIR_GEN"},
                                        {0x40, "SHA256_RSA_PKCS"},
                                        {0x220, "SHA_1"},
                                        {0x255, "SHA224"},
                                        {0x320, "CAST128_KEY_GEN"},
                                        {0x3D5, "WTLS_CLIENT_KEY_AND_MAC_DERIVE"},
                                        {0x1020, "FORTEZZA_TIMESTAMP"},
                                        {0x1030, "BATON_KEY_GEN"},
                                        {0x1036, "BATON_WRAP"},
                                        {0x1040, "EC_KEY_PAIR_GEN"},
                                        {0x1041, "ECDSA"},
                                        {0x2002, "X9_42_DH_PARAMETER_GEN"},
                                        {0x7777, ""},
                                        {CKM_VENDOR_DEFINED, ""}}) {
    EXPECT_EQ(taken(CryptoKi::mechanismName(mechanism)), name);
  }
}

TEST(CryptoKi, SpellsFlagsAndStates) {
  CK_TOKEN_INFO token{};
  EXPECT_EQ(taken(CryptoKi::tokenFlagsText(token)), "");
  token.flags = 0x467;
  EXPECT_EQ(taken(CryptoKi::tokenFlagsText(token)),
            "RNG WRITE_PROTECTED LOGIN_REQUIRED RESTORE_KEY_NOT_NEEDED CLOCK_ON_TOKEN TOKEN_INITIALIZED ");
  CK_MECHANISM_INFO mechanism{0, 0, ~0UL};
  EXPECT_EQ(taken(CryptoKi::mechanismFlagsText(mechanism)),
            "HW ENCRYPT DECRYPT DIGEST SIGN SIGN_RECOVER VERIFY VERIFY_RECOVER GENERATE GENERATE_KEY_PAIR WRAP UNWRAP "
            "DERIVE ");
  CK_SLOT_INFO slot{};
  slot.flags = CKF_TOKEN_PRESENT | CKF_HW_SLOT;
  EXPECT_EQ(taken(CryptoKi::slotFlagsText(slot)), "TOKEN_PRESENT HW_SLOT ");
  EXPECT_EQ(taken(CryptoKi::sessionStateText(CKS_RW_SO_FUNCTIONS)), "RW_SO_FUNCTIONS ");
  EXPECT_EQ(taken(CryptoKi::sessionStateText(99)), "");
}

TEST(CryptoKi, BindsNothingWithoutAModule) {
  const TempFolder folder;
  const std::string text = folder / "no-module.so";
  std::ofstream(text) << "not a shared object";
  for (const char* file : {text.c_str(), "/nowhere/at-all.so", "libm.so.6", static_cast<const char*>(nullptr)}) {
    CryptoKi ki(file);
    EXPECT_EQ(ki.functionList(), nullptr);
    EXPECT_EQ(ki.initialize(), CKR_CRYPTOKI_NOT_INITIALIZED);
    CK_INFO info{};
    EXPECT_EQ(ki.getInfo(&info), CKR_CRYPTOKI_NOT_INITIALIZED);
    EXPECT_EQ(ki.closeSession(1), CKR_CRYPTOKI_NOT_INITIALIZED);
  }
}

// A module by another maker, from loading to a signature that the built-in token then verifies.
TEST(CryptoKi, BindsAModuleInAFile) {
  constexpr const char* kModule = "/usr/lib/softhsm/libsofthsm2.so";
  if (!std::filesystem::exists(kModule)) GTEST_SKIP() << "softhsm2 is not installed";
  const TempFolder folder;
  std::filesystem::create_directory(folder / "tokens");
  std::ofstream(folder / "softhsm2.conf") << "directories.tokendir = " << (folder / "tokens").string()
                                          << "\nobjectstore.backend = file\nlog.level = ERROR\n";
  setenv("SOFTHSM2_CONF", (folder / "softhsm2.conf").c_str(), 1);

  Session open(kModule);
  CryptoKi& ki = open.ki;
  ASSERT_NE(ki.functionList(), nullptr);
  CK_INFO info{};
  EXPECT_EQ(ki.getInfo(&info), CKR_CRYPTOKI_NOT_INITIALIZED);
  ASSERT_EQ(ki.initialize(), CKR_OK);
  ASSERT_EQ(ki.getInfo(&info), CKR_OK);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(info.manufacturerID), 7), "SoftHSM");

  const auto* pin = reinterpret_cast<const unsigned char*>("123456");
  const ByteString label(32, ' ');
  CK_SLOT_ID slot = 0;
  CK_ULONG slots = 1;
  ASSERT_EQ(ki.getSlotList(CK_FALSE, &slot, &slots), CKR_OK);
  ASSERT_EQ(ki.initToken(slot, pin, 6, label.data()), CKR_OK);
  ASSERT_EQ(ki.openSession(slot, kReadWrite, nullptr, nullptr, &open.handle), CKR_OK);
  ASSERT_EQ(ki.login(open.handle, CKU_SO, pin, 6), CKR_OK);
  ASSERT_EQ(ki.initPIN(open.handle, pin, 6), CKR_OK);
  ASSERT_EQ(ki.logout(open.handle), CKR_OK);
  ASSERT_EQ(ki.login(open.handle, CKU_USER, pin, 6), CKR_OK);

  CK_OBJECT_HANDLE publicKey = 0;
  CK_OBJECT_HANDLE signer = 0;
  ASSERT_EQ(
      open.generatePair(CKM_RSA_PKCS_KEY_PAIR_GEN, {number(CKA_MODULUS_BITS, 2048), {CKA_PUBLIC_EXPONENT, kExponent}},
                        {flag(CKA_SIGN, true)}, &publicKey, &signer),
      CKR_OK);
  ASSERT_EQ(open.begin(&CryptoKi::signInit, CKM_SHA256_RSA_PKCS, signer), CKR_OK);
  const ByteString signature = open.call(&CryptoKi::sign, kMessage).octets;
  const RSAPublicKey key(BigInteger(open.attribute(publicKey, CKA_MODULUS).octets), BigInteger(kExponent));
  KeyInfo keyInfo;
  keyInfo.setKey(&key);
  OpenDevice own;
  ASSERT_TRUE(own.device.setSignatureAlgorithm("1.2.840.113549.1.1.11"));
  EXPECT_TRUE(verifies(own.device, kMessage, signature, keyInfo));
  EXPECT_TRUE(own.device.verifyRaw(kMessage.data(), kMessage.size(), Signature(signature), keyInfo));

  // And the other way round: a device on the module, which asks for a login.
  ASSERT_EQ(ki.closeAllSessions(slot), CKR_OK);
  CryptoDevice device(&ki);
  const auto* wrong = reinterpret_cast<const unsigned char*>("654321");
  EXPECT_FALSE(device.open(0, nullptr, 0));
  EXPECT_FALSE(device.open(0, wrong, 6));
  EXPECT_EQ(device.lastResult(), CKR_PIN_INCORRECT);
  EXPECT_FALSE(device.setDigest("2.16.840.1.101.3.4.2.1") && device.digestInit()) << "a session stayed open";
  ASSERT_TRUE(device.open(0, pin, 6));
  ASSERT_TRUE(device.setSignatureAlgorithm("1.2.840.113549.1.1.11"));
  EXPECT_TRUE(verifies(device, kMessage, signature, keyInfo));
  EXPECT_FALSE(verifies(device, kMessage, withBitFlipped(signature), keyInfo));
  EXPECT_EQ(device.lastResult(), CKR_SIGNATURE_INVALID);
  for (const char* curve : {"P-256", "P-384"}) {
    const PrivateKey ec = privateKey(curve);
    const ByteString ours = signatureOf(ec, {"SHA256"}, kMessage);
    ASSERT_TRUE(device.setSignatureAlgorithm("1.2.840.10045.4.3.2"));
    EXPECT_TRUE(verifies(device, kMessage, ours, *keyInfoOf(ec))) << curve << ": the digest alone";
    EXPECT_FALSE(verifies(device, {'d'}, ours, *keyInfoOf(ec))) << curve;
  }
}

// What the device knows of makers, on a module that is whoever it is told to be.
TEST(CryptoKi, DrivesModulesAsTheirMakersWantIt) {
  const ByteString kPIN = {'1', '2', '3', '4'};
  struct Row {
    const char* maker;
    CK_FLAGS flags;     // of the session
    CK_FLAGS readOnly;  // where none is read-write; 0 when there is none at all
    CK_ULONG pinLength;
    bool dropsZero;
  };
  for (const Row& row :
       {Row{"Nobody known", 4, 4, 4, false}, Row{"Chrysalis ITS, AEP", 4, 4, 0, true}, Row{"Eracom", 6, 0, 4, false},
        Row{"The SafeNet Inc.", 6, 0, 4, false}, Row{"Safenet", 6, 0, 4, false}, Row{"AEP Networks", 6, 0, 4, false},
        Row{"Halvorn S.p.A.", 6, 4, 4, false}}) {
    setenv("MODULE_MAKER", row.maker, 1);
    unsetenv("MODULE_READ_ONLY");
    CryptoKi ki(KEYSTRAND_VENDOR_MODULE);
    CryptoDevice device(&ki);
    CK_SESSION_INFO session{};
    ASSERT_TRUE(device.open(0, kPIN.data(), 4)) << row.maker;
    ASSERT_EQ(ki.getSessionInfo(1, &session), CKR_OK);
    EXPECT_EQ(session.slotID, 7U) << "the slot's identifier, not its place in the list";
    EXPECT_EQ(session.flags, row.flags) << row.maker;
    EXPECT_EQ(session.ulDeviceError, row.pinLength) << row.maker;
    ASSERT_TRUE(device.setSignatureAlgorithm("1.2.840.113549.1.1.11"));
    const Signature leadingZero(ByteString{0, 1, 2});
    const auto key = keyInfoOf(privateKey("RSA-1024"));
    EXPECT_EQ(device.verifyRaw(kPIN.data(), 4, leadingZero, *key), row.dropsZero) << row.maker;
    EXPECT_EQ(ki.digestInit(1, nullptr), CKR_CRYPTOKI_NOT_INITIALIZED) << "the module leaves it out";
    setenv("MODULE_READ_ONLY", "1", 1);
    EXPECT_EQ(device.open(0, kPIN.data(), 4), row.readOnly != 0) << row.maker;
    if (row.readOnly != 0) {
      ASSERT_EQ(ki.getSessionInfo(1, &session), CKR_OK);
      EXPECT_EQ(session.flags, row.readOnly) << row.maker;
    }
  }
}

TEST(CryptoKi, ListsTheModule) {
  CryptoKi ki;
  CK_SESSION_HANDLE session = 0;
  ASSERT_EQ(ki.openSession(0, CKF_SERIAL_SESSION, nullptr, nullptr, &session), CKR_OK);
  CK_OBJECT_CLASS data = CKO_DATA;
  char label[] = "note";
  const CK_ATTRIBUTE attributes[] = {{CKA_CLASS, &data, sizeof data}, {CKA_LABEL, label, 4}};
  CK_OBJECT_HANDLE object = 0;
  ASSERT_EQ(ki.createObject(session, attributes, 2, &object), CKR_OK);
  testing::internal::CaptureStdout();
  ki.listSlots();
  ki.listToken(0);
  ki.listToken(1);
  ki.listMechanisms(0);
  ki.listObjects(session);
  const std::string shown = testing::internal::GetCapturedStdout();
  for (const char* line :
       {"0: Crypto Software Module, Halvorn S.p.A., TOKEN_PRESENT \n",
        "Not Persistent Token, Halvorn S.p.A., Virtual Token, 0000000000000000, RNG TOKEN_INITIALIZED",
        "C_GetTokenInfo: identificatore dello slot non valido\n", "0x250: SHA256, 0 to 0, DIGEST \n",
        ": class 0, note\n"}) {
    EXPECT_THAT(shown, testing::HasSubstr(line));
  }
}

}  // namespace keystrand::test
