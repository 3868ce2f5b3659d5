#include "keystrand/der/Name.h"

#include "der/Element.h"

namespace keystrand {

void Name::setList(const RelativeDistinguishedNameList* list) {
  if (list == nullptr) {
    list_.reset();
  } else {
    list_ = *list;
  }
}

owner<RelativeDistinguishedNameList*> Name::list() const {
  return list_ ? list_->clone() : nullptr;
}

// --- coding ------------------------------------------------------------------------------------------------

std::uint32_t Name::size(const Buffer& buffer) const {
  return list_ ? list_->size(buffer) : buffer.sizeSequence(0);
}

void Name::put(Buffer& buffer) const {
  if (list_) {
    list_->put(buffer);
  } else {
    buffer.putSequence(0);
  }
}

bool Name::get(Buffer& buffer) {
  return list_.emplace().get(buffer);
}

// --- comparison --------------------------------------------------------------------------------------------

bool Name::equals(const Name& other) const noexcept {
  return list_ && other.list_ ? list_->equals(*other.list_) : !list_ && !other.list_;
}

bool Name::equalsAcrossEncodings(const Name& other) const {
  return list_ && other.list_ ? list_->equalsAcrossEncodings(*other.list_) : !list_ && !other.list_;
}

bool Name::equalsPattern(const Name& other) const {
  return list_ && other.list_ ? list_->equalsPattern(*other.list_) : !list_ && !other.list_;
}

bool Name::equalsInOrder(const Name& other) const noexcept {
  return list_ && other.list_ ? list_->equalsInOrder(*other.list_) : !list_ && !other.list_;
}

void Name::normalise() {
  if (list_) list_->normalise();
}

}  // namespace keystrand
