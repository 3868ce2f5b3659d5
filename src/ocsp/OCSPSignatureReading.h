// The elements that an OCSPSignature and a BasicOCSPResponse end with, read alike from either kind of buffer.
#pragma once

#include "keystrand/ocsp/OCSPSignature.h"
#include "ocsp/MessageCoding.h"

namespace keystrand {

constexpr unsigned char kSignatureCerts = 0xA0;

template <class AnyBuffer>
bool OCSPSignature::getContent(const Element& body, AnyBuffer& in) {
  return getPart(body, in, signatureAlgorithm_) && getPart(body, in, signature_) &&
         getOptionalPart(body, in, kSignatureCerts, certs_) && ended(body, in);
}

}  // namespace keystrand
