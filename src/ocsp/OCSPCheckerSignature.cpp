// Who signed a response (RFC 6960 section 4.2.2.2): the issuer itself, or a responder that the issuer has certified for
// it. The dates of the responder's certificate and its own revocation are not looked at.
#include <algorithm>

#include "der/BorrowedBuffer.h"
#include "der/ConstantOID.h"
#include "keystrand/der/OIDList.h"
#include "log/MessageCodes.h"
#include "ocsp/OCSPChecker.h"

namespace keystrand {
namespace {

constexpr ConstantOID kKeyUsage = "2.5.29.15"_oid;
constexpr ConstantOID kExtKeyUsage = "2.5.29.37"_oid;
constexpr ConstantOID kOCSPSigning = "1.3.6.1.5.5.7.3.9"_oid;
// Responders enclose one certificate, or the few of a chain. Each one more costs a public-key operation, before
// anything is known of who sent it.
constexpr int kMostResponders = 64;

bool namesOCSPSigning(const Extension& extension) {
  BorrowedBuffer in(extension.valueView());
  OIDList purposes;
  if (!purposes.get(in)) return false;
  for (int i = 0; i < purposes.count(); ++i) {
    if (*purposes.view(i) == kOCSPSigning) return true;
  }
  return false;
}

// Of two such extensions, which no certificate should have, the second replaces the first.
bool isForOCSPSigning(const ExtensionList& extensions) {
  bool isNamed = false;
  for (int i = 0; i < extensions.count(); ++i) {
    const OID* id = extensions.view(i)->idView();
    if (id != nullptr && *id == kExtKeyUsage) isNamed = namesOCSPSigning(*extensions.view(i));
  }
  return isNamed;
}

bool areSame(const Certificate& one, const Certificate& other) {
  Buffer first;
  Buffer second;
  one.put(first);
  other.put(second);
  return std::ranges::equal(first.range(0, first.size()), second.range(0, second.size()));
}

}  // namespace

bool OCSPChecker::verificationEnded(bool verified) {
  logMessage(Logger::kTrace, kOCSPVerificationEnded);
  return verified;
}

template <class Signed>
bool OCSPChecker::isSignedBy(Signed& object, const Certificate& signer) {
  const KeyInfo* key = signer.subjectPublicKeyInfoView();
  if (key == nullptr || cryptoDevice_ == nullptr) return false;
  const SemaphoreLock device(semaphore_);
  return object.verify(*cryptoDevice_, *key);
}

// The first of the enclosed certificates whose key made the signature.
Certificate* OCSPChecker::responderOf(BasicOCSPResponse& response) {
  CertList& certs = *response.certsView();
  for (int i = 0; i < std::min(certs.count(), kMostResponders); ++i) {
    if (isSignedBy(response, *certs.view(i))) return certs.view(i);
  }
  return nullptr;
}

// A responder that lacks the extension of key usage, or is neither certified for it nor the issuer, is passed over in
// silence. What the key usage says plays no part.
bool OCSPChecker::verifySignature(BasicOCSPResponse& response, const Certificate& issuer) {
  logMessage(Logger::kTrace, kOCSPVerificationStarted);
  const CertList* certs = response.certsView();
  if (certs == nullptr || certs->count() == 0) return verificationEnded(isSignedBy(response, issuer));
  Certificate* responder = responderOf(response);
  if (responder == nullptr) return verificationEnded(false);
  const ExtensionList* extensions = responder->extensionsView();
  if (extensions == nullptr || extensions->find(makeOID(kKeyUsage)) == nullptr) return false;
  if (isForOCSPSigning(*extensions)) return verificationEnded(isSignedBy(*responder, issuer));
  return areSame(*responder, issuer) && verificationEnded(true);
}

}  // namespace keystrand
