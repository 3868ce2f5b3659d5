// The entries of a CRL (revokedCertificates of RFC 5280 section 5.1), in the order of the encoding.
//
// A decoded list keeps its entries encoded, back to back in one immutable block, and decodes them on demand; clones
// share the block. An index over the serial numbers, made by the first find(), answers the later ones in constant time.
// Thread: one at a time; const access may run in parallel, the first find() included.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "keystrand/pkix/RevokedCertificate.h"

namespace keystrand {

class KEYSTRAND_API RevokedCertificateList {
 public:
  RevokedCertificateList();
  ~RevokedCertificateList();
  RevokedCertificateList(const RevokedCertificateList&) = delete;
  RevokedCertificateList& operator=(const RevokedCertificateList&) = delete;
  [[nodiscard]] owner<RevokedCertificateList*> clone() const;

  [[nodiscard]] int count() const noexcept;
  // Appends a clone.
  void add(const RevokedCertificate& entry);
  // A clone of the entry, nullptr out of range.
  [[nodiscard]] owner<RevokedCertificate*> get(int index) const;
  // Reads the entry into `out`, which is untouched when the index is out of range: the result is then false.
  bool decode(int index, RevokedCertificate& out) const;
  // The entry itself, owned by the list and valid as long as it; changes to it are part of the list. nullptr out of
  // range.
  [[nodiscard]] RevokedCertificate* peek(int index);
  // Index of the first entry whose serialText(16) equals this text exactly, or -1.
  [[nodiscard]] int find(std::string_view serialText) const;

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  // Replaces the entries. After a failure the list holds those before the one that failed.
  bool get(Buffer& buffer);

 private:
  struct State;
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;
  std::unique_ptr<State> state_;
};

}  // namespace keystrand
