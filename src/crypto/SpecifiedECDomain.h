// Explicit elliptic-curve domain parameters (X9.62, SEC 1 appendix C.2), for reading only: ECParameters keeps the
// encoding and writes it back as it came.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "der/Octets.h"
#include "keystrand/der/BigInteger.h"

namespace keystrand {

// Characteristic-two: the field's reduction polynomial, x^m + x^k (trinomial) or x^m + x^k3 + x^k2 + x^k1
// (pentanomial), each plus 1. A trinomial has k2 = k3 = 0.
struct CharacteristicTwo {
  std::int32_t m = 0;
  std::array<std::int32_t, 3> k{};
  bool get(Buffer& buffer);

 private:
  bool getBasis(Buffer& buffer);
  bool getPentanomial(Buffer& buffer);
};

// FieldID: a prime or a characteristic-two field.
struct FieldID {
  BigInteger prime;
  std::optional<CharacteristicTwo> characteristicTwo;
  bool get(Buffer& buffer);
};

// Curve: the coefficients as field elements. The seed is passed over.
struct Curve {
  OctetValue a;
  OctetValue b;
  bool get(Buffer& buffer);
};

struct SpecifiedECDomain {
  FieldID field;
  Curve curve;
  OctetValue base;
  BigInteger order;
  BigInteger cofactor;  // required here, though OPTIONAL in the syntax
  bool get(Buffer& buffer);
};

}  // namespace keystrand
