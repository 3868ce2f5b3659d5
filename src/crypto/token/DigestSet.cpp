#include "crypto/token/DigestSet.h"

#include <algorithm>

#include "crypto/Digests.h"

namespace keystrand {

MessageDigest* DigestSet::get(unsigned long mechanism) {
  auto row = std::ranges::find(rows_, mechanism, &Row::mechanism);
  if (row == rows_.end()) {
    auto made = makeDigest(mechanism);
    if (made == nullptr) return nullptr;
    row = rows_.insert(row, Row{mechanism, std::move(made)});
  }
  row->digest->reset();
  return row->digest.get();
}

}  // namespace keystrand
