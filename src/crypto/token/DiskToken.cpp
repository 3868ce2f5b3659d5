#include "crypto/token/DiskToken.h"

#include <algorithm>
#include <limits>

#include "crypto/Words.h"
#include "crypto/token/BlankPadded.h"
#include "crypto/token/ObjectRecord.h"

namespace keystrand {

namespace {

using Octets = DiskToken::Octets;

constexpr std::string_view kSerialNumber = "7305";
constexpr std::uint32_t kStretching = 300'000;  // of a PIN: a tenth of a second

// A key is locked for one user, and a record sealed under one number, of one token.
Bytes placeOf(const TokenImage& image, std::string_view what, std::uint64_t number) {
  Bytes place(image.id.begin(), image.id.end());
  std::array<unsigned char, sizeof number> coded{};
  storeWord<std::endian::big>(number, coded.data());
  place.insert(place.end(), coded.begin(), coded.end());
  place.insert(place.end(), what.begin(), what.end());
  return place;
}

Bytes keyPlace(const TokenImage& image, CK_USER_TYPE user) {
  return placeOf(image, user == CKU_SO ? "officer" : "user", 0);
}
Bytes recordPlace(const TokenImage& image, std::uint64_t number) {
  return placeOf(image, "object", number);
}

TokenKey keyOf(const TokenImage& image, const LockedKey& locked, Octets pin) {
  return TokenKey::ofPIN(pin, image.serialNumber, locked.salt, image.iterations);
}

std::optional<TokenKey> unlock(const TokenImage& image, CK_USER_TYPE user, Octets pin) {
  if (pin.size() < DiskToken::kShortestPIN || pin.size() > DiskToken::kLongestPIN) return std::nullopt;
  const LockedKey& locked = user == CKU_SO ? image.officer : image.user;
  const TokenKey own = keyOf(image, locked, pin);
  auto octets = own.unseal(keyPlace(image, user), locked.sealed);
  if (!octets || octets->size() != TokenKey::kLength) return std::nullopt;
  if (user == CKU_SO && !areEqual(own.checkValue(), image.checkValue)) return std::nullopt;
  return TokenKey(std::move(*octets));
}

// Among the public records, which nothing authenticates, there is no key that somebody could have put there to be used
// in place of the user's own.
CK_RV getRecord(const TokenImage& image, const TokenRecord& record, const std::optional<TokenKey>& key,
                std::shared_ptr<PKCS11Storage>& out) {
  if (!record.isPrivate) {
    out = getObject(record.octets);
  } else if (const auto octets = key ? key->unseal(recordPlace(image, record.number), record.octets) : std::nullopt) {
    out = getObject(*octets);
  }
  const bool fits = out != nullptr && out->isPrivate() == record.isPrivate && (record.isPrivate || !out->isSecret());
  return fits ? CKR_OK : CKR_DEVICE_ERROR;
}

auto findRecord(TokenImage& image, std::uint64_t number) {
  return std::ranges::find(image.records, number, &TokenRecord::number);
}

}  // namespace

CK_RV DiskToken::describe(CK_TOKEN_INFO& info) const {
  Image image;
  if (const CK_RV result = file_.read(image); result != CKR_OK) return result;
  if (image) {
    image->describe(info);
    return CKR_OK;
  }
  pad(info.label, "");
  pad(info.manufacturerID, "");
  pad(info.model, "");
  pad(info.serialNumber, "");
  info.flags = CKF_RNG;
  return CKR_OK;
}

CK_RV DiskToken::lock(TokenImage& image, CK_USER_TYPE user, Octets pin, const TokenKey& key) {
  LockedKey made;
  if (!random_.fill(made.salt)) return CKR_RANDOM_NO_RNG;
  const TokenKey own = keyOf(image, made, pin);
  const auto sealed = own.seal(keyPlace(image, user), key.octets(), random_);
  if (!sealed) return CKR_RANDOM_NO_RNG;
  std::ranges::copy(*sealed, made.sealed.begin());
  (user == CKU_SO ? image.officer : image.user) = made;
  if (user == CKU_SO) image.checkValue = own.checkValue();
  return CKR_OK;
}

CK_RV DiskToken::initialize(Octets pin, std::span<const unsigned char, 32> label) {
  return file_.change([&](Image& image) -> CK_RV {
    if (image && !unlock(*image, CKU_SO, pin)) return CKR_PIN_INCORRECT;
    TokenImage made;
    std::ranges::copy(label, made.label);
    pad(made.serialNumber, kSerialNumber);
    made.flags = CKF_RNG | CKF_LOGIN_REQUIRED | CKF_TOKEN_INITIALIZED;
    made.iterations = kStretching;
    const auto key = TokenKey::generated(random_);
    if (!key || !random_.fill(made.id)) return CKR_RANDOM_NO_RNG;
    if (const CK_RV locked = lock(made, CKU_SO, pin, *key); locked != CKR_OK) return locked;
    image = std::move(made);
    return CKR_OK;
  });
}

CK_RV DiskToken::open() {
  Image image;
  if (const CK_RV result = file_.read(image); result != CKR_OK) return result;
  if (!image) return CKR_TOKEN_NOT_RECOGNIZED;
  id_ = image->id;
  return CKR_OK;
}

void DiskToken::close() {
  logout();
  id_.reset();
}

CK_RV DiskToken::login(CK_USER_TYPE user, Octets pin) {
  Image image;
  if (const CK_RV result = readSame(image); result != CKR_OK) return result;
  if (user == CKU_USER && !image->hasUserPIN()) return CKR_USER_PIN_NOT_INITIALIZED;
  key_ = unlock(*image, user, pin);
  if (!key_) return CKR_PIN_INCORRECT;
  user_ = user;
  return CKR_OK;
}

void DiskToken::logout() {
  user_.reset();
  key_.reset();
}

CK_RV DiskToken::setUserPIN(Octets pin) {
  return changeSame([&](TokenImage& image) -> CK_RV {
    image.flags |= CKF_USER_PIN_INITIALIZED;
    return lock(image, CKU_USER, pin, *key_);
  });
}

CK_RV DiskToken::changePIN(Octets former, Octets fresh) {
  return changeSame([&](TokenImage& image) -> CK_RV {
    const CK_USER_TYPE user = user_.value_or(CKU_USER);
    if (user == CKU_USER && !image.hasUserPIN()) return CKR_USER_PIN_NOT_INITIALIZED;
    const auto key = unlock(image, user, former);
    return key ? lock(image, user, fresh, *key) : CK_RV{CKR_PIN_INCORRECT};
  });
}

CK_RV DiskToken::objects(bool privateOnes, std::vector<StoredObject>& out) const {
  Image image;
  if (const CK_RV result = readSame(image); result != CKR_OK) return result;
  for (const TokenRecord& record : image->records) {
    if (record.isPrivate != privateOnes) continue;
    std::shared_ptr<PKCS11Storage> object;
    if (const CK_RV result = getRecord(*image, record, key_, object); result != CKR_OK) return result;
    out.push_back({record.number, std::move(object)});
  }
  return CKR_OK;
}

CK_RV DiskToken::put(const TokenImage& image, const PKCS11Storage& object, TokenRecord& record) {
  const SecretBytes octets = putObject(object);
  record.isPrivate = object.isPrivate();
  if (octets.size() > TokenImage::kLongestRecord - TokenKey::kOverhead) return CKR_DEVICE_MEMORY;
  // A token with an object that cannot be read is refused as a whole: none such is ever written.
  if (getObject(octets) == nullptr) return CKR_FUNCTION_FAILED;
  if (!record.isPrivate) {
    record.octets.assign(octets.begin(), octets.end());
    return CKR_OK;
  }
  if (!key_) return CKR_USER_NOT_LOGGED_IN;
  auto sealed = key_->seal(recordPlace(image, record.number), octets, random_);
  if (!sealed) return CKR_RANDOM_NO_RNG;
  record.octets = std::move(*sealed);
  return CKR_OK;
}

CK_RV DiskToken::store(const PKCS11Storage& object, std::uint64_t& number) {
  return changeSame([&](TokenImage& image) -> CK_RV {
    constexpr auto kLastNumber = std::numeric_limits<std::uint64_t>::max();
    if (image.records.size() == TokenImage::kMostRecords || image.nextNumber == kLastNumber) return CKR_DEVICE_MEMORY;
    TokenRecord record{image.nextNumber, false, {}};
    if (const CK_RV result = put(image, object, record); result != CKR_OK) return result;
    image.records.push_back(std::move(record));
    number = image.nextNumber++;
    return CKR_OK;
  });
}

CK_RV DiskToken::change(std::uint64_t number, std::span<const CK_ATTRIBUTE> given,
                        std::shared_ptr<PKCS11Storage>& out) {
  std::shared_ptr<PKCS11Storage> object;
  const CK_RV result = changeSame([&](TokenImage& image) -> CK_RV {
    const auto record = findRecord(image, number);
    if (record == image.records.end()) return CKR_OBJECT_HANDLE_INVALID;
    if (const CK_RV found = getRecord(image, *record, key_, object); found != CKR_OK) return found;
    if (const CK_RV changed = object->change(given, Access::kFree); changed != CKR_OK) return changed;
    return put(image, *object, *record);
  });
  if (result == CKR_OK) out = std::move(object);
  return result;
}

// One that another process removed is gone as well.
CK_RV DiskToken::remove(std::uint64_t number) {
  return changeSame([&](TokenImage& image) -> CK_RV {
    std::erase_if(image.records, [number](const TokenRecord& record) { return record.number == number; });
    return CKR_OK;
  });
}

CK_RV DiskToken::readSame(Image& out) const {
  if (const CK_RV result = file_.read(out); result != CKR_OK) return result;
  return out && out->id == id_ ? CKR_OK : CKR_DEVICE_REMOVED;
}

CK_RV DiskToken::changeSame(const std::function<CK_RV(TokenImage&)>& work) {
  return file_.change(
      [&](Image& image) -> CK_RV { return image && image->id == id_ ? work(*image) : CK_RV{CKR_DEVICE_REMOVED}; });
}

}  // namespace keystrand
