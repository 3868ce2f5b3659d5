#include "xml/References.h"

#include <algorithm>

namespace keystrand::test {
namespace {

// One reference. Comments are left out where the URI is empty or a bare name (XML Signature section 4.4.3.3), until
// octets have been read again.
class Driver {
 public:
  explicit Driver(XMLFile& file) : file_(file) {}

  ReferenceOctets run() {
    const std::string uri = attributeText(file_, "URI");
    hasComments_ = uri.starts_with("#xpointer");
    const bool isDone =
        (uri.empty() ? file_.selectWholeDocument() : file_.selectReference(uri.c_str())) && transforms();
    if (!isDone || file_.output() == nullptr) return {uri, std::nullopt};
    return {uri, heldText(file_, file_.output())};
  }

 private:
  bool transforms() {
    file_.pushBookmark();
    bool isDone = true;
    if (file_.child("Transforms"))
      for (bool more = file_.firstChildElement(); more && isDone; more = file_.nextElement()) isDone = step();
    file_.popBookmark();
    return isDone;
  }
  bool step() {
    const std::string algorithm = attributeText(file_, "Algorithm");
    file_.pushBookmark();
    const bool isDone = apply(algorithm);
    file_.popBookmark();
    return isDone;
  }
  bool apply(const std::string& algorithm) {
    const auto mode = std::ranges::find_if(kCanonicalModes, [&](const auto& row) { return algorithm == row.uri; });
    if (mode != std::end(kCanonicalModes)) return canonicalise(*mode);
    if (algorithm == std::string(kXMLSignature) + "enveloped-signature") return file_.applyEnveloped();
    if (algorithm == std::string(kXMLSignature) + "base64") return octets(file_.applyBase64());
    if (algorithm == kXSLT) return octets(file_.applyStylesheet());
    if (algorithm == kXPath) return file_.applyXPath(file_.valueOf("XPath").value_or("").c_str());
    return algorithm == kXPathFilter2 && filter();
  }
  bool canonicalise(const CanonicalMode& wanted) {
    if (file_.firstChildElement()) return false;  // a list of prefixes
    if (hasOctets_ && !file_.applyXPath("true()")) return false;
    hasComments_ = hasComments_ || hasOctets_;
    return octets(file_.canonical(wanted.mode, wanted.withComments && hasComments_));
  }
  bool filter() {
    bool isDone = file_.beginFilter();
    for (bool more = file_.child("XPath"); more && isDone; more = file_.sibling("XPath"))
      isDone = file_.addFilter(attributeText(file_, "Filter").c_str(), file_.value().value_or("").c_str());
    return isDone && file_.applyFilter();
  }
  bool octets(bool isDone) {
    hasOctets_ = true;
    return isDone;
  }

  XMLFile& file_;
  bool hasComments_ = false;
  bool hasOctets_ = false;
};

}  // namespace

std::string heldText(const XMLFile& file, const unsigned char* output) {
  return output != nullptr ? std::string(reinterpret_cast<const char*>(output), file.outputLength()) : "(none)";
}

std::vector<ReferenceOctets> referencesOf(XMLFile& file) {
  std::vector<ReferenceOctets> found;
  if (!file.toRoot() || !file.find("SignedInfo")) return found;
  for (bool more = file.child("Reference"); more; more = file.sibling("Reference")) {
    file.pushBookmark();
    found.push_back(Driver(file).run());
    file.popBookmark();
  }
  return found;
}

}  // namespace keystrand::test
