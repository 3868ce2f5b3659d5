// An XML document with a cursor: one object holds one document and one current element, and all navigation and editing
// works on that cursor. Names are local names, without prefix, unless the document uses a prefix that it does not
// declare: such an element is named with it ("p:a"). Texts go in and come out in UTF-8.
//
// Documents come from strangers. No external entity, no external part of a DTD and no network address is ever opened,
// whatever the process has told libxml2; elements nest 257 deep at most; the text of an element ends at 10 MB, and a
// document whose entities would stand for more than that in all is refused.
//
// What returns bool gives false when there is nothing such, with the cursor where it was. Every operation on the
// current element gives false or nullptr when there is none, as in an empty document.
//
// Thread: one at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "keystrand/der/Buffer.h"
#include "keystrand/support/Api.h"

namespace keystrand {

class Logger;
class Transport;

class KEYSTRAND_API XMLFile {
 public:
  static constexpr std::size_t kMaxText = 10'000'000;  // bytes of one text, entities expanded

  // An empty document. The maker is kept and never used.
  explicit XMLFile(void* maker = nullptr);
  ~XMLFile();
  XMLFile(const XMLFile&) = delete;
  XMLFile& operator=(const XMLFile&) = delete;
  [[nodiscard]] void* maker() const noexcept;

  // --- loading: a new document in place of the former one, the cursor on its root. On failure the document is empty.
  // Every call begins a new document; without `finish` the text may stop anywhere. Well-formed documents only, except
  // that prefixes need no declaration.
  bool parse(const char* text, int length, bool finish);
  // A file, by its UTF-8 path, or the bytes held; the document ends at the first NUL.
  bool load(const char* path);
  bool load(const Buffer& buffer);
  // Four bytes, the length of the text in network order, and the text. Up to 256 MB are taken. The logger may be
  // nullptr.
  bool receive(Transport& transport, const Logger* logger);
  bool send(Transport& transport);
  // Of the last parse or load: libxml2's number, 0 for none; its message with a line end, nullptr for none; the line.
  [[nodiscard]] int lastErrorCode() const noexcept;
  [[nodiscard]] const char* lastErrorMessage() const noexcept;
  [[nodiscard]] int lastErrorLine() const noexcept;

  // --- navigation
  bool toRoot();
  // The current element itself, else depth-first its descendants, its following siblings and their descendants. A
  // second search for the same name stays where it is: findAfter moves on.
  bool find(const char* name);
  bool find(const char* name, const char* attribute, const char* value);
  bool findBelow(const char* name);  // from the first child on, depth-first
  bool findAfter(const char* name);  // from the next sibling on, depth-first; never climbs
  bool child(const char* name);
  bool sibling(const char* name);  // following ones only
  bool firstChildElement();
  bool nextElement();
  bool up();  // false at the root
  [[nodiscard]] bool isCurrent(const char* name) const;
  [[nodiscard]] bool namespaceIs(const char* uri) const;

  // --- bookmarks: a stack of cursors. A removed element takes its bookmarks with it.
  void pushBookmark();
  bool popBookmark();
  bool gotoBookmark(const char* name);  // the latest on an element of this name; only that entry goes
  bool unwindTo(const char* name);      // the same, and the entries above it go too
  [[nodiscard]] bool isBookmarked(const char* name) const;  // whether the current element is, under this name
  void clearBookmarks() noexcept;

  // --- reading. Texts are libxml2's: give them back with releaseText or xmlFree. nullptr for an element without text,
  // and for one whose text would pass kMaxText.
  [[nodiscard]] owner<char*> text() const;
  [[nodiscard]] owner<char*> textOf(const char* name) const;  // of the first such element below, depth-first
  [[nodiscard]] owner<char*> attribute(const char* name) const;
  [[nodiscard]] owner<char*> attributeOf(const char* element, const char* attribute) const;
  static void releaseText(owner<char*> text);
  // The same without a text to release: empty for an element that has none, nothing where there is no such element.
  [[nodiscard]] std::optional<std::string> value() const;
  [[nodiscard]] std::optional<std::string> valueOf(const char* name) const;

  // --- writing. Without a current element those that create one make the document's root and go to it; any other
  // document content goes. Names, and the texts of addLeaf, are written as they stand: the caller escapes & and <.
  bool addElement(const char* name);    // a child; the cursor goes into it
  bool insertFirst(const char* name);   // before the first element child, in the namespace of the current element
  bool insertBefore(const char* name);  // a sibling, in the same namespace; the cursor goes to it. Not at the root.
  bool insertAfter(const char* name);
  bool addLeaf(const char* name, const char* text);  // a child; the cursor stays
  bool addLeaf(const char* name) { return addLeaf(name, nullptr); }
  bool addTextChild(const char* name, const char* text);  // the same for any text
  bool addLeafNumber(const char* name, long value);
  bool addLeafHex(const char* name, std::uint32_t value);  // eight digits, as all Hex forms
  bool addText(const char* text);
  bool addNumber(int value);
  bool addHex(std::uint32_t value);
  bool replaceText(const char* text);  // in place of the first child, whatever that is
  // Values that are not UTF-8 are taken for Latin-1. addAttribute does not look whether there is one of that name.
  bool addAttribute(const char* name, const char* value);
  bool setAttribute(const char* name, const char* value);
  bool addHexAttribute(const char* name, std::uint32_t value);
  bool setNamespace(const char* prefix, const char* uri);  // declared here; false for a prefix declared here already
  bool addComment(const char* text);                       // in an empty document before the root to come
  bool removeLastChild();                                  // the last element child
  bool removeChild(const char* name);                      // a direct child
  bool removeElement(const char* name);                    // as find; the cursor goes to the parent
  bool copyCurrent();                                      // deep, in place of the former copy
  bool pasteCopy();  // as a child, in the namespace of the current element; the cursor goes to it, the copy is gone
  bool appendDocument(const XMLFile& other);  // copies of the other's root and what follows it
  bool appendSubtree(const XMLFile& other);   // copies of the other's current element and its following siblings

  // --- dumps. dump is made once and kept, even when the document changes after it, until another is loaded: valid
  // until then. `own` chooses the library's own writer, which leaves prefixes and namespace declarations out of start
  // tags: its output is for people, not for parsers. nullptr when the document cannot be written.
  [[nodiscard]] const char* dump(bool own);
  [[nodiscard]] const char* dump() { return dump(false); }
  [[nodiscard]] owner<char*> dumpRaw() const;  // without indentation; to release
  [[nodiscard]] owner<char*> dumpOwn() const;
  [[nodiscard]] const char* dumpNode(bool plain);  // the current element, valid until the next call

  // --- XML Signature transforms (XML Signature section 6.6): a chain of steps, taken in the order of a Transforms
  // element. It begins with one of the two selections, and its octets are for the caller to digest. These steps check
  // no digest and no signature value, and know no Reference: which step is due, and whether what is selected is what
  // should have been signed, is for the caller to say.
  //
  // A step that gives false leaves the chain as it was, but for a selection, which then leaves none. Expressions are
  // XPath 1.0 with the prefixes that the document declares, the last element with one in force deciding, and ds for XML
  // Signature; any result but nodes gives false. They reach nothing but the document. What takes more than 10 seconds
  // of processor time or makes the process grow by more than 512 MB gives false; so do documents of more than 4 million
  // nodes, for expressions and stylesheets half a million, 1000 levels, or 1000 attributes or namespaces of an element.
  // The time is looked at between two steps of libxml2, and a union in parentheses or a comparison of two node sets is
  // one step: minutes where both are as large as the largest document. What would hold up a step for longer gives
  // false: concat() of more than 32 MB, a stylesheet of more than 10,000 declarations with the alternatives of their
  // patterns, 128 KB of text in their attributes, or 5000 expressions within attributes. A document with references to
  // entities has no canonical form. Removing an element from the document ends the chain: only octets made before stay.
  //
  // "#name" is an element by its attribute Id, "#xpointer(...)" an expression; "#xpointer(id('name'))" finds an element
  // by ID, id or Id. Whole elements are selected, with their comments. The empty URI is selectWholeDocument.
  bool selectReference(const char* uri);
  bool selectWholeDocument();
  // The octets so far, canonical ones with comments where there are none, are read as a new document, and those of its
  // nodes selected for which the expression holds. true() makes octets a node set again. here() is not known.
  bool applyXPath(const char* expression);
  // Without the Signature element that the cursor stands in. The cursor goes there.
  bool applyEnveloped();
  // XPath Filter 2: up to 31 steps, "intersect", "subtract" or "union", to be applied at once. What is in all
  // intersections and in no subtraction stays. A union changes nothing: the document itself is the first of them.
  bool beginFilter();
  bool addFilter(const char* operation, const char* expression);
  bool applyFilter();
  // The first element named stylesheet in the document is run over the whole document, whatever the chain holds. It can
  // read no other document, write none and takes no part from elsewhere.
  bool applyStylesheet();
  // The octets so far, or the texts of the nodes, through a decoder that passes over what is not Base64.
  bool applyBase64();
  // The octets of the nodes by mode 0, Canonical XML 1.0, 1, Exclusive XML Canonicalization 1.0 without a list of
  // prefixes, or 2, Canonical XML 1.1; octets held before are replaced, not read. "urn:FIXUUID" is cut out of them
  // wherever it stands.
  bool canonical(int mode, bool withComments);
  bool canonicalSubtree(int mode, bool withComments);  // of the current element, whatever is selected
  // Whether that was cut out of anything since the chain began. Who verifies a signature refuses such a document, since
  // others could be changed into it without changing its digest.
  [[nodiscard]] bool isOutputShortened() const noexcept;
  // The octets held, else those that canonical makes; the first form is Canonical XML 1.0 without comments. nullptr
  // where there are none to make. Valid until the next step; a NUL stands behind the last.
  [[nodiscard]] const unsigned char* output(int mode, bool withComments);
  [[nodiscard]] const unsigned char* output();
  [[nodiscard]] std::uint32_t outputLength() const noexcept;

  // Whether the text is an xs:dateTime (XML Schema part 2, section 3.2.7).
  [[nodiscard]] static bool isDateTime(const char* text);

 private:
  struct Tree;

  std::unique_ptr<Tree> tree_;
};

}  // namespace keystrand
