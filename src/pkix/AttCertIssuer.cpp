#include "keystrand/pkix/AttCertIssuer.h"

#include "pkix/Parts.h"

namespace keystrand {

namespace {
constexpr unsigned char kV2Form = 0xA0;
}  // namespace

owner<AttCertIssuer*> AttCertIssuer::clone() const {
  auto copy = std::make_unique<AttCertIssuer>();
  copy->v1Form_ = copyOf(v1Form_.get());
  copy->v2Form_ = copyOf(v2Form_.get());
  return copy.release();
}

owner<GeneralNameList*> AttCertIssuer::v1Form() const {
  return cloneOf(v1Form_);
}

void AttCertIssuer::setV1Form(const GeneralNameList* names) {
  v1Form_ = copyOf(names);
  v2Form_.reset();
}

owner<V2Form*> AttCertIssuer::v2Form() const {
  return cloneOf(v2Form_);
}

void AttCertIssuer::setV2Form(const V2Form* form) {
  v2Form_ = copyOf(form);
  v1Form_.reset();
}

std::uint32_t AttCertIssuer::size(const Buffer& buffer) const {
  return sizePart(v1Form_, buffer) + sizePart(v2Form_, buffer, kV2Form);
}

void AttCertIssuer::put(Buffer& buffer) const {
  putPart(v1Form_, buffer);
  putPart(v2Form_, buffer, kV2Form);
}

bool AttCertIssuer::get(Buffer& buffer) {
  v1Form_.reset();
  v2Form_.reset();
  if (nextTag(buffer) == kV2Form) return getNew(v2Form_, buffer, kV2Form);
  return getNew(v1Form_, buffer);
}

}  // namespace keystrand
