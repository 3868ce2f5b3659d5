// ModifyRequest (RFC 4511 section 4.6) and its changes.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "ldap/LDAPOperation.h"
#include "ldap/PartialAttributeList.h"

namespace keystrand {

// One change: what is done, and to which attribute.
class Operation {
 public:
  static constexpr unsigned char kAdd = 0;
  static constexpr unsigned char kDelete = 1;
  static constexpr unsigned char kReplace = 2;

  Operation() = default;
  Operation(unsigned char operation, AttrTypeAndValues modification)
      : operation_(operation), modification_(std::move(modification)) {}

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void encode(Buffer& buffer) const;
  bool decode(Buffer& in);

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  unsigned char operation_ = kAdd;
  AttrTypeAndValues modification_;
};

class OperationList {
 public:
  void add(Operation operation) { operations_.push_back(std::move(operation)); }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const { return sizeListOf(buffer, operations_, kSequence); }
  void encode(Buffer& buffer) const { putListOf(buffer, operations_, kSequence); }
  bool decode(Buffer& in) { return getListOf(in, operations_, kSequence); }

 private:
  std::vector<Operation> operations_;
};

class ModifyRequest final : public OperationOf<ModifyRequest, 0x66> {
 public:
  void setObject(std::string_view dn) { object_ = dn; }
  void setChanges(const OperationList& changes) { changes_ = changes; }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const override;
  void encode(Buffer& buffer) const override;
  bool decode(Buffer& in) override;

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::string object_;
  OperationList changes_;
};

}  // namespace keystrand
