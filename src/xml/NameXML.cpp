// A name written into a document.
#include "keystrand/der/Name.h"
#include "keystrand/xml/XMLFile.h"

namespace keystrand {
namespace {

// The first row of the type, nullptr for none.
const char* tagOf(const OID* type, const char* const* identifiers, const char* const* tags, int count) {
  if (type == nullptr || identifiers == nullptr || tags == nullptr) return nullptr;
  for (int i = 0; i < count; ++i)
    if (type->equals(identifiers[i])) return tags[i];
  return nullptr;
}

bool writeUnknown(const AttributeTypeAndValue& attribute, const std::string& value, XMLFile& document) {
  const OID* type = attribute.typeView();
  const bool isWritten = document.addElement("oid") &&
                         document.addAttribute("oidValue", type != nullptr ? type->dotted().c_str() : "") &&
                         document.addText(value.c_str());
  document.up();
  return isWritten;
}

}  // namespace

bool Name::writeXML(const char* const* identifiers, const char* const* tags, int count, XMLFile& document) const {
  if (listView() == nullptr) return true;
  for (const RelativeDistinguishedName& rdn : listView()->rdns()) {
    for (const AttributeTypeAndValue& attribute : rdn.attributes()) {
      std::string value;
      attribute.appendUTF8Text(value);
      const char* tag = tagOf(attribute.typeView(), identifiers, tags, count);
      if (!(tag != nullptr ? document.addTextChild(tag, value.c_str()) : writeUnknown(attribute, value, document)))
        return false;
    }
  }
  return true;
}

}  // namespace keystrand
