// Extension (RFC 5280 section 4.2): identifier, critical flag and the octets inside its OCTET STRING, undecoded.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "keystrand/der/Buffer.h"
#include "keystrand/der/OID.h"
#include "keystrand/der/OctetValue.h"

namespace keystrand {

class KEYSTRAND_API Extension {
 public:
  [[nodiscard]] owner<Extension*> clone() const { return new Extension(*this); }

  void setID(const char* dotted);
  void setID(const OID& oid);
  [[nodiscard]] owner<char*> id() const;  // dotted, delete[]; nullptr without an identifier
  [[nodiscard]] const OID* idView() const noexcept { return hasID() ? &extnID_ : nullptr; }
  [[nodiscard]] bool equals(const char* dotted) const;
  [[nodiscard]] bool equals(const OID& oid) const noexcept;
  [[nodiscard]] bool equals(const Extension& other) const noexcept;  // the identifiers
  void setCritical() noexcept { critical_ = 0xFF; }
  void clearCritical() noexcept { critical_ = 0; }
  [[nodiscard]] bool isCritical() const noexcept { return critical_ != 0; }
  void setValue(const unsigned char* bytes, std::uint32_t n) { value_.assign(bytes, n); }
  [[nodiscard]] owner<unsigned char*> value() const;  // delete[]; nullptr when it arrived as NULL
  [[nodiscard]] std::span<const unsigned char> valueView() const noexcept { return value_.view(); }
  [[nodiscard]] std::uint32_t length() const noexcept { return value_.size(); }
  // A display word for a well-known extension, else its dotted identifier; delete[].
  [[nodiscard]] owner<char*> name() const;

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  [[nodiscard]] bool hasID() const noexcept { return extnID_.count() != 0; }

  // A certificate has about ten of these: the last member lies in the padding of the one before it.
  OID extnID_;
  [[no_unique_address]] OctetValue value_;
  unsigned char critical_ = 0;  // the octet of the BOOLEAN as it arrived
};

// Extensions ::= SEQUENCE OF Extension. Elements lie in one array: a view is valid until the list changes.
class KEYSTRAND_API ExtensionList {
 public:
  [[nodiscard]] owner<ExtensionList*> clone() const { return new ExtensionList(*this); }

  void add(const Extension& extension) { items_.push_back(extension); }
  // False or nullptr out of range, as in all that follow.
  bool remove(int index);
  bool replace(int index, const Extension& extension);
  [[nodiscard]] owner<Extension*> get(int index) const;
  [[nodiscard]] const Extension* view(int index) const noexcept {
    return index >= 0 && index < count() ? &items_[static_cast<std::size_t>(index)] : nullptr;
  }
  // The first extension of that identifier, borrowed; nullptr when there is none.
  [[nodiscard]] const Extension* find(const OID& oid) const noexcept;
  [[nodiscard]] owner<char*> id(int index) const;
  [[nodiscard]] bool equals(int index, const char* dotted) const;
  [[nodiscard]] bool equals(int index, const OID& oid) const;
  [[nodiscard]] bool equals(int index, const Extension& other) const;
  [[nodiscard]] int count() const noexcept { return static_cast<int>(items_.size()); }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

 private:
  std::vector<Extension> items_;
};

}  // namespace keystrand
