#include "crypto/SpecifiedECDomain.h"

#include "der/ConstantOID.h"
#include "der/Element.h"

namespace keystrand {

namespace {
constexpr ConstantOID kPrimeField = "1.2.840.10045.1.1"_oid;
constexpr ConstantOID kCharacteristicTwoField = "1.2.840.10045.1.2"_oid;
constexpr ConstantOID kTrinomialBasis = "1.2.840.10045.1.2.3.2"_oid;
constexpr ConstantOID kPentanomialBasis = "1.2.840.10045.1.2.3.3"_oid;
}  // namespace

bool CharacteristicTwo::get(Buffer& buffer) {
  Element body;
  return body.open(buffer, kSequence) && buffer.getInteger(m) && getBasis(buffer);
}

bool CharacteristicTwo::getBasis(Buffer& buffer) {
  OID basis;
  if (!buffer.getOID(basis)) return false;
  if (basis == kTrinomialBasis) return buffer.getInteger(k[0]);
  return basis == kPentanomialBasis && getPentanomial(buffer);
}

bool CharacteristicTwo::getPentanomial(Buffer& buffer) {
  Element body;
  return body.open(buffer, kSequence) && buffer.getInteger(k[0]) && buffer.getInteger(k[1]) && buffer.getInteger(k[2]);
}

bool FieldID::get(Buffer& buffer) {
  Element body;
  OID type;
  if (!body.open(buffer, kSequence) || !buffer.getOID(type)) return false;
  if (type == kPrimeField) return prime.get(buffer);
  return type == kCharacteristicTwoField && characteristicTwo.emplace().get(buffer);
}

bool Curve::get(Buffer& buffer) {
  Element body;
  if (!body.open(buffer, kSequence) || !getOctets(buffer, a) || !getOctets(buffer, b)) return false;
  buffer.setReadPosition(body.end);
  return true;
}

bool SpecifiedECDomain::get(Buffer& buffer) {
  Element body;
  std::int32_t version = 0;
  return body.open(buffer, kSequence)   //
         && buffer.getInteger(version)  // version
         && field.get(buffer)           // fieldID
         && curve.get(buffer)           // curve
         && getOctets(buffer, base)     // base
         && order.get(buffer)           // order
         && cofactor.get(buffer);       // cofactor
}

}  // namespace keystrand
