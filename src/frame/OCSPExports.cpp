// OCSP: the question to a responder, stored responses, the response itself for keeping.
#include "frame/Boundary.h"
#include "keystrand/keystrand.h"
#include "keystrand/ocsp/BasicOCSPResponse.h"
#include "keystrand/ocsp/OCSPResponse.h"

namespace keystrand {
namespace {

template <class Response>
void addResponse(void* context, const Response* response) noexcept {
  guardedVoid([&] {
    if (given(context, response)) static_cast<OCSPChecker*>(context)->addResponse(*response);
  });
}

}  // namespace
}  // namespace keystrand

using namespace keystrand;

unsigned char ocsp_check(void* ctx, char* uri, Certificate* issuer, char* serial) {
  return asking<OCSPChecker, unsigned char>(ctx, 0, [&](OCSPChecker& c) { return c.check(uri, issuer, serial); });
}

OCSPResponse* ocsp_getResponse(void* ctx, char* uri, Certificate* issuer, BigInteger serial) {
  return asking<OCSPChecker, OCSPResponse*>(ctx, nullptr,
                                            [&](OCSPChecker& c) { return c.getResponse(uri, issuer, serial); });
}

void ocsp_addOCSPResponse(void* ctx, OCSPResponse* response) {
  addResponse(ctx, response);
}

void ocsp_addOCSPResponse(void* ctx, BasicOCSPResponse* response) {
  addResponse(ctx, response);
}

void ocsp_removeLocalResponses(void* ctx) {
  if (ctx != nullptr) static_cast<OCSPChecker*>(ctx)->removeLocalResponses();
}

void ocsp_setUseLocalResponses(void* ctx, unsigned char use) {
  if (ctx != nullptr) static_cast<OCSPChecker*>(ctx)->setUseLocalResponses(use);
}

void ocsp_releaseOCSPResponse(OCSPResponse* response) {
  delete response;
}
