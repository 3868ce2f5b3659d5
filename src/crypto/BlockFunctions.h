// The compression functions of the SHA family (FIPS 180-4 section 6): each takes `count` whole blocks of `data` into
// the chaining value `state`. The portable ones run everywhere; the accelerated ones give the same answer with the
// instructions of the processor, chosen when first asked for, and are nullptr where the processor lacks them.
#pragma once

#include <cstddef>
#include <cstdint>

namespace keystrand {

using Blocks32 = void (*)(std::uint32_t* state, const unsigned char* data, std::size_t count);
using Blocks64 = void (*)(std::uint64_t* state, const unsigned char* data, std::size_t count);

void sha1Portable(std::uint32_t* state, const unsigned char* data, std::size_t count);
void sha256Portable(std::uint32_t* state, const unsigned char* data, std::size_t count);
void sha512Portable(std::uint64_t* state, const unsigned char* data, std::size_t count);

Blocks32 sha1Accelerated();
Blocks32 sha256Accelerated();
Blocks64 sha512Accelerated();

// The fastest that this processor has.
Blocks32 sha1Blocks();
Blocks32 sha256Blocks();
Blocks64 sha512Blocks();

}  // namespace keystrand
