// Reading and writing the structures under test.
#pragma once

#include <openssl/x509.h>

#include <span>
#include <string>

#include "der/BorrowedBuffer.h"
#include "support/BuilderParts.h"
#include "support/Coding.h"
#include "support/Der.h"
#include "support/Signing.h"

namespace keystrand::test {

// What an object makes of bytes: how far it read them, and what it writes.
struct Coded {
  bool read = false;
  std::uint32_t position = 0;
  ByteString rewritten;

  // Read to the last byte and written as it was.
  [[nodiscard]] bool isExact(const ByteString& der) const { return read && position == der.size() && rewritten == der; }
};

template <class Object>
Coded coded(Object& object, const ByteString& der) {
  BorrowedBuffer in(der);
  const bool read = object.get(in);
  return {read, in.readPosition(), encode(object)};
}

// An OBJECT IDENTIFIER, coded by OpenSSL.
inline ByteString oid(const char* dotted) {
  ASN1_OBJECT* object = OBJ_txt2obj(dotted, 1);
  ByteString der = builder::encoded(object, i2d_ASN1_OBJECT);
  ASN1_OBJECT_free(object);
  return der;
}

inline ByteString sequence(const std::vector<ByteString>& parts) {
  return withChildren(0x30, parts);
}
inline ByteString octets(const char* digits) {
  return withChildren(0x04, {fromHex(digits)});
}
inline ByteString integer(const char* digits) {
  return withChildren(0x02, {fromHex(digits)});
}
inline const ByteString kNull = {0x05, 0x00};

}  // namespace keystrand::test
