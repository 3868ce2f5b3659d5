// SEQUENCE OF OBJECT IDENTIFIER.
#pragma once

#include "keystrand/der/Buffer.h"
#include "keystrand/der/OID.h"
#include "keystrand/support/PointerList.h"

namespace keystrand {

class KEYSTRAND_API OIDList {
 public:
  OIDList() = default;
  explicit OIDList(const char* dotted) { add(dotted); }

  void add(const char* dotted);
  [[nodiscard]] owner<OIDList*> clone() const;
  [[nodiscard]] int count() const { return items_.count(); }
  [[nodiscard]] owner<char*> toText(int index) const;
  [[nodiscard]] bool equals(int index, const char* dotted) const;
  [[nodiscard]] bool equals(int index, const OID& other) const;

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

 private:
  OwnedList<OID> items_;
};

}  // namespace keystrand
