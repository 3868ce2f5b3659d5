#include "crypto/DigestTable.h"

#include <algorithm>
#include <array>
#include <memory>

namespace keystrand {

namespace {

constexpr DigestRow kDigests[] = {
    {"1.2.840.113549.2.5"_oid, 16, CKM_MD5},        {"1.3.36.3.2.1"_oid, 20, CKM_RIPEMD160},
    {"1.3.14.3.2.26"_oid, 20, CKM_SHA_1},           {"2.16.840.1.101.3.4.2.4"_oid, 28, CKM_SHA224},
    {"2.16.840.1.101.3.4.2.1"_oid, 32, CKM_SHA256}, {"2.16.840.1.101.3.4.2.2"_oid, 48, CKM_SHA384},
    {"2.16.840.1.101.3.4.2.3"_oid, 64, CKM_SHA512},
};

using Identifiers = std::array<std::unique_ptr<const AlgorithmIdentifier>, std::size(kDigests)>;

Identifiers makeIdentifiers() {
  Identifiers made;
  std::ranges::transform(kDigests, made.begin(), [](const DigestRow& row) {
    return std::make_unique<const AlgorithmIdentifier>(makeOID(row.oid), true);
  });
  return made;
}

template <class Key, class Member>
const DigestRow* findRow(const Key& key, Member member) {
  const auto row = std::ranges::find_if(kDigests, [&](const DigestRow& candidate) { return key == candidate.*member; });
  return row != std::end(kDigests) ? &*row : nullptr;
}

}  // namespace

// Made once and never destroyed: threads of the client may still decode while the process ends.
const AlgorithmIdentifier& DigestRow::identifier() const {
  static const Identifiers& identifiers = *new Identifiers(makeIdentifiers());
  return *identifiers[static_cast<std::size_t>(this - kDigests)];
}

const DigestRow* findDigest(const OID& oid) {
  return findRow(oid, &DigestRow::oid);
}
const DigestRow* findDigest(CK_MECHANISM_TYPE mechanism) {
  return findRow(mechanism, &DigestRow::mechanism);
}

}  // namespace keystrand
