// Reading and writing the structures under test.
#pragma once

#include <openssl/x509.h>

#include <span>
#include <string>

#include "der/BorrowedBuffer.h"
#include "support/Signing.h"

namespace keystrand::test {

// What an object makes of bytes: how far it read them, and what it writes. `rewritten` is empty when size() and put()
// do not agree.
struct Coded {
  bool read = false;
  std::uint32_t position = 0;
  ByteString rewritten;

  // Read to the last byte and written as it was.
  [[nodiscard]] bool isExact(const ByteString& der) const { return read && position == der.size() && rewritten == der; }
};

template <class Object>
ByteString encoded(const Object& object) {
  Buffer out;
  object.put(out);
  std::uint32_t n = 0;
  const unsigned char* bytes = out.data(n);
  return n == object.size(out) ? ByteString(bytes, bytes + n) : ByteString();
}

template <class Object>
Coded coded(Object& object, const ByteString& der) {
  BorrowedBuffer in(der);
  const bool read = object.get(in);
  return {read, in.readPosition(), encoded(object)};
}

// One DER element.
inline ByteString tlv(unsigned char tag, const std::vector<ByteString>& parts) {
  ByteString content;
  for (const ByteString& part : parts) content.insert(content.end(), part.begin(), part.end());
  Buffer out;
  out.putHeader(tag, static_cast<std::uint32_t>(content.size()));
  out.append(content.data(), static_cast<std::uint32_t>(content.size()));
  std::uint32_t n = 0;
  const unsigned char* bytes = out.data(n);
  return {bytes, bytes + n};
}

// i2d of any OpenSSL type.
template <class Object, class Encoder>
ByteString derOf(Object* object, Encoder encode) {
  unsigned char* bytes = nullptr;
  const int n = encode(object, &bytes);
  ByteString der(bytes, bytes + (n > 0 ? n : 0));
  OPENSSL_free(bytes);
  return der;
}

// An OBJECT IDENTIFIER, coded by OpenSSL.
inline ByteString oid(const char* dotted) {
  ASN1_OBJECT* object = OBJ_txt2obj(dotted, 1);
  const ByteString der = derOf(object, &i2d_ASN1_OBJECT);
  ASN1_OBJECT_free(object);
  return der;
}

inline ByteString sequence(const std::vector<ByteString>& parts) {
  return tlv(0x30, parts);
}
inline ByteString octets(const char* digits) {
  return tlv(0x04, {fromHex(digits)});
}
inline ByteString integer(const char* digits) {
  return tlv(0x02, {fromHex(digits)});
}
inline const ByteString kNull = {0x05, 0x00};

}  // namespace keystrand::test
