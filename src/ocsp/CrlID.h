// CrlID (RFC 6960 section 4.4.2): the CRL in which a responder found a certificate revoked. Accessors give clones that
// the caller deletes, octets are new arrays that the caller delete[]s; setters store copies, nullptr means absent.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "keystrand/der/BigInteger.h"
#include "keystrand/der/OctetValue.h"
#include "keystrand/der/X500Time.h"

namespace keystrand {

class CrlID {
 public:
  [[nodiscard]] owner<CrlID*> clone() const { return new CrlID(*this); }

  // An OCTET STRING here, though the standard has an IA5String: a CrlID with the latter is refused.
  [[nodiscard]] owner<unsigned char*> crlUrl() const;
  [[nodiscard]] std::span<const unsigned char> crlUrlView() const noexcept { return crlUrl_.view(); }
  [[nodiscard]] std::uint32_t crlUrlLength() const noexcept { return crlUrl_.size(); }
  void setCrlUrl(const unsigned char* bytes, std::uint32_t n) { crlUrl_.assign(bytes, n); }
  [[nodiscard]] const std::optional<BigInteger>& crlNum() const noexcept { return crlNum_; }
  void setCrlNum(const std::optional<BigInteger>& number) { crlNum_ = number; }
  // GeneralizedTime; get refuses any other form.
  [[nodiscard]] owner<X500Time*> crlTime() const;
  [[nodiscard]] const X500Time* crlTimeView() const noexcept { return crlTime_ ? &*crlTime_ : nullptr; }
  void setCrlTime(const X500Time* time);

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  OctetValue crlUrl_;
  std::optional<BigInteger> crlNum_;
  std::optional<X500Time> crlTime_;
};

}  // namespace keystrand
