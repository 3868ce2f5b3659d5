// Attribute values by their types, as a template gave them. All values lie in one block, so that an object of the usual
// nine attributes costs two allocations.
#pragma once

#include <p11-kit/pkcs11.h>

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

#include "support/SecretBytes.h"

namespace keystrand {

class AttributeValues {
 public:
  void reserve(std::size_t attributes, std::size_t octets);
  // Valid until the next set.
  [[nodiscard]] std::optional<std::span<const unsigned char>> find(CK_ATTRIBUTE_TYPE type) const;
  void set(CK_ATTRIBUTE_TYPE type, std::span<const unsigned char> value);
  [[nodiscard]] std::vector<CK_ATTRIBUTE> attributes() const;  // valid until the next set
  // Takes over the values of the other that are missing here.
  void complete(const AttributeValues& other);

 private:
  struct Entry {
    CK_ATTRIBUTE_TYPE type;
    std::size_t offset;
    std::size_t length;
  };
  [[nodiscard]] std::span<const unsigned char> valueOf(const Entry& entry) const {
    return std::span(values_).subspan(entry.offset, entry.length);
  }

  std::vector<Entry> entries_;
  SecretBytes values_;
};

}  // namespace keystrand
