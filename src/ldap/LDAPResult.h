// LDAPResult (RFC 4511 section 4.1.9): the answer that most responses carry.
#pragma once

#include <optional>
#include <string>

#include "ldap/Coding.h"
#include "ldap/LDAPOperation.h"
#include "ldap/TextList.h"

namespace keystrand {

class LDAPResult : public LDAPOperation {
 public:
  using LDAPOperation::LDAPOperation;

  static constexpr unsigned char kSuccess = 0;

  [[nodiscard]] unsigned char getResultCode() const noexcept { return resultCode_; }
  void setResultCode(unsigned char code) noexcept { resultCode_ = code; }
  [[nodiscard]] const std::string& matchedDN() const noexcept { return matchedDN_; }
  void setMatchedDN(std::string_view dn) { matchedDN_ = dn; }
  [[nodiscard]] const std::string& errorMessage() const noexcept { return errorMessage_; }
  void setErrorMessage(std::string_view message) { errorMessage_ = message; }
  // Under the primitive tag 0x83, which is what stored messages hold. The 0xA3 of the standard is not read: a response
  // with a referral of that form is no answer to this library.
  [[nodiscard]] const std::optional<URLList>& referral() const noexcept { return referral_; }
  void setReferral(const URLList& urls) { referral_ = urls; }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const override;
  void encode(Buffer& buffer) const override { encodeTagged(tag(), buffer); }
  bool decode(Buffer& in) override { return decodeTagged(tag(), in); }

  // The body under a tag; the form with a length leaves it to the caller to write the elements that follow.
  virtual void encodeTagged(unsigned char tag, std::uint32_t length, Buffer& buffer) const;
  virtual void encodeTagged(unsigned char tag, Buffer& buffer) const;
  virtual bool decodeTagged(unsigned char tag, Buffer& in);

 protected:
  [[nodiscard]] std::uint32_t bodySize(const Buffer& buffer) const;
  bool decodeBody(const Element& sequence, Buffer& in);

 private:
  unsigned char resultCode_ = kSuccess;
  std::string matchedDN_;
  std::string errorMessage_;
  std::optional<URLList> referral_;
};

}  // namespace keystrand
