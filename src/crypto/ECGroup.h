// The bridge from domain parameters to OpenSSL's groups. OpenSSL's own headers stay behind it.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "keystrand/der/OID.h"

struct ec_group_st;

namespace keystrand {

// The group of a named curve (RFC 5480 section 2.1.1.1), made on first use and then shared by all threads; empty for a
// curve that is not known.
std::shared_ptr<const ec_group_st> namedGroup(const OID& curve);

// A group from coded SpecifiedECDomain parameters. Empty unless the field is within OpenSSL's limit, order and cofactor
// are there and the generator lies on the curve.
std::shared_ptr<const ec_group_st> explicitGroup(std::span<const unsigned char> specifiedECDomain);

std::uint32_t fieldBitsOf(const ec_group_st& group);
std::uint32_t orderBytesOf(const ec_group_st& group);

}  // namespace keystrand
