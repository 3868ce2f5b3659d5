#include "crypto/token/AttributeValues.h"

#include <algorithm>

namespace keystrand {

void AttributeValues::reserve(std::size_t attributes, std::size_t octets) {
  entries_.reserve(attributes);
  values_.reserve(octets);
}

std::optional<std::span<const unsigned char>> AttributeValues::find(CK_ATTRIBUTE_TYPE type) const {
  const auto entry = std::ranges::find(entries_, type, &Entry::type);
  if (entry == entries_.end()) return std::nullopt;
  return valueOf(*entry);
}

void AttributeValues::set(CK_ATTRIBUTE_TYPE type, std::span<const unsigned char> value) {
  auto entry = std::ranges::find(entries_, type, &Entry::type);
  if (entry == entries_.end()) entry = entries_.insert(entry, Entry{});
  *entry = {type, values_.size(), value.size()};
  values_.insert(values_.end(), value.begin(), value.end());
}

std::vector<CK_ATTRIBUTE> AttributeValues::attributes() const {
  std::vector<CK_ATTRIBUTE> all;
  for (const Entry& entry : entries_) {
    const auto value = valueOf(entry);
    all.push_back({entry.type, const_cast<unsigned char*>(value.data()), value.size()});
  }
  return all;
}

void AttributeValues::complete(const AttributeValues& other) {
  for (const Entry& entry : other.entries_) {
    if (!find(entry.type)) set(entry.type, other.valueOf(entry));
  }
}

}  // namespace keystrand
