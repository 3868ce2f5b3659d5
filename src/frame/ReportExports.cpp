// The report of the last operation of a context.
#include <optional>

#include "frame/Boundary.h"
#include "keystrand/keystrand.h"

namespace keystrand {
namespace {

// The fields are read the same way on both kinds of context.
template <class Context>
Report* reportOf(void* context) {
  return context != nullptr ? &static_cast<Context*>(context)->report() : nullptr;
}

// The code travels as an unsigned value: none is (unsigned long)-1.
unsigned long errCode(const Report* report) {
  return static_cast<unsigned long>(static_cast<long>(report != nullptr ? report->errCode : kNoError));
}

unsigned char reason(const Report* report) {
  return report != nullptr ? report->reason : 0;
}

X500Time* timeOf(const Report* report, std::optional<X500Time> Report::*field) {
  return guarded<X500Time*>(nullptr, [&]() -> X500Time* {
    return report != nullptr && (report->*field) ? (report->*field)->clone() : nullptr;
  });
}

template <class Context>
void reset(void* context) {
  if (context != nullptr) static_cast<Context*>(context)->report().reset();
}

}  // namespace
}  // namespace keystrand

using namespace keystrand;

unsigned long cache_getErrCode(void* ctx) {
  return errCode(reportOf<CACache>(ctx));
}
unsigned long ocsp_getErrCode(void* ctx) {
  return errCode(reportOf<OCSPChecker>(ctx));
}

unsigned char cache_getReason(void* ctx) {
  return reason(reportOf<CACache>(ctx));
}
unsigned char ocsp_getReason(void* ctx) {
  return reason(reportOf<OCSPChecker>(ctx));
}

X500Time* cache_getThisUpdate(void* ctx) {
  return timeOf(reportOf<CACache>(ctx), &Report::thisUpdate);
}
X500Time* ocsp_getThisUpdate(void* ctx) {
  return timeOf(reportOf<OCSPChecker>(ctx), &Report::thisUpdate);
}

X500Time* cache_getNextUpdate(void* ctx) {
  return timeOf(reportOf<CACache>(ctx), &Report::nextUpdate);
}
X500Time* ocsp_getNextUpdate(void* ctx) {
  return timeOf(reportOf<OCSPChecker>(ctx), &Report::nextUpdate);
}

X500Time* cache_getRevocationDate(void* ctx) {
  return timeOf(reportOf<CACache>(ctx), &Report::revocationDate);
}
X500Time* ocsp_getRevocationDate(void* ctx) {
  return timeOf(reportOf<OCSPChecker>(ctx), &Report::revocationDate);
}

X500Time* cache_getInvalidSince(void* ctx) {
  return timeOf(reportOf<CACache>(ctx), &Report::invalidSince);
}
X500Time* ocsp_getInvalidSince(void* ctx) {
  return timeOf(reportOf<OCSPChecker>(ctx), &Report::invalidSince);
}

X500Time* cache_getExpiredCertsOnCRL(void* ctx) {
  return timeOf(reportOf<CACache>(ctx), &Report::expiredCertsOnCRL);
}

void cache_resetReport(void* ctx) {
  reset<CACache>(ctx);
}
void ocsp_resetReport(void* ctx) {
  reset<OCSPChecker>(ctx);
}
