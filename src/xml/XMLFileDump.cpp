// A document as text.
#include "xml/XMLFileTree.h"

namespace keystrand {
namespace {

constexpr const char* kEncoding = "UTF-8";
constexpr int kIndented = 1;
constexpr int kUnindented = 2;

// libxml2 keeps these two for each thread. While one lives, documents are written with indentation or without.
class Indentation {
 public:
  explicit Indentation(bool on) : former_(xmlIndentTreeOutput) {
    xmlKeepBlanksDefault(0);
    xmlIndentTreeOutput = on ? 1 : 0;
  }
  ~Indentation() {
    xmlKeepBlanksDefault(1);
    xmlIndentTreeOutput = former_;
  }
  Indentation(const Indentation&) = delete;
  Indentation& operator=(const Indentation&) = delete;

 private:
  int former_;
};

struct LibraryText {
  owner<xmlChar*> text = nullptr;
  int length = 0;
};

}  // namespace

const char* XMLFile::dump(bool own) {
  if (tree_->dumpText) return tree_->dumpText->c_str();
  if (own) {
    tree_->dumpText = writeDocument(tree_->document.get());
  } else {
    const Indentation indentation(true);
    LibraryText made;
    xmlDocDumpFormatMemoryEnc(tree_->document.get(), &made.text, &made.length, kEncoding, kIndented);
    if (made.text != nullptr)
      tree_->dumpText.emplace(reinterpret_cast<char*>(made.text), static_cast<std::size_t>(made.length));
    xmlFree(made.text);
  }
  return tree_->dumpText ? tree_->dumpText->c_str() : nullptr;
}

owner<char*> XMLFile::dumpRaw() const {
  LibraryText made;
  xmlDocDumpMemoryEnc(tree_->document.get(), &made.text, &made.length, kEncoding);
  return reinterpret_cast<char*>(made.text);
}

owner<char*> XMLFile::dumpOwn() const {
  const std::optional<std::string> text = writeDocument(tree_->document.get());
  return text ? reinterpret_cast<char*>(xmlStrdup(toXML(text->c_str()))) : nullptr;
}

const char* XMLFile::dumpNode(bool plain) {
  if (tree_->element() == nullptr) return nullptr;
  const Indentation indentation(!plain);
  xmlBufferEmpty(tree_->nodeBuffer.get());
  const int written =
      xmlNodeDump(tree_->nodeBuffer.get(), tree_->document.get(), tree_->current, 0, plain ? kUnindented : kIndented);
  return written >= 0 ? reinterpret_cast<const char*>(xmlBufferContent(tree_->nodeBuffer.get())) : nullptr;
}

}  // namespace keystrand
