// ResponseData and ResponderID (RFC 6960 section 4.2.1): what the signature of a response covers, and who made it.
// Accessors give clones that the caller deletes, octets are new arrays that the caller delete[]s; the ...View forms
// lend the part until the object changes; setters store copies, nullptr means absent.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "keystrand/der/Name.h"
#include "keystrand/der/OctetValue.h"
#include "keystrand/der/X500Time.h"
#include "keystrand/ocsp/SingleResponse.h"
#include "keystrand/pkix/Extension.h"

namespace keystrand {

// A choice: the responder's name, or the SHA-1 digest of its key. Setting one drops the other.
class KEYSTRAND_API ResponderID {
 public:
  ResponderID();
  ~ResponderID();
  ResponderID(const ResponderID&) = delete;
  ResponderID& operator=(const ResponderID&) = delete;
  [[nodiscard]] owner<ResponderID*> clone() const;

  [[nodiscard]] owner<Name*> byName() const;
  [[nodiscard]] const Name* byNameView() const noexcept { return byName_.get(); }
  void setByName(const Name* name);
  [[nodiscard]] owner<unsigned char*> byKey() const;
  [[nodiscard]] std::span<const unsigned char> byKeyView() const noexcept { return byKey_.view(); }
  [[nodiscard]] std::uint32_t byKeyLength() const noexcept { return byKey_.size(); }
  void setByKey(const unsigned char* bytes, std::uint32_t n);

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

 private:
  [[nodiscard]] std::uint32_t keySize(const Buffer& buffer) const;

  std::unique_ptr<Name> byName_;
  OctetValue byKey_;
};

class KEYSTRAND_API ResponseData {
 public:
  ResponseData();
  ~ResponseData();
  ResponseData(const ResponseData&) = delete;
  ResponseData& operator=(const ResponseData&) = delete;
  [[nodiscard]] owner<ResponseData*> clone() const;

  [[nodiscard]] std::int32_t version() const noexcept { return version_; }  // 0 is v1
  void setVersion(std::int32_t version) noexcept { version_ = version; }
  [[nodiscard]] owner<ResponderID*> responderID() const;
  [[nodiscard]] const ResponderID* responderIDView() const noexcept { return responderID_.get(); }
  void setResponderID(const ResponderID* responder);
  // GeneralizedTime; get refuses any other form.
  [[nodiscard]] owner<X500Time*> producedAt() const;
  [[nodiscard]] const X500Time* producedAtView() const noexcept { return producedAt_ ? &*producedAt_ : nullptr; }
  void setProducedAt(const X500Time* time);
  [[nodiscard]] owner<SingleResponseList*> responses() const;
  [[nodiscard]] const SingleResponseList* responsesView() const noexcept { return responses_.get(); }
  void setResponses(const SingleResponseList* list);
  [[nodiscard]] owner<ExtensionList*> responseExtensions() const;
  [[nodiscard]] const ExtensionList* responseExtensionsView() const noexcept { return responseExtensions_.get(); }
  void setResponseExtensions(const ExtensionList* list);

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::int32_t version_ = 0;
  bool versionExplicit_ = false;  // it arrived, though it be the default, and goes back out
  std::unique_ptr<ResponderID> responderID_;
  std::optional<X500Time> producedAt_;
  std::unique_ptr<SingleResponseList> responses_;
  std::unique_ptr<ExtensionList> responseExtensions_;
};

}  // namespace keystrand
