#include "xml/XPointer.h"

namespace keystrand {
namespace {

constexpr std::string_view kPointer = "#xpointer(";
constexpr std::string_view kPointerToID = "#xpointer(id(";
constexpr std::string_view kScheme = "xpointer";
constexpr std::string_view kBlanks = " \t\r\n";

// What an xpointer of an identifier has behind its "id(" becomes the comparison with an attribute.
std::string comparedWith(const char* attribute, std::string_view behindID) {
  std::string comparison = std::string(" xpointer(//*[@") + attribute + "=" + std::string(behindID);
  const std::size_t end = comparison.find(')', comparison.find('['));
  if (end != comparison.npos) comparison[end] = ']';
  return comparison;
}

// A circumflex stands in front of parentheses that have no partner, and of itself (XPointer framework section 3.1).
bool isEscape(std::string_view rest) {
  constexpr std::string_view kEscaped = "^()";
  return rest.size() > 1 && rest[0] == '^' && kEscaped.find(rest[1]) != kEscaped.npos;
}

// Takes what the parentheses hold with which the rest begins; false where they do not end.
bool takeData(std::string_view& rest, std::string& data) {
  for (int depth = 0; !rest.empty();) {
    if (isEscape(rest))
      rest.remove_prefix(1);
    else if (rest[0] == '(')
      ++depth;
    else if (rest[0] == ')' && --depth == 0) {
      rest.remove_prefix(1);
      data.erase(0, 1);
      return true;
    }
    data += rest[0];
    rest.remove_prefix(1);
  }
  return false;
}

// The expressions of the parts that are of the scheme xpointer; parts of other schemes are passed over.
std::vector<std::string> partsOf(std::string_view pointer) {
  std::vector<std::string> expressions;
  while (pointer.find_first_not_of(kBlanks) != pointer.npos) {
    pointer.remove_prefix(pointer.find_first_not_of(kBlanks));
    const std::size_t begin = pointer.find('(');
    if (begin == pointer.npos) return {};
    const bool isExpression = pointer.substr(0, begin) == kScheme;
    pointer.remove_prefix(begin);
    std::string data;
    if (!takeData(pointer, data)) return {};
    if (isExpression) expressions.push_back(data);
  }
  return expressions;
}

}  // namespace

// A bare name stands for the attribute Id; id() finds what a DTD declares as ID, and attributes named id and Id. No
// name holds quotation marks, with which one could go on to more of an expression.
std::vector<std::string> expressionsOf(std::string_view uri) {
  if (!uri.starts_with('#') || uri.size() == 1) return {};
  const std::string fragment(uri.substr(1));
  if (!uri.starts_with(kPointer))
    return fragment.find('\'') == fragment.npos ? std::vector{"//*[@Id='" + fragment + "']"}
                                                : std::vector<std::string>();
  if (!uri.starts_with(kPointerToID)) return partsOf(fragment);
  const std::string_view behindID = uri.substr(kPointerToID.size());
  return partsOf(fragment + comparedWith("id", behindID) + comparedWith("Id", behindID));
}

}  // namespace keystrand
