// The digests of the library: identifier and PKCS #11 mechanism of each.
#pragma once

#include <p11-kit/pkcs11.h>

#include <cstdint>

#include "der/ConstantOID.h"
#include "keystrand/crypto/AlgorithmIdentifier.h"

namespace keystrand {

struct DigestRow {
  ConstantOID oid;
  std::uint32_t length;  // octets of the result
  CK_MECHANISM_TYPE mechanism;

  // With NULL parameters.
  [[nodiscard]] const AlgorithmIdentifier& identifier() const;
};

// nullptr for any other.
const DigestRow* findDigest(const OID& oid);
const DigestRow* findDigest(CK_MECHANISM_TYPE mechanism);

}  // namespace keystrand
