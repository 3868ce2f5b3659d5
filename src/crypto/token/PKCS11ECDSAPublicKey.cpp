#include "crypto/token/PKCS11ECDSAPublicKey.h"

namespace keystrand {

namespace {

constexpr unsigned char kOctetString = 0x04;

constexpr AttributeRow kRows[] = {
    {CKA_EC_PARAMS, ValueKind::kBytes, Access::kFixed, true},
    {CKA_EC_POINT, ValueKind::kBytes, Access::kFixed, true},
};

// One DER element as well: the point as an OCTET STRING.
bool getPoint(std::span<const unsigned char> value, ECDSAPublicKey& out) {
  Buffer in;
  in.assign(value.data(), static_cast<std::uint32_t>(value.size()));
  unsigned char tag = 0;
  std::uint32_t n = 0;
  std::span<const unsigned char> point;
  if (!in.getHeader(tag, n) || tag != kOctetString || n != in.remaining() || !in.view(n, point)) return false;
  out.setPoint(point);
  return true;
}

}  // namespace

bool getParameters(std::span<const unsigned char> value, ECParameters& out) {
  Buffer in;
  in.assign(value.data(), static_cast<std::uint32_t>(value.size()));
  return out.get(in) && in.remaining() == 0;
}

const AttributeTable& PKCS11ECDSAPublicKey::table() const {
  static constinit const AttributeTable table{&PKCS11PublicKey::kTable, kRows};
  return table;
}

// A curve that is not known is no fault of the object: it verifies nothing.
CK_RV PKCS11ECDSAPublicKey::prepare() {
  ECParameters parameters;
  if (!getParameters(bytes(CKA_EC_PARAMS), parameters)) return CKR_ATTRIBUTE_VALUE_INVALID;
  key_.setParameters(&parameters);
  return getPoint(bytes(CKA_EC_POINT), key_) ? CKR_OK : CKR_ATTRIBUTE_VALUE_INVALID;
}

}  // namespace keystrand
