// The digest instances of one session: each made when it is first wanted, then used again and again.
#pragma once

#include <memory>
#include <vector>

#include "keystrand/crypto/MessageDigest.h"

namespace keystrand {

class DigestSet {
 public:
  // Ready for a new message; nullptr for a mechanism that is no digest of the token. Owned by the set.
  MessageDigest* get(unsigned long mechanism);

 private:
  struct Row {
    unsigned long mechanism;
    std::unique_ptr<MessageDigest> digest;
  };
  std::vector<Row> rows_;
};

}  // namespace keystrand
