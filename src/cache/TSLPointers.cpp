#include "cache/TSLPointers.h"

#include "cache/RecordFields.h"
#include "cache/TSLReader.h"

namespace keystrand {
namespace {

constexpr std::string_view kPDF = "application/pdf";
// Neither is offered as a country; the list of either is found all the same.
constexpr std::string_view kEuropeanUnion = "EU";
constexpr std::string_view kEstonia = "EE";

}  // namespace

bool TSLPointers::toFirst() {
  list_.clearBookmarks();
  return list_.toRoot() && list_.find("OtherTSLPointer");
}

bool TSLPointers::next() {
  return list_.unwindTo("OtherTSLPointer") && list_.findAfter("OtherTSLPointer");
}

// Marks the pointer and goes through its pieces of information until `use` wants no more.
template <class Use>
void TSLPointers::forEachFact(Use use) {
  list_.pushBookmark();
  if (!list_.findBelow("AdditionalInformation") || !list_.findBelow("OtherInformation")) return;
  do {
    list_.pushBookmark();
    if (const auto territory = list_.valueOf("SchemeTerritory")) {
      if (!use(Fact::kTerritory, *territory)) return;
    } else if (const auto type = list_.valueOf("MimeType")) {
      if (!use(Fact::kMimeType, *type)) return;
    }
    list_.unwindTo("OtherInformation");
  } while (list_.findAfter("OtherInformation"));
}

bool TSLPointers::leadsTo(std::string_view country) {
  bool isOfCountry = false;
  bool hasForm = false;
  forEachFact([&](Fact fact, std::string_view text) {
    bool& isRight = fact == Fact::kTerritory ? isOfCountry : hasForm;
    isRight = fact == Fact::kTerritory ? countryCodeOf(text) == countryCodeOf(country) : text != kPDF;
    return isRight;
  });
  return isOfCountry && hasForm;
}

bool TSLPointers::find(std::string_view country) {
  if (country.size() < CountryCode().size() || !toFirst()) return false;
  do {
    if (leadsTo(country)) {
      list_.unwindTo("OtherTSLPointer");
      list_.pushBookmark();
      return true;
    }
  } while (next());
  return false;
}

std::optional<std::vector<std::string>> TSLPointers::territories() {
  if (!toFirst()) return std::nullopt;
  std::vector<std::string> found;
  do {
    std::optional<std::string> territory;
    bool isPDF = false;
    forEachFact([&](Fact fact, std::string_view text) {
      if (fact == Fact::kTerritory) territory = text;
      if (fact == Fact::kMimeType) isPDF = text == kPDF;
      return true;
    });
    if (territory && !isPDF && *territory != kEuropeanUnion && *territory != kEstonia) found.push_back(*territory);
  } while (next());
  return found;
}

std::optional<std::string> TSLPointers::location() {
  return list_.findBelow("TSLLocation") ? list_.value() : std::nullopt;
}

std::optional<std::vector<std::string>> TSLPointers::signingCertificates() {
  list_.unwindTo("OtherTSLPointer");
  if (!list_.findBelow("ServiceDigitalIdentities") || !list_.findBelow("ServiceDigitalIdentity")) return std::nullopt;
  std::vector<std::string> texts;
  do {
    list_.pushBookmark();
    if (!appendCertificates(list_, texts)) return std::nullopt;
    list_.unwindTo("ServiceDigitalIdentity");
  } while (list_.findAfter("ServiceDigitalIdentity"));
  return texts;
}

}  // namespace keystrand
