#include "crypto/token/Mechanisms.h"

namespace keystrand {

namespace {

constexpr CK_FLAGS kCipher = CKF_ENCRYPT | CKF_DECRYPT | CKF_WRAP | CKF_UNWRAP;
constexpr CK_FLAGS kSign = CKF_SIGN | CKF_VERIFY;
constexpr CK_FLAGS kSignRecover = kSign | CKF_SIGN_RECOVER | CKF_VERIFY_RECOVER;

constexpr MechanismRow kMechanisms[] = {
    {CKM_MD5, {0, 0, CKF_DIGEST}},
    {CKM_SHA_1, {0, 0, CKF_DIGEST}},
    {CKM_DES_ECB, {8, 8, kCipher}},
    {CKM_DES_CBC, {8, 8, kCipher}},
    {CKM_DES_CBC_PAD, {8, 8, kCipher}},
    {CKM_DES3_ECB, {16, 24, kCipher}},
    {CKM_DES3_CBC, {16, 24, kCipher}},
    {CKM_DES3_CBC_PAD, {16, 24, kCipher}},
    {CKM_RC2_CBC, {1, 128, kCipher}},
    {CKM_RC2_CBC_PAD, {1, 128, kCipher}},
    {CKM_RC2_ECB, {1, 128, kCipher}},
    {CKM_RSA_PKCS, {512, 2048, kCipher | kSignRecover}},
    {CKM_RSA_X_509, {512, 2048, kCipher | kSignRecover}},
    {CKM_RSA_9796, {512, 2048, kSignRecover}},
    {CKM_MD5_RSA_PKCS, {512, 2048, kSign}},
    {CKM_SHA1_RSA_PKCS, {512, 2048, kSign}},
    {CKM_GENERIC_SECRET_KEY_GEN, {0, 1024, CKF_GENERATE}},
    {CKM_DES_KEY_GEN, {8, 8, CKF_GENERATE}},
    {CKM_DES2_KEY_GEN, {16, 16, CKF_GENERATE}},
    {CKM_DES3_KEY_GEN, {24, 24, CKF_GENERATE}},
    {CKM_RC2_KEY_GEN, {1, 128, CKF_GENERATE}},
    {CKM_RIPEMD128, {0, 0, CKF_DIGEST}},
    {CKM_MD5_HMAC, {0, 16, kSign}},
    {CKM_SHA_1_HMAC, {0, 20, kSign}},
    {CKM_RIPEMD160_HMAC, {0, 20, kSign}},
    {CKM_RC2_MAC, {0, 20, kSign}},
    {CKM_PBE_MD5_DES_CBC, {8, 8, CKF_GENERATE}},
    {CKM_RSA_PKCS_KEY_PAIR_GEN, {512, 2048, CKF_GENERATE_KEY_PAIR}},
    {CKM_PBE_SHA1_DES2_EDE_CBC, {16, 16, CKF_GENERATE}},
    {CKM_PBE_SHA1_DES3_EDE_CBC, {24, 24, CKF_GENERATE}},
    {CKM_PBE_SHA1_RC2_40_CBC, {5, 5, CKF_GENERATE}},
    {CKM_PBE_SHA1_RC2_128_CBC, {16, 16, CKF_GENERATE}},
    {CKM_PBA_SHA1_WITH_SHA1_HMAC, {20, 20, CKF_GENERATE}},
    {CKM_PKCS5_PBKD2, {0, 24, CKF_GENERATE}},
    {CKM_SHA224, {0, 0, CKF_DIGEST}},
    {CKM_SHA224_RSA_PKCS, {512, 2048, kSign}},
    {CKM_SHA256, {0, 0, CKF_DIGEST}},
    {CKM_SHA256_RSA_PKCS, {512, 2048, kSign}},
    {CKM_SHA384, {0, 0, CKF_DIGEST}},
    {CKM_SHA384_RSA_PKCS, {512, 2048, kSign}},
    {CKM_SHA512, {0, 0, CKF_DIGEST}},
    {CKM_SHA512_RSA_PKCS, {512, 2048, kSign}},
};
static_assert(std::size(kMechanisms) == 42);

}  // namespace

std::span<const MechanismRow> mechanismTable() {
  return kMechanisms;
}

}  // namespace keystrand
