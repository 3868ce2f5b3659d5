#include "der/AttributeTable.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "der/ConstantOID.h"
#include "der/StringTags.h"

namespace keystrand {

constexpr const char* const kAttributeIdentifiers[kAttributeCount] = {
    "2.5.4.6",
    "2.5.4.10",
    "2.5.4.11",
    "2.5.4.8",
    "2.5.4.7",
    "2.5.4.3",
    "2.5.4.5",
    "0.9.2342.19200300.100.1.25",
    "2.5.4.4",
    "2.5.4.42",
    "2.5.4.12",
    "2.5.4.46",
    "2.5.4.65",
    "1.2.840.113549.1.9.1",
    "2.5.4.13",
    "2.5.4.8",
    "2.5.4.5",
    "0.9.2342.19200300.100.1.25",
    "2.5.4.4",
    "2.5.4.42",
    "2.5.4.46",
    "2.5.4.65",
    "1.2.840.113549.1.9.1",
    "2.5.4.13",
    "2.5.4.12",
    "1.2.840.113549.1.9.1",
    "2.5.4.13",
    "1.2.840.113549.1.9.1",
    "2.5.4.97",
    "2.5.4.97",
};

const char* const kAttributeLabels[kAttributeCount] = {
    "C",
    "O",
    "OU",
    "PROV",
    "L",
    "CN",
    "SER",
    "DOM",
    "SUR",
    "GIVEN",
    "TITLE",
    "DNQUALIF",
    "PSEUD",
    "EMAL",
    "DESCR",
    "ST",
    "serialNumber",
    "DC",
    "SN",
    "givenName",
    "dnQualifier",
    "pseudonym",
    "EMAILADDRESS",
    "DESCRIPTION",
    "title",
    "email",
    "description",
    "E",
    "ORGID",
    "organizationIdentifier",
};

const char* const kAttributeItalianLabels[kAttributeCount] = {
    "Stato",
    "Organizzazione",
    "Unita' Organizzativa",
    "Provincia",
    "Localita'",
    "Common Name",
    "Numero Seriale",
    "Dominio",
    "Cognome",
    "Nome",
    "Titolo",
    "Codice Identificativo",
    "Pseudonimo",
    "Indirizzo Email",
    "Descrizione",
    "Provincia",
    "Numero Seriale",
    "Dominio",
    "Cognome",
    "Nome",
    "Codice Identificativo",
    "Pseudonimo",
    "Indirizzo Email",
    "Descrizione",
    "Titolo",
    "Indirizzo Email",
    "Descrizione",
    "Indirizzo Email",
    "Identificativo Organizzazione",
    "Identificativo Organizzazione",
};

namespace {

consteval std::array<ConstantOID, kAttributeCount> parsedIdentifiers() {
  std::array<ConstantOID, kAttributeCount> parsed;
  for (std::size_t i = 0; i < parsed.size(); ++i) {
    const std::string_view dotted = kAttributeIdentifiers[i];
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
