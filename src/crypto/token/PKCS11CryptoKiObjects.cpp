// The objects of the module's sessions. New ones are gathered aside and then merged, which needs no memory: either all
// of them are there or none. The virtual token asks for no login, so private objects are open to every
// session; and it keeps nothing, so token objects too end with the session that made them. A token in a file keeps its
// objects, and hands the private ones to its user alone.
#include <algorithm>

#include "crypto/token/PKCS11CryptoKi.h"

namespace keystrand {

PKCS11CryptoKi::Objects::iterator PKCS11CryptoKi::find(const TokenSession& session, CK_OBJECT_HANDLE handle) {
  const auto row = objects_.find(handle);
  return row != objects_.end() && row->second.slot == session.slot ? row : objects_.end();
}

CK_RV PKCS11CryptoKi::find(const TokenSession& session, CK_OBJECT_HANDLE handle,
                           std::shared_ptr<PKCS11Storage>& object) {
  const auto row = find(session, handle);
  if (row == objects_.end()) return CKR_OBJECT_HANDLE_INVALID;
  object = row->second.object;
  return CKR_OK;
}

CK_RV PKCS11CryptoKi::takeIn(const Slot& slot, bool privateOnes) {
  std::vector<DiskToken::StoredObject> stored;
  if (const CK_RV result = slot.disk->objects(privateOnes, stored); result != CKR_OK) return result;
  Objects taken;
  for (auto& [number, object] : stored) {
    taken.emplace_hint(taken.end(), ++lastObject_, ObjectEntry{std::move(object), slot.id, CK_INVALID_HANDLE, number});
  }
  objects_.merge(taken);
  return CKR_OK;
}

CK_RV PKCS11CryptoKi::add(const TokenSession& owner, std::shared_ptr<PKCS11Storage> object, CK_OBJECT_HANDLE* handle) {
  if (object->isOnToken() && !owner.isReadWrite()) return CKR_SESSION_READ_ONLY;
  DiskToken* disk = diskOf(owner);
  const bool kept = disk != nullptr && object->isOnToken();
  if (kept) {
    if (const CK_RV result = object->keepSecret(); result != CKR_OK) return result;
  }
  if (disk != nullptr && object->isPrivate() && !disk->isUserIn()) return CKR_USER_NOT_LOGGED_IN;
  Objects made;
  ObjectEntry& entry = made[++lastObject_] = {std::move(object), owner.slot, owner.handle};
  if (kept) {
    entry.owner = CK_INVALID_HANDLE;
    if (const CK_RV result = disk->store(*entry.object, entry.number); result != CKR_OK) return result;
  }
  objects_.merge(made);
  *handle = lastObject_;
  return CKR_OK;
}

CK_RV PKCS11CryptoKi::destroy(Objects::iterator row) {
  const ObjectEntry& entry = row->second;
  if (entry.number != 0) {
    if (const CK_RV result = slots_.find(entry.slot)->disk->remove(entry.number); result != CKR_OK) return result;
  }
  objects_.erase(row);
  return CKR_OK;
}

CK_RV PKCS11CryptoKi::createObject(TokenSession& session, CK_ATTRIBUTE* attributes, CK_ULONG count,
                                   CK_OBJECT_HANDLE* object) {
  if (attributes == nullptr || object == nullptr) return CKR_ARGUMENTS_BAD;
  std::shared_ptr<PKCS11Storage> made;
  if (const CK_RV result = PKCS11Storage::make({attributes, count}, made); result != CKR_OK) return result;
  return add(session, std::move(made), object);
}

CK_RV PKCS11CryptoKi::copyObject(TokenSession& session, CK_OBJECT_HANDLE object, CK_ATTRIBUTE* changes, CK_ULONG count,
                                 CK_OBJECT_HANDLE* copy) {
  if ((changes == nullptr && count != 0) || copy == nullptr) return CKR_ARGUMENTS_BAD;
  std::shared_ptr<PKCS11Storage> original;
  if (const CK_RV result = find(session, object, original); result != CKR_OK) return result;
  auto made = original->clone();
  if (const CK_RV result = made->change({changes, count}, Access::kOnCopy); result != CKR_OK) return result;
  return add(session, std::move(made), copy);
}

CK_RV PKCS11CryptoKi::destroyObject(TokenSession& session, CK_OBJECT_HANDLE object) {
  const auto row = find(session, object);
  if (row == objects_.end()) return CKR_OBJECT_HANDLE_INVALID;
  if (row->second.object->isOnToken() && !session.isReadWrite()) return CKR_SESSION_READ_ONLY;
  return destroy(row);
}

CK_RV PKCS11CryptoKi::getObjectSize(TokenSession& session, CK_OBJECT_HANDLE object, CK_ULONG* size) {
  if (size == nullptr) return CKR_ARGUMENTS_BAD;
  std::shared_ptr<PKCS11Storage> meant;
  if (const CK_RV result = find(session, object, meant); result != CKR_OK) return result;
  *size = meant->size();
  return CKR_OK;
}

CK_RV PKCS11CryptoKi::getAttributeValue(TokenSession& session, CK_OBJECT_HANDLE object, CK_ATTRIBUTE* attributes,
                                        CK_ULONG count) {
  if (attributes == nullptr) return CKR_ARGUMENTS_BAD;
  std::shared_ptr<PKCS11Storage> meant;
  if (const CK_RV result = find(session, object, meant); result != CKR_OK) return result;
  return meant->read({attributes, count});
}

CK_RV PKCS11CryptoKi::setAttributeValue(TokenSession& session, CK_OBJECT_HANDLE object, CK_ATTRIBUTE* attributes,
                                        CK_ULONG count) {
  if (attributes == nullptr) return CKR_ARGUMENTS_BAD;
  const auto row = find(session, object);
  if (row == objects_.end()) return CKR_OBJECT_HANDLE_INVALID;
  ObjectEntry& entry = row->second;
  if (entry.object->isOnToken() && !session.isReadWrite()) return CKR_SESSION_READ_ONLY;
  if (!entry.object->isModifiable()) return CKR_ATTRIBUTE_READ_ONLY;
  if (entry.number == 0) return entry.object->change({attributes, count}, Access::kFree);
  return diskOf(session)->change(entry.number, {attributes, count}, entry.object);
}

CK_RV PKCS11CryptoKi::findObjectsInit(TokenSession& session, CK_ATTRIBUTE* attributes, CK_ULONG count) {
  if (attributes == nullptr && count != 0) return CKR_ARGUMENTS_BAD;
  if (session.found) return CKR_OPERATION_ACTIVE;
  std::vector<CK_OBJECT_HANDLE> matching;
  for (auto row = objects_.rbegin(); row != objects_.rend(); ++row) {
    if (row->second.slot == session.slot && row->second.object->matches({attributes, count}))
      matching.push_back(row->first);
  }
  session.found = std::move(matching);
  return CKR_OK;
}

CK_RV PKCS11CryptoKi::findObjects(TokenSession& session, CK_OBJECT_HANDLE* objects, CK_ULONG maximum, CK_ULONG* count) {
  if (objects == nullptr || count == nullptr) return CKR_ARGUMENTS_BAD;
  if (!session.found) return CKR_OPERATION_NOT_INITIALIZED;
  auto& left = *session.found;
  for (*count = 0; *count < maximum && !left.empty(); ++*count) {
    objects[*count] = left.back();
    left.pop_back();
  }
  return CKR_OK;
}

CK_RV PKCS11CryptoKi::findObjectsFinal(TokenSession& session) {
  if (!session.found) return CKR_OPERATION_NOT_INITIALIZED;
  session.found.reset();
  return CKR_OK;
}

}  // namespace keystrand
