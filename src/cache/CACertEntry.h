// One trusted certificate of a CA row. Immutable once built, so that lookups work on shared snapshots without a lock.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "keystrand/cache/TSLMetadata.h"
#include "keystrand/pkix/Certificate.h"

namespace keystrand {

// Where a certificate came from. Any other number that a caller gives is stored as it stands.
constexpr std::int32_t kSourceTSL = 1;
constexpr std::int32_t kSourceInitPEM = 2;
constexpr std::int32_t kSourceAdded = 3;
constexpr std::int32_t kSourceKeepExisting = 4;  // only the low byte is compared

class CACertEntry {
 public:
  CACertEntry() = default;
  // The certificate has a body with an issuer.
  CACertEntry(std::unique_ptr<Certificate> certificate, std::int32_t source,
              std::shared_ptr<const TSLMetadata> metadata);

  [[nodiscard]] const Certificate& certificate() const noexcept { return *certificate_; }
  [[nodiscard]] const Name& issuer() const noexcept { return *issuer_; }
  [[nodiscard]] const BigInteger& serial() const noexcept { return serial_; }
  [[nodiscard]] std::int32_t source() const noexcept { return source_; }
  [[nodiscard]] const TSLMetadata* metadata() const noexcept { return metadata_.get(); }
  [[nodiscard]] bool hasCountry(const char* code) const noexcept;

  // An entry whose parse has failed can only be dropped.
  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void serialize(Buffer& buffer) const;
  bool parse(Buffer& buffer);

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::unique_ptr<Certificate> certificate_;
  std::unique_ptr<Name> issuer_;
  BigInteger serial_;
  std::int32_t source_ = 0;
  std::shared_ptr<const TSLMetadata> metadata_;  // one record for all certificates of a service
};

using CACertEntryRef = std::shared_ptr<const CACertEntry>;

}  // namespace keystrand
