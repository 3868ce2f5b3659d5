// The steps of XML Signature transforms on an XMLFile.
#include <cstdint>
#include <exception>

#include "xml/XMLFileTree.h"

namespace keystrand {
namespace {

constexpr int kCanonicalXML = 0;

// A step that runs out of memory, or of threads, is one that cannot be taken.
template <class Step>
bool attempt(Step step) {
  try {
    return step();
  } catch (const std::exception&) {
    return false;
  }
}

xmlNode* signatureAround(xmlNode* node) {
  while (node != nullptr && !isElement(node, "Signature")) node = node->parent;
  return node;
}

}  // namespace

bool XMLFile::selectReference(const char* uri) {
  return attempt([&] { return tree_->transforms.selectReference(*tree_->document, uri != nullptr ? uri : ""); });
}

bool XMLFile::selectWholeDocument() {
  return attempt([&] { return tree_->transforms.selectWholeDocument(*tree_->document); });
}

bool XMLFile::applyXPath(const char* expression) {
  return expression != nullptr && attempt([&] { return tree_->transforms.applyXPath(*tree_->document, expression); });
}

bool XMLFile::applyEnveloped() {
  xmlNode* signature = signatureAround(tree_->current);
  if (signature == nullptr || !attempt([&] { return tree_->transforms.applyEnveloped(*signature); })) return false;
  tree_->current = signature;
  return true;
}

bool XMLFile::beginFilter() {
  return attempt([&] { return tree_->transforms.beginFilter(*tree_->document); });
}

bool XMLFile::addFilter(const char* operation, const char* expression) {
  if (operation == nullptr || expression == nullptr) return false;
  return attempt([&] { return tree_->transforms.addFilter(operation, expression); });
}

bool XMLFile::applyFilter() {
  return attempt([&] { return tree_->transforms.applyFilter(); });
}

bool XMLFile::applyStylesheet() {
  xmlNode* stylesheet = search(xmlDocGetRootElement(tree_->document.get()), "stylesheet");
  return stylesheet != nullptr &&
         attempt([&] { return tree_->transforms.applyStylesheet(*tree_->document, *stylesheet); });
}

bool XMLFile::applyBase64() {
  return attempt([&] { return tree_->transforms.applyBase64(); });
}

bool XMLFile::canonical(int mode, bool withComments) {
  return attempt([&] { return tree_->transforms.canonical({mode, withComments}); });
}

bool XMLFile::canonicalSubtree(int mode, bool withComments) {
  const xmlNode* top = tree_->element();
  return top != nullptr && attempt([&] {
           return tree_->transforms.canonicalSubtree({mode, withComments}, *tree_->document, *top);
         });
}

const unsigned char* XMLFile::output(int mode, bool withComments) {
  const std::optional<std::string>& text = tree_->transforms.text();
  if (!text && !canonical(mode, withComments)) return nullptr;
  return reinterpret_cast<const unsigned char*>(text->c_str());
}

const unsigned char* XMLFile::output() {
  return output(kCanonicalXML, false);
}

std::uint32_t XMLFile::outputLength() const noexcept {
  const std::optional<std::string>& text = tree_->transforms.text();
  return text && text->size() <= UINT32_MAX ? static_cast<std::uint32_t>(text->size()) : 0;
}

bool XMLFile::isOutputShortened() const noexcept {
  return tree_->transforms.isShortened();
}

}  // namespace keystrand
