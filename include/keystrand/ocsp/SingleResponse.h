// SingleResponse (RFC 6960 section 4.2.1), the answer about one certificate, and the list of them.
// Accessors give clones that the caller deletes, the ...View forms lend the part until the object changes; setters
// store copies, nullptr means absent.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "keystrand/ocsp/CertID.h"
#include "keystrand/ocsp/OCSPCertStatus.h"
#include "keystrand/pkix/Extension.h"
#include "keystrand/support/PointerList.h"

namespace keystrand {

class KEYSTRAND_API SingleResponse {
 public:
  SingleResponse();
  ~SingleResponse();
  SingleResponse(const SingleResponse&) = delete;
  SingleResponse& operator=(const SingleResponse&) = delete;
  [[nodiscard]] owner<SingleResponse*> clone() const;

  [[nodiscard]] owner<CertID*> certID() const;
  [[nodiscard]] const CertID* certIDView() const noexcept { return certID_.get(); }
  void setCertID(const CertID* certID);
  [[nodiscard]] owner<OCSPCertStatus*> certStatus() const;
  [[nodiscard]] const OCSPCertStatus* certStatusView() const noexcept { return certStatus_ ? &*certStatus_ : nullptr; }
  void setCertStatus(const OCSPCertStatus* status);
  // Both times are GeneralizedTime; get refuses any other form.
  [[nodiscard]] owner<X500Time*> thisUpdate() const;
  [[nodiscard]] const X500Time* thisUpdateView() const noexcept { return thisUpdate_ ? &*thisUpdate_ : nullptr; }
  void setThisUpdate(const X500Time* time);
  [[nodiscard]] owner<X500Time*> nextUpdate() const;
  [[nodiscard]] const X500Time* nextUpdateView() const noexcept { return nextUpdate_ ? &*nextUpdate_ : nullptr; }
  void setNextUpdate(const X500Time* time);
  [[nodiscard]] owner<ExtensionList*> singleExtensions() const;
  [[nodiscard]] const ExtensionList* singleExtensionsView() const noexcept { return singleExtensions_.get(); }
  void setSingleExtensions(const ExtensionList* list);

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::unique_ptr<CertID> certID_;
  std::optional<OCSPCertStatus> certStatus_;
  std::optional<X500Time> thisUpdate_;
  std::optional<X500Time> nextUpdate_;
  std::unique_ptr<ExtensionList> singleExtensions_;
};

// SEQUENCE OF SingleResponse
class KEYSTRAND_API SingleResponseList {
 public:
  [[nodiscard]] owner<SingleResponseList*> clone() const;
  void add(const SingleResponse& response);
  [[nodiscard]] owner<SingleResponse*> get(int index) const;  // nullptr out of range
  [[nodiscard]] const SingleResponse* view(int index) const { return items_.view(index); }
  [[nodiscard]] int count() const { return items_.count(); }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

 private:
  OwnedList<SingleResponse> items_;
};

}  // namespace keystrand
