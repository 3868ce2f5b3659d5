// Attribute and SEQUENCE OF Attribute (RFC 5755 section 4.2.7): a type and its values, which stay encoded.
// Thread: one at a time; const access may run in parallel.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "keystrand/der/Buffer.h"
#include "keystrand/der/OID.h"
#include "keystrand/der/OctetValue.h"

namespace keystrand {

class KEYSTRAND_API Attribute {
 public:
  [[nodiscard]] owner<Attribute*> clone() const { return new Attribute(*this); }

  [[nodiscard]] owner<OID*> type() const { return type_ ? type_->clone() : nullptr; }
  [[nodiscard]] const OID* typeView() const noexcept { return type_ ? &*type_ : nullptr; }
  void setType(const OID& type) { type_ = type; }
  // A value with its own header. Written in the order given: DER asks for the order of the encodings (X.690 11.6).
  void addValue(const unsigned char* encoding, std::uint32_t n);
  [[nodiscard]] owner<unsigned char*> value(int index) const;                        // delete[]; nullptr out of range
  [[nodiscard]] std::span<const unsigned char> valueView(int index) const noexcept;  // lent; empty out of range
  [[nodiscard]] int count() const noexcept { return static_cast<int>(values_.size()); }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);  // false for a value of indefinite length

 private:
  [[nodiscard]] std::uint32_t valuesSize() const noexcept;
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::optional<OID> type_;
  std::vector<OctetValue> values_;
};

// Elements lie in one array: a view is valid until the list changes.
class KEYSTRAND_API AttributeList {
 public:
  [[nodiscard]] owner<AttributeList*> clone() const { return new AttributeList(*this); }

  void add(const Attribute& attribute) { items_.push_back(attribute); }
  [[nodiscard]] owner<Attribute*> get(int index) const;  // nullptr out of range
  [[nodiscard]] const Attribute* view(int index) const noexcept {
    return index >= 0 && index < count() ? &items_[static_cast<std::size_t>(index)] : nullptr;
  }
  [[nodiscard]] int count() const noexcept { return static_cast<int>(items_.size()); }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

 private:
  std::vector<Attribute> items_;
};

}  // namespace keystrand
