// OCSPRequest (RFC 6960 section 4.1.1) with TBSRequest, Request and the list of them.
// Accessors give clones that the caller deletes, the ...View forms lend the part until the object changes; setters
// store copies, nullptr means absent, or take over what a unique_ptr holds.
#pragma once

#include <cstdint>
#include <memory>

#include "keystrand/crypto/CryptoDevice.h"
#include "keystrand/ocsp/CertID.h"
#include "keystrand/ocsp/OCSPSignature.h"
#include "keystrand/pkix/Extension.h"
#include "keystrand/pkix/GeneralName.h"
#include "keystrand/support/PointerList.h"

namespace keystrand {

class Request {
 public:
  [[nodiscard]] owner<Request*> clone() const;

  [[nodiscard]] owner<CertID*> reqCert() const;
  [[nodiscard]] const CertID* reqCertView() const noexcept { return reqCert_.get(); }
  void setReqCert(const CertID* certID);
  void setReqCert(std::unique_ptr<CertID> certID) { reqCert_ = std::move(certID); }
  [[nodiscard]] owner<ExtensionList*> singleRequestExtensions() const;
  [[nodiscard]] const ExtensionList* singleRequestExtensionsView() const noexcept {
    return singleRequestExtensions_.get();
  }
  void setSingleRequestExtensions(const ExtensionList* list);

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::unique_ptr<CertID> reqCert_;
  std::unique_ptr<ExtensionList> singleRequestExtensions_;
};

// SEQUENCE OF Request
class RequestList {
 public:
  [[nodiscard]] owner<RequestList*> clone() const;
  void add(const Request& request);
  void add(std::unique_ptr<Request> request) { items_.append(std::move(request)); }
  [[nodiscard]] owner<Request*> get(int index) const;  // nullptr out of range
  [[nodiscard]] const Request* view(int index) const { return items_.view(index); }
  [[nodiscard]] int count() const { return items_.count(); }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

 private:
  OwnedList<Request> items_;
};

class TBSRequest {
 public:
  [[nodiscard]] owner<TBSRequest*> clone() const;

  [[nodiscard]] std::int32_t version() const noexcept { return version_; }  // 0 is v1
  void setVersion(std::int32_t version) noexcept { version_ = version; }
  [[nodiscard]] owner<GeneralName*> requestorName() const;
  [[nodiscard]] const GeneralName* requestorNameView() const noexcept { return requestorName_.get(); }
  void setRequestorName(const GeneralName* name);
  [[nodiscard]] owner<RequestList*> requestList() const;
  [[nodiscard]] const RequestList* requestListView() const noexcept { return requestList_.get(); }
  void setRequestList(const RequestList* list);
  void setRequestList(std::unique_ptr<RequestList> list) { requestList_ = std::move(list); }
  [[nodiscard]] owner<ExtensionList*> requestExtensions() const;
  [[nodiscard]] const ExtensionList* requestExtensionsView() const noexcept { return requestExtensions_.get(); }
  void setRequestExtensions(const ExtensionList* list);

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::int32_t version_ = 0;
  bool versionExplicit_ = false;  // it arrived, though it be the default, and goes back out
  std::unique_ptr<GeneralName> requestorName_;
  std::unique_ptr<RequestList> requestList_;
  std::unique_ptr<ExtensionList> requestExtensions_;
};

class OCSPRequest {
 public:
  [[nodiscard]] owner<OCSPRequest*> clone() const;

  [[nodiscard]] owner<TBSRequest*> tbsRequest() const;
  [[nodiscard]] const TBSRequest* tbsRequestView() const noexcept { return tbsRequest_.get(); }
  void setTbsRequest(const TBSRequest* request);
  void setTbsRequest(std::unique_ptr<TBSRequest> request) { tbsRequest_ = std::move(request); }
  [[nodiscard]] owner<OCSPSignature*> optionalSignature() const;
  [[nodiscard]] const OCSPSignature* optionalSignatureView() const noexcept { return optionalSignature_.get(); }
  void setOptionalSignature(const OCSPSignature* signature);

  // Signs the request with the key loaded in the device; false, nothing changed, when it has none. Certificates that
  // the signature holds already stay. Hold the device's semaphore.
  bool sign(CryptoDevice& device, const AlgorithmIdentifier& algorithm);

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::unique_ptr<TBSRequest> tbsRequest_;
  std::unique_ptr<OCSPSignature> optionalSignature_;
};

}  // namespace keystrand
