// SEQUENCE OF OBJECT IDENTIFIER.
#pragma once

#include <vector>

#include "keystrand/der/Buffer.h"
#include "keystrand/der/OID.h"

namespace keystrand {

class KEYSTRAND_API OIDList {
 public:
  OIDList() = default;
  explicit OIDList(const char* dotted) { add(dotted); }

  void add(const char* dotted);
  [[nodiscard]] owner<OIDList*> clone() const;
  [[nodiscard]] int count() const { return static_cast<int>(items_.size()); }
  // nullptr out of range. The caller delete[]s it.
  [[nodiscard]] owner<char*> toText(int index) const;
  // The identifier itself, valid until the list changes; nullptr out of range.
  [[nodiscard]] const OID* view(int index) const {
    return has(index) ? &items_[static_cast<std::size_t>(index)] : nullptr;
  }
  [[nodiscard]] bool equals(int index, const char* dotted) const;
  [[nodiscard]] bool equals(int index, const OID& other) const;

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;
  [[nodiscard]] bool has(int index) const { return index >= 0 && index < count(); }

  std::vector<OID> items_;
};

}  // namespace keystrand
