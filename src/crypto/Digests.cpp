#include "crypto/Digests.h"

#include <p11-kit/pkcs11.h>

#include "crypto/MD5.h"
#include "crypto/RIPEMD160.h"
#include "crypto/SHA1.h"
#include "crypto/SHA224.h"
#include "crypto/SHA256.h"
#include "crypto/SHA384.h"
#include "crypto/SHA512.h"

namespace keystrand {

namespace {

template <class Digest>
std::unique_ptr<MessageDigest> make() {
  return std::make_unique<Digest>();
}

struct Row {
  unsigned long mechanism;
  std::unique_ptr<MessageDigest> (*make)();
};

constexpr Row kRows[] = {
    {CKM_MD5, &make<MD5>},       {CKM_RIPEMD160, &make<RIPEMD160>}, {CKM_SHA_1, &make<SHA1>},
    {CKM_SHA224, &make<SHA224>}, {CKM_SHA256, &make<SHA256>},       {CKM_SHA384, &make<SHA384>},
    {CKM_SHA512, &make<SHA512>},
};

}  // namespace

std::unique_ptr<MessageDigest> makeDigest(unsigned long mechanism) {
  for (const Row& row : kRows) {
    if (row.mechanism == mechanism) return row.make();
  }
  return nullptr;
}

}  // namespace keystrand
