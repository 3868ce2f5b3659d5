// The growing array of pointers under every list class, and its owning, typed form.
#pragma once

#include <memory>
#include <vector>

#include "keystrand/support/Api.h"

namespace keystrand {

// Does not own what its pointers point at: the derived list decides. One thread at a time.
class KEYSTRAND_API PointerList {
 public:
  explicit PointerList(int growBy = 1) : growBy_(growBy) {}

  void append(void* pointer);
  void prepend(void* pointer);
  // nullptr out of range.
  [[nodiscard]] void* get(int index) const;
  // False out of range.
  bool set(int index, void* pointer);
  // Sets the slot to null and keeps it.
  bool clear(int index);
  // Closes the gap. The pointer is not deleted.
  bool removeAt(int index);
  bool removeLast();
  // Drops null slots and makes the capacity equal to the count.
  void compact();
  [[nodiscard]] int count() const { return static_cast<int>(items_.size()); }
  // A new list with as many null slots, for the caller to fill.
  [[nodiscard]] PointerList cloneShell() const;

 private:
  std::vector<void*> items_;
  int growBy_;  // the least step of growth; growth itself is geometric
};

// A PointerList that owns its elements. T needs a clone() that returns a new T*.
template <class T>
class OwnedList {
 public:
  OwnedList() = default;
  OwnedList(OwnedList&& other) noexcept : items_(std::move(other.items_)) { other.items_ = PointerList(); }
  OwnedList& operator=(OwnedList&& other) noexcept {
    if (this != &other) {
      clearAll();
      std::swap(items_, other.items_);
    }
    return *this;
  }
  OwnedList(const OwnedList&) = delete;
  OwnedList& operator=(const OwnedList&) = delete;
  ~OwnedList() { clearAll(); }

  [[nodiscard]] int count() const { return items_.count(); }
  // The element itself, still owned by the list; nullptr out of range.
  [[nodiscard]] T* view(int index) const { return static_cast<T*>(items_.get(index)); }
  void append(std::unique_ptr<T> element) {
    items_.append(element.get());
    static_cast<void>(element.release());
  }
  // Deletes the element and closes the gap; false out of range.
  bool remove(int index) {
    std::unique_ptr<T> gone(view(index));
    return items_.removeAt(index);
  }
  // Deletes the element in its place and stores the new one; false out of range, the new one is then deleted.
  bool replace(int index, std::unique_ptr<T> element) {
    std::unique_ptr<T> old(view(index));
    if (!items_.set(index, element.get())) return false;
    static_cast<void>(element.release());
    return true;
  }
  void clearAll() {
    for (int i = 0; i < items_.count(); ++i) delete view(i);
    items_ = PointerList();
  }
  void copyFrom(const OwnedList& other) {
    OwnedList copy;
    for (int i = 0; i < other.count(); ++i) copy.append(std::unique_ptr<T>(other.view(i)->clone()));
    *this = std::move(copy);
  }

 private:
  PointerList items_;
};

}  // namespace keystrand
