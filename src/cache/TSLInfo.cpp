#include "cache/TSLInfo.h"

#include <algorithm>

#include "der/Reading.h"

namespace keystrand {

TSLInfo::TSLInfo(std::string_view schemeTerritory, std::int32_t sequenceNumber, std::optional<std::string> location)
    : countryCode_(countryCodeOf(schemeTerritory)), sequenceNumber_(sequenceNumber), location_(std::move(location)) {}

std::uint32_t TSLInfo::contentSize(const Buffer& buffer) const {
  return sizeCountryCode(buffer, countryCode_) + buffer.sizeInteger(sequenceNumber_) + sizeText(buffer, location_);
}

std::uint32_t TSLInfo::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

bool TSLInfo::hasCountry(const char* code) const noexcept {
  return isCountry(countryCode_, code);
}

void TSLInfo::serialize(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  putCountryCode(buffer, countryCode_);
  buffer.putInteger(sequenceNumber_);
  putText(buffer, location_);
}

bool TSLInfo::parse(Buffer& buffer) {
  std::uint32_t n = 0;
  return buffer.getSequence(n) && getCountryCode(buffer, countryCode_) && buffer.getInteger(sequenceNumber_) &&
         getText(buffer, location_);
}

const TSLInfo* TSLInfoList::at(int index) const noexcept {
  return index >= 0 && index < count() ? &records_[static_cast<std::size_t>(index)] : nullptr;
}

const TSLInfo* TSLInfoList::find(const char* code) const noexcept {
  const auto found = std::ranges::find_if(records_, [&](const TSLInfo& record) { return record.hasCountry(code); });
  return found != records_.end() ? &*found : nullptr;
}

void TSLInfoList::remove(const char* code) {
  if (const TSLInfo* record = find(code)) records_.erase(records_.begin() + (record - records_.data()));
}

std::uint64_t TSLInfoList::contentSize(const Buffer& buffer) const {
  std::uint64_t total = 0;
  for (const TSLInfo& record : records_) total += record.size(buffer);
  return total;
}

// None at all takes no room: the element is then missing.
std::uint64_t TSLInfoList::size(const Buffer& buffer) const {
  if (records_.empty()) return 0;
  const std::uint64_t content = contentSize(buffer);
  return buffer.sizeHeader(kSequence, static_cast<std::uint32_t>(content)) + content;
}

void TSLInfoList::serialize(Buffer& buffer) const {
  if (records_.empty()) return;
  buffer.putSequence(static_cast<std::uint32_t>(contentSize(buffer)));
  for (const TSLInfo& record : records_) record.serialize(buffer);
}

bool TSLInfoList::parse(Buffer& buffer) {
  Element list;
  if (!openWhole(list, buffer, kSequence)) return false;
  while (!list.atEnd(buffer)) {
    TSLInfo record;
    if (!record.parse(buffer)) return false;
    add(std::move(record));
  }
  return true;
}

}  // namespace keystrand
