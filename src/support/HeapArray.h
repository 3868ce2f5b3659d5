// An array of plain values whose size changes in place where the allocator can: a large one gives its unused tail back
// without a copy, and what was never written costs nothing. Large ones ask for large pages: on first touch and in
// random reading the small ones cost more than the work on them.
#pragma once

#include <sys/mman.h>

#include <cstddef>
#include <cstdint>
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
  // Uninitialised.
  explicit HeapArray(std::size_t n) : HeapArray(n, std::malloc(bytesOf(n))) {}
  [[nodiscard]] static HeapArray zeroed(std::size_t n) { return HeapArray(n, std::calloc(bytesOf(n), 1)); }

  // Keeps the values that both sizes have; throws std::bad_alloc and changes nothing when there is no memory.
  void resize(std::size_t n) {
    void* moved = std::realloc(items_.get(), bytesOf(n));
    if (moved == nullptr) throw std::bad_alloc();
    static_cast<void>(items_.release());
    items_.reset(static_cast<T*>(moved));
    size_ = n;
  }
  [[nodiscard]] T* data() const noexcept { return items_.get(); }
  [[nodiscard]] std::size_t size() const noexcept { return size_; }

 private:
  static constexpr std::size_t kLarge = std::size_t{4} << 20;  // bytes: two large pages

  struct Free {
    void operator()(T* items) const noexcept { std::free(items); }
  };

  HeapArray(std::size_t n, void* made) : items_(static_cast<T*>(made)), size_(n) {
    if (made == nullptr) throw std::bad_alloc();
    if (bytesOf(n) >= kLarge) askForLargePages(made, bytesOf(n));
  }

  static std::size_t bytesOf(std::size_t n) noexcept { return (n == 0 ? 1 : n) * sizeof(T); }

  // A wish only: the small pages serve as well.
  static void askForLargePages(void* made, std::size_t bytes) noexcept {
    constexpr std::size_t kPage = 4096;
    const std::size_t skipped = kPage - reinterpret_cast<std::uintptr_t>(made) % kPage;
    static_cast<void>(madvise(static_cast<char*>(made) + skipped, bytes - skipped, MADV_HUGEPAGE));
  }

  std::unique_ptr<T[], Free> items_;
  std::size_t size_ = 0;
};

}  // namespace keystrand
