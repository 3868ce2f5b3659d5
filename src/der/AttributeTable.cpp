#include "der/AttributeTable.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "der/ConstantOID.h"
#include "der/StringTags.h"

namespace keystrand {

namespace {

struct Row {
  const char* identifier;
  const char* label;
  const char* italianLabel;
};

constexpr Row kRows[] = {
    {"2.5.4.6", "C", "Stato"},
    {"2.5.4.10", "O", "Organizzazione"},
    {"2.5.4.11", "OU", "Unita' Organizzativa"},
    {"2.5.4.8", "PROV", "Provincia"},
    {"2.5.4.7", "L", "Localita'"},
    {"2.5.4.3", "CN", "Common Name"},
    {"2.5.4.5", "SER", "Numero Seriale"},
    {"0.9.2342.19200300.100.1.25", "DOM", "Dominio"},
    {"2.5.4.4", "SUR", "Cognome"},
    {"2.5.4.42", "GIVEN", "Nome"},
    {"2.5.4.12", "TITLE", "Titolo"},
    {"2.5.4.46", "DNQUALIF", "Codice Identificativo"},
    {"2.5.4.65", "PSEUD", "Pseudonimo"},
    {"1.2.840.113549.1.9.1", "EMAL", "Indirizzo Email"},
    {"2.5.4.13", "DESCR", "Descrizione"},
    {"2.5.4.8", "ST", "Provincia"},
    {"2.5.4.5", "serialNumber", "Numero Seriale"},
    {"0.9.2342.19200300.100.1.25", "DC", "Dominio"},
    {"2.5.4.4", "SN", "Cognome"},
    {"2.5.4.42", "givenName", "Nome"},
    {"2.5.4.46", "dnQualifier", "Codice Identificativo"},
    {"2.5.4.65", "pseudonym", "Pseudonimo"},
    {"1.2.840.113549.1.9.1", "EMAILADDRESS", "Indirizzo Email"},
    {"2.5.4.13", "DESCRIPTION", "Descrizione"},
    {"2.5.4.12", "title", "Titolo"},
    {"1.2.840.113549.1.9.1", "email", "Indirizzo Email"},
    {"2.5.4.13", "description", "Descrizione"},
    {"1.2.840.113549.1.9.1", "E", "Indirizzo Email"},
    {"2.5.4.97", "ORGID", "Identificativo Organizzazione"},
    {"2.5.4.97", "organizationIdentifier", "Identificativo Organizzazione"},
};

static_assert(std::size(kRows) == kAttributeCount);

consteval AttributeColumn column(const char* Row::*field) {
  AttributeColumn all{};
  std::ranges::transform(kRows, all.begin(), [field](const Row& row) { return row.*field; });
  return all;
}

consteval std::array<ConstantOID, kAttributeCount> parsedIdentifiers() {
  std::array<ConstantOID, kAttributeCount> parsed;
  for (std::size_t i = 0; i < parsed.size(); ++i) {
    const std::string_view dotted = kRows[i].identifier;
    parsed[i] = operator""_oid(dotted.data(), dotted.size());
  }
  return parsed;
}

constexpr std::array<ConstantOID, kAttributeCount> kParsedIdentifiers = parsedIdentifiers();

// RFC 5280 section 4.1.2.4 and appendix A: what is no UTF8String in a normalised name.
constexpr struct {
  ConstantOID type;
  unsigned char tag;
} kNarrowAttributes[] = {
    {"2.5.4.6"_oid, kPrintableString},               // countryName
    {"2.5.4.5"_oid, kPrintableString},               // serialNumber
    {"2.5.4.46"_oid, kPrintableString},              // dnQualifier
    {"0.9.2342.19200300.100.1.25"_oid, kIA5String},  // domainComponent
    {"1.2.840.113549.1.9.1"_oid, kIA5String},        // emailAddress
};

}  // namespace

constexpr AttributeColumn kAttributeIdentifiers = column(&Row::identifier);
constexpr AttributeColumn kAttributeLabels = column(&Row::label);
constexpr AttributeColumn kAttributeItalianLabels = column(&Row::italianLabel);

int attributeRow(const OID& type) {
  // the last arc parts nearly all of them
  const std::uint32_t last = type.arc(type.count() - 1);
  for (std::size_t i = 0; i < kParsedIdentifiers.size(); ++i)
    if (kParsedIdentifiers[i].view().back() == last && type == kParsedIdentifiers[i]) return static_cast<int>(i);
  return -1;
}

std::optional<unsigned char> narrowTagOf(const OID& type) {
  const auto* row = std::ranges::find_if(kNarrowAttributes, [&type](const auto& r) { return type == r.type; });
  return row == std::end(kNarrowAttributes) ? std::nullopt : std::optional(row->tag);
}

}  // namespace keystrand
