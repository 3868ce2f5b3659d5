#include "ocsp/OCSPChecker.h"

#include <algorithm>

#include "der/BorrowedBuffer.h"
#include "der/ConstantOID.h"
#include "keystrand/support/SystemClock.h"
#include "log/ContextLogger.h"
#include "log/DateText.h"
#include "log/MessageCodes.h"
#include "ocsp/IssuerHashes.h"
#include "pkix/Parts.h"

namespace keystrand {
namespace {

constexpr std::uint32_t kWorkBufferSize = 4096;
constexpr int kHexadecimal = 16;
constexpr unsigned char kCertificateHold = 6;
constexpr ConstantOID kInvalidityDate = "2.5.29.24"_oid;
constexpr ConstantOID kCrlIDExtension = "1.3.6.1.5.5.7.48.1.3"_oid;

bool isHash(const DigestInfo& digest, std::span<const unsigned char> hash) {
  return std::ranges::equal(digest.valueView(), hash);
}

// What the extension holds, unless it cannot be read.
template <class Value>
void readInto(std::optional<Value>& target, const Extension& extension) {
  BorrowedBuffer in(extension.valueView());
  Value value;
  if (value.get(in)) target = std::move(value);
}

void reportExtensions(const ExtensionList* extensions, OCSPReport& report) {
  for (int i = 0; extensions != nullptr && i < extensions->count(); ++i) {
    const Extension& extension = *extensions->view(i);
    if (extension.idView() == nullptr) continue;
    if (*extension.idView() == kInvalidityDate) readInto(report.invalidSince, extension);
    if (*extension.idView() == kCrlIDExtension) readInto(report.crlID, extension);
  }
}

}  // namespace

OCSPChecker::OCSPChecker(CryptoDevice* device, Semaphore* semaphore)
    : logger_(contextLogger()), cryptoDevice_(device), semaphore_(semaphore), workBuffer_(device, kWorkBufferSize) {}

bool OCSPChecker::fail() {
  report_.errCode = kOCSPFailed;
  logMessage(Logger::kFailure, kOCSPFailed);
  return false;
}

bool OCSPChecker::check(const char* uri, const Certificate* issuer, const char* serial) {
  report_.errCode = kNoError;
  BigInteger number;
  if (issuer == nullptr || serial == nullptr || !BigInteger::parse(serial, kHexadecimal, number)) return fail();
  if (useLocalResponses_ != 0) return checkLocalResponses(*issuer, number);
  OCSPResponse response;
  return ask(uri != nullptr ? uri : "", *issuer, number, response) && checkResponse(response, *issuer, number);
}

// The first response that gives an answer of any kind ends the walk.
bool OCSPChecker::checkLocalResponses(const Certificate& issuer, const BigInteger& serial) {
  if (!localResponses_) {
    report_.errCode = kOCSPFailed;  // not logged: nothing was tried
    return false;
  }
  for (const OCSPResponse& response : *localResponses_) {
    report_.errCode = kNoError;
    if (checkResponse(response, issuer, serial)) return true;
    if (report_.errCode != kOCSPFailed) return false;
  }
  return false;
}

bool OCSPChecker::checkResponse(const OCSPResponse& response, const Certificate& issuer, const BigInteger& serial) {
  BasicOCSPResponse basic;
  if (!verifiedBasic(response, issuer, basic)) return false;
  const ResponseData& data = *basic.tbsResponseDataView();
  report_.producedAt = *data.producedAtView();
  const SingleResponse* single = findSingle(*data.responsesView(), issuer, serial);
  if (single == nullptr) return fail(kOCSPNoData);
  reportDates(*single);
  return reportStatus(*single);
}

const SingleResponse* OCSPChecker::findSingle(const SingleResponseList& list, const Certificate& issuer,
                                              const BigInteger& serial) {
  for (int i = 0; i < list.count(); ++i) {
    if (matches(*list.view(i)->certIDView(), issuer, serial)) return list.view(i);
  }
  return nullptr;
}

// By the digest that the responder chose, which need not be that of the request.
bool OCSPChecker::matches(const CertID& certID, const Certificate& issuer, const BigInteger& serial) {
  if (!(certID.serialNumberView() == serial)) return false;
  const auto hashes = hashIssuer(issuer, *certID.hashAlgorithmView(), workBuffer_, semaphore_);
  return hashes && isHash(*hashes->name, certID.issuerNameHashView()) &&
         isHash(*hashes->key, certID.issuerKeyHashView());
}

void OCSPChecker::reportDates(const SingleResponse& single) {
  report_.thisUpdate = *single.thisUpdateView();
  report_.nextUpdate = valueOf(single.nextUpdateView());
  if (logger_) {
    logMessage(Logger::kInformation, kOCSPResponseDate, dateText(*report_.thisUpdate).c_str());
    if (report_.nextUpdate) {
      logMessage(Logger::kInformation, kOCSPAlignmentDate, dateText(*report_.nextUpdate).c_str());
    }
  }
  // A stored response is there for its day and is never old, from the moment that there are any.
  if (!localResponses_ && report_.nextUpdate) reportExpiry(*report_.nextUpdate);
}

// Told only: the check goes on.
void OCSPChecker::reportExpiry(const X500Time& nextUpdate) {
  const std::unique_ptr<X500Time> now(SystemClock::now());
  if (!nextUpdate.less(*now)) return;
  report_.errCode = kOCSPExpired;
  if (!logger_) return;
  log(*logger_, Logger::kInformation, kOCSPExpired, "%s [%s]", messageText(kOCSPExpired, settings().ocspLanguage),
      dateText(nextUpdate).c_str());
}

bool OCSPChecker::reportStatus(const SingleResponse& single) {
  switch (single.certStatusView()->tag()) {
    case OCSPCertStatus::kGood:
      logMessage(Logger::kTrace, kOCSPNotRevoked);
      return false;
    case OCSPCertStatus::kRevoked:
      return reportRevocation(single);
    default:
      return fail(kOCSPCertificateUnknown);
  }
}

bool OCSPChecker::reportRevocation(const SingleResponse& single) {
  const RevokedInfo& revoked = *single.certStatusView()->revokedInfoView();
  const unsigned char reason = revoked.revocationReason();
  report_.revocationDate = *revoked.revocationTimeView();
  report_.reason = reason != RevokedInfo::kNoReason ? reason : static_cast<unsigned char>(0);
  reportExtensions(single.singleExtensionsView(), report_);
  if (!logger_) return true;
  logMessage(Logger::kInformation, reason == kCertificateHold ? kSuspensionDate : kRevocationDate,
             dateText(*report_.revocationDate).c_str());
  logMessage(Logger::kTrace, kOCSPRevoked);
  return true;
}

void OCSPChecker::addResponse(const OCSPResponse& response) {
  if (!localResponses_) localResponses_ = std::make_unique<OCSPResponseList>();
  localResponses_->add(response);
}

// Wrapped as a responder would send it.
void OCSPChecker::addResponse(const BasicOCSPResponse& response) {
  workBuffer_.reset();
  workBuffer_.reserve(response.size(workBuffer_));
  response.put(workBuffer_);
  std::uint32_t n = 0;
  const unsigned char* encoding = workBuffer_.data(n);
  ResponseBytes bytes;
  bytes.setResponseType(ResponseBytes::kBasic);
  bytes.setResponse(encoding, n);
  OCSPResponse wrapped;
  wrapped.setResponseBytes(&bytes);
  addResponse(wrapped);
}

}  // namespace keystrand
