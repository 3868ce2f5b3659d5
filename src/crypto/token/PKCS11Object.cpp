#include "crypto/token/PKCS11Object.h"

#include <algorithm>
#include <cstring>

namespace keystrand {

namespace {

constexpr AttributeRow kRows[] = {
    {CKA_CLASS, ValueKind::kNumber, Access::kFixed, true},
};

constexpr unsigned char kBooleans[] = {CK_FALSE, CK_TRUE};
// Longer values are refused: a length that is really an error mark must not be read as one.
constexpr CK_ULONG kLongestValue = 1UL << 28;

bool hasForm(ValueKind kind, std::span<const unsigned char> value) {
  switch (kind) {
    case ValueKind::kBool:
      return value.size() == 1 && value[0] <= CK_TRUE;
    case ValueKind::kNumber:
      return value.size() == sizeof(CK_ULONG);
    case ValueKind::kDate:
      return value.empty() || value.size() == sizeof(CK_DATE);
    case ValueKind::kBytes:
      return true;
  }
  return false;
}

CK_RV fill(CK_ATTRIBUTE& attribute, std::span<const unsigned char> value) {
  if (attribute.pValue == nullptr) {
    attribute.ulValueLen = value.size();
    return CKR_OK;
  }
  if (attribute.ulValueLen < value.size()) {
    attribute.ulValueLen = CK_UNAVAILABLE_INFORMATION;
    return CKR_BUFFER_TOO_SMALL;
  }
  if (!value.empty()) std::memcpy(attribute.pValue, value.data(), value.size());
  attribute.ulValueLen = value.size();
  return CKR_OK;
}

}  // namespace

constinit const AttributeTable PKCS11Object::kTable{nullptr, kRows};

std::span<const unsigned char> valueIn(const CK_ATTRIBUTE& attribute) {
  if (attribute.pValue == nullptr) return {};
  return {static_cast<const unsigned char*>(attribute.pValue), attribute.ulValueLen};
}

std::optional<CK_ULONG> numberIn(std::span<const unsigned char> value) {
  CK_ULONG number = 0;
  if (value.size() != sizeof number) return std::nullopt;
  std::memcpy(&number, value.data(), sizeof number);
  return number;
}

CK_RV findNumber(std::span<const CK_ATTRIBUTE> given, CK_ATTRIBUTE_TYPE type, CK_ULONG& out) {
  const auto attribute = std::ranges::find(given, type, &CK_ATTRIBUTE::type);
  if (attribute == given.end()) return CKR_TEMPLATE_INCOMPLETE;
  const auto number = numberIn(valueIn(*attribute));
  out = number.value_or(0);
  return number ? CKR_OK : CKR_ATTRIBUTE_VALUE_INVALID;
}

CK_RV PKCS11Object::create(std::span<const CK_ATTRIBUTE> given, Access access) {
  if (const CK_RV taken = take(given, access, attributes_); taken != CKR_OK) return taken;
  return isComplete() ? prepare() : CKR_TEMPLATE_INCOMPLETE;
}

CK_RV PKCS11Object::change(std::span<const CK_ATTRIBUTE> given, Access access) {
  AttributeValues changes;
  if (const CK_RV taken = take(given, access, changes); taken != CKR_OK) return taken;
  changes.complete(attributes_);
  attributes_ = std::move(changes);
  return CKR_OK;
}

// What a template says twice must be the same both times.
CK_RV PKCS11Object::take(std::span<const CK_ATTRIBUTE> given, Access access, AttributeValues& out) const {
  AttributeValues taken;
  std::size_t octets = sizeof(CK_ULONG);
  for (const CK_ATTRIBUTE& attribute : given) {
    if (const CK_RV refused = accept(attribute, access); refused != CKR_OK) return refused;
    octets += attribute.ulValueLen;
  }
  taken.reserve(given.size() + 1, octets);
  for (const CK_ATTRIBUTE& attribute : given) {
    const auto former = taken.find(attribute.type);
    if (former && !std::ranges::equal(*former, valueIn(attribute))) return CKR_TEMPLATE_INCONSISTENT;
    if (!former) taken.set(attribute.type, valueIn(attribute));
  }
  out = std::move(taken);
  return CKR_OK;
}

CK_RV PKCS11Object::accept(const CK_ATTRIBUTE& attribute, Access access) const {
  const AttributeRow* row = table().find(attribute.type);
  if (row == nullptr) {
    return isStandardAttribute(attribute.type) ? CKR_TEMPLATE_INCONSISTENT : CKR_ATTRIBUTE_TYPE_INVALID;
  }
  const bool fromFile = access == Access::kComputed;
  if (row->access == Access::kNever) return CKR_ATTRIBUTE_READ_ONLY;
  if (!fromFile && (row->access == Access::kComputed || row->access < access)) return CKR_ATTRIBUTE_READ_ONLY;
  const bool present = attribute.pValue != nullptr ? attribute.ulValueLen <= kLongestValue : attribute.ulValueLen == 0;
  if (!present || !hasForm(row->kind, valueIn(attribute))) return CKR_ATTRIBUTE_VALUE_INVALID;
  if (row->required && attribute.ulValueLen == 0) return CKR_ATTRIBUTE_VALUE_INVALID;
  const bool isNew = fromFile || access == Access::kFixed;
  return isNew || mayBecome(*row, valueIn(attribute)) ? CKR_OK : CKR_ATTRIBUTE_READ_ONLY;
}

// A key that is kept secret stays so.
bool PKCS11Object::mayBecome(const AttributeRow& row, std::span<const unsigned char> value) const {
  const bool wanted = value.size() == 1 && value[0] == CK_TRUE;
  if (row.secrecy == Secrecy::kOnlySet) return wanted || !flag(row.type);
  if (row.secrecy == Secrecy::kOnlyCleared) return !wanted || flag(row.type);
  return true;
}

bool PKCS11Object::isComplete() const {
  for (const AttributeTable* level = &table(); level != nullptr; level = level->above) {
    for (const AttributeRow& row : level->rows) {
      if (row.required && !attributes_.find(row.type)) return false;
    }
  }
  return true;
}

bool PKCS11Object::isReadable(const AttributeRow& row) const {
  return row.secrecy != Secrecy::kValue || (!flag(CKA_SENSITIVE) && flag(CKA_EXTRACTABLE));
}

CK_RV PKCS11Object::read(std::span<CK_ATTRIBUTE> wanted) const {
  CK_RV result = CKR_OK;
  for (CK_ATTRIBUTE& attribute : wanted) {
    const AttributeRow* row = table().find(attribute.type);
    if (row != nullptr && !isReadable(*row)) {
      attribute.ulValueLen = CK_UNAVAILABLE_INFORMATION;
      if (result == CKR_OK) result = CKR_ATTRIBUTE_SENSITIVE;
    } else if (row != nullptr) {
      const CK_RV filled = fill(attribute, valueOf(*row));
      if (result == CKR_OK) result = filled;
    } else {
      attribute.ulValueLen = CK_UNAVAILABLE_INFORMATION;
      if (result == CKR_OK) result = CKR_ATTRIBUTE_TYPE_INVALID;
    }
  }
  return result;
}

bool PKCS11Object::matches(std::span<const CK_ATTRIBUTE> wanted) const {
  return std::ranges::all_of(wanted, [this](const CK_ATTRIBUTE& attribute) {
    const AttributeRow* row = table().find(attribute.type);
    return row != nullptr && isReadable(*row) && std::ranges::equal(valueOf(*row), valueIn(attribute));
  });
}

CK_ULONG PKCS11Object::size() const {
  CK_ULONG octets = 0;
  for (const AttributeTable* level = &table(); level != nullptr; level = level->above) {
    for (const AttributeRow& row : level->rows) octets += valueOf(row).size();
  }
  return octets;
}

bool PKCS11Object::flag(CK_ATTRIBUTE_TYPE type) const {
  const auto value = bytes(type);
  return value.size() == 1 && value[0] == CK_TRUE;
}

CK_ULONG PKCS11Object::number(CK_ATTRIBUTE_TYPE type) const {
  return numberIn(bytes(type)).value_or(0);
}

std::span<const unsigned char> PKCS11Object::bytes(CK_ATTRIBUTE_TYPE type) const {
  const AttributeRow* row = table().find(type);
  return row != nullptr ? valueOf(*row) : std::span<const unsigned char>();
}

void PKCS11Object::setFlag(CK_ATTRIBUTE_TYPE type, bool value) {
  attributes_.set(type, {&kBooleans[value ? 1 : 0], 1});
}

void PKCS11Object::setNumber(CK_ATTRIBUTE_TYPE type, CK_ULONG value) {
  attributes_.set(type, {reinterpret_cast<const unsigned char*>(&value), sizeof value});
}

std::span<const unsigned char> PKCS11Object::valueOf(const AttributeRow& row) const {
  if (const auto stored = attributes_.find(row.type)) return *stored;
  switch (row.kind) {
    case ValueKind::kBool:
      return {&kBooleans[row.otherwise == 0 ? 0 : 1], 1};
    case ValueKind::kNumber:
      return {reinterpret_cast<const unsigned char*>(&row.otherwise), sizeof row.otherwise};
    default:
      return {};
  }
}

}  // namespace keystrand
