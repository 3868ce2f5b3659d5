// AlgorithmIdentifier ::= SEQUENCE { algorithm OBJECT IDENTIFIER, parameters ANY OPTIONAL } (RFC 5280 section 4.1.1.2).
// What is read is written back as it came: NULL stays NULL, absent stays absent. The parameters of an algorithm that
// has no class here stay unread: get is true with the cursor in front of them, and it is the enclosing structure that
// fails. Accessors give clones that the caller deletes, setters store clones, the ...View forms lend the part.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "keystrand/crypto/AlgorithmParameter.h"
#include "keystrand/der/OID.h"

namespace keystrand {

class KEYSTRAND_API AlgorithmIdentifier {
 public:
  AlgorithmIdentifier();
  explicit AlgorithmIdentifier(const char* dotted, bool hasParameters = true);
  explicit AlgorithmIdentifier(const OID& oid, bool hasParameters = true);
  ~AlgorithmIdentifier();
  AlgorithmIdentifier(const AlgorithmIdentifier&) = delete;
  AlgorithmIdentifier& operator=(const AlgorithmIdentifier&) = delete;
  [[nodiscard]] owner<AlgorithmIdentifier*> clone() const;

  // A parameter that was there belongs to the former algorithm and goes.
  void setOID(const char* dotted, bool hasParameters = true);
  void setOID(const OID& oid, bool hasParameters = true);
  [[nodiscard]] owner<OID*> oid() const;
  [[nodiscard]] owner<char*> oidText() const;  // delete[]; nullptr without an identifier
  [[nodiscard]] const OID* oidView() const noexcept { return oid_ ? &*oid_ : nullptr; }
  void setParameter(const AlgorithmParameter* parameter);  // stores a clone and makes hasParameters true
  [[nodiscard]] owner<AlgorithmParameter*> parameter() const;
  [[nodiscard]] const AlgorithmParameter* parameterView() const noexcept { return parameter_.get(); }
  [[nodiscard]] bool hasParameter() const noexcept { return parameter_ != nullptr; }
  // Whether a parameter, or NULL, follows the identifier in the encoding.
  [[nodiscard]] bool hasParameters() const noexcept { return hasParameters_; }
  void setHasParameters(bool flag) noexcept { hasParameters_ = flag; }

  // The identifiers only; an absent one equals nothing.
  [[nodiscard]] bool equals(const char* dotted) const;
  [[nodiscard]] bool equals(const OID& oid) const noexcept;
  [[nodiscard]] bool equals(const AlgorithmIdentifier& other) const noexcept;

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

 private:
  std::optional<OID> oid_;
  std::unique_ptr<AlgorithmParameter> parameter_;
  bool hasParameters_ = true;

  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;
};

}  // namespace keystrand
