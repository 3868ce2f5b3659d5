#include "cache/CRLTable.h"

#include <utility>

#include "support/Text.h"

namespace keystrand {

const CRLSnapshot& nothingHeld() {
  static const auto& entry = *new CRLSnapshot(std::make_shared<CRLCacheEntry>());
  return entry;
}

CRLSnapshot CRLRow::snapshot() const {
  const std::lock_guard lock(leaf_);
  return payload_;
}

void CRLRow::publish(CRLSnapshot payload) {
  const std::lock_guard lock(leaf_);
  payload_.swap(payload);  // the former one goes when the lock is free again
}

int CRLTable::find(std::string_view uri) const {
  for (int i = 0; i < count_; ++i) {
    const auto& key = rows_[static_cast<std::size_t>(i)].uri;
    if (key && equalsNoCase(*key, uri)) return i;
  }
  return count_;
}

HeldRow CRLTable::addHeld(const std::string& uri) {
  if (count_ == kRows) return nullptr;
  CRLRow& fresh = row(count_);
  fresh.semaphore.wait();  // free, but for a thread that saw an earlier life of this row and is about to notice
  HeldRow held(&fresh);
  fresh.uri = uri;
  fresh.publish(nothingHeld());
  ++count_;
  return held;
}

void CRLTable::replace(int index, std::optional<std::string> uri, CRLSnapshot payload) {
  CRLRow& target = row(index);
  const SemaphoreLock held(&target.semaphore);
  target.uri = std::move(uri);
  target.publish(std::move(payload));
}

void CRLTable::resize(int count) {
  for (int i = count; i < count_; ++i) replace(i, std::nullopt, nothingHeld());
  count_ = count;
}

}  // namespace keystrand
