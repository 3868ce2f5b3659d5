#include "crypto/token/SlotTable.h"

#include "crypto/token/BlankPadded.h"

namespace keystrand {

namespace {

constexpr CK_SLOT_ID kDiskTokens = 4;

// The session figures stand as they are here, whatever is open: five sessions, each of them read-write, are to be had.
CK_TOKEN_INFO commonInfo() {
  CK_TOKEN_INFO info{};
  info.ulMaxSessionCount = 4;
  info.ulMaxRwSessionCount = 1;
  info.ulMaxPinLen = DiskToken::kLongestPIN;
  info.ulMinPinLen = DiskToken::kShortestPIN;
  info.ulTotalPublicMemory = CK_UNAVAILABLE_INFORMATION;
  info.ulFreePublicMemory = CK_UNAVAILABLE_INFORMATION;
  info.ulTotalPrivateMemory = CK_UNAVAILABLE_INFORMATION;
  info.ulFreePrivateMemory = CK_UNAVAILABLE_INFORMATION;
  info.hardwareVersion = {1, 0};
  info.firmwareVersion = {1, 0};
  pad(info.utcTime, "");
  return info;
}

}  // namespace

CK_RV Slot::getTokenInfo(CK_TOKEN_INFO& info) const {
  CK_TOKEN_INFO made = commonInfo();
  if (disk != nullptr) {
    if (const CK_RV result = disk->describe(made); result != CKR_OK) return result;
  } else {
    pad(made.label, "Not Persistent Token");
    pad(made.manufacturerID, kManufacturer);
    pad(made.model, "Virtual Token");
    pad(made.serialNumber, "0000000000000000");
    made.flags = CKF_RNG | CKF_TOKEN_INITIALIZED;
  }
  info = made;
  return CKR_OK;
}

SlotTable::SlotTable(const char* prefix) {
  rows_.push_back({0, nullptr});
  if (prefix == nullptr || *prefix == '\0') return;
  for (CK_SLOT_ID id = 1; id <= kDiskTokens; ++id) {
    rows_.push_back({id, std::make_unique<DiskToken>(prefix + std::string("0") + std::to_string(id))});
  }
}

}  // namespace keystrand
