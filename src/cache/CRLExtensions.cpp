#include "cache/CRLExtensions.h"

#include "der/BorrowedBuffer.h"
#include "der/ConstantOID.h"

namespace keystrand {
namespace {

constexpr ConstantOID kKeyUsage = "2.5.29.15"_oid;
constexpr ConstantOID kReasonCode = "2.5.29.21"_oid;
constexpr ConstantOID kInvalidityDate = "2.5.29.24"_oid;
constexpr ConstantOID kIssuingDistributionPoint = "2.5.29.28"_oid;
constexpr ConstantOID kCRLDistributionPoints = "2.5.29.31"_oid;
constexpr ConstantOID kAuthorityKeyIdentifier = "2.5.29.35"_oid;
constexpr ConstantOID kExpiredCertsOnCRL = "2.5.29.60"_oid;
constexpr unsigned char kCRLSign = 0x02;  // of the first octet of KeyUsage

const Extension* find(const ExtensionList* extensions, const ConstantOID& oid) {
  return extensions != nullptr ? extensions->find(makeOID(oid)) : nullptr;
}

template <class Value>
std::unique_ptr<Value> decoded(const ExtensionList* extensions, const ConstantOID& oid) {
  const Extension* extension = find(extensions, oid);
  if (extension == nullptr) return nullptr;
  BorrowedBuffer octets(extension->valueView());
  auto value = std::make_unique<Value>();
  return value->get(octets) ? std::move(value) : nullptr;
}

}  // namespace

std::unique_ptr<AuthorityKeyIdentifier> authorityKeyIdentifierOf(const CertificateList& crl) {
  return decoded<AuthorityKeyIdentifier>(crl.crlExtensionsView(), kAuthorityKeyIdentifier);
}

std::unique_ptr<IssuingDistPointSyntax> issuingDistributionPointOf(const CertificateList& crl) {
  return decoded<IssuingDistPointSyntax>(crl.crlExtensionsView(), kIssuingDistributionPoint);
}

std::unique_ptr<DistributionPointList> distributionPointsOf(const Certificate& certificate) {
  return decoded<DistributionPointList>(certificate.extensionsView(), kCRLDistributionPoints);
}

X500Time expiredCertsOnCRLOf(const CertificateList& crl) {
  const auto time = decoded<X500Time>(crl.crlExtensionsView(), kExpiredCertsOnCRL);
  return time ? *time : X500Time();
}

bool maySignCRLs(const Certificate& certificate) {
  const Extension* extension = find(certificate.extensionsView(), kKeyUsage);
  if (extension == nullptr) return false;
  BorrowedBuffer octets(extension->valueView());
  unsigned char* bits = nullptr;
  std::uint32_t n = 0;
  unsigned char unused = 0;
  const bool read = octets.getBitString(bits, n, unused);
  const std::unique_ptr<unsigned char[]> holder(bits);
  return read && n > 0 && (bits[0] & kCRLSign) != 0;
}

void reportEntry(const RevokedCertificate& entry, Report& report) {
  const ExtensionList* extensions = entry.extensionsView();
  for (int i = 0; extensions != nullptr && i < extensions->count(); ++i) {
    const Extension& extension = *extensions->view(i);
    if (extension.idView() == nullptr) continue;
    BorrowedBuffer octets(extension.valueView());
    if (*extension.idView() == kReasonCode) {
      unsigned char reason = 0;
      if (octets.getEnumerated(reason)) report.reason = reason;
    } else if (*extension.idView() == kInvalidityDate) {
      X500Time since;
      if (since.get(octets)) report.invalidSince = since;
    }
  }
}

}  // namespace keystrand
