// Reads revokedCertificates (RFC 5280 section 5.1) into a RevokedBlock.
#pragma once

#include <memory>

#include "keystrand/der/Buffer.h"
#include "pkix/RevokedBlock.h"

namespace keystrand {

// kShort takes plain entries as they stand and the rest through RevokedCertificate, kGeneral takes all through it. The
// result is the same: tests compare the two.
enum class Road { kShort, kGeneral };

// The entries up to the one that failed, and whether none did. Null when not even the list could be opened.
struct RevokedBlockResult {
  std::shared_ptr<const RevokedBlock> block;
  bool good = false;
};

[[nodiscard]] RevokedBlockResult readRevokedBlock(Buffer& in, Road road = Road::kShort);

}  // namespace keystrand
