// What a client of the ocsp_ functions does.
#pragma once

#include <memory>
#include <string>

#include "keystrand/ocsp/BasicOCSPResponse.h"
#include "keystrand/ocsp/OCSPResponse.h"
#include "support/Client.h"
#include "support/Coding.h"
#include "support/OCSPBuilders.h"

namespace keystrand::test {

// An answer: revoked or not, and the code of the report, -1 where it holds none.
struct Answer {
  int revoked = 0;
  long code = -1;
  bool operator==(const Answer&) const = default;
};
constexpr Answer kGood{0, -1};
constexpr Answer kRevoked{1, -1};
constexpr Answer kNoAnswer{0, 5214};

inline void PrintTo(const Answer& answer, std::ostream* out) {
  *out << answer.revoked << " with code " << answer.code;
}

inline std::unique_ptr<Certificate> certificateOf(const ByteString& der) {
  auto certificate = std::make_unique<Certificate>();
  EXPECT_TRUE(decode(*certificate, der));
  return certificate;
}

class OCSPClient {
 public:
  OCSPClient() : context_(ocsp_getContext()) {}
  ~OCSPClient() { ocsp_releaseContext(context_); }
  OCSPClient(const OCSPClient&) = delete;
  OCSPClient& operator=(const OCSPClient&) = delete;

  [[nodiscard]] void* context() const { return context_; }
  Answer check(std::string uri, const Authority& issuer, std::string serial) const {
    const int revoked = ocsp_check(context_, uri.data(), certificateOf(issuer.certificate).get(), serial.data());
    return {revoked, code()};
  }
  // The answer that a stored response alone gives.
  Answer checkStored(const ByteString& response, const Authority& issuer, const std::string& serial = "1001") const {
    ocsp_removeLocalResponses(context_);
    add(response);
    ocsp_setUseLocalResponses(context_, 1);
    return check("", issuer, serial);
  }
  void add(const ByteString& response) const {
    OCSPResponse decoded;
    EXPECT_TRUE(decode(decoded, response));
    ocsp_addOCSPResponse(context_, &decoded);
  }
  [[nodiscard]] long code() const { return static_cast<long>(ocsp_getErrCode(context_)); }
  [[nodiscard]] int reason() const { return ocsp_getReason(context_); }
  // The text of a time of the report, "none" without one.
  std::string time(X500Time* (*getter)(void*)) const {
    const std::unique_ptr<X500Time, decltype(&cache_releaseX500Time)> read(getter(context_), &cache_releaseX500Time);
    return read ? read->textView() : "none";
  }

 private:
  void* context_;
};

}  // namespace keystrand::test
