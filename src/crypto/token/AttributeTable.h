// What a class of token objects knows of its attributes (PKCS #11 v2.20 section 10): one row an attribute, one table a
// class, each pointing at the table of the class above.
#pragma once

#include <p11-kit/pkcs11.h>

#include <span>

namespace keystrand {

enum class ValueKind : unsigned char { kBool, kNumber, kDate, kBytes };

// Which templates may name the attribute.
enum class Access : unsigned char {
  kFixed,     // creation alone
  kOnCopy,    // creation and C_CopyObject
  kFree,      // these, and C_SetAttributeValue
  kComputed,  // none: the token sets it, and finds it in its file
  kNever,     // none, and no file either: it stays as it is
};

// What the attribute has to do with keeping a key secret.
enum class Secrecy : unsigned char {
  kOpen,
  kValue,        // not given out while CKA_SENSITIVE is set or CKA_EXTRACTABLE is not
  kOnlySet,      // a boolean that is never cleared again
  kOnlyCleared,  // one that is never set again
};

struct AttributeRow {
  CK_ATTRIBUTE_TYPE type;
  ValueKind kind;
  Access access;
  bool required = false;   // at creation
  CK_ULONG otherwise = 0;  // value of a boolean or number that no template gave; dates and bytes are then empty
  Secrecy secrecy = Secrecy::kOpen;
};

struct AttributeTable {
  const AttributeTable* above;
  std::span<const AttributeRow> rows;

  [[nodiscard]] constexpr const AttributeRow* find(CK_ATTRIBUTE_TYPE type) const {
    for (const AttributeTable* table = this; table != nullptr; table = table->above) {
      for (const AttributeRow& row : table->rows) {
        if (row.type == type) return &row;
      }
    }
    return nullptr;
  }
};

// Whether the standard knows the attribute. In a template that has no use for it, it is then out of place, not unknown.
bool isStandardAttribute(CK_ATTRIBUTE_TYPE type);

}  // namespace keystrand
