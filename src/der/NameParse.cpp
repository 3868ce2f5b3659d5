// The comma form of a name read back: C=IT,O=A\,B,CN=X+SER=1
#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

#include "der/AttributeTable.h"
#include "der/TextValue.h"
#include "keystrand/der/Name.h"
#include "support/Memory.h"
#include "support/Text.h"

namespace keystrand {

namespace {

constexpr auto kNowhere = std::string_view::npos;
constexpr std::string_view kBlanks = " \t\n";
constexpr std::string_view kSeparators = "+,";

// -1 for a character that is no hexadecimal digit.
int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  const char folded = foldCase(c);
  return folded >= 'a' && folded <= 'f' ? folded - 'a' + 10 : -1;
}

// The octet of two hexadecimal digits at the start of the text, -1 where they do not stand there.
int hexPair(std::string_view text) {
  if (text.size() < 2 || hexDigit(text[0]) < 0 || hexDigit(text[1]) < 0) return -1;
  return hexDigit(text[0]) * 16 + hexDigit(text[1]);
}

// Where the character stands without a backslash before it.
std::size_t findUnescaped(std::string_view text, std::string_view any) {
  std::size_t at = text.find_first_of(any);
  while (at != kNowhere && at > 0 && text[at - 1] == '\\') at = text.find_first_of(any, at + 1);
  return at;
}

// How many octets a UTF-8 sequence has whose first octet is written with this digit first; 0 for no such digit.
std::size_t sequenceLength(char firstDigit) {
  switch (foldCase(firstDigit)) {
    case 'c':
    case 'd':
      return 2;
    case 'e':
      return 3;
    case 'f':
      return 4;
    default:
      return 0;
  }
}

// Takes an escaped UTF-8 sequence, \C3\A0, from behind its first backslash. A first pair that is cut short is dropped.
void takeSequence(std::string_view& text, std::string& out) {
  const std::size_t length = sequenceLength(text.front());
  for (std::size_t i = 0; i < length; ++i) {
    if (i > 0 && !text.starts_with('\\')) return;
    const int octet = hexPair(text.substr(i > 0 ? 1 : 0));
    if (octet < 0) {
      if (i == 0) text.remove_prefix(1);
      return;
    }
    out += static_cast<char>(octet);
    text.remove_prefix(i > 0 ? 3 : 2);
  }
}

// \C3\A0 becomes two octets; before any other character the backslash falls away, at the end as well.
std::string unescaped(std::string_view text) {
  std::string out;
  while (!text.empty()) {
    const char c = text.front();
    if (c == '\\') text.remove_prefix(1);
    if (c == '\\' && text.empty()) break;
    if (c == '\\' && sequenceLength(text.front()) != 0) {
      takeSequence(text, out);
    } else {
      out += text.front();
      text.remove_prefix(1);
    }
  }
  return out;
}

bool isDotted(std::string_view text) {
  return text.find('.') != kNowhere && text.find("..") == kNowhere && !text.starts_with('.') && !text.ends_with('.') &&
         text.find_first_not_of("0123456789.") == kNowhere;
}

// The identifier of a label: by the table, or the dotted number itself with or without "OID." before it.
std::optional<std::string> identifierOf(std::string_view label, const char* const* labels,
                                        const char* const* identifiers, int count) {
  const bool hasTable = labels != nullptr && identifiers != nullptr;
  for (int i = 0; hasTable && i < count; ++i)
    if (equalsNoCase(label, textOrEmpty(labels[i]))) return std::string(textOrEmpty(identifiers[i]));
  constexpr std::string_view kPrefix = "OID.";
  if (startsWithNoCase(label, kPrefix)) label.remove_prefix(kPrefix.size());
  return isDotted(label) ? std::optional<std::string>(label) : std::nullopt;
}

struct WrittenAttribute {
  std::string_view label;
  std::string_view value;
  char separator = '\0';  // behind it; NUL at the end of the text
};

// Takes the next "label=value" and its separator off the text; false when none is left.
bool takeAttribute(std::string_view& text, WrittenAttribute& attribute) {
  text.remove_prefix(std::min(text.size(), text.find_first_not_of(kBlanks)));
  const std::size_t equalsSign = text.find('=');
  if (equalsSign == kNowhere) return false;
  attribute.label = text.substr(0, equalsSign);
  text.remove_prefix(equalsSign + 1);
  if (text.empty()) return false;
  text.remove_prefix(std::min(text.size(), text.find_first_not_of(kBlanks)));
  std::size_t end = 0;  // of the part in which separators do not count
  if (text.starts_with('"')) {
    const std::size_t quote = findUnescaped(text.substr(1), "\"");
    attribute.value = text.substr(1, quote);
    end = quote == kNowhere ? text.size() : quote + 2;
  }
  const std::size_t toSeparator =
      end > 0 ? text.substr(end).find_first_of(kSeparators) : findUnescaped(text, kSeparators);
  const std::size_t separator = toSeparator == kNowhere ? text.size() : end + toSeparator;
  if (end == 0) attribute.value = text.substr(0, separator);
  attribute.separator = separator < text.size() ? text[separator] : '\0';
  text.remove_prefix(std::min(text.size(), separator + 1));
  return true;
}

}  // namespace

Name::Name(const char* text, unsigned char defaultTag, const char* const* labels, const char* const* identifiers,
           int count) {
  setText(text, defaultTag, labels, identifiers, count);
}

// Attributes of unknown labels and of values that cannot be read are left out without a word. An attribute belongs to
// the RDN before it when a plus sign stands in front of it, though that be behind one that was left out.
bool Name::setText(const char* text, unsigned char defaultTag, const char* const* labels,
                   const char* const* identifiers, int count) {
  std::vector<RelativeDistinguishedName> rdns;
  std::string_view rest = textOrEmpty(text);
  char separator = ',';
  for (WrittenAttribute written; takeAttribute(rest, written); separator = written.separator) {
    const std::optional<std::string> type = identifierOf(written.label, labels, identifiers, count);
    AttributeTypeAndValue attribute;
    if (type) attribute.setType(type->c_str());
    if (!type || !setDefaultValue(attribute, unescaped(written.value).c_str(), defaultTag)) continue;
    if (separator == ',' || rdns.empty()) rdns.emplace_back();
    rdns.back().add(std::move(attribute));
  }
  list_.reset();
  if (rdns.empty()) return false;
  list_.emplace();
  for (RelativeDistinguishedName& rdn : rdns) list_->add(std::move(rdn));
  return true;
}

bool Name::setDefaultValue(AttributeTypeAndValue& attribute, const char* text, unsigned char defaultTag) {
  std::string_view value = textOrEmpty(text);
  if (!value.starts_with('#')) {
    const OID* type = attribute.typeView();
    attribute.setValue(text, type != nullptr ? narrowTagOf(*type).value_or(defaultTag) : defaultTag);
    return text != nullptr;
  }
  Bytes der;
  for (value.remove_prefix(1); !value.empty(); value.remove_prefix(2)) {
    const int octet = hexPair(value);
    if (octet < 0) return false;
    der.push_back(static_cast<unsigned char>(octet));
  }
  Buffer buffer;
  buffer.append(der.data(), static_cast<std::uint32_t>(der.size()));
  return attribute.setValueFromDER(buffer);
}

}  // namespace keystrand
