// What the examples share: certificates from files, and dates and reasons as a person reads them.
#pragma once

#include <keystrand/der/X500Time.h>
#include <keystrand/keystrand.h>
#include <keystrand/pkix/Certificate.h>

#include <iterator>
#include <memory>
#include <string>

namespace examples {

using namespace keystrand;

template <auto Release>
struct Releaser {
  void operator()(auto* object) const { Release(object); }
};
using CertificatePtr = std::unique_ptr<Certificate, Releaser<&cache_releaseCertificate>>;
using TimePtr = std::unique_ptr<X500Time, Releaser<&cache_releaseX500Time>>;

inline constexpr const char* kReasons[] = {"no reason given",
                                           "key compromised",
                                           "CA key compromised",
                                           "affiliation changed",
                                           "superseded",
                                           "cessation of operation",
                                           "on hold (suspended)",
                                           "unknown reason",
                                           "removed from the CRL",
                                           "privilege withdrawn",
                                           "attribute authority compromised"};

inline std::string reasonText(unsigned char reason) {
  return reason < std::size(kReasons) ? kReasons[reason] : "reason " + std::to_string(reason);
}

inline std::string dateText(const X500Time* time) {
  if (time == nullptr) return "not told";
  const std::unique_ptr<char[]> text(time->formatGMT("%Y-%m-%d %H:%M:%S GMT"));
  return text.get();
}

inline bool readCertificate(const std::string& path, Certificate& certificate) {
  Buffer der;
  if (der.loadFile(path.c_str()) && certificate.get(der)) return true;
  Buffer pem;
  return pem.loadPEM(path.c_str()) && certificate.get(pem);
}

}  // namespace examples
