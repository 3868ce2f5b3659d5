// SHA-512 in the instructions of x86 that rotate without touching flags or a second register.
#include "crypto/BlockFunctions.h"
#include "crypto/Processor.h"
#include "crypto/SHA2Rounds.h"

namespace keystrand {

#if defined(__x86_64__)

namespace {

[[gnu::target("bmi,bmi2")]] void sha512Bmi2(std::uint64_t* state, const unsigned char* data, std::size_t count) {
  sha2::blocks<sha2::SHA512Family>(state, data, count);
}

}  // namespace

Blocks64 sha512Accelerated() {
  return processor().bmi2 ? &sha512Bmi2 : nullptr;
}

#else

Blocks64 sha512Accelerated() {
  return nullptr;
}

#endif

}  // namespace keystrand
