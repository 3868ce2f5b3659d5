// The base of all protocol operations (RFC 4511 section 4.1.1), and what each class of them adds to it.
//
// Every structure of LDAP has three operations over a Buffer: size tells how many bytes encode would write, encode
// writes them, decode reads them and gives false on malformed input. Setters store copies, accessors lend the part,
// valid until the object changes. Thread: one at a time; const access may run in parallel.
#pragma once

#include <cstdint>
#include <memory>

#include "keystrand/der/Buffer.h"

namespace keystrand {

class LDAPOperation {
 public:
  explicit LDAPOperation(unsigned char tag) noexcept : tag_(tag) {}
  virtual ~LDAPOperation() = default;

  [[nodiscard]] unsigned char tag() const noexcept { return tag_; }

  [[nodiscard]] virtual std::unique_ptr<LDAPOperation> clone() const { return std::make_unique<LDAPOperation>(*this); }
  [[nodiscard]] virtual std::uint32_t size(const Buffer& /*buffer*/) const { return 0; }
  virtual void encode(Buffer& /*buffer*/) const {}
  virtual bool decode(Buffer& /*in*/) { return true; }

  LDAPOperation(const LDAPOperation&) = default;
  LDAPOperation& operator=(const LDAPOperation&) = delete;

 private:
  unsigned char tag_;
};

// Gives an operation its tag and its clone. Base is LDAPOperation, or LDAPResult for a response.
template <class Operation, unsigned char tagOctet, class Base = LDAPOperation>
class OperationOf : public Base {
 public:
  static constexpr unsigned char kTag = tagOctet;

  OperationOf() : Base(kTag) {}
  [[nodiscard]] std::unique_ptr<LDAPOperation> clone() const override {
    return std::make_unique<Operation>(static_cast<const Operation&>(*this));
  }
};

}  // namespace keystrand
