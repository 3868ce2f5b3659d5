#include "ListSignature.h"

#include <keystrand/crypto/DigestInfo.h>
#include <keystrand/crypto/Signature.h>
#include <keystrand/der/BigInteger.h>
#include <keystrand/pkix/Certificate.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <span>

namespace examples {
namespace {

using namespace keystrand;

constexpr const char* kSignatureNamespace = "http://www.w3.org/2000/09/xmldsig#";
constexpr const char* kListNamespace = "http://uri.etsi.org/02231/v2#";
constexpr const char* kSignedProperties = "http://uri.etsi.org/01903#SignedProperties";
constexpr const char* kEnveloped = "http://www.w3.org/2000/09/xmldsig#enveloped-signature";
constexpr int kMaxReferences = 8;
constexpr int kCanonicalXML = 0;

struct Canonicalisation {
  const char* uri;
  int mode;
};
constexpr Canonicalisation kCanonicalisations[] = {
    {"http://www.w3.org/TR/2001/REC-xml-c14n-20010315", kCanonicalXML},
    {"http://www.w3.org/TR/2001/REC-xml-c14n-20010315#WithComments", kCanonicalXML},
    {"http://www.w3.org/2001/10/xml-exc-c14n#", 1},
    {"http://www.w3.org/2001/10/xml-exc-c14n#WithComments", 1},
    {"http://www.w3.org/2006/12/xml-c14n11", 2},
    {"http://www.w3.org/2006/12/xml-c14n11#WithComments", 2},
};

struct Algorithm {
  const char* uri;
  const char* identifier;
};
constexpr Algorithm kDigests[] = {
    {"http://www.w3.org/2001/04/xmlenc#sha256", "2.16.840.1.101.3.4.2.1"},
    {"http://www.w3.org/2001/04/xmldsig-more#sha384", "2.16.840.1.101.3.4.2.2"},
    {"http://www.w3.org/2001/04/xmlenc#sha512", "2.16.840.1.101.3.4.2.3"},
};
constexpr Algorithm kSignatures[] = {
    {"http://www.w3.org/2001/04/xmldsig-more#rsa-sha256", "1.2.840.113549.1.1.11"},
    {"http://www.w3.org/2001/04/xmldsig-more#rsa-sha384", "1.2.840.113549.1.1.12"},
    {"http://www.w3.org/2001/04/xmldsig-more#rsa-sha512", "1.2.840.113549.1.1.13"},
    {"http://www.w3.org/2001/04/xmldsig-more#ecdsa-sha256", "1.2.840.10045.4.3.2"},
    {"http://www.w3.org/2001/04/xmldsig-more#ecdsa-sha384", "1.2.840.10045.4.3.3"},
    {"http://www.w3.org/2001/04/xmldsig-more#ecdsa-sha512", "1.2.840.10045.4.3.4"},
};

void demand(bool holds, const std::string& otherwise) {
  if (!holds) throw Refusal(otherwise);
}

template <class Row, std::size_t n>
const Row& rowOf(const Row (&table)[n], const std::string& uri) {
  const auto row = std::ranges::find_if(table, [&](const Row& known) { return uri == known.uri; });
  demand(row != std::end(table), "it uses the algorithm " + uri);
  return *row;
}

const unsigned char* octets(std::string_view text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

// Brings the cursor back.
class Place {
 public:
  explicit Place(XMLFile& list) : list_(list) { list_.pushBookmark(); }
  ~Place() { list_.popBookmark(); }
  Place(const Place&) = delete;
  Place& operator=(const Place&) = delete;

 private:
  XMLFile& list_;
};

bool isAt(const XMLFile& list, const char* name) {
  return list.isCurrent(name) && list.namespaceIs(kSignatureNamespace);
}

std::optional<std::string> attributeOf(const XMLFile& list, const char* name) {
  char* value = list.attribute(name);
  if (value == nullptr) return std::nullopt;
  std::string copy = value;
  XMLFile::releaseText(value);
  return copy;
}

// Of an element that is empty: parameters could change what the algorithm does.
std::string algorithmOf(XMLFile& list) {
  const Place place(list);
  std::string uri = attributeOf(list, "Algorithm").value_or("");
  demand(!list.firstChildElement(), "the algorithm " + uri + " has parameters");
  return uri;
}

// Goes to the first child, or to the next sibling, which has to be this.
void toFirst(XMLFile& list, const char* name) {
  demand(list.firstChildElement() && isAt(list, name), std::string("there is no ") + name + " where one has to be");
}
void toNext(XMLFile& list, const char* name) {
  demand(list.nextElement() && isAt(list, name), std::string("there is no ") + name + " where one has to be");
}

std::string taken(const unsigned char* output, const XMLFile& list) {
  demand(output != nullptr, "it has no canonical form");
  demand(!list.isOutputShortened(), "its canonical form hides a part of it");
  return {reinterpret_cast<const char*>(output), list.outputLength()};
}

// XML Signature writes the two numbers of ECDSA one behind the other (section 6.4.3), the device reads an
// Ecdsa-Sig-Value (RFC 3279 section 2.2.3).
std::string asSequence(std::string_view numbers) {
  const std::size_t half = numbers.size() / 2;
  const BigInteger r(std::span(octets(numbers), half));
  const BigInteger s(std::span(octets(numbers) + half, half));
  Buffer out;
  out.putSequence(r.size(out) + s.size(out));
  r.put(out);
  s.put(out);
  const std::span<const unsigned char> coded = out.range(0, out.size());
  return {coded.begin(), coded.end()};
}

bool isElliptic(std::string_view algorithm) {
  return algorithm.starts_with("1.2.840.10045.");
}

}  // namespace

std::string fromBase64(std::string_view text, const char* name) {
  Buffer buffer;
  buffer.assign(octets(text), static_cast<std::uint32_t>(text.size()));
  demand(!text.empty() && buffer.decodeBase64(true), std::string(name) + " is no Base64");
  const std::span<const unsigned char> decoded = buffer.range(0, buffer.size());
  return {decoded.begin(), decoded.end()};
}

// --- where things stand ---------------------------------------------------------------------------------------------

// A document type can give attributes to elements that no signature covers.
void ListSignature::refuseHiddenParts() {
  char* text = list_.dumpRaw();
  const bool hasDocumentType = text == nullptr || std::string_view(text).find("<!DOCTYPE") != std::string_view::npos;
  XMLFile::releaseText(text);
  demand(!hasDocumentType, "it has a document type declaration");
  demand(list_.toRoot() && list_.isCurrent("TrustServiceStatusList") && list_.namespaceIs(kListNamespace),
         "it is no trusted list");
}

// Counts, element by element, so that no second signature stands anywhere, whatever it signs.
void ListSignature::toOnlySignature() {
  int count = 0;
  for (bool more = list_.toRoot(); more;) {
    if (list_.isCurrent("Signature")) ++count;
    if (list_.firstChildElement()) continue;
    while (!(more = list_.nextElement()) && list_.up()) {
    }
  }
  demand(count != 0, "it is not signed");
  demand(count == 1, "it has more than one signature");
  demand(list_.toRoot() && list_.child("Signature") && isAt(list_, "Signature"), "its signature is not a part of it");
}

// --- SignedInfo (XML Signature section 4.4) -------------------------------------------------------------------------

// The octets that the signature value is over. References are looked at one by one; one of them covers the list.
std::string ListSignature::readSignedInfo(const char*& signatureAlgorithm) {
  const Place signature(list_);
  toFirst(list_, "SignedInfo");
  int references = 0;
  int covering = 0;
  int mode = kCanonicalXML;
  {
    const Place signedInfo(list_);
    toFirst(list_, "CanonicalizationMethod");
    mode = rowOf(kCanonicalisations, algorithmOf(list_)).mode;
    toNext(list_, "SignatureMethod");
    signatureAlgorithm = rowOf(kSignatures, algorithmOf(list_)).identifier;
    while (list_.nextElement()) {
      demand(isAt(list_, "Reference") && ++references <= kMaxReferences, "it has too many references");
      if (checkReference()) ++covering;
    }
  }
  demand(covering == 1, "not the whole of it is signed");
  demand(list_.canonicalSubtree(mode, false), "its SignedInfo has no canonical form");
  return taken(list_.output(), list_);
}

struct ListSignature::Reference {
  std::string uri;
  bool isOfProperties = false;
  bool isEnveloped = false;
  std::optional<int> mode;
  const char* digest = nullptr;
  std::string digestValue;
};

void ListSignature::readTransforms(Reference& reference) {
  const Place transforms(list_);
  for (bool more = list_.firstChildElement(); more; more = list_.nextElement()) {
    demand(isAt(list_, "Transform") && !reference.mode, "a reference goes on behind its canonicalisation");
    const std::string algorithm = algorithmOf(list_);
    if (algorithm == kEnveloped && !reference.isEnveloped)
      reference.isEnveloped = true;
    else
      reference.mode = rowOf(kCanonicalisations, algorithm).mode;
  }
}

ListSignature::Reference ListSignature::readReference() {
  const Place place(list_);
  Reference reference;
  const std::optional<std::string> uri = attributeOf(list_, "URI");
  demand(uri && (uri->empty() || uri->front() == '#'), "it refers to something else than itself");
  reference.uri = *uri;
  reference.isOfProperties = attributeOf(list_, "Type") == kSignedProperties;
  demand(list_.firstChildElement(), "a reference is empty");
  if (isAt(list_, "Transforms")) {
    readTransforms(reference);
    toNext(list_, "DigestMethod");
  }
  demand(isAt(list_, "DigestMethod"), "a reference has no digest");
  reference.digest = rowOf(kDigests, algorithmOf(list_)).identifier;
  toNext(list_, "DigestValue");
  reference.digestValue = fromBase64(list_.value().value_or(""), "a digest");
  demand(!list_.nextElement(), "a reference goes on behind its digest");
  return reference;
}

// Whether the reference covers the list. The other that is known covers properties of the signature (XAdES). A name is
// not believed: what it stands for has to be, octet by octet, the list.
bool ListSignature::checkReference() {
  const Reference reference = readReference();
  const std::string referred = octetsOf(reference, reference.uri);
  demand(digestOf(referred, reference.digest) == reference.digestValue, "it has been changed since it was signed");
  if (reference.isOfProperties && !reference.isEnveloped) return false;
  demand(reference.isEnveloped && (reference.uri.empty() || octetsOf(reference, "") == referred),
         "a reference covers a part of it, which says nothing of the rest");
  return true;
}

// References by a name and to the document as such leave comments out, whatever the canonicalisation (section 4.4.3.3).
std::string ListSignature::octetsOf(const Reference& reference, const std::string& uri) {
  const Place place(list_);
  const bool isSelected = uri.empty() ? list_.selectWholeDocument() : list_.selectReference(uri.c_str());
  demand(isSelected && (!reference.isEnveloped || list_.applyEnveloped()), "it has no " + uri);
  return taken(list_.output(reference.mode.value_or(kCanonicalXML), false), list_);
}

std::string ListSignature::digestOf(const std::string& text, const char* algorithm) {
  demand(device_.setDigest(algorithm), "the device has no such digest");
  const std::unique_ptr<DigestInfo> digest(device_.digest(octets(text), text.size()));
  demand(digest != nullptr, "the device makes no digest");
  const std::span<const unsigned char> value = digest->valueView();
  return {value.begin(), value.end()};
}

// --- the signer -----------------------------------------------------------------------------------------------------

std::vector<DER> ListSignature::certificatesInKeyInfo() {
  const Place place(list_);
  std::vector<DER> found;
  for (bool data = list_.child("X509Data"); data; data = list_.sibling("X509Data")) {
    const Place inside(list_);
    for (bool more = list_.child("X509Certificate"); more; more = list_.sibling("X509Certificate"))
      found.push_back(fromBase64(list_.value().value_or(""), "a certificate"));
  }
  return found;
}

bool ListSignature::isSignedBy(const DER& certificate, const std::string& signedInfo, const char* algorithm,
                               const std::string& signature) {
  Buffer der;
  der.assign(octets(certificate), static_cast<std::uint32_t>(certificate.size()));
  Certificate signer;
  if (!signer.get(der) || signer.subjectPublicKeyInfoView() == nullptr) return false;
  const std::string value = isElliptic(algorithm) ? asSequence(signature) : signature;
  return device_.setSignatureAlgorithm(algorithm) &&
         device_.verifyData(octets(signedInfo), signedInfo.size(), Signature(std::span(octets(value), value.size())),
                            *signer.subjectPublicKeyInfoView());
}

DER ListSignature::verify(const std::vector<DER>& allowed) {
  refuseHiddenParts();
  toOnlySignature();
  const char* algorithm = nullptr;
  const std::string signedInfo = readSignedInfo(algorithm);
  toFirst(list_, "SignedInfo");
  toNext(list_, "SignatureValue");
  const std::string signature = fromBase64(list_.value().value_or(""), "the signature value");
  toNext(list_, "KeyInfo");
  const std::vector<DER> signers = certificatesInKeyInfo();
  list_.toRoot();
  bool isAllowed = false;
  for (const DER& signer : signers) {
    if (std::ranges::find(allowed, signer) == allowed.end()) continue;
    isAllowed = true;
    if (isSignedBy(signer, signedInfo, algorithm, signature)) return signer;
  }
  throw Refusal(isAllowed ? "its signature value is wrong" : "its signer is not one of those allowed");
}

}  // namespace examples
