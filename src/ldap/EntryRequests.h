// Requests about one entry: AddRequest, DelRequest, ModifyDNRequest, CompareRequest (RFC 4511 sections 4.7 to 4.10).
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "ldap/AttrValueAssertion.h"
#include "ldap/LDAPOperation.h"
#include "ldap/PartialAttributeList.h"

namespace keystrand {

class AddRequest final : public OperationOf<AddRequest, 0x68> {
 public:
  void setEntry(std::string_view dn) { entry_ = dn; }
  void setAttributes(const PartialAttributeList& attributes) { attributes_ = attributes; }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const override;
  void encode(Buffer& buffer) const override;
  bool decode(Buffer& in) override;

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::string entry_;
  PartialAttributeList attributes_;
};

// The DN is the whole content.
class DelRequest final : public OperationOf<DelRequest, 0x4A> {
 public:
  void setEntry(std::string_view dn) { entry_ = dn; }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const override { return sizeField(buffer, entry_, kTag); }
  void encode(Buffer& buffer) const override { putField(buffer, entry_, kTag); }
  bool decode(Buffer& in) override { return getField(in, entry_, kTag); }

 private:
  std::string entry_;
};

class ModifyDNRequest final : public OperationOf<ModifyDNRequest, 0x6C> {
 public:
  void setEntry(std::string_view dn) { entry_ = dn; }
  void setNewrdn(std::string_view rdn) { newrdn_ = rdn; }
  void setDeleteoldrdn(unsigned char flag) noexcept { deleteoldrdn_ = flag; }
  void setNewSuperior(std::string_view dn) { newSuperior_ = dn; }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const override;
  void encode(Buffer& buffer) const override;
  bool decode(Buffer& in) override;

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::string entry_;
  std::string newrdn_;
  unsigned char deleteoldrdn_ = 0;
  std::optional<std::string> newSuperior_;
};

class CompareRequest final : public OperationOf<CompareRequest, 0x6E> {
 public:
  void setEntry(std::string_view dn) { entry_ = dn; }
  void setAssertion(const AttrValueAssertion& ava) { ava_ = ava; }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const override;
  void encode(Buffer& buffer) const override;
  bool decode(Buffer& in) override;

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::string entry_;
  AttrValueAssertion ava_;
};

}  // namespace keystrand
