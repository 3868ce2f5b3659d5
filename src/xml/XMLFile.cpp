// Construction, loading and bookmarks. What a stranger's document may make the parser do is decided here.
#include "keystrand/xml/XMLFile.h"

#include <libxml/xmlschemastypes.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <mutex>
#include <new>
#include <span>
#include <utility>

#include "support/File.h"
#include "xml/XMLFileTree.h"

namespace keystrand {
namespace {

constexpr int kQuiet = XML_PARSE_NOERROR | XML_PARSE_NOWARNING;
constexpr int kOptions = kQuiet | XML_PARSE_NONET;
// Each of these reads what the document names, or lifts the parser's own limits.
constexpr int kForbidden =
    XML_PARSE_NOENT | XML_PARSE_DTDLOAD | XML_PARSE_DTDATTR | XML_PARSE_DTDVALID | XML_PARSE_XINCLUDE | XML_PARSE_HUGE;
constexpr int kFirstChunk = 4;  // enough to tell the encoding (XML 1.0 appendix F)

// A new parser takes over what the process has set as libxml2's defaults, such as the substitution of entities.
void closeDoors(xmlParserCtxt& parser) {
  parser.options &= ~kForbidden;
  parser.replaceEntities = 0;
  parser.loadsubset = 0;
  parser.validate = 0;
  xmlCtxtUseOptions(&parser, kOptions);
}

// A prefix without a declaration is let through.
bool isTolerable(int result) {
  return result == XML_ERR_OK || result == XML_NS_ERR_UNDEFINED_NAMESPACE;
}

// What a parser reads from, piece by piece: the text is not held beside the document that is made of it. A document
// ends at the first NUL, as a text of C does.
struct TextFile {
  File file;
  bool isAtEnd = false;
};

int takeFromFile(void* context, char* target, int length) {
  auto& source = *static_cast<TextFile*>(context);
  if (source.isAtEnd) return 0;
  const auto read =
      readAll(source.file.descriptor(), {reinterpret_cast<unsigned char*>(target), static_cast<std::size_t>(length)});
  if (!read) return -1;
  const std::size_t taken = std::string_view(target, *read).find('\0');
  source.isAtEnd = taken != std::string_view::npos;
  return static_cast<int>(source.isAtEnd ? taken : *read);
}

int takeFromMemory(void* context, char* target, int length) {
  auto& rest = *static_cast<std::string_view*>(context);
  const std::size_t taken = rest.copy(target, static_cast<std::size_t>(length));
  rest.remove_prefix(taken);
  return static_cast<int>(taken);
}

XMLParser readWhole(xmlInputReadCallback take, void* source) {
  XMLParser parser(xmlNewParserCtxt());
  if (!parser) throw std::bad_alloc();
  closeDoors(*parser);
  parser->myDoc = xmlCtxtReadIO(parser.get(), take, nullptr, source, nullptr, nullptr, kOptions);
  return parser;
}

XMLParser readWhole(std::string_view text) {
  text = text.substr(0, text.find('\0'));
  return readWhole(takeFromMemory, &text);
}

// Memory that cannot be had leaves a document unread; it is no exception of the caller's.
template <class Load>
bool unlessOutOfMemory(Load load) {
  try {
    return load();
  } catch (const std::bad_alloc&) {
    return false;
  }
}

}  // namespace

XMLDocument parseOctets(std::string_view octets) {
  const XMLParser parser = readWhole(takeFromMemory, &octets);
  XMLDocument document(std::exchange(parser->myDoc, nullptr));
  return document && expandsModestly(*document) ? std::move(document) : nullptr;
}

XMLFile::Tree::Tree() : nodeBuffer(xmlBufferCreate()) {
  if (!nodeBuffer) throw std::bad_alloc();
  clear();
}

void XMLFile::Tree::clear() {
  bookmarks.clear();
  current = nullptr;
  dumpText.reset();
  transforms = {};
  parser.reset();
  document.reset(xmlNewDoc(toXML("1.0")));
  if (!document) throw std::bad_alloc();
}

bool XMLFile::Tree::adopt(bool wanted) {
  XMLDocument parsed(parser->myDoc);
  parser->myDoc = nullptr;
  if (!wanted || !parsed) return false;
  if (!expandsModestly(*parsed)) {
    parser->lastError.code = XML_ERR_ENTITY_LOOP;
    return false;
  }
  document = std::move(parsed);
  current = xmlDocGetRootElement(document.get());
  return true;
}

XMLFile::XMLFile(void* maker) : tree_(std::make_unique<Tree>()) {
  tree_->maker = maker;
}

XMLFile::~XMLFile() = default;

void* XMLFile::maker() const noexcept {
  return tree_->maker;
}

// --- loading --------------------------------------------------------------------------------------------------------

bool XMLFile::Tree::parse(std::string_view text, bool finish) {
  const int length = static_cast<int>(text.size());
  const int first = std::min(length, kFirstChunk);
  parser.reset(xmlCreatePushParserCtxt(nullptr, nullptr, text.data(), first, "input"));
  if (!parser) throw std::bad_alloc();
  closeDoors(*parser);
  const bool isRead = isTolerable(xmlParseChunk(parser.get(), text.data() + first, length - first, 0)) &&
                      (!finish || isTolerable(xmlParseChunk(parser.get(), nullptr, 0, 1)));
  return adopt(isRead && parser->wellFormed != 0);
}

bool XMLFile::parse(const char* text, int length, bool finish) {
  return unlessOutOfMemory([&] {
    tree_->clear();
    return text != nullptr && length >= 0 && tree_->parse({text, static_cast<std::size_t>(length)}, finish);
  });
}

bool XMLFile::load(const char* path) {
  return unlessOutOfMemory([&] {
    tree_->clear();
    TextFile text{path != nullptr ? File::openForReading(path) : File()};
    const std::optional<std::uint64_t> size = fileSize(text.file.descriptor());
    if (!size || *size > INT_MAX) return false;
    tree_->parser = readWhole(takeFromFile, &text);
    return tree_->adopt(true);
  });
}

bool XMLFile::load(const Buffer& buffer) {
  return unlessOutOfMemory([&] {
    tree_->clear();
    const std::span<const unsigned char> held = buffer.range(0, buffer.size());
    if (held.size() > INT_MAX) return false;
    tree_->parser = readWhole({reinterpret_cast<const char*>(held.data()), held.size()});
    return tree_->adopt(true);
  });
}

int XMLFile::lastErrorCode() const noexcept {
  const xmlError* error = xmlCtxtGetLastError(tree_->parser.get());
  return error != nullptr ? error->code : 0;
}

const char* XMLFile::lastErrorMessage() const noexcept {
  const xmlError* error = xmlCtxtGetLastError(tree_->parser.get());
  return error != nullptr ? error->message : nullptr;
}

int XMLFile::lastErrorLine() const noexcept {
  const xmlError* error = xmlCtxtGetLastError(tree_->parser.get());
  return error != nullptr ? error->line : 0;
}

// --- bookmarks ------------------------------------------------------------------------------------------------------

void XMLFile::pushBookmark() {
  tree_->bookmarks.push_back(tree_->current);
}

bool XMLFile::popBookmark() {
  if (tree_->bookmarks.empty()) return false;
  tree_->current = tree_->bookmarks.back();
  tree_->bookmarks.pop_back();
  return true;
}

bool XMLFile::gotoBookmark(const char* name) {
  if (name == nullptr) return false;
  std::vector<xmlNode*>& marks = tree_->bookmarks;
  const auto mark = std::find_if(marks.rbegin(), marks.rend(), [&](xmlNode* node) { return isElement(node, name); });
  if (mark == marks.rend()) return false;
  tree_->current = *mark;
  marks.erase(std::next(mark).base());
  return true;
}

bool XMLFile::unwindTo(const char* name) {
  if (name == nullptr) return false;
  std::vector<xmlNode*>& marks = tree_->bookmarks;
  const auto mark = std::find_if(marks.rbegin(), marks.rend(), [&](xmlNode* node) { return isElement(node, name); });
  if (mark == marks.rend()) return false;
  tree_->current = *mark;
  marks.erase(std::next(mark).base(), marks.end());
  return true;
}

bool XMLFile::isBookmarked(const char* name) const {
  return isCurrent(name) && std::ranges::find(tree_->bookmarks, tree_->current) != tree_->bookmarks.end();
}

void XMLFile::clearBookmarks() noexcept {
  tree_->bookmarks.clear();
}

// --- a small check --------------------------------------------------------------------------------------------------

bool XMLFile::isDateTime(const char* text) {
  static std::once_flag prepared;  // libxml2 does not guard its table of types
  std::call_once(prepared, xmlSchemaInitTypes);
  xmlSchemaType* type = xmlSchemaGetBuiltInType(XML_SCHEMAS_DATETIME);
  return text != nullptr && type != nullptr && xmlSchemaValidatePredefinedType(type, toXML(text), nullptr) == 0;
}

}  // namespace keystrand
