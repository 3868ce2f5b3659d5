#include "der/Reading.h"
#include "keystrand/pkix/GeneralName.h"

namespace keystrand {

namespace {

bool skipElement(Buffer& in) {
  unsigned char tag = 0;
  std::uint32_t n = 0;
  std::span<const unsigned char> content;
  return in.getHeader(tag, n) && in.view(n, content);
}

}  // namespace

owner<GeneralNameList*> GeneralNameList::clone() const {
  auto copy = std::make_unique<GeneralNameList>();
  copy->items_.copyFrom(items_);
  return copy.release();
}

void GeneralNameList::add(const GeneralName& name) {
  items_.append(std::unique_ptr<GeneralName>(name.clone()));
}

owner<GeneralName*> GeneralNameList::get(int index) const {
  const GeneralName* name = view(index);
  return name != nullptr ? name->clone() : nullptr;
}

std::uint32_t GeneralNameList::size(const Buffer& buffer, unsigned char tag) const {
  const std::uint32_t n = sizeOfAll(items_, buffer);
  return buffer.sizeHeader(tag, n) + n;
}

void GeneralNameList::put(Buffer& buffer, unsigned char tag) const {
  buffer.putHeader(tag, sizeOfAll(items_, buffer));
  putAll(items_, buffer);
}

bool GeneralNameList::get(Buffer& buffer, unsigned char tag) {
  Element list;
  items_.clearAll();
  if (!openWhole(list, buffer, tag)) return false;
  while (!list.atEnd(buffer)) {
    const std::uint32_t before = buffer.readPosition();
    auto name = std::make_unique<GeneralName>();
    if (!name->get(buffer)) return false;
    if (buffer.readPosition() != before) {
      items_.append(std::move(name));
    } else if (!skipElement(buffer)) {
      return false;
    }
  }
  return true;
}

}  // namespace keystrand
