// Which trusted lists of which countries have been loaded (ETSI TS 119 612 section 5.3).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cache/RecordFields.h"
#include "keystrand/der/Buffer.h"

namespace keystrand {

class TSLInfo {
 public:
  TSLInfo() = default;
  // Of the territory the first two bytes are taken.
  TSLInfo(std::string_view schemeTerritory, std::int32_t sequenceNumber, std::optional<std::string> location);

  [[nodiscard]] std::string countryCode() const { return {countryCode_.data(), countryCode_.size()}; }
  [[nodiscard]] std::int32_t sequenceNumber() const noexcept { return sequenceNumber_; }
  [[nodiscard]] const std::optional<std::string>& location() const noexcept { return location_; }
  // False for a code of more or fewer than two characters.
  [[nodiscard]] bool hasCountry(const char* code) const noexcept;

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void serialize(Buffer& buffer) const;
  bool parse(Buffer& buffer);

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  CountryCode countryCode_{};
  std::int32_t sequenceNumber_ = 0;
  std::optional<std::string> location_;  // where the list was fetched from
};

// One record per country list. The library's one is guarded by caMutex.
class TSLInfoList {
 public:
  [[nodiscard]] int count() const noexcept { return static_cast<int>(records_.size()); }
  // The record itself, valid until the next change; nullptr when there is none.
  [[nodiscard]] const TSLInfo* at(int index) const noexcept;
  [[nodiscard]] const TSLInfo* find(const char* code) const noexcept;
  [[nodiscard]] bool contains(const char* code) const noexcept { return find(code) != nullptr; }
  void add(TSLInfo record) { records_.push_back(std::move(record)); }
  void remove(const char* code);  // the first record of that country
  void clear() noexcept { records_.clear(); }

  [[nodiscard]] std::uint64_t size(const Buffer& buffer) const;
  void serialize(Buffer& buffer) const;
  // Appends; on failure the records before the bad one are there.
  bool parse(Buffer& buffer);

 private:
  [[nodiscard]] std::uint64_t contentSize(const Buffer& buffer) const;

  std::vector<TSLInfo> records_;
};

}  // namespace keystrand
