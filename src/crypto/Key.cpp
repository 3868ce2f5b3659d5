#include "keystrand/crypto/Key.h"

namespace keystrand {

Key::~Key() = default;
owner<unsigned char*> Key::keyBytes() const {
  return nullptr;
}
std::uint32_t Key::keyLength() const {
  return 0;
}
bool Key::isStripped() const {
  return false;
}
void Key::setStripped() {}
std::uint32_t Key::privateSize(const Buffer&) const {
  return 0;
}
void Key::putPrivate(Buffer&) const {}
bool Key::getPrivate(Buffer&) {
  return true;
}
std::uint32_t Key::size(const Buffer&) const {
  return 0;
}
void Key::put(Buffer&) const {}
bool Key::get(Buffer&) {
  return true;
}
KeyKind Key::kind() const noexcept {
  return KeyKind::kNone;
}

}  // namespace keystrand
