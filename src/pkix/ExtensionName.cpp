// Extension::name, the display words of the extensions of RFC 5280, RFC 3739, RFC 6960 and of the browser arc.
#include <algorithm>
#include <cstdint>

#include "der/ConstantOID.h"
#include "keystrand/pkix/Extension.h"
#include "support/Memory.h"

namespace keystrand {

namespace {

struct Word {
  std::uint32_t arc;
  const char* name;
};

constexpr Word kAccessWords[] = {
    {1, "authorityInfoAccess"}, {2, "biometricInfo"}, {3, "qcStatements"}, {11, "subjectInfoAccess"}};
constexpr Word kOCSPWords[] = {{5, "ocspNoCheck"}, {6, "ocspArchiveCutoff"}, {7, "ocspServiceLocator"}};
constexpr Word kCertificateWords[] = {{9, "subjectDirectoryAttributes"},
                                      {14, "subjectKeyIdentifier"},
                                      {15, "keyUsage"},
                                      {16, "privateKeyUsagePeriod"},
                                      {17, "subjectAltName"},
                                      {18, "issuerAltName"},
                                      {19, "basicConstraints"},
                                      {20, "cRLNumber"},
                                      {21, "reasonCode"},
                                      {23, "instructionCode"},
                                      {24, "invalidityDate"},
                                      {27, "deltaCRLIndicator"},
                                      {28, "issuingDistributionPoint"},
                                      {29, "certificateIssuer"},
                                      {30, "nameConstraints"},
                                      {31, "cRLDistributionPoints"},
                                      {32, "certificatePolicies"},
                                      {33, "policyMappings"},
                                      {35, "authorityKeyIdentifier"},
                                      {36, "policyConstraints"},
                                      {37, "extKeyUsage"},
                                      {60, "expiredCertsOnCRL"}};
constexpr Word kNetscapeWords[] = {{1, "netscapeCertificateType"}, {2, "netscapeBaseURL"},
                                   {3, "netscapeRevocationURL"},   {4, "netscapeCARevocationURL"},
                                   {7, "netscapeCertRenewalURL"},  {8, "netscapeCAPolicyURL"},
                                   {12, "netscapeSSLServerName"},  {13, "netscapeComment"}};

struct Family {
  ConstantOID prefix;
  std::span<const Word> words;
};
// The arc behind the prefix alone decides: further arcs do not change the word.
constexpr Family kFamilies[] = {{"1.3.6.1.5.5.7.1"_oid, kAccessWords},
                                {"1.3.6.1.5.5.7.48.1"_oid, kOCSPWords},
                                {"2.5.29"_oid, kCertificateWords},
                                {"2.16.840.1.113730.1"_oid, kNetscapeWords}};

const char* wordOf(const OID& oid) {
  const auto arcs = oid.arcs();
  for (const Family& family : kFamilies) {
    const auto prefix = family.prefix.view();
    if (arcs.size() <= prefix.size() || !std::ranges::equal(arcs.first(prefix.size()), prefix)) continue;
    const auto word = std::ranges::find(family.words, arcs[prefix.size()], &Word::arc);
    if (word != family.words.end()) return word->name;
  }
  return nullptr;
}

}  // namespace

owner<char*> Extension::name() const {
  const char* word = hasID() ? wordOf(extnID_) : nullptr;
  return word != nullptr ? newText(word) : id();
}

}  // namespace keystrand
