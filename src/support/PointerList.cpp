#include "keystrand/support/PointerList.h"

#include <algorithm>
#include <cstddef>

namespace keystrand {

namespace {

bool holds(const std::vector<void*>& items, int index) {
  return index >= 0 && static_cast<std::size_t>(index) < items.size();
}

// Place for one more, in steps of at least growBy.
void grow(std::vector<void*>& items, int growBy) {
  if (items.size() < items.capacity()) return;
  const auto step = static_cast<std::size_t>(std::max(growBy, 1));
  items.reserve(items.size() + std::max(step, items.size() / 2));
}

}  // namespace

void PointerList::append(void* pointer) {
  grow(items_, growBy_);
  items_.push_back(pointer);
}

void PointerList::prepend(void* pointer) {
  grow(items_, growBy_);
  items_.insert(items_.begin(), pointer);
}

void* PointerList::get(int index) const {
  return holds(items_, index) ? items_[static_cast<std::size_t>(index)] : nullptr;
}

bool PointerList::set(int index, void* pointer) {
  if (!holds(items_, index)) return false;
  items_[static_cast<std::size_t>(index)] = pointer;
  return true;
}

bool PointerList::clear(int index) {
  return set(index, nullptr);
}

bool PointerList::removeAt(int index) {
  if (!holds(items_, index)) return false;
  items_.erase(items_.begin() + index);
  return true;
}

bool PointerList::removeLast() {
  return removeAt(count() - 1);
}

void PointerList::compact() {
  std::erase(items_, nullptr);
  items_.shrink_to_fit();
}

PointerList PointerList::cloneShell() const {
  PointerList shell(growBy_);
  shell.items_.resize(items_.size());
  return shell;
}

}  // namespace keystrand
