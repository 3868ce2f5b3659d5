// DistributionPointName, DistributionPoint, CRLDistributionPoints (RFC 5280 section 4.2.1.13) and
// IssuingDistributionPoint (section 5.2.5).
//
// Accessors give clones that the caller deletes, setters store clones, nullptr means absent; the ...View forms lend the
// part, valid until the object changes. Thread: one at a time; const access may run in parallel.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>

#include "keystrand/der/Buffer.h"
#include "keystrand/der/Name.h"
#include "keystrand/der/OctetValue.h"
#include "keystrand/pkix/GeneralName.h"
#include "keystrand/support/PointerList.h"

namespace keystrand {

class KEYSTRAND_API DistributionPointName {
 public:
  DistributionPointName() = default;
  DistributionPointName(const DistributionPointName&) = delete;
  DistributionPointName& operator=(const DistributionPointName&) = delete;
  [[nodiscard]] owner<DistributionPointName*> clone() const;

  // Setting one form clears the other.
  void setFullName(const GeneralNameList* names);
  void setNameRelativeToCRLIssuer(const RelativeDistinguishedName* name);
  [[nodiscard]] owner<GeneralNameList*> fullName() const;
  [[nodiscard]] const GeneralNameList* fullNameView() const noexcept { return fullName_.get(); }
  [[nodiscard]] owner<RelativeDistinguishedName*> nameRelativeToCRLIssuer() const;
  [[nodiscard]] const RelativeDistinguishedName* nameRelativeToCRLIssuerView() const noexcept {
    return nameRelativeToCRLIssuer_.get();
  }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  // An unknown form gives true with an empty object and moves nothing.
  bool get(Buffer& buffer);

 private:
  std::unique_ptr<GeneralNameList> fullName_;
  std::unique_ptr<RelativeDistinguishedName> nameRelativeToCRLIssuer_;
};

class KEYSTRAND_API DistributionPoint {
 public:
  DistributionPoint() = default;
  DistributionPoint(const DistributionPoint&) = delete;
  DistributionPoint& operator=(const DistributionPoint&) = delete;
  [[nodiscard]] owner<DistributionPoint*> clone() const;

  [[nodiscard]] owner<DistributionPointName*> distributionPoint() const;
  [[nodiscard]] const DistributionPointName* distributionPointView() const noexcept { return distributionPoint_.get(); }
  void setDistributionPoint(const DistributionPointName* name);
  // ReasonFlags, as their octets stand in the encoding; all bits set when the field is absent. reasonsLength() is then
  // 0.
  [[nodiscard]] const std::array<unsigned char, 4>& reasons() const noexcept { return reasons_; }
  [[nodiscard]] std::uint32_t reasonsLength() const noexcept { return reasonsLength_; }
  [[nodiscard]] unsigned char reasonsUnusedBits() const noexcept { return reasonsUnusedBits_; }
  void setReasons(std::span<const unsigned char> flags, unsigned char unusedBits);  // at most four bytes are kept
  [[nodiscard]] owner<GeneralNameList*> cRLIssuer() const;
  [[nodiscard]] const GeneralNameList* cRLIssuerView() const noexcept { return cRLIssuer_.get(); }
  void setCRLIssuer(const GeneralNameList* names);

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;
  bool getReasons(Buffer& buffer);

  std::unique_ptr<DistributionPointName> distributionPoint_;
  std::array<unsigned char, 4> reasons_{0xFF, 0xFF, 0xFF, 0xFF};
  std::unique_ptr<GeneralNameList> cRLIssuer_;
  bool reasonsPresent_ = false;
  std::uint32_t reasonsLength_ = 0;
  unsigned char reasonsUnusedBits_ = 0;
};

class KEYSTRAND_API DistributionPointList {
 public:
  [[nodiscard]] owner<DistributionPointList*> clone() const;
  void add(const DistributionPoint& point);
  [[nodiscard]] owner<DistributionPoint*> get(int index) const;
  [[nodiscard]] const DistributionPoint* view(int index) const { return items_.view(index); }
  [[nodiscard]] int count() const { return items_.count(); }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

 private:
  OwnedList<DistributionPoint> items_;
};

// The flags are the octets of their BOOLEANs, 0 for false and for absent; only what is not 0 is written.
class KEYSTRAND_API IssuingDistPointSyntax {
 public:
  IssuingDistPointSyntax() = default;
  IssuingDistPointSyntax(const IssuingDistPointSyntax&) = delete;
  IssuingDistPointSyntax& operator=(const IssuingDistPointSyntax&) = delete;
  [[nodiscard]] owner<IssuingDistPointSyntax*> clone() const;

  [[nodiscard]] owner<DistributionPointName*> distributionPoint() const;
  [[nodiscard]] const DistributionPointName* distributionPointView() const noexcept { return distributionPoint_.get(); }
  void setDistributionPoint(const DistributionPointName* name);
  [[nodiscard]] unsigned char onlyContainsUserCerts() const noexcept { return onlyContainsUserCerts_; }
  void setOnlyContainsUserCerts(unsigned char flag) noexcept { onlyContainsUserCerts_ = flag; }
  [[nodiscard]] unsigned char onlyContainsCACerts() const noexcept { return onlyContainsCACerts_; }
  void setOnlyContainsCACerts(unsigned char flag) noexcept { onlyContainsCACerts_ = flag; }
  [[nodiscard]] owner<unsigned char*> onlySomeReasons() const;
  [[nodiscard]] std::uint32_t onlySomeReasonsLength() const noexcept { return onlySomeReasons_.size(); }
  void setOnlySomeReasons(const unsigned char* flags, std::uint32_t n, unsigned char unusedBits);
  [[nodiscard]] unsigned char indirectCRL() const noexcept { return indirectCRL_; }
  void setIndirectCRL(unsigned char flag) noexcept { indirectCRL_ = flag; }
  [[nodiscard]] unsigned char onlyContainsAttributeCerts() const noexcept { return onlyContainsAttributeCerts_; }
  void setOnlyContainsAttributeCerts(unsigned char flag) noexcept { onlyContainsAttributeCerts_ = flag; }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  bool get(Buffer& buffer);

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::unique_ptr<DistributionPointName> distributionPoint_;
  unsigned char onlyContainsUserCerts_ = 0;
  unsigned char onlyContainsCACerts_ = 0;
  OctetValue onlySomeReasons_;
  unsigned char onlySomeReasonsUnusedBits_ = 0;
  unsigned char indirectCRL_ = 0;
  unsigned char onlyContainsAttributeCerts_ = 0;
};

}  // namespace keystrand
