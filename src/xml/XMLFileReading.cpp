// Texts and attributes.
#include "xml/XMLFileTree.h"

namespace keystrand {
namespace {

// Appends what a list of text nodes and references stands for. A reference costs something even where it expands to
// nothing, so that a document of references that multiply ends as soon as one of texts.
class TextCollector {
 public:
  explicit TextCollector(const xmlDoc* document) : document_(document) {}

  bool collect(const xmlNode* node, int depth = 0) {
    if (depth > kMaxEntityDepth) return false;
    for (; node != nullptr; node = node->next) {
      const bool isText = node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE;
      if (isText && !append(fromXML(node->content))) return false;
      if (node->type == XML_ENTITY_REF_NODE && !appendEntity(*node, depth)) return false;
    }
    return true;
  }
  [[nodiscard]] std::optional<std::string> taken() {
    return hasText_ ? std::optional<std::string>(std::move(text_)) : std::nullopt;
  }

 private:
  bool append(std::string_view part) {
    hasText_ = true;
    if (part.size() > XMLFile::kMaxText - spent_) return false;
    spent_ += part.size();
    text_ += part;
    return true;
  }
  bool appendEntity(const xmlNode& reference, int depth) {
    if (spent_ >= XMLFile::kMaxText) return false;
    ++spent_;
    const xmlEntity* entity = xmlGetDocEntity(document_, reference.name);
    if (entity == nullptr) return append(fromXML(reference.content));
    return collect(entity->children, depth + 1);
  }

  const xmlDoc* document_;
  std::string text_;
  std::size_t spent_ = 0;
  bool hasText_ = false;
};

owner<char*> newLibraryText(const std::optional<std::string>& text) {
  if (!text) return nullptr;
  return reinterpret_cast<char*>(xmlStrndup(toXML(text->data()), static_cast<int>(text->size())));
}

std::optional<std::string> textOfElement(const xmlDoc* document, const xmlNode* element) {
  return element != nullptr ? textBelow(document, element->children) : std::nullopt;
}

// As xmlGetProp, a default of the internal subset included.
std::optional<std::string> attributeOfElement(const xmlDoc* document, const xmlNode* element, const char* name) {
  if (element == nullptr || name == nullptr) return std::nullopt;
  const xmlAttr* found = xmlHasProp(element, toXML(name));
  if (found == nullptr) return std::nullopt;
  if (found->type == XML_ATTRIBUTE_DECL)
    return std::string(fromXML(reinterpret_cast<const xmlAttribute*>(found)->defaultValue));
  if (found->children == nullptr) return "";
  return textBelow(document, found->children);
}

}  // namespace

std::optional<std::string> textBelow(const xmlDoc* document, const xmlNode* children) {
  TextCollector collector(document);
  return collector.collect(children) ? collector.taken() : std::nullopt;
}

owner<char*> XMLFile::text() const {
  return newLibraryText(textOfElement(tree_->document.get(), tree_->element()));
}

owner<char*> XMLFile::textOf(const char* name) const {
  if (name == nullptr) return nullptr;
  return newLibraryText(textOfElement(tree_->document.get(), search(tree_->childrenOfCurrent(), name)));
}

owner<char*> XMLFile::attribute(const char* name) const {
  return newLibraryText(attributeOfElement(tree_->document.get(), tree_->element(), name));
}

owner<char*> XMLFile::attributeOf(const char* element, const char* attribute) const {
  if (element == nullptr) return nullptr;
  return newLibraryText(
      attributeOfElement(tree_->document.get(), search(tree_->childrenOfCurrent(), element), attribute));
}

void XMLFile::releaseText(owner<char*> text) {
  if (text != nullptr) xmlFree(text);
}

std::optional<std::string> XMLFile::value() const {
  const xmlNode* element = tree_->element();
  if (element == nullptr) return std::nullopt;
  return textOfElement(tree_->document.get(), element).value_or("");
}

std::optional<std::string> XMLFile::valueOf(const char* name) const {
  const xmlNode* found = name != nullptr ? search(tree_->childrenOfCurrent(), name) : nullptr;
  if (found == nullptr) return std::nullopt;
  return textOfElement(tree_->document.get(), found).value_or("");
}

}  // namespace keystrand
