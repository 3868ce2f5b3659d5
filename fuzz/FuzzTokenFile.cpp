// The file of a token, with its digests put right so that what stands behind them is read: what decodes is written the
// same, its public objects are coded and read the same, and no key opens what is private.
#include <algorithm>

#include "Property.h"
#include "crypto/token/ObjectRecord.h"
#include "crypto/token/TokenImage.h"

namespace {

using namespace keystrand;

void checkObject(std::span<const unsigned char> octets) {
  const auto object = getObject(octets);
  if (object == nullptr) return;
  const SecretBytes first = putObject(*object);
  const auto again = getObject(first);
  fuzz::require(again != nullptr, "what is coded is read");
  fuzz::require(putObject(*again) == first, "what is read again is coded the same");
  for (CK_ATTRIBUTE attribute : object->stored()) {
    attribute.pValue = nullptr;
    const CK_RV result = object->read({&attribute, 1});
    fuzz::require(result == CKR_OK || result == CKR_ATTRIBUTE_SENSITIVE, "an attribute that is stored is there");
  }
}

void checkImage(const TokenImage& image, std::span<const unsigned char> file) {
  const Bytes again = image.encode();
  fuzz::require(std::ranges::equal(again, file), "what decodes is written the same");
  const TokenKey key(SecretBytes(TokenKey::kLength));
  fuzz::require(!key.unseal({}, image.officer.sealed), "no key opens it");
  for (const TokenRecord& record : image.records) {
    if (record.isPrivate) {
      fuzz::require(!key.unseal({}, record.octets), "no key opens it");
    } else {
      checkObject(record.octets);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  checkObject({data, size});
  Bytes file(data, data + size);
  if (file.size() < TokenImage::kShortestFile) return 0;
  TokenImage::putDigests(file);
  if (const auto image = TokenImage::decode(file)) checkImage(*image, file);
  return 0;
}
