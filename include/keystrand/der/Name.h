// Distinguished names (X.501, RFC 5280 section 4.1.2.4). A name keeps each value in the string type in which it
// arrived; comparison looks at that type; text forms are made on request from parallel tables that the caller passes
// in.
//
// Accessors give clones that the caller deletes, setters store clones; the ...View forms lend the part itself, valid
// until the object changes. Texts are new and delete[]d by the caller. One thread at a time; const access may run in
// parallel.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "keystrand/der/Buffer.h"
#include "keystrand/der/OID.h"
#include "keystrand/der/Strings.h"

namespace keystrand {

class XMLFile;

// AttributeTypeAndValue ::= SEQUENCE { type OBJECT IDENTIFIER, value ANY }
class KEYSTRAND_API AttributeTypeAndValue {
 public:
  [[nodiscard]] owner<AttributeTypeAndValue*> clone() const { return new AttributeTypeAndValue(*this); }

  void setType(const char* dotted);
  // nullptr in an empty object.
  [[nodiscard]] owner<char*> typeText() const;
  [[nodiscard]] const OID* typeView() const noexcept { return type_ ? &*type_ : nullptr; }
  // The tag says what the bytes or the text are: octets of a BIT STRING (3), a text (4, 12, 19, 20, 22), big-endian
  // units (30); for any tag that is no string type the whole encoded element. A null pointer leaves the value absent.
  void setValue(const unsigned char* bytes, unsigned char tag, std::uint32_t n);
  void setValue(const char16_t* wide, unsigned char tag);
  void setValue(const char* text, unsigned char tag);
  // Reads the value from its encoding.
  bool setValueFromDER(Buffer& buffer);
  // nullptr for a BIT STRING or a raw value, which have no narrow form.
  [[nodiscard]] owner<char*> toNarrowText() const;
  // Always UTF-8: narrow values that are not are taken for Latin-1. A value without a narrow form comes as "#" and
  // hexadecimal digits here.
  [[nodiscard]] owner<char*> toUTF8Text() const;
  // As setValue would take it, with a NUL behind it; nullptr when absent.
  [[nodiscard]] owner<unsigned char*> valueCopy(std::uint32_t& n) const;
  // Universal tag of the value's type.
  [[nodiscard]] unsigned char tag() const noexcept { return tag_; }
  // Append the text that the names' text forms use: narrow or UTF-8 text, or the "#hex" form where there is none.
  void appendText(std::string& out) const;
  void appendUTF8Text(std::string& out) const;

  // Brings the value to the string type that RFC 5280 asks of this attribute; others become UTF8String.
  void normalise();
  // Same type, same string type, same value; PrintableString and IA5String without regard to case. Raw values are never
  // equal, nor are absent ones.
  [[nodiscard]] bool equals(const AttributeTypeAndValue& other) const noexcept;
  // Values of different string types by their text; case counts then, and 16-bit types meet only each other.
  [[nodiscard]] bool equalsAcrossEncodings(const AttributeTypeAndValue& other) const;
  // The left side is the pattern; a % stands for exactly one character.
  [[nodiscard]] bool equalsPattern(const AttributeTypeAndValue& other) const;

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

 private:
  // Bytes: a BIT STRING or a raw element. Text: the narrow types.
  using Octets = std::vector<unsigned char>;
  using Value = std::variant<std::monostate, Octets, std::string, UTF8, Unicode, ISO10646>;

  [[nodiscard]] std::uint32_t valueSize(const Buffer& buffer) const;
  void putValue(Buffer& buffer) const;
  bool getBitString(Buffer& buffer);
  bool getNarrow(Buffer& buffer);
  bool getRaw(Buffer& buffer);
  [[nodiscard]] bool sameType(const AttributeTypeAndValue& other) const noexcept;
  [[nodiscard]] const ISO10646* wideView() const noexcept;
  [[nodiscard]] std::optional<std::string> comparableText() const;
  void normaliseToNarrow(unsigned char tag);
  void normaliseToUTF8();

  std::optional<OID> type_;
  Value value_;
  unsigned char tag_ = 0;
  unsigned char unusedBits_ = 0;
};

// RelativeDistinguishedName ::= SET OF AttributeTypeAndValue. The order of its attributes counts and is kept.
class KEYSTRAND_API RelativeDistinguishedName {
 public:
  [[nodiscard]] owner<RelativeDistinguishedName*> clone() const { return new RelativeDistinguishedName(*this); }
  void add(const AttributeTypeAndValue& attribute) { items_.push_back(attribute); }
  void add(AttributeTypeAndValue&& attribute) { items_.push_back(std::move(attribute)); }
  // nullptr out of range.
  [[nodiscard]] owner<AttributeTypeAndValue*> get(int index) const;
  [[nodiscard]] const AttributeTypeAndValue* view(int index) const noexcept;
  [[nodiscard]] std::span<const AttributeTypeAndValue> attributes() const noexcept { return items_; }
  [[nodiscard]] int count() const noexcept { return static_cast<int>(items_.size()); }
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
  std::vector<AttributeTypeAndValue> items_;
};

// RDNSequence ::= SEQUENCE OF RelativeDistinguishedName
class KEYSTRAND_API RelativeDistinguishedNameList {
 public:
  [[nodiscard]] owner<RelativeDistinguishedNameList*> clone() const { return new RelativeDistinguishedNameList(*this); }
  void add(const RelativeDistinguishedName& rdn) { items_.push_back(rdn); }
  void add(RelativeDistinguishedName&& rdn) { items_.push_back(std::move(rdn)); }
  // nullptr out of range.
  [[nodiscard]] owner<RelativeDistinguishedName*> get(int index) const;
  [[nodiscard]] const RelativeDistinguishedName* view(int index) const noexcept;
  [[nodiscard]] std::span<const RelativeDistinguishedName> rdns() const noexcept { return items_; }
  [[nodiscard]] int count() const noexcept { return static_cast<int>(items_.size()); }
  void normalise();
  // Same number of RDNs, each on the left found somewhere on the right; neither one-to-one nor symmetric.
  [[nodiscard]] bool equals(const RelativeDistinguishedNameList& other) const noexcept;
  [[nodiscard]] bool equalsAcrossEncodings(const RelativeDistinguishedNameList& other) const;
  [[nodiscard]] bool equalsPattern(const RelativeDistinguishedNameList& other) const;
  // RDN by RDN, in order.
  [[nodiscard]] bool equalsInOrder(const RelativeDistinguishedNameList& other) const noexcept;

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

 private:
  std::vector<RelativeDistinguishedName> items_;
};

class KEYSTRAND_API Name {
 public:
  Name() = default;
  Name(const char* text, unsigned char defaultTag, const char* const* labels, const char* const* identifiers,
       int count);
  [[nodiscard]] owner<Name*> clone() const { return new Name(*this); }

  // Replaces the content by what the comma form says ("C=IT,O=A\,B,CN=X+SER=1"); false when it yields nothing.
  bool setText(const char* text, unsigned char defaultTag, const char* const* labels, const char* const* identifiers,
               int count);
  // The value of an attribute from a text: its encoding in hexadecimal digits behind a "#"; else in the string type
  // that an attribute of this type always has, and in that of defaultTag where any will do. False for nullptr and for
  // digits that are no encoding.
  static bool setDefaultValue(AttributeTypeAndValue& attribute, const char* text, unsigned char defaultTag);
  void setList(const RelativeDistinguishedNameList* list);
  [[nodiscard]] owner<RelativeDistinguishedNameList*> list() const;
  [[nodiscard]] const RelativeDistinguishedNameList* listView() const noexcept { return list_ ? &*list_ : nullptr; }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

  // Texts. The tables are parallel arrays: dotted identifiers, and the labels, tags or keys that stand for them; the
  // first row of a type counts. Values go in as they stand, whatever a stranger wrote there: only the comma form
  // escapes, and only its separators. The forms without UTF8 in their name take narrow values as they are.
  //
  // A line for each attribute, "    2.5.4.3: value", with tables "\tCN: value".
  [[nodiscard]] owner<char*> toPrintable() const;
  [[nodiscard]] owner<char*> toPrintableUTF8() const;
  [[nodiscard]] owner<char*> toPrintable(const char* const* identifiers, const char* const* labels, int count) const;
  [[nodiscard]] owner<char*> toPrintableUTF8(const char* const* identifiers, const char* const* labels,
                                             int count) const;
  // The comma form; "??" stands for a type that the table lacks.
  [[nodiscard]] owner<char*> toText(const char* const* identifiers, const char* const* labels, int count) const;
  [[nodiscard]] owner<char*> toTextUTF8(const char* const* identifiers, const char* const* labels, int count) const;
  // The comma form over the library's own attribute table: the key of the CA list and of the CRL table.
  [[nodiscard]] std::string text() const;
  // Of the first attribute of this dotted type; nullptr when there is none.
  [[nodiscard]] owner<char*> firstValue(const char* identifier) const;
  [[nodiscard]] owner<char*> firstValueUTF8(const char* identifier) const;
  // An element for each attribute, "oid" with its identifier where the table lacks the type. Not escaped.
  [[nodiscard]] owner<char*> toXML(const char* const* identifiers, const char* const* tags, int count) const;
  // The same as elements below the current one of a document, which should have one. Values come as UTF-8. False when
  // the document takes no more.
  bool writeXML(const char* const* identifiers, const char* const* tags, int count, XMLFile& document) const;
  // Lines of key="value" for the types of the table; a key that comes again is numbered from 2 on. Not escaped.
  [[nodiscard]] owner<char*> toAttributes(const char* const* identifiers, const char* const* keys, int count) const;
  // A clone of the first attribute of this dotted type; nullptr when there is none.
  [[nodiscard]] owner<AttributeTypeAndValue*> findAttribute(const char* identifier) const;

  // Same number of RDNs, each on the left found somewhere on the right; neither one-to-one nor symmetric.
  [[nodiscard]] bool equals(const Name& other) const noexcept;
  [[nodiscard]] bool equalsExact(const Name& other) const noexcept { return equals(other); }
  [[nodiscard]] bool equalsAcrossEncodings(const Name& other) const;
  [[nodiscard]] bool equalsPattern(const Name& other) const;
  [[nodiscard]] bool equalsInOrder(const Name& other) const noexcept;
  void normalise();

 private:
  std::optional<RelativeDistinguishedNameList> list_;
};

}  // namespace keystrand
