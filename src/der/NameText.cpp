// Text forms of a name. Values go in as they stand, whatever characters a stranger has put there; only the comma form
// escapes, and only its own two separators.
#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "der/AttributeTable.h"
#include "keystrand/der/Name.h"
#include "support/Memory.h"

namespace keystrand {

namespace {

using AppendValue = void (AttributeTypeAndValue::*)(std::string&) const;
constexpr AppendValue kNarrow = &AttributeTypeAndValue::appendText;
constexpr AppendValue kUTF8 = &AttributeTypeAndValue::appendUTF8Text;

// The parallel arrays that a caller passes in. A look-up stops at the first row of a type.
struct LabelTable {
  const char* const* identifiers = nullptr;
  const char* const* labels = nullptr;
  int count = 0;

  [[nodiscard]] int rowOf(const OID& type) const {
    if (identifiers == nullptr || labels == nullptr) return -1;
    if (identifiers == kAttributeIdentifiers.data() && count == kAttributeCount) return attributeRow(type);
    for (int i = 0; i < count; ++i)
      if (type.equals(identifiers[i])) return i;
    return -1;
  }
  [[nodiscard]] int rowOf(const AttributeTypeAndValue& attribute) const {
    return attribute.typeView() != nullptr ? rowOf(*attribute.typeView()) : -1;
  }
  // nullptr where the table has none.
  [[nodiscard]] const char* labelOf(const AttributeTypeAndValue& attribute) const {
    const int row = rowOf(attribute);
    return row < 0 ? nullptr : labels[row];
  }
};

const LabelTable kOwnTable{kAttributeIdentifiers.data(), kAttributeLabels.data(), kAttributeCount};

template <class Use>
void forEachAttribute(const RelativeDistinguishedNameList* list, Use use) {
  if (list == nullptr) return;
  for (const RelativeDistinguishedName& rdn : list->rdns())
    for (const AttributeTypeAndValue& attribute : rdn.attributes()) use(attribute);
}

std::string dotted(const AttributeTypeAndValue& attribute) {
  const OID* type = attribute.typeView();
  return type != nullptr ? type->dotted() : std::string();
}

std::string valueOf(const AttributeTypeAndValue& attribute, AppendValue append) {
  std::string value;
  (attribute.*append)(value);
  return value;
}

// --- the comma form ----------------------------------------------------------------------------------------

// Puts a backslash before every separator from a place of the text on.
void escapeSeparators(std::string& text, std::size_t from) {
  const auto isSeparator = [](char c) { return c == '+' || c == ','; };
  const auto start = text.begin() + static_cast<std::ptrdiff_t>(from);
  if (std::none_of(start, text.end(), isSeparator)) return;
  const std::string value(start, text.end());
  text.resize(from);
  for (const char c : value) {
    if (isSeparator(c)) text += '\\';
    text += c;
  }
}

void appendAttribute(std::string& text, const AttributeTypeAndValue& attribute, const LabelTable& table,
                     AppendValue append) {
  const char* label = table.labelOf(attribute);
  text.append(label != nullptr ? label : "??").append("=");
  const std::size_t value = text.size();
  (attribute.*append)(text);
  if (label != nullptr) escapeSeparators(text, value);
}

// RDNs in the order of the encoding, a comma between them, a plus sign between the attributes of one.
std::string commaForm(const RelativeDistinguishedNameList* list, const LabelTable& table, AppendValue append) {
  constexpr std::size_t kUsualLength = 128;
  std::string text;
  text.reserve(kUsualLength);
  if (list == nullptr) return text;
  for (const RelativeDistinguishedName& rdn : list->rdns()) {
    char separator = ',';
    for (const AttributeTypeAndValue& attribute : rdn.attributes()) {
      if (!text.empty()) text += separator;
      appendAttribute(text, attribute, table, append);
      separator = '+';
    }
  }
  return text;
}

// --- line forms --------------------------------------------------------------------------------------------

std::string lines(const RelativeDistinguishedNameList* list, const LabelTable& table, std::string_view indent,
                  AppendValue append) {
  std::string text;
  forEachAttribute(list, [&](const AttributeTypeAndValue& attribute) {
    const char* label = table.labelOf(attribute);
    text.append(indent).append(label != nullptr ? label : dotted(attribute)).append(": ");
    (attribute.*append)(text);
    text += '\n';
  });
  return text;
}

constexpr std::string_view kDottedIndent = "    ";
constexpr std::string_view kLabelIndent = "\t";

const AttributeTypeAndValue* firstOf(const RelativeDistinguishedNameList* list, const char* identifier) {
  const AttributeTypeAndValue* first = nullptr;
  forEachAttribute(list, [&](const AttributeTypeAndValue& attribute) {
    if (first == nullptr && attribute.typeView() != nullptr && attribute.typeView()->equals(identifier))
      first = &attribute;
  });
  return first;
}

owner<char*> newFirstValue(const RelativeDistinguishedNameList* list, const char* identifier, AppendValue append) {
  const AttributeTypeAndValue* first = firstOf(list, identifier);
  return first != nullptr ? newText(valueOf(*first, append)) : nullptr;
}

}  // namespace

std::string Name::text() const {
  return commaForm(listView(), kOwnTable, kNarrow);
}

owner<char*> Name::toText(const char* const* identifiers, const char* const* labels, int count) const {
  return newText(commaForm(listView(), {identifiers, labels, count}, kNarrow));
}

owner<char*> Name::toTextUTF8(const char* const* identifiers, const char* const* labels, int count) const {
  return newText(commaForm(listView(), {identifiers, labels, count}, kUTF8));
}

owner<char*> Name::toPrintable() const {
  return newText(lines(listView(), {}, kDottedIndent, kNarrow));
}

owner<char*> Name::toPrintableUTF8() const {
  return newText(lines(listView(), {}, kDottedIndent, kUTF8));
}

owner<char*> Name::toPrintable(const char* const* identifiers, const char* const* labels, int count) const {
  return newText(lines(listView(), {identifiers, labels, count}, kLabelIndent, kNarrow));
}

owner<char*> Name::toPrintableUTF8(const char* const* identifiers, const char* const* labels, int count) const {
  return newText(lines(listView(), {identifiers, labels, count}, kLabelIndent, kUTF8));
}

owner<char*> Name::firstValue(const char* identifier) const {
  return newFirstValue(listView(), identifier, kNarrow);
}

owner<char*> Name::firstValueUTF8(const char* identifier) const {
  return newFirstValue(listView(), identifier, kUTF8);
}

owner<AttributeTypeAndValue*> Name::findAttribute(const char* identifier) const {
  const AttributeTypeAndValue* first = firstOf(listView(), identifier);
  return first != nullptr ? first->clone() : nullptr;
}

owner<char*> Name::toXML(const char* const* identifiers, const char* const* tags, int count) const {
  const LabelTable table{identifiers, tags, count};
  std::string text;
  forEachAttribute(listView(), [&](const AttributeTypeAndValue& attribute) {
    const char* label = table.labelOf(attribute);
    const std::string tag = label != nullptr ? label : "oid";
    const std::string opening = label != nullptr ? tag : "oid oidValue = \"" + dotted(attribute) + "\"";
    text += "<" + opening + ">\n\t" + valueOf(attribute, kNarrow) + "\n</" + tag + ">\n";
  });
  return newText(text);
}

// Lines of a template: a key that comes again is numbered from its second occurrence on.
owner<char*> Name::toAttributes(const char* const* identifiers, const char* const* keys, int count) const {
  const LabelTable table{identifiers, keys, count};
  std::vector<int> occurrences(static_cast<std::size_t>(count < 0 ? 0 : count), 0);
  std::string text;
  forEachAttribute(listView(), [&](const AttributeTypeAndValue& attribute) {
    const int row = table.rowOf(attribute);
    if (row < 0 || keys[row] == nullptr) return;
    const int occurrence = ++occurrences[static_cast<std::size_t>(row)];
    text.append("       ").append(keys[row]);
    if (occurrence > 1) text += std::to_string(occurrence);
    text += "=\"" + valueOf(attribute, kNarrow) + "\"\n\n";
  });
  return newText(text);
}

}  // namespace keystrand
