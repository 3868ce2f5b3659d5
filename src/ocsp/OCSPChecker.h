// The context of the ocsp_ functions: asks a responder, or the stored responses, for the status of one certificate that
// is named by the certificate of its issuer and a serial number. For one thread at a time.
//
// Trust in a response rests on the issuer handed in, and on nothing else: the CA list is not asked. The implementation
// is split by duty: OCSPChecker.cpp (a check and its report), OCSPCheckerExchange.cpp (request and answer),
// OCSPCheckerSignature.cpp (who signed a response).
#pragma once

#include <memory>
#include <span>
#include <string>

#include "keystrand/crypto/CryptoDevice.h"
#include "keystrand/der/BigInteger.h"
#include "keystrand/der/SecureBuffer.h"
#include "keystrand/ocsp/BasicOCSPResponse.h"
#include "keystrand/ocsp/OCSPResponse.h"
#include "keystrand/support/Semaphore.h"
#include "log/Logger.h"
#include "ocsp/OCSPReport.h"
#include "ocsp/OCSPResponseList.h"
#include "support/Settings.h"

namespace keystrand {

class OCSPChecker {
 public:
  // The library's crypto objects, not owned; null before cache_init.
  OCSPChecker(CryptoDevice* device, Semaphore* semaphore);

  [[nodiscard]] OCSPReport& report() noexcept { return report_; }

  // True when the certificate is revoked; otherwise the code of the report tells whether it is good or there is no
  // answer. The serial number is hexadecimal text. The URI is not looked at when stored responses are in use.
  bool check(const char* uri, const Certificate* issuer, const char* serial);
  // The verified answer of a responder, whatever it says; nullptr without one.
  [[nodiscard]] owner<OCSPResponse*> getResponse(const char* uri, const Certificate* issuer, const BigInteger& serial);

  void setUseLocalResponses(unsigned char use) noexcept { useLocalResponses_ = use; }
  void addResponse(const OCSPResponse& response);
  void addResponse(const BasicOCSPResponse& response);
  void removeLocalResponses() noexcept { localResponses_.reset(); }

 private:
  template <class... Arguments>
  void logMessage(unsigned char level, unsigned long code, Arguments... arguments) {
    logRow(logger_.get(), level, code, settings().ocspLanguage, arguments...);
  }
  // No answer; the second form logs the detail first. Always false.
  bool fail();
  template <class... Arguments>
  bool fail(unsigned long detail, Arguments... arguments) {
    logMessage(Logger::kTrace, detail, arguments...);
    return fail();
  }

  // A check (OCSPChecker.cpp).
  bool checkLocalResponses(const Certificate& issuer, const BigInteger& serial);
  bool checkResponse(const OCSPResponse& response, const Certificate& issuer, const BigInteger& serial);
  [[nodiscard]] bool matches(const CertID& certID, const Certificate& issuer, const BigInteger& serial);
  const SingleResponse* findSingle(const SingleResponseList& list, const Certificate& issuer, const BigInteger& serial);
  void reportDates(const SingleResponse& single);
  void reportExpiry(const X500Time& nextUpdate);
  bool reportStatus(const SingleResponse& single);
  bool reportRevocation(const SingleResponse& single);

  // The exchange (OCSPCheckerExchange.cpp).
  bool ask(const std::string& uri, const Certificate& issuer, const BigInteger& serial, OCSPResponse& response);
  int post(const std::string& uri, std::span<const unsigned char> request);
  bool decodeBasic(std::span<const unsigned char> encoding, BasicOCSPResponse& basic);
  // The basic response inside, once its signature holds. False also, and without a code, for another type of response.
  bool verifiedBasic(const OCSPResponse& response, const Certificate& issuer, BasicOCSPResponse& basic);

  // Who signed a response (OCSPCheckerSignature.cpp).
  bool verifySignature(BasicOCSPResponse& response, const Certificate& issuer);
  template <class Signed>
  bool isSignedBy(Signed& object, const Certificate& signer);
  Certificate* responderOf(BasicOCSPResponse& response);
  bool verificationEnded(bool verified);

  unsigned char useLocalResponses_ = 0;
  std::unique_ptr<Logger> logger_;  // null when logging was off at the making of the context
  CryptoDevice* cryptoDevice_;      // the library's
  Semaphore* semaphore_;            // the library's, around every use of the device, never over the network
  SecureBuffer workBuffer_;         // bound to the device: request, answer, what is digested
  OCSPReport report_;
  std::unique_ptr<OCSPResponseList> localResponses_;
};

}  // namespace keystrand
