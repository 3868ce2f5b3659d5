// The file of a token, which is replaced as a whole: a write that is cut off leaves the file as it was.
#pragma once

#include <p11-kit/pkcs11.h>

#include <functional>
#include <optional>
#include <string>

#include "crypto/token/TokenImage.h"

namespace keystrand {

class TokenFile {
 public:
  explicit TokenFile(std::string path) : path_(std::move(path)) {}

  // Nothing, with CKR_OK, where there is no file. CKR_TOKEN_NOT_RECOGNIZED for one that is damaged or something else,
  // CKR_DEVICE_ERROR for one that cannot be read.
  CK_RV read(std::optional<TokenImage>& out) const;
  // Reads, lets work change what was read, and writes it when that gives CKR_OK. Of all processes and slots, one at a
  // time does so: a lock on the file with ".lock" behind its name keeps them apart, and waits.
  CK_RV change(const std::function<CK_RV(std::optional<TokenImage>&)>& work) const;

 private:
  std::string path_;
};

}  // namespace keystrand
