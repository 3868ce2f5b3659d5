// The short road through a large CRL: recognises an entry that is written exactly as the library itself would write it.
#pragma once

#include <cstddef>
#include <span>

namespace keystrand {

// The fewest bytes that a plain entry takes: a serial number of one octet and a UTCTime.
constexpr std::size_t kLeastPlainEntry = 20;

// Length of the entry at the start of `in` when it is plain, that is minimal in all its lengths, its serial number and
// its identifiers, dated in one of the two ordinary forms, with nothing left over at any end: decoding it and writing
// it again gives the same bytes. 0 for everything else, which is not to say that it is wrong.
[[nodiscard]] std::size_t plainEntryLength(std::span<const unsigned char> in) noexcept;

}  // namespace keystrand
