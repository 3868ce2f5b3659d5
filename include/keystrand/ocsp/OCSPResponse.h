// OCSPResponse and ResponseBytes (RFC 6960 section 4.2.1): what a responder sends, as it is handed to a client and
// taken back. Accessors give clones that the caller deletes, texts and octets are new arrays that the caller delete[]s;
// the ...View forms lend the part until the object changes; setters store copies, nullptr means absent.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "keystrand/der/OID.h"
#include "keystrand/der/OctetValue.h"

namespace keystrand {

class Buffer;

class KEYSTRAND_API ResponseBytes {
 public:
  static constexpr const char* kBasic = "1.3.6.1.5.5.7.48.1.1";

  [[nodiscard]] owner<ResponseBytes*> clone() const { return new ResponseBytes(*this); }

  [[nodiscard]] owner<char*> responseType() const;  // dotted; nullptr when absent
  [[nodiscard]] bool isType(const char* dotted) const;
  void setResponseType(const char* dotted);
  [[nodiscard]] owner<unsigned char*> response() const;  // the encoding of a response of that type
  [[nodiscard]] std::span<const unsigned char> responseView() const noexcept { return response_.view(); }
  [[nodiscard]] std::uint32_t responseLength() const noexcept { return response_.size(); }
  void setResponse(const unsigned char* bytes, std::uint32_t n) { response_.assign(bytes, n); }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::optional<OID> responseType_;
  OctetValue response_;
};

class KEYSTRAND_API OCSPResponse {
 public:
  [[nodiscard]] owner<OCSPResponse*> clone() const { return new OCSPResponse(*this); }

  // OCSPResponseStatus; 0 is successful.
  [[nodiscard]] unsigned char responseStatus() const noexcept { return responseStatus_; }
  void setResponseStatus(unsigned char status) noexcept { responseStatus_ = status; }
  [[nodiscard]] owner<ResponseBytes*> responseBytes() const;
  [[nodiscard]] const ResponseBytes* responseBytesView() const noexcept {
    return responseBytes_ ? &*responseBytes_ : nullptr;
  }
  void setResponseBytes(const ResponseBytes* bytes);

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  unsigned char responseStatus_ = 0;
  std::optional<ResponseBytes> responseBytes_;
};

}  // namespace keystrand
