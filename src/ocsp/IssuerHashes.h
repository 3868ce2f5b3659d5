// What a CertID says of an issuer (RFC 6960 section 4.1.1): the digests of the DER of its name and of the octets of its
// public key, those inside the BIT STRING of the key information.
#pragma once

#include <memory>
#include <optional>

#include "keystrand/der/SecureBuffer.h"
#include "keystrand/pkix/Certificate.h"
#include "keystrand/support/Semaphore.h"
#include "ocsp/OCSPRequest.h"

namespace keystrand {

struct IssuerHashes {
  std::unique_ptr<DigestInfo> name;
  std::unique_ptr<DigestInfo> key;
};

// The buffer serves as working space; the semaphore of its device, if there is one, is taken here. Nothing for an
// algorithm that the device does not know, and for a certificate without name or key.
std::optional<IssuerHashes> hashIssuer(const Certificate& issuer, const AlgorithmIdentifier& algorithm,
                                       SecureBuffer& work, Semaphore* semaphore);

// The question about one certificate: by SHA-1, without requestor, extensions and signature. nullptr where the issuer
// cannot be hashed.
std::unique_ptr<OCSPRequest> requestFor(const Certificate& issuer, const BigInteger& serial, SecureBuffer& work,
                                        Semaphore* semaphore);

}  // namespace keystrand
