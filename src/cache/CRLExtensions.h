// What the CRL cache reads out of the extensions of CRLs, of their entries and of CA certificates.
#pragma once

#include <memory>

#include "keystrand/der/X500Time.h"
#include "keystrand/pkix/AuthorityKeyIdentifier.h"
#include "keystrand/pkix/Certificate.h"
#include "keystrand/pkix/CertificateList.h"
#include "keystrand/pkix/DistributionPoint.h"
#include "log/Report.h"

namespace keystrand {

// Null when the CRL has none that can be read.
std::unique_ptr<AuthorityKeyIdentifier> authorityKeyIdentifierOf(const CertificateList& crl);
std::unique_ptr<IssuingDistPointSyntax> issuingDistributionPointOf(const CertificateList& crl);
// CRLDistributionPoints (RFC 5280 section 4.2.1.13); null when the certificate has none that can be read.
std::unique_ptr<DistributionPointList> distributionPointsOf(const Certificate& certificate);
// Time 0 when the CRL has no such extension, or an undecodable one.
X500Time expiredCertsOnCRLOf(const CertificateList& crl);
// Key usage with cRLSign (RFC 5280 section 4.2.1.3); a certificate without the extension may not sign CRLs here.
bool maySignCRLs(const Certificate& certificate);
// Reason and invalidity date of an entry go into the report; what the entry does not tell stays as it was there.
void reportEntry(const RevokedCertificate& entry, Report& report);

}  // namespace keystrand
