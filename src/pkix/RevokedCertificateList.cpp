#include "keystrand/pkix/RevokedCertificateList.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "pkix/RevokedBlockReader.h"
#include "pkix/SerialOctets.h"

namespace keystrand {

struct RevokedCertificateList::State {
  // The entries as decoded, those of them that were lent and may have changed, and those behind the block.
  std::shared_ptr<const RevokedBlock> block = std::make_shared<RevokedBlock>(0);
  std::map<int, std::unique_ptr<RevokedCertificate>> peeked;
  std::vector<std::unique_ptr<RevokedCertificate>> added;

  // The entry as an object, nullptr when it lies unchanged in the block or out of range.
  [[nodiscard]] RevokedCertificate* object(int index) const;
  [[nodiscard]] int firstObject(std::string_view serialText) const;
  [[nodiscard]] int firstUnchanged(int candidate) const;
};

RevokedCertificate* RevokedCertificateList::State::object(int index) const {
  if (index < 0 || index >= block->count() + static_cast<int>(added.size())) return nullptr;
  if (index >= block->count()) return added[static_cast<std::size_t>(index - block->count())].get();
  const auto found = peeked.find(index);
  return found != peeked.end() ? found->second.get() : nullptr;
}

int RevokedCertificateList::State::firstObject(std::string_view serialText) const {
  for (const auto& [index, entry] : peeked) {
    if (entry->serialView().text(16) == serialText) return index;
  }
  for (std::size_t i = 0; i < added.size(); ++i) {
    if (added[i]->serialView().text(16) == serialText) return block->count() + static_cast<int>(i);
  }
  return -1;
}

// The first entry from the candidate on that has the candidate's serial number and was not lent.
int RevokedCertificateList::State::firstUnchanged(int candidate) const {
  if (candidate < 0 || !peeked.contains(candidate)) return candidate;
  const auto wanted = block->serial(candidate);
  for (int i = candidate + 1; i < block->count(); ++i) {
    if (std::ranges::equal(block->serial(i), wanted) && !peeked.contains(i)) return i;
  }
  return -1;
}

RevokedCertificateList::RevokedCertificateList() : state_(std::make_unique<State>()) {}
RevokedCertificateList::~RevokedCertificateList() = default;

owner<RevokedCertificateList*> RevokedCertificateList::clone() const {
  auto copy = std::make_unique<RevokedCertificateList>();
  copy->state_->block = state_->block;
  for (const auto& [index, entry] : state_->peeked) copy->state_->peeked.emplace(index, entry->clone());
  for (const auto& entry : state_->added) copy->state_->added.emplace_back(entry->clone());
  return copy.release();
}

int RevokedCertificateList::count() const noexcept {
  return state_->block->count() + static_cast<int>(state_->added.size());
}

void RevokedCertificateList::add(const RevokedCertificate& entry) {
  state_->added.emplace_back(entry.clone());
}

bool RevokedCertificateList::decode(int index, RevokedCertificate& out) const {
  if (index < 0 || index >= count()) return false;
  if (const auto* object = state_->object(index)) {
    out = std::move(*std::unique_ptr<RevokedCertificate>(object->clone()));
  } else {
    state_->block->decode(index, out);
  }
  return true;
}

owner<RevokedCertificate*> RevokedCertificateList::get(int index) const {
  auto entry = std::make_unique<RevokedCertificate>();
  return decode(index, *entry) ? entry.release() : nullptr;
}

RevokedCertificate* RevokedCertificateList::peek(int index) {
  if (auto* object = state_->object(index)) return object;
  std::unique_ptr<RevokedCertificate> entry(get(index));
  if (entry) return state_->peeked.emplace(index, std::move(entry)).first->second.get();
  return nullptr;
}

int RevokedCertificateList::find(std::string_view serialText) const {
  const SerialOctets wanted(serialText);
  if (!wanted.valid()) return -1;
  const int found = state_->block->find(wanted.view());
  if (state_->peeked.empty() && state_->added.empty()) return found;
  const int unchanged = state_->firstUnchanged(found);
  const int object = state_->firstObject(serialText);
  return object < 0 || (unchanged >= 0 && unchanged < object) ? unchanged : object;
}

std::uint32_t RevokedCertificateList::contentSize(const Buffer& buffer) const {
  const auto& block = *state_->block;
  std::size_t size = block.bytes(0, block.count()).size();
  for (const auto& [index, entry] : state_->peeked) size += entry->size(buffer) - block.bytes(index, index + 1).size();
  for (const auto& entry : state_->added) size += entry->size(buffer);
  return static_cast<std::uint32_t>(size);
}

std::uint32_t RevokedCertificateList::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void RevokedCertificateList::put(Buffer& buffer) const {
  const auto& block = *state_->block;
  const auto putBlock = [&](int from, int to) {
    const auto bytes = block.bytes(from, to);
    buffer.putBytes(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
  };
  buffer.putSequence(contentSize(buffer));
  int next = 0;
  for (const auto& [index, entry] : state_->peeked) {
    putBlock(next, index);
    entry->put(buffer);
    next = index + 1;
  }
  putBlock(next, block.count());
  for (const auto& entry : state_->added) entry->put(buffer);
}

bool RevokedCertificateList::get(Buffer& buffer) {
  auto result = readRevokedBlock(buffer);
  *state_ = State();
  if (result.block) state_->block = std::move(result.block);
  return result.good;
}

}  // namespace keystrand
