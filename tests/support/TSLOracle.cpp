#include "support/TSLOracle.h"

#include <libxml/parser.h>
#include <libxml/xpath.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include <algorithm>
#include <memory>

namespace keystrand::test {
namespace {

// A step to an element of this name in any namespace.
std::string step(const std::string& name) {
  return "*[local-name()='" + name + "']";
}

std::string anyOf(const std::string& value, const std::vector<std::string>& texts) {
  std::string condition = "(false()";
  for (const std::string& text : texts) condition += " or " + value + "='" + text + "'";
  return condition + ")";
}

const std::string kBase = "http://uri.etsi.org/TrstSvc/";

std::string typeIsWanted() {
  std::vector<std::string> uris;
  for (const char* path :
       {"CA/QC", "TSA/QTST", "CA/PKC", "TSA", "TSA/TSS-QC", "TSA/TSS-AdESQCandQES", "NationalRootCA-QC", "ACA"})
    uris.push_back(kBase + "Svctype/" + path);
  return anyOf(step("ServiceInformation") + "/" + step("ServiceTypeIdentifier"), uris);
}

std::string statusIsRefused() {
  std::vector<std::string> uris;
  for (const char* path : {"accreditationceased", "accreditationrevoked", "withdrawn", "deprecatedatnationallevel"})
    uris.push_back(kBase + "TrustedList/Svcstatus/" + path);
  return anyOf(step("ServiceInformation") + "/" + step("ServiceStatus"), uris);
}

std::string useIsOther() {
  const std::string info = step("ServiceInformation") + "/" + step("ServiceInformationExtensions") + "/" +
                           step("Extension") + "/" + step("AdditionalServiceInformation");
  const std::string uri = step("URI") + "[1]";
  const std::string wanted =
      anyOf(uri, {kBase + "TrustedList/SvcInfoExt/ForeSeals", kBase + "TrustedList/SvcInfoExt/ForeSignatures"});
  return "(" + info + " and not(" + info + "[" + wanted + "]))";
}

class Document {
 public:
  explicit Document(const std::filesystem::path& path)
      : document_(xmlReadFile(path.c_str(), nullptr, XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING),
                  &xmlFreeDoc),
        context_(document_ ? xmlXPathNewContext(document_.get()) : nullptr, &xmlXPathFreeContext) {}

  [[nodiscard]] bool isRead() const { return context_ != nullptr; }
  std::vector<xmlNode*> nodes(const std::string& path, xmlNode* from = nullptr) {
    context_->node = from != nullptr ? from : xmlDocGetRootElement(document_.get());
    const Object found(xmlXPathEvalExpression(reinterpret_cast<const xmlChar*>(path.c_str()), context_.get()),
                       &xmlXPathFreeObject);
    if (!found || found->nodesetval == nullptr) return {};
    return {found->nodesetval->nodeTab, found->nodesetval->nodeTab + found->nodesetval->nodeNr};
  }
  std::optional<std::string> first(const std::string& path, xmlNode* from = nullptr) {
    const std::vector<xmlNode*> found = nodes(path, from);
    if (found.empty()) return std::nullopt;
    const std::unique_ptr<xmlChar, void (*)(void*)> text(xmlNodeGetContent(found[0]), xmlFree);
    return text ? reinterpret_cast<const char*>(text.get()) : "";
  }
  int count(const std::string& path, xmlNode* from = nullptr) { return static_cast<int>(nodes(path, from).size()); }

 private:
  using Object = std::unique_ptr<xmlXPathObject, decltype(&xmlXPathFreeObject)>;
  std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> document_;
  std::unique_ptr<xmlXPathContext, decltype(&xmlXPathFreeContext)> context_;
};

template <class Encode>
std::string encoding(Encode encode) {
  unsigned char* der = nullptr;
  const int length = encode(&der);
  std::string text(reinterpret_cast<char*>(der), length > 0 ? static_cast<std::size_t>(length) : 0);
  OPENSSL_free(der);
  return text;
}

// Without regard to the case of ASCII letters, as names are compared that PrintableStrings make up.
std::string folded(std::string name) {
  for (char& c : name) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  return name;
}

// Subject, issuer and serial number; empty when OpenSSL reads no certificate.
std::string identityOf(std::string base64) {
  std::erase_if(base64, [](char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; });
  ByteString der(base64.size());
  const int length = EVP_DecodeBlock(der.data(), reinterpret_cast<const unsigned char*>(base64.data()),
                                     static_cast<int>(base64.size()));
  if (length <= 0) return {};
  const unsigned char* at = der.data();
  const std::unique_ptr<X509, decltype(&X509_free)> certificate(d2i_X509(nullptr, &at, length), &X509_free);
  if (!certificate) return {};
  X509* x = certificate.get();
  return folded(encoding([&](unsigned char** out) { return i2d_X509_NAME(X509_get_subject_name(x), out); })) +
         folded(encoding([&](unsigned char** out) { return i2d_X509_NAME(X509_get_issuer_name(x), out); })) +
         encoding([&](unsigned char** out) { return i2d_ASN1_INTEGER(X509_get0_serialNumber(x), out); });
}

void addCertificates(Document& list, xmlNode* service, TSLExpectation& expected) {
  const std::string info = step("ServiceInformation");
  const TSLExpectedCA ca{.base64 = {},
                         .type = list.first(info + "/" + step("ServiceTypeIdentifier"), service).value_or(""),
                         .status = list.first(info + "/" + step("ServiceStatus"), service).value_or(""),
                         .name = list.first(info + "//" + step("Name"), service),
                         .startingTime = list.first(info + "/" + step("StatusStartingTime"), service),
                         .history = list.count(step("ServiceHistory") + "/" + step("ServiceHistoryInstance"), service)};
  bool hasCertificate = false;
  for (xmlNode* id :
       list.nodes(info + "/" + step("ServiceDigitalIdentity") + "/" + step("DigitalId") + "/" + step("X509Certificate"),
                  service)) {
    TSLExpectedCA added = ca;
    added.base64 = list.first(".", id).value_or("");
    const std::string identity = identityOf(added.base64);
    if (identity.empty()) continue;
    expected.certificates[identity] = std::move(added);
    hasCertificate = true;
  }
  if (!hasCertificate) ++expected.withoutCertificate;
}

}  // namespace

std::optional<TSLExpectation> expectationOf(const std::filesystem::path& path, bool allServices) {
  Document list(path);
  if (!list.isRead()) return std::nullopt;
  const auto number = list.first("//" + step("TSLSequenceNumber"));
  const auto territory = list.first("//" + step("SchemeTerritory"));
  if (!number || !territory) return std::nullopt;
  TSLExpectation expected;
  expected.number = std::atoi(number->c_str());
  expected.territory = *territory;
  const std::string service =
      "//" + step("TrustServiceProvider") + "/" + step("TSPServices") + "/" + step("TSPService");
  const std::string typed = service + (allServices ? "[true()]" : "[" + typeIsWanted() + "]");
  const std::string standing = typed + "[not(" + statusIsRefused() + ")]";
  const std::string taken = standing + "[not(" + useIsOther() + ")]";
  expected.counts = {.taken = list.count(taken),
                     .otherType = list.count(service) - list.count(typed),
                     .refusedStatus = list.count(typed + "[" + statusIsRefused() + "]"),
                     .otherUse = list.count(standing + "[" + useIsOther() + "]")};
  for (xmlNode* node : list.nodes(taken)) addCertificates(list, node, expected);
  return expected;
}

}  // namespace keystrand::test
