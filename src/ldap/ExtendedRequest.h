// AbandonRequest and ExtendedRequest (RFC 4511 sections 4.11 and 4.12).
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "ldap/Coding.h"
#include "ldap/LDAPOperation.h"

namespace keystrand {

// The message ID of what is abandoned is the whole content.
class AbandonRequest final : public OperationOf<AbandonRequest, 0x50> {
 public:
  void setMessageID(std::int32_t id) noexcept { messageID_ = id; }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const override { return buffer.sizeInteger(messageID_, kTag); }
  void encode(Buffer& buffer) const override { buffer.putInteger(messageID_, kTag); }
  bool decode(Buffer& in) override { return in.getInteger(messageID_, kTag); }

 private:
  std::int32_t messageID_ = 0;
};

class ExtendedRequest final : public OperationOf<ExtendedRequest, 0x77> {
 public:
  void setRequestName(std::string_view oid) { requestName_ = oid; }
  void setRequestValue(const Bytes& value) { requestValue_ = value; }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const override;
  void encode(Buffer& buffer) const override;
  bool decode(Buffer& in) override;

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::string requestName_;
  std::optional<Bytes> requestValue_;
};

}  // namespace keystrand
