// Distinguished names (X.501, RFC 5280 section 4.1.2.4). A name keeps each value in the string type in which it arrived;
// comparison looks at that type; text forms are made on request from parallel tables that the caller passes in.
//
// Accessors give clones that the caller deletes, setters store clones; the ...View forms lend the part itself, valid
// until the object changes. Texts are new and delete[]d by the caller. One thread at a time; const access may run in
// parallel.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "keystrand/der/Buffer.h"
#include "keystrand/der/OID.h"
#include "keystrand/der/Strings.h"
#include "keystrand/support/PointerList.h"

namespace keystrand {

class XMLFile;

// AttributeTypeAndValue ::= SEQUENCE { type OBJECT IDENTIFIER, value ANY }
class KEYSTRAND_API AttributeTypeAndValue {
 public:
  AttributeTypeAndValue();
  ~AttributeTypeAndValue();
  AttributeTypeAndValue(const AttributeTypeAndValue&) = delete;
  AttributeTypeAndValue& operator=(const AttributeTypeAndValue&) = delete;
  [[nodiscard]] owner<AttributeTypeAndValue*> clone() const;

  void setType(const char* dotted);
  [[nodiscard]] owner<char*> typeText() const;
  [[nodiscard]] const OID* typeView() const noexcept { return type_.get(); }
  void setValue(const unsigned char* bytes, unsigned char tag, std::uint32_t n);
  void setValue(const char16_t* wide, unsigned char tag);
  void setValue(const char* text, unsigned char tag);
  bool setValueFromDER(Buffer& buffer);
  // nullptr for a BIT STRING or a raw value, which have no narrow form.
  [[nodiscard]] owner<char*> toNarrowText() const;
  // Such a value comes as "#" and hexadecimal digits here.
  [[nodiscard]] owner<char*> toUTF8Text() const;
  [[nodiscard]] owner<unsigned char*> valueCopy(std::uint32_t& n) const;
  [[nodiscard]] unsigned char tag() const noexcept { return tag_; }
  // Appends the text that the names' text forms use: narrow text, or the "#hex" form where there is none.
  void appendText(std::string& out) const;

  void normalise();
  [[nodiscard]] bool equals(const AttributeTypeAndValue& other) const noexcept;
  [[nodiscard]] bool equalsAcrossEncodings(const AttributeTypeAndValue& other) const;
  // The left side is the pattern; a % stands for exactly one character.
  [[nodiscard]] bool equalsPattern(const AttributeTypeAndValue& other) const;

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

 private:
  std::unique_ptr<OID> type_;
  std::variant<std::monostate, std::vector<unsigned char>, std::string, UTF8, Unicode, ISO10646> value_;
  unsigned char tag_ = 0;
  unsigned char unusedBits_ = 0;
};

// RelativeDistinguishedName ::= SET OF AttributeTypeAndValue
class KEYSTRAND_API RelativeDistinguishedName {
 public:
  [[nodiscard]] owner<RelativeDistinguishedName*> clone() const;
  void add(const AttributeTypeAndValue& attribute);
  [[nodiscard]] owner<AttributeTypeAndValue*> get(int index) const;
  [[nodiscard]] const AttributeTypeAndValue* view(int index) const { return items_.view(index); }
  [[nodiscard]] int count() const { return items_.count(); }
  void normalise();
  [[nodiscard]] bool equals(const RelativeDistinguishedName& other) const noexcept;
  [[nodiscard]] bool equalsAcrossEncodings(const RelativeDistinguishedName& other) const;
  [[nodiscard]] bool equalsPattern(const RelativeDistinguishedName& other) const;

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const { return size(buffer, 0x31); }
  void put(Buffer& buffer) const { put(buffer, 0x31); }
  bool get(Buffer& buffer) { return get(buffer, 0x31); }
  // With an implicit tag (RFC 5280 section 4.2.1.13, nameRelativeToCRLIssuer).
  [[nodiscard]] std::uint32_t size(const Buffer& buffer, unsigned char tag) const;
  void put(Buffer& buffer, unsigned char tag) const;
  bool get(Buffer& buffer, unsigned char tag);

 private:
  OwnedList<AttributeTypeAndValue> items_;
};

// RDNSequence ::= SEQUENCE OF RelativeDistinguishedName
class KEYSTRAND_API RelativeDistinguishedNameList {
 public:
  [[nodiscard]] owner<RelativeDistinguishedNameList*> clone() const;
  void add(const RelativeDistinguishedName& rdn);
  [[nodiscard]] owner<RelativeDistinguishedName*> get(int index) const;
  [[nodiscard]] const RelativeDistinguishedName* view(int index) const { return items_.view(index); }
  [[nodiscard]] int count() const { return items_.count(); }
  void normalise();
  [[nodiscard]] bool equals(const RelativeDistinguishedNameList& other) const noexcept;
  [[nodiscard]] bool equalsAcrossEncodings(const RelativeDistinguishedNameList& other) const;
  [[nodiscard]] bool equalsPattern(const RelativeDistinguishedNameList& other) const;

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

 private:
  OwnedList<RelativeDistinguishedName> items_;
};

class KEYSTRAND_API Name {
 public:
  Name() = default;
  Name(const char* text, unsigned char defaultTag, const char* const* labels, const char* const* identifiers, int count);
  ~Name() = default;
  Name(const Name&) = delete;
  Name& operator=(const Name&) = delete;
  [[nodiscard]] owner<Name*> clone() const;

  // Replaces the content by what the comma form says ("C=IT,O=A\,B,CN=X+SER=1"); false when it yields nothing.
  bool setText(const char* text, unsigned char defaultTag, const char* const* labels, const char* const* identifiers,
               int count);
  static bool setDefaultValue(AttributeTypeAndValue& attribute, const char* text, unsigned char defaultTag);
  void setList(const RelativeDistinguishedNameList* list);
  [[nodiscard]] owner<RelativeDistinguishedNameList*> list() const;
  [[nodiscard]] const RelativeDistinguishedNameList* listView() const noexcept { return list_.get(); }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

  [[nodiscard]] owner<char*> toPrintable() const;
  [[nodiscard]] owner<char*> toPrintableUTF8() const;
  [[nodiscard]] owner<char*> toPrintable(const char* const* identifiers, const char* const* labels, int count) const;
  [[nodiscard]] owner<char*> toPrintableUTF8(const char* const* identifiers, const char* const* labels, int count) const;
  [[nodiscard]] owner<char*> toText(const char* const* identifiers, const char* const* labels, int count) const;
  [[nodiscard]] owner<char*> toTextUTF8(const char* const* identifiers, const char* const* labels, int count) const;
  // The comma form over the library's own attribute table: the key of the CA list and of the CRL table.
  [[nodiscard]] std::string text() const;
  [[nodiscard]] owner<char*> firstValue(const char* identifier) const;
  [[nodiscard]] owner<char*> firstValueUTF8(const char* identifier) const;
  [[nodiscard]] owner<char*> toXML(const char* const* identifiers, const char* const* tags, int count) const;
  [[nodiscard]] owner<char*> toAttributes(const char* const* identifiers, const char* const* keys, int count) const;
  [[nodiscard]] owner<AttributeTypeAndValue*> findAttribute(const char* identifier) const;

  // Same number of RDNs, each on the left found somewhere on the right; neither one-to-one nor symmetric.
  [[nodiscard]] bool equals(const Name& other) const noexcept;
  [[nodiscard]] bool equalsExact(const Name& other) const noexcept { return equals(other); }
  [[nodiscard]] bool equalsAcrossEncodings(const Name& other) const;
  [[nodiscard]] bool equalsPattern(const Name& other) const;
  [[nodiscard]] bool equalsInOrder(const Name& other) const noexcept;
  void normalise();

 private:
  std::unique_ptr<RelativeDistinguishedNameList> list_;
};

}  // namespace keystrand
