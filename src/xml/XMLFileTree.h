// What an XMLFile holds.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "xml/TransformChain.h"
#include "xml/XMLTree.h"

namespace keystrand {

struct XMLFile::Tree {
  void* maker = nullptr;
  XMLDocument document;
  XMLNode clipboard;  // of no document, so that it outlives this one
  XMLParser parser;   // for the errors of the last parse only: its document is taken out
  XMLBuffer nodeBuffer;
  xmlNode* current = nullptr;
  std::vector<xmlNode*> bookmarks;
  std::optional<std::string> dumpText;
  TransformChain transforms;

  Tree();
  // An empty document, and nothing left that pointed into the former one.
  void clear();
  bool parse(std::string_view text, bool finish);  // INT_MAX bytes at most
  // Takes the document out of the parser, if there is one and it is wanted.
  bool adopt(bool wanted);
  bool moveTo(xmlNode* found);
  [[nodiscard]] xmlNode* element() const { return isElement(current) ? current : nullptr; }
  [[nodiscard]] xmlNode* childrenOfCurrent() const { return element() != nullptr ? current->children : nullptr; }
  // Makes the node the only element of the document and the current one.
  bool makeRoot(XMLNode node);
  // Adds the node below the current element; nullptr when that fails.
  xmlNode* addBelow(XMLNode node);
  // Unlinks and frees a node; the cursor and bookmarks do not stay inside it.
  void remove(xmlNode* node);
};

}  // namespace keystrand
