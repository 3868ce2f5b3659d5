// Attributes with their values (RFC 4511 sections 4.1.5 to 4.1.7).
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "ldap/Coding.h"

namespace keystrand {

using AttrValue = Bytes;

// SET OF AttributeValue
class AttrValueSet {
 public:
  void add(AttrValue value) { values_.push_back(std::move(value)); }
  [[nodiscard]] const std::vector<AttrValue>& values() const noexcept { return values_; }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const { return sizeListOf(buffer, values_, kSet); }
  void encode(Buffer& buffer) const { putListOf(buffer, values_, kSet); }
  bool decode(Buffer& in) { return getListOf(in, values_, kSet); }

 private:
  std::vector<AttrValue> values_;
};

class PartialAttribute {
 public:
  PartialAttribute() = default;
  explicit PartialAttribute(std::string_view type, AttrValueSet vals = {}) : type_(type), vals_(std::move(vals)) {}

  [[nodiscard]] const std::string& type() const noexcept { return type_; }
  [[nodiscard]] const AttrValueSet& vals() const noexcept { return vals_; }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void encode(Buffer& buffer) const;
  bool decode(Buffer& in);

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::string type_;
  AttrValueSet vals_;
};

// The same in the requests that change entries, where it has at least one value.
using AttrTypeAndValues = PartialAttribute;

class PartialAttributeList {
 public:
  void add(PartialAttribute attribute) { attributes_.push_back(std::move(attribute)); }
  [[nodiscard]] const std::vector<PartialAttribute>& attributes() const noexcept { return attributes_; }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const { return sizeListOf(buffer, attributes_, kSequence); }
  void encode(Buffer& buffer) const { putListOf(buffer, attributes_, kSequence); }
  bool decode(Buffer& in) { return getListOf(in, attributes_, kSequence); }

 private:
  std::vector<PartialAttribute> attributes_;
};

}  // namespace keystrand
