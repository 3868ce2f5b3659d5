// Listings of a module for a command-line tool: what the C_Get... functions tell, one item a line.
#include <p11-kit/pkcs11.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "keystrand/crypto/CryptoKi.h"

namespace keystrand {

namespace {

using Text = std::unique_ptr<char[]>;

// A field padded with blanks, without them.
template <std::size_t N>
std::string trimmed(const unsigned char (&field)[N]) {
  std::string text(reinterpret_cast<const char*>(field), N);
  text.erase(text.find_last_not_of(std::string(" \0", 2)) + 1);
  return text;
}

void printResult(const char* what, CryptoKi::Result result) {
  std::printf("%s: %s\n", what, Text(CryptoKi::errorText(result)).get());
}

// The values of a list function, by the standard's convention of two calls.
template <class Ask>
std::vector<unsigned long> listOf(const char* what, Ask ask) {
  unsigned long count = 0;
  CryptoKi::Result result = ask(nullptr, &count);
  std::vector<unsigned long> values(result == CKR_OK ? count : 0);
  if (result == CKR_OK) result = ask(values.data(), &count);
  if (result != CKR_OK) printResult(what, result);
  values.resize(result == CKR_OK ? count : 0);
  return values;
}

std::string labelOf(CryptoKi& module, CryptoKi::Handle session, CryptoKi::Handle object) {
  CK_ATTRIBUTE label{CKA_LABEL, nullptr, 0};
  if (module.getAttributeValue(session, object, &label, 1) != CKR_OK) return {};
  if (label.ulValueLen == CK_UNAVAILABLE_INFORMATION) return {};
  std::string text(label.ulValueLen, '\0');
  label.pValue = text.data();
  return module.getAttributeValue(session, object, &label, 1) == CKR_OK ? text : std::string();
}

}  // namespace

void CryptoKi::listSlots() {
  const auto slots = listOf("C_GetSlotList", [this](unsigned long* values, unsigned long* count) {
    return getSlotList(CK_FALSE, values, count);
  });
  for (const unsigned long slot : slots) {
    CK_SLOT_INFO info{};
    const Result result = getSlotInfo(slot, &info);
    if (result != CKR_OK) {
      printResult("C_GetSlotInfo", result);
      continue;
    }
    std::printf("%lu: %s, %s, %s\n", slot, trimmed(info.slotDescription).c_str(), trimmed(info.manufacturerID).c_str(),
                Text(slotFlagsText(info)).get());
  }
}

void CryptoKi::listToken(unsigned long slot) {
  CK_TOKEN_INFO info{};
  const Result result = getTokenInfo(slot, &info);
  if (result != CKR_OK) return printResult("C_GetTokenInfo", result);
  std::printf("%s, %s, %s, %s, %s\n", trimmed(info.label).c_str(), trimmed(info.manufacturerID).c_str(),
              trimmed(info.model).c_str(), trimmed(info.serialNumber).c_str(), Text(tokenFlagsText(info)).get());
}

void CryptoKi::listMechanisms(unsigned long slot) {
  const auto mechanisms = listOf("C_GetMechanismList", [this, slot](unsigned long* values, unsigned long* count) {
    return getMechanismList(slot, values, count);
  });
  for (const unsigned long mechanism : mechanisms) {
    CK_MECHANISM_INFO info{};
    if (getMechanismInfo(slot, mechanism, &info) != CKR_OK) continue;
    std::printf("0x%lx: %s, %lu to %lu, %s\n", mechanism, Text(mechanismName(mechanism)).get(), info.ulMinKeySize,
                info.ulMaxKeySize, Text(mechanismFlagsText(info)).get());
  }
}

void CryptoKi::listObjects(Handle session) {
  const Result result = findObjectsInit(session, nullptr, 0);
  if (result != CKR_OK) return printResult("C_FindObjectsInit", result);
  Handle object = CK_INVALID_HANDLE;
  unsigned long count = 0;
  while (findObjects(session, &object, 1, &count) == CKR_OK && count == 1) {
    CK_OBJECT_CLASS objectClass = CKO_VENDOR_DEFINED;
    CK_ATTRIBUTE wanted{CKA_CLASS, &objectClass, sizeof objectClass};
    getAttributeValue(session, object, &wanted, 1);
    std::printf("%lu: class %lu, %s\n", object, objectClass, labelOf(*this, session, object).c_str());
  }
  findObjectsFinal(session);
}

}  // namespace keystrand
