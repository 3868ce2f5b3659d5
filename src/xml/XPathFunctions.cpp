#include "xml/XPathFunctions.h"

#include <libxml/valid.h>
#include <libxml/xpathInternals.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "xml/XMLTree.h"

namespace keystrand {
namespace {

constexpr std::size_t kMaxConcatenated = std::size_t{32} * 1024 * 1024;  // bytes
constexpr std::string_view kBlanks = " \t\r\n";

using Value = std::unique_ptr<xmlXPathObject, Releaser<&xmlXPathFreeObject>>;

struct ReleaseText {
  void operator()(xmlChar* text) const { xmlFree(text); }
};
using Text = std::unique_ptr<xmlChar, ReleaseText>;

std::string_view viewOf(const Text& text) {
  return fromXML(text.get());
}

void give(xmlXPathParserContext& parser, std::string_view text) {
  valuePush(&parser, xmlXPathWrapString(xmlStrndup(toXML(text.data()), static_cast<int>(text.size()))));
}

// Takes the arguments, which libxml2 has in a stack, as texts.
std::vector<Text> textArguments(xmlXPathParserContext& parser, int count) {
  std::vector<Text> texts(static_cast<std::size_t>(count));
  std::for_each(texts.rbegin(), texts.rend(), [&](Text& text) { text.reset(xmlXPathPopString(&parser)); });
  return texts;
}

// Where the second text stands in the first; npos for nowhere. Unlike find of the standard library, memmem does not
// compare each place with each.
std::size_t placeOf(std::string_view part, std::string_view text) {
  const void* found = memmem(text.data(), text.size(), part.data(), part.size());
  return found != nullptr ? static_cast<std::size_t>(static_cast<const char*>(found) - text.data()) : text.npos;
}

void contains(xmlXPathParserContext& parser, int count) {
  const std::vector<Text> texts = textArguments(parser, count);
  const bool isThere = placeOf(viewOf(texts[1]), viewOf(texts[0])) != std::string_view::npos;
  valuePush(&parser, xmlXPathNewBoolean(isThere ? 1 : 0));
}

void substringBefore(xmlXPathParserContext& parser, int count) {
  const std::vector<Text> texts = textArguments(parser, count);
  const std::size_t place = placeOf(viewOf(texts[1]), viewOf(texts[0]));
  give(parser, viewOf(texts[0]).substr(0, place != std::string_view::npos ? place : 0));
}

void substringAfter(xmlXPathParserContext& parser, int count) {
  const std::vector<Text> texts = textArguments(parser, count);
  const std::size_t place = placeOf(viewOf(texts[1]), viewOf(texts[0]));
  give(parser, place != std::string_view::npos ? viewOf(texts[0]).substr(place + viewOf(texts[1]).size()) : "");
}

// The octets of the first character, of which UTF-8 has four at most.
std::string_view takeCharacter(std::string_view& text) {
  constexpr std::size_t kLongest = 4;
  std::size_t length = 1;
  while (length < std::min(text.size(), kLongest) && (static_cast<unsigned char>(text[length]) & 0xC0U) == 0x80U)
    ++length;
  const std::string_view character = text.substr(0, length);
  text.remove_prefix(length);
  return character;
}

void translate(xmlXPathParserContext& parser, int count) {
  const std::vector<Text> texts = textArguments(parser, count);
  std::unordered_map<std::string_view, std::string_view> replacements;  // the first of a character counts
  std::string_view to = viewOf(texts[2]);
  for (std::string_view from = viewOf(texts[1]); !from.empty();) {
    const std::string_view character = takeCharacter(from);
    replacements.try_emplace(character, to.empty() ? to : takeCharacter(to));
  }
  std::string translated;
  for (std::string_view text = viewOf(texts[0]); !text.empty();) {
    const std::string_view character = takeCharacter(text);
    const auto replacement = replacements.find(character);
    translated += replacement != replacements.end() ? replacement->second : character;
  }
  give(parser, translated);
}

// One argument may be the text of a whole document: each is looked at before the next becomes a text.
void concat(xmlXPathParserContext& parser, int count) {
  std::vector<Value> values(static_cast<std::size_t>(count));
  std::for_each(values.rbegin(), values.rend(), [&](Value& value) { value.reset(valuePop(&parser)); });
  std::string together;
  for (const Value& value : values) {
    const Text text(xmlXPathCastToString(value.get()));
    if (together.size() + viewOf(text).size() > kMaxConcatenated) return xmlXPathErr(&parser, XPATH_MEMORY_ERROR);
    together += viewOf(text);
  }
  give(parser, together);
}

// Adds the elements with the identifiers that stand in a list.
void addElementsOf(std::string_view list, xmlDoc* document, std::unordered_set<xmlNode*>& known, xmlNodeSet& found) {
  while (list.find_first_not_of(kBlanks) != list.npos) {
    list.remove_prefix(list.find_first_not_of(kBlanks));
    const std::string identifier(list.substr(0, list.find_first_of(kBlanks)));
    list.remove_prefix(identifier.size());
    const xmlAttr* attribute = xmlGetID(document, toXML(identifier.c_str()));
    const bool isAttribute = attribute != nullptr && attribute->type == XML_ATTRIBUTE_NODE;
    xmlNode* element = isAttribute ? attribute->parent : nullptr;
    if (isElement(element) && known.insert(element).second) xmlXPathNodeSetAddUnique(&found, element);
  }
}

void id(xmlXPathParserContext& parser, int) {
  const Value argument(valuePop(&parser));
  Value result(xmlXPathNewNodeSet(nullptr));
  if (!argument || !result || result->nodesetval == nullptr) return xmlXPathErr(&parser, XPATH_MEMORY_ERROR);
  std::unordered_set<xmlNode*> known;
  const auto add = [&](const Text& list) {
    addElementsOf(viewOf(list), parser.context->doc, known, *result->nodesetval);
  };
  const xmlNodeSet* nodes = argument->type == XPATH_NODESET ? argument->nodesetval : nullptr;
  for (int i = 0; nodes != nullptr && i < nodes->nodeNr; ++i) add(Text(xmlXPathCastNodeToString(nodes->nodeTab[i])));
  if (argument->type != XPATH_NODESET) add(Text(xmlXPathCastToString(argument.get())));
  valuePush(&parser, result.release());
}

// Nothing is thrown into libxml2, and each finds its arguments there.
template <auto Function, int Least, int Most>
void checked(xmlXPathParserContext* parser, int count) {
  if (count < Least || count > Most) return xmlXPathErr(parser, XPATH_INVALID_ARITY);
  if (parser->valueNr < parser->valueFrame + count) return xmlXPathErr(parser, XPATH_STACK_ERROR);
  try {
    Function(*parser, count);
  } catch (const std::bad_alloc&) {
    xmlXPathErr(parser, XPATH_MEMORY_ERROR);
  }
}

struct Row {
  std::string_view name;
  xmlXPathFunction function;
};
constexpr int kAnyNumber = 1'000'000;
constexpr Row kFunctions[] = {
    {"id", checked<id, 1, 1>},
    {"concat", checked<concat, 2, kAnyNumber>},
    {"contains", checked<contains, 2, 2>},
    {"substring-before", checked<substringBefore, 2, 2>},
    {"substring-after", checked<substringAfter, 2, 2>},
    {"translate", checked<translate, 3, 3>},
};

}  // namespace

xmlXPathFunction linearFunction(const xmlChar* name, const xmlChar* uri) {
  if (uri != nullptr) return nullptr;
  const auto* row = std::ranges::find(kFunctions, fromXML(name), &Row::name);
  return row != std::end(kFunctions) ? row->function : nullptr;
}

}  // namespace keystrand
