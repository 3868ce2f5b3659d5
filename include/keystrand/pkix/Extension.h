// Extension (RFC 5280 section 4.2): identifier, critical flag and the octets inside its OCTET STRING, undecoded.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "keystrand/der/Buffer.h"
#include "keystrand/der/OID.h"
#include "keystrand/support/PointerList.h"

namespace keystrand {

class KEYSTRAND_API Extension {
 public:
  Extension() = default;
  Extension(const Extension&) = delete;
  Extension& operator=(const Extension&) = delete;
  [[nodiscard]] owner<Extension*> clone() const;

  void setID(const char* dotted);
  void setID(const OID& oid);
  [[nodiscard]] owner<char*> id() const;  // dotted, delete[]
  [[nodiscard]] const OID* idView() const noexcept { return extnID_.get(); }
  [[nodiscard]] bool equals(const char* dotted) const;
  [[nodiscard]] bool equals(const OID& oid) const noexcept;
  [[nodiscard]] bool equals(const Extension& other) const noexcept;  // the identifiers
  void setCritical() noexcept { critical_ = 1; }
  void clearCritical() noexcept { critical_ = 0; }
  [[nodiscard]] bool isCritical() const noexcept { return critical_ != 0; }
  void setValue(const unsigned char* bytes, std::uint32_t n);
  [[nodiscard]] owner<unsigned char*> value() const;  // delete[]
  [[nodiscard]] std::span<const unsigned char> valueView() const noexcept {
    return value_ ? std::span<const unsigned char>(*value_) : std::span<const unsigned char>();
  }
  [[nodiscard]] std::uint32_t length() const noexcept { return static_cast<std::uint32_t>(valueView().size()); }
  // A display word for a well-known extension, else its dotted identifier; delete[].
  [[nodiscard]] owner<char*> name() const;

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

 private:
  std::unique_ptr<OID> extnID_;
  unsigned char critical_ = 0;  // the octet of the BOOLEAN as it arrived
  std::optional<std::vector<unsigned char>> value_;
};

class KEYSTRAND_API ExtensionList {
 public:
  [[nodiscard]] owner<ExtensionList*> clone() const;
  void add(const Extension& extension);
  bool remove(int index);
  bool replace(int index, const Extension& extension);
  [[nodiscard]] owner<Extension*> get(int index) const;
  [[nodiscard]] const Extension* view(int index) const { return items_.view(index); }
  // The first extension of that identifier, borrowed; nullptr when there is none.
  [[nodiscard]] const Extension* find(const OID& oid) const noexcept;
  [[nodiscard]] owner<char*> id(int index) const;
  [[nodiscard]] bool equals(int index, const char* dotted) const;
  [[nodiscard]] bool equals(int index, const OID& oid) const;
  [[nodiscard]] bool equals(int index, const Extension& other) const;
  [[nodiscard]] int count() const { return items_.count(); }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

 private:
  OwnedList<Extension> items_;
};

}  // namespace keystrand
