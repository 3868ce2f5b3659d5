#include "pkix/RevokedBlock.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

#include "der/BorrowedBuffer.h"
#include "pkix/PlainEntry.h"

namespace keystrand {
namespace {

constexpr std::size_t kMostBytes = std::numeric_limits<std::uint32_t>::max();

}  // namespace

RevokedBlock::RevokedBlock(std::size_t capacity)
    : bytes_(std::min(capacity, kMostBytes)), offsets_(capacity / kLeastPlainEntry + 1) {}

std::span<const unsigned char> RevokedBlock::bytes(int from, int to) const noexcept {
  const auto offset = [this](int index) { return index < count() ? offsets_.data()[index] : size_; };
  return {bytes_.data() + offset(from), offset(to) - offset(from)};
}

void RevokedBlock::decode(int index, RevokedCertificate& out) const {
  if (const auto kept = kept_.find(index); kept != kept_.end()) {
    out = std::move(*std::unique_ptr<RevokedCertificate>(kept->second.clone()));
    return;
  }
  BorrowedBuffer entry(bytes(index, index + 1));
  out.get(entry);
}

int RevokedBlock::find(std::span<const unsigned char> serial) const {
  if (count_ == 0) return -1;
  if (!indexed_.load(std::memory_order_acquire)) makeIndex();
  return index_.find(*this, serial);
}

void RevokedBlock::makeIndex() const {
  const std::lock_guard lock(making_);
  if (indexed_.load(std::memory_order_relaxed)) return;
  index_.build(*this);
  indexed_.store(true, std::memory_order_release);
}

void RevokedBlock::startEntry(std::size_t ahead) {
  if (count_ == offsets_.size()) offsets_.resize(count_ + count_ / 2 + 1);
  offsets_.data()[count_++] = static_cast<std::uint32_t>(size_ + ahead);
}

bool RevokedBlock::append(std::span<const unsigned char> bytes) {
  if (bytes.size() > kMostBytes - size_) {
    count_ = complete_;
    return false;
  }
  const std::size_t needed = size_ + bytes.size();
  if (needed > bytes_.size()) bytes_.resize(std::min(needed + needed / 2, kMostBytes));
  if (!bytes.empty()) std::memcpy(bytes_.data() + size_, bytes.data(), bytes.size());
  size_ = needed;
  complete_ = count_;
  return true;
}

void RevokedBlock::keep(RevokedCertificate entry) {
  kept_.emplace(count() - 1, std::move(entry));
}

void RevokedBlock::seal() {
  if (size_ < bytes_.size()) bytes_.resize(size_);
  if (count_ < offsets_.size()) offsets_.resize(count_);
  if (count_ >= kLongList) makeIndex();
}

}  // namespace keystrand
