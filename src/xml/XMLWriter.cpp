// The library's own writer. Start tags carry no prefix and no namespace declaration, end tags carry the prefix: readers
// of these texts know them so.
#include "xml/XMLTree.h"

namespace keystrand {
namespace {

const char* escapeInText(char c) {
  switch (c) {
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '&':
      return "&amp;";
    case '\r':
      return "&#13;";
    default:
      return nullptr;
  }
}

const char* escapeInAttribute(char c) {
  switch (c) {
    case '\n':
      return "&#10;";
    case '\t':
      return "&#9;";
    case '"':
      return "&quot;";
    default:
      return escapeInText(c);
  }
}

void appendEscaped(std::string& out, std::string_view text, const char* (*escape)(char)) {
  for (const char c : text) {
    if (const char* escaped = escape(c)) {
      out += escaped;
    } else {
      out += c;
    }
  }
}

class Writer {
 public:
  explicit Writer(const xmlDoc* document) : document_(document) {}

  // A loop, since a client may nest elements to any depth.
  bool write() {
    out_ = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    const xmlNode* node = document_->children;
    while (node != nullptr) {
      if (!open(*node)) return false;
      if (hasContent(*node)) {
        node = node->children;
        continue;
      }
      out_ += '\n';
      while (node != nullptr && node->next == nullptr) node = closeParent(*node);
      if (node != nullptr) node = node->next;
    }
    return true;
  }
  [[nodiscard]] std::string taken() { return std::move(out_); }

 private:
  static bool hasContent(const xmlNode& node) { return isElement(&node) && node.children != nullptr; }

  // Everything of the node in front of its children.
  bool open(const xmlNode& node) {
    if (node.type == XML_TEXT_NODE) appendEscaped(out_, fromXML(node.content), escapeInText);
    if (node.type == XML_COMMENT_NODE) out_.append("<!--").append(fromXML(node.content)).append("-->");
    if (!isElement(&node)) return true;
    out_.append("<").append(fromXML(node.name));
    for (const xmlAttr* attribute = node.properties; attribute != nullptr; attribute = attribute->next)
      if (!writeAttribute(*attribute)) return false;
    out_ += node.children != nullptr ? ">\n" : "/>";
    return true;
  }
  // The last child is written: the element that holds it, nullptr behind the last top-level node.
  const xmlNode* closeParent(const xmlNode& last) {
    const xmlNode* parent = last.parent;
    if (!isElement(parent)) return nullptr;
    out_ += "</";
    appendPrefix(parent->ns);
    out_.append(fromXML(parent->name)).append(">\n");
    return parent;
  }
  bool writeAttribute(const xmlAttr& attribute) {
    out_ += ' ';
    appendPrefix(attribute.ns);
    out_.append(fromXML(attribute.name)).append("=\"");
    const std::optional<std::string> value =
        attribute.children != nullptr ? textBelow(document_, attribute.children) : "";
    if (!value || xmlCheckUTF8(toXML(value->c_str())) == 0) return false;
    appendEscaped(out_, *value, escapeInAttribute);
    out_ += '"';
    return true;
  }
  void appendPrefix(const xmlNs* ns) {
    if (ns != nullptr && ns->prefix != nullptr) out_.append(fromXML(ns->prefix)).append(":");
  }

  const xmlDoc* document_;
  std::string out_;
};

}  // namespace

std::optional<std::string> writeDocument(const xmlDoc* document) {
  Writer writer(document);
  return writer.write() ? std::optional<std::string>(writer.taken()) : std::nullopt;
}

}  // namespace keystrand
