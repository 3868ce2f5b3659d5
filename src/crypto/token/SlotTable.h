// The slots of the module: slot 0 with the virtual token, and slots 1 to 4 with tokens in files where the environment
// asks for them.
#pragma once

#include <p11-kit/pkcs11.h>

#include <span>
#include <vector>

#include "crypto/token/DiskToken.h"

namespace keystrand {

struct Slot {
  CK_SLOT_ID id;
  std::unique_ptr<DiskToken> disk;  // none: the virtual token

  CK_RV getTokenInfo(CK_TOKEN_INFO& info) const;
};

class SlotTable {
 public:
  // The files of slots 1 to 4 have the number of the slot, in two digits, behind this prefix. Without one there is slot
  // 0 alone.
  explicit SlotTable(const char* prefix);

  [[nodiscard]] std::span<const Slot> rows() const noexcept { return rows_; }
  [[nodiscard]] const Slot* find(CK_SLOT_ID id) const noexcept { return id < rows_.size() ? &rows_[id] : nullptr; }

 private:
  std::vector<Slot> rows_;
};

}  // namespace keystrand
