// LDAPMessage (RFC 4511 section 4.1.1): the envelope of every operation.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "ldap/Controls.h"
#include "ldap/LDAPOperation.h"

namespace keystrand {

class LDAPMessage {
 public:
  static constexpr unsigned char kNoOperation = 0xFF;

  [[nodiscard]] std::int32_t messageID() const noexcept { return messageID_; }
  void setMessageID(std::int32_t id) noexcept { messageID_ = id; }
  // Stores a copy in place of the former operation.
  void setProtocolOp(const LDAPOperation& operation) { protocolOp_ = operation.clone(); }
  // Hands the operation over; none is left.
  [[nodiscard]] std::unique_ptr<LDAPOperation> detachProtocolOp() noexcept { return std::move(protocolOp_); }
  // Null when there is none.
  [[nodiscard]] const LDAPOperation* protocolOp() const noexcept { return protocolOp_.get(); }
  // The operation as one of its class; null when it is of another.
  template <class Operation>
  [[nodiscard]] const Operation* protocolOpAs() const noexcept {
    return protocolOpTag() == Operation::kTag ? dynamic_cast<const Operation*>(protocolOp_.get()) : nullptr;
  }
  // Its tag, or kNoOperation.
  [[nodiscard]] unsigned char protocolOpTag() const noexcept { return protocolOp_ ? protocolOp_->tag() : kNoOperation; }
  [[nodiscard]] const std::optional<Controls>& controls() const noexcept { return controls_; }
  void setControls(const Controls& controls) { controls_ = controls; }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void encode(Buffer& buffer) const;
  // Reads to the end of the data: whatever follows the operation has to be the controls. An operation of an unknown tag
  // gives false and leaves none in the message.
  bool decode(Buffer& in);

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::int32_t messageID_ = 0;
  std::unique_ptr<LDAPOperation> protocolOp_;
  std::optional<Controls> controls_;
};

}  // namespace keystrand
