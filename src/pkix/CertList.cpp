#include "der/Reading.h"
#include "keystrand/pkix/Certificate.h"

namespace keystrand {

owner<CertList*> CertList::clone() const {
  auto copy = std::make_unique<CertList>();
  copy->items_.copyFrom(items_);
  return copy.release();
}

void CertList::add(const Certificate& certificate) {
  items_.append(std::unique_ptr<Certificate>(certificate.clone()));
}

owner<Certificate*> CertList::get(int index) const {
  const Certificate* certificate = view(index);
  return certificate != nullptr ? certificate->clone() : nullptr;
}

std::uint32_t CertList::size(const Buffer& buffer) const {
  return buffer.sizeSequence(sizeOfAll(items_, buffer));
}

void CertList::put(Buffer& buffer) const {
  buffer.putSequence(sizeOfAll(items_, buffer));
  putAll(items_, buffer);
}

bool CertList::get(Buffer& buffer) {
  return getList(items_, buffer);
}

bool CertList::get(SecureBuffer& buffer) {
  return getList(items_, buffer);
}

}  // namespace keystrand
