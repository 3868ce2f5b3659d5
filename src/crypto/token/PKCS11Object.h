// An object of the token (PKCS #11 v2.20 section 10): attributes by the rules of its class. The base knows CKA_CLASS.
#pragma once

#include <memory>

#include "crypto/token/AttributeTable.h"
#include "crypto/token/AttributeValues.h"

namespace keystrand {

class PKCS11Object {
 public:
  virtual ~PKCS11Object() = default;

  // Each gives CKR_OK, or what is wrong with the template; the object is then as it was.
  CK_RV create(std::span<const CK_ATTRIBUTE> given, Access access);  // kFixed: C_CreateObject, kComputed: from a file
  CK_RV change(std::span<const CK_ATTRIBUTE> given,
               Access access);  // kOnCopy: C_CopyObject, kFree: C_SetAttributeValue

  // C_GetAttributeValue: every attribute gets its value, or its length, or CK_UNAVAILABLE_INFORMATION for a length.
  CK_RV read(std::span<CK_ATTRIBUTE> wanted) const;
  // C_FindObjectsInit: whether the object has all of these with these very values.
  [[nodiscard]] bool matches(std::span<const CK_ATTRIBUTE> wanted) const;
  // All that a template or the token itself said of the object; valid until it changes.
  [[nodiscard]] std::vector<CK_ATTRIBUTE> stored() const { return attributes_.attributes(); }
  // Octets of all values together.
  [[nodiscard]] CK_ULONG size() const;

  [[nodiscard]] bool flag(CK_ATTRIBUTE_TYPE type) const;
  [[nodiscard]] CK_ULONG number(CK_ATTRIBUTE_TYPE type) const;
  [[nodiscard]] std::span<const unsigned char> bytes(CK_ATTRIBUTE_TYPE type) const;

 protected:
  PKCS11Object() = default;
  PKCS11Object(const PKCS11Object&) = default;
  PKCS11Object& operator=(const PKCS11Object&) = delete;

  static const AttributeTable kTable;
  [[nodiscard]] virtual const AttributeTable& table() const = 0;
  // Looks at the values together once a template has been taken, and makes of them what the token computes with.
  virtual CK_RV prepare() { return CKR_OK; }
  void setNumber(CK_ATTRIBUTE_TYPE type, CK_ULONG value);
  void setFlag(CK_ATTRIBUTE_TYPE type, bool value);
  [[nodiscard]] bool has(CK_ATTRIBUTE_TYPE type) const { return attributes_.find(type).has_value(); }

 private:
  CK_RV take(std::span<const CK_ATTRIBUTE> given, Access access, AttributeValues& out) const;
  [[nodiscard]] CK_RV accept(const CK_ATTRIBUTE& attribute, Access access) const;
  [[nodiscard]] bool mayBecome(const AttributeRow& row, std::span<const unsigned char> value) const;
  [[nodiscard]] bool isComplete() const;
  [[nodiscard]] bool isReadable(const AttributeRow& row) const;
  [[nodiscard]] std::span<const unsigned char> valueOf(const AttributeRow& row) const;

  AttributeValues attributes_;
};

// The value of a template's attribute, nothing for a pointer that holds none.
std::span<const unsigned char> valueIn(const CK_ATTRIBUTE& attribute);
// A number of that value, nothing when it has not the size of one.
std::optional<CK_ULONG> numberIn(std::span<const unsigned char> value);
// What a template says in an attribute that is a number: CKR_TEMPLATE_INCOMPLETE when it says nothing.
CK_RV findNumber(std::span<const CK_ATTRIBUTE> given, CK_ATTRIBUTE_TYPE type, CK_ULONG& out);

}  // namespace keystrand
