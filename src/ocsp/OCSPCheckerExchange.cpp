// Asking a responder by HTTP (RFC 6960 appendix A.1), and what its answer must be to be looked into.
#include <algorithm>
#include <vector>

#include "log/MessageCodes.h"
#include "net/CurlSettings.h"
#include "net/HTTPS.h"
#include "net/URL.h"
#include "ocsp/IssuerHashes.h"
#include "ocsp/OCSPChecker.h"

namespace keystrand {
namespace {

constexpr int kOK = 200;
constexpr int kNothingSent = 0;
constexpr std::string_view kContentType = "application/ocsp-request";
// Responses have a few thousand bytes. Decoded they take many times that, before anything is known of who sent them.
constexpr std::uint64_t kResponseLimit = 4U << 20U;

// malformedRequest, internalError, tryLater, sigRequired, unauthorized. Any other value, though the standard has none
// but 0, lets the response be looked into.
constexpr unsigned char kErrorStatuses[] = {1, 2, 3, 5, 6};

}  // namespace

// A URI of another scheme sends nothing.
int OCSPChecker::post(const std::string& uri, std::span<const unsigned char> request) {
  const auto parsed = httpParseURL(uri, true);
  if (!parsed || (parsed->scheme != kSchemeHTTP && parsed->scheme != kSchemeHTTPS)) return kNothingSent;
  setCurlTimeout(settings().ocspTimeout);
  return httpsPost(uri, kContentType, request, &workBuffer_, kResponseLimit);
}

// The answer arrives where the request was written, so the request goes out from a copy.
bool OCSPChecker::ask(const std::string& uri, const Certificate& issuer, const BigInteger& serial,
                      OCSPResponse& response) {
  const auto request = requestFor(issuer, serial, workBuffer_, semaphore_);
  if (!request) return fail();
  workBuffer_.reset();
  request->put(workBuffer_);
  const auto written = workBuffer_.range(0, workBuffer_.size());
  const std::vector<unsigned char> bytes(written.begin(), written.end());
  logMessage(Logger::kTrace, kOCSPStarted);
  logMessage(Logger::kNotice, kOCSPAddress, uri.c_str());
  const int status = post(uri, bytes);
  if (status != kOK) return fail(kOCSPHTTPError, status);
  return response.get(workBuffer_) || fail(kOCSPResponseIncorrect);
}

owner<OCSPResponse*> OCSPChecker::getResponse(const char* uri, const Certificate* issuer, const BigInteger& serial) {
  report_.errCode = kNoError;
  if (issuer == nullptr) {
    fail();
    return nullptr;
  }
  auto response = std::make_unique<OCSPResponse>();
  BasicOCSPResponse basic;
  const bool answered = ask(uri != nullptr ? uri : "", *issuer, serial, *response);
  return answered && verifiedBasic(*response, *issuer, basic) ? response.release() : nullptr;
}

bool OCSPChecker::decodeBasic(std::span<const unsigned char> encoding, BasicOCSPResponse& basic) {
  if (encoding.empty()) return false;
  workBuffer_.assign(encoding.data(), static_cast<std::uint32_t>(encoding.size()));
  const SemaphoreLock device(semaphore_);
  return basic.get(workBuffer_);
}

bool OCSPChecker::verifiedBasic(const OCSPResponse& response, const Certificate& issuer, BasicOCSPResponse& basic) {
  const unsigned char status = response.responseStatus();
  if (std::ranges::find(kErrorStatuses, status) != std::end(kErrorStatuses)) {
    return fail(kOCSPResponseStatus, int{status});
  }
  const ResponseBytes* bytes = response.responseBytesView();
  if (bytes == nullptr) return fail(kOCSPResponseIncorrect);
  if (!bytes->isType(ResponseBytes::kBasic)) return false;  // clients know this answer as good
  if (!decodeBasic(bytes->responseView(), basic)) return fail(kOCSPResponseIncorrect);
  return verifySignature(basic, issuer) || fail(kOCSPNotVerified);
}

}  // namespace keystrand
