// The token as OpenSC's command-line tool sees it.
#include <gtest/gtest.h>
#include <openssl/x509.h>

#include <fstream>
#include <string>

#include "support/OwnKeys.h"
#include "support/Process.h"
#include "support/TempFolder.h"

namespace keystrand::test {
namespace {

// With tokens in files where a prefix is given.
Outcome runTool(const std::string& arguments, const std::string& prefix = "") {
  return runCommand("PKCS11SLOT=" + prefix + " " + findProgram("pkcs11-tool") + " --module " + KEYSTRAND_TOKEN_MODULE +
                    " " + arguments + " 2>&1");
}

PrivateKey publicKeyIn(const std::string& path) {
  const ByteString der = readFile(path);
  const unsigned char* at = der.data();
  return {d2i_PUBKEY(nullptr, &at, static_cast<long>(der.size())), EVP_PKEY_free};
}

}  // namespace

// Each run of the tool is a process of its own: what it finds on a token in a file, the file has kept.
TEST(PKCS11Tool, PassesItsSelfTestAndFindsItsKeysAgain) {
  if (KEYSTRAND_SANITIZED != 0) GTEST_SKIP() << "the tool cannot load a sanitized module";
  if (findProgram("pkcs11-tool").empty()) GTEST_SKIP() << "opensc is not installed";
  const TempFolder folder;
  const std::string prefix = (folder / "token").string();
  const std::string data = (folder / "data").string();
  const std::string signature = (folder / "signature").string();
  const std::string publicKey = (folder / "public").string();
  std::ofstream(data) << "what is signed";
  const std::string asUser = "--slot 1 --login --pin 123456 ";
  for (const std::string& arguments :
       {std::string("--slot 1 --init-token --label mine --so-pin 87654321"),
        std::string("--slot 1 --login --login-type so --so-pin 87654321 --init-pin --new-pin 123456"),
        asUser + "--keypairgen --key-type rsa:1024 --id 01 --label pair",
        asUser + "--sign -m SHA256-RSA-PKCS --id 01 -i " + data + " -o " + signature,
        std::string("--slot 1 --read-object --type pubkey --id 01 -o ") + publicKey, asUser + "--test"}) {
    const Outcome outcome = runTool(arguments, prefix);
    EXPECT_EQ(outcome.status, 0) << arguments << '\n' << outcome.text;
  }
  EXPECT_TRUE(verifiesInOpenSSL(publicKeyIn(publicKey), {"SHA256"}, readFile(data), readFile(signature)));
  const Outcome slots = runTool("--list-slots --test");
  EXPECT_NE(slots.text.find("Not Persistent Token"), std::string::npos) << slots.text;
  EXPECT_NE(slots.text.find("No errors"), std::string::npos) << slots.text;
  const Outcome hidden = runTool("--slot 1 --list-objects", prefix);
  EXPECT_NE(hidden.text.find("Public Key Object"), std::string::npos) << hidden.text;
  EXPECT_EQ(hidden.text.find("Private Key Object"), std::string::npos) << hidden.text;
  const Outcome refused = runTool("--slot 1 --login --pin 654321 --list-objects", prefix);
  EXPECT_NE(refused.status, 0);
  EXPECT_NE(refused.text.find("CKR_PIN_INCORRECT"), std::string::npos) << refused.text;
}

}  // namespace keystrand::test
