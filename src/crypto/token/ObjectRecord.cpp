#include "crypto/token/ObjectRecord.h"

#include <algorithm>
#include <array>
#include <vector>

#include "crypto/Words.h"
#include "der/BorrowedBuffer.h"

namespace keystrand {

namespace {

using Word = std::uint32_t;
constexpr std::size_t kMostAttributes = 64;  // no class has as many

void putWord(SecretBytes& out, CK_ULONG value) {
  std::array<unsigned char, sizeof(Word)> coded{};
  storeWord<std::endian::big>(static_cast<Word>(value), coded.data());
  out.insert(out.end(), coded.begin(), coded.end());
}

bool getWord(Buffer& in, Word& value) {
  std::span<const unsigned char> coded;
  if (!in.view(sizeof(Word), coded)) return false;
  value = loadWord<Word, std::endian::big>(coded.data());
  return true;
}

bool getAttribute(Buffer& in, CK_ATTRIBUTE& out) {
  Word type = 0;
  Word length = 0;
  std::span<const unsigned char> value;
  if (!getWord(in, type) || !getWord(in, length) || !in.view(length, value)) return false;
  out = {type, const_cast<unsigned char*>(value.data()), length};
  return true;
}

}  // namespace

SecretBytes putObject(const PKCS11Storage& object) {
  SecretBytes out;
  for (const CK_ATTRIBUTE& attribute : object.stored()) {
    putWord(out, attribute.type);
    putWord(out, attribute.ulValueLen);
    const auto value = valueIn(attribute);
    out.insert(out.end(), value.begin(), value.end());
  }
  return out;
}

std::shared_ptr<PKCS11Storage> getObject(std::span<const unsigned char> octets) {
  BorrowedBuffer in(octets);
  std::vector<CK_ATTRIBUTE> attributes;
  while (in.remaining() != 0) {
    CK_ATTRIBUTE attribute{};
    if (attributes.size() == kMostAttributes || !getAttribute(in, attribute)) return nullptr;
    if (std::ranges::find(attributes, attribute.type, &CK_ATTRIBUTE::type) != attributes.end()) return nullptr;
    attributes.push_back(attribute);
  }
  std::shared_ptr<PKCS11Storage> object;
  return PKCS11Storage::make(attributes, object, Access::kComputed) == CKR_OK ? object : nullptr;
}

}  // namespace keystrand
