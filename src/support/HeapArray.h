// An uninitialised array of plain values whose size changes in place where the allocator can: a large one gives its
// unused tail back without a copy, and pages that were never written cost nothing.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>
#include <type_traits>

namespace keystrand {

template <class T>
class HeapArray {
  static_assert(std::is_trivially_copyable_v<T>);

 public:
  HeapArray() = default;
  explicit HeapArray(std::size_t n) { resize(n); }

  // Keeps the values that both sizes have; throws std::bad_alloc and changes nothing when there is no memory.
  void resize(std::size_t n) {
    void* moved = std::realloc(items_.get(), (n == 0 ? 1 : n) * sizeof(T));
    if (moved == nullptr) throw std::bad_alloc();
    static_cast<void>(items_.release());
    items_.reset(static_cast<T*>(moved));
    size_ = n;
  }
  [[nodiscard]] T* data() const noexcept { return items_.get(); }
  [[nodiscard]] std::size_t size() const noexcept { return size_; }

 private:
  struct Free {
    void operator()(T* items) const noexcept { std::free(items); }
  };
  std::unique_ptr<T[], Free> items_;
  std::size_t size_ = 0;
};

}  // namespace keystrand
