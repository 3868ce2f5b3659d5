// Object identifiers known at compile time, written dotted: "2.5.29.15"_oid.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "keystrand/der/OID.h"

namespace keystrand {

struct ConstantOID {
  static constexpr int kMaxArcs = 16;
  std::array<std::uint32_t, kMaxArcs> arcs{};
  int count = 0;

  [[nodiscard]] constexpr std::span<const std::uint32_t> view() const {
    return {arcs.data(), static_cast<std::size_t>(count)};
  }
};

consteval ConstantOID operator""_oid(const char* text, std::size_t length) {
  ConstantOID oid;
  std::uint32_t arc = 0;
  for (std::size_t i = 0; i <= length; ++i) {
    if (i == length || text[i] == '.') {
      oid.arcs.at(static_cast<std::size_t>(oid.count++)) = arc;
      arc = 0;
    } else {
      arc = arc * 10 + static_cast<std::uint32_t>(text[i] - '0');
    }
  }
  return oid;
}

inline bool operator==(const OID& oid, const ConstantOID& constant) {
  return !oid.overflow() && std::ranges::equal(oid.arcs(), constant.view());
}

inline OID makeOID(const ConstantOID& constant) {
  OID oid;
  for (int i = 0; i < constant.count; ++i) oid.setArc(i, constant.arcs[static_cast<std::size_t>(i)]);
  oid.setCount(constant.count);
  return oid;
}

}  // namespace keystrand
