// A token that is kept in a file: who is logged in to it, and its objects. The file is read for each question and
// replaced at each change, and what is changed is what it then holds: no process overwrites what another one stored.
//
// The token's key is a random one. The PINs of the security officer and of the user each lock a copy of it, so that the
// officer can give the user a new PIN and nothing is lost. It is in memory while somebody is logged in.
#pragma once

#include <p11-kit/pkcs11.h>

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "crypto/SystemRandomGenerator.h"
#include "crypto/token/PKCS11Storage.h"
#include "crypto/token/TokenFile.h"

namespace keystrand {

class DiskToken {
 public:
  using Octets = std::span<const unsigned char>;
  static constexpr std::size_t kShortestPIN = 5;
  static constexpr std::size_t kLongestPIN = 8;

  struct StoredObject {
    std::uint64_t number;
    std::shared_ptr<PKCS11Storage> object;
  };

  explicit DiskToken(std::string path) : file_(std::move(path)) {}

  // Label, manufacturer, model, serial number and flags; CKF_RNG alone, and blanks, before the token is initialised.
  CK_RV describe(CK_TOKEN_INFO& info) const;
  // C_InitToken. A token that was initialised before wants the PIN of its security officer, and loses its objects.
  CK_RV initialize(Octets pin, std::span<const unsigned char, 32> label);

  // Between these two somebody may log in. Opening remembers which token it is: one that another process initialises
  // anew meanwhile is no longer written to, CKR_DEVICE_REMOVED.
  CK_RV open();
  void close();
  CK_RV login(CK_USER_TYPE user, Octets pin);
  void logout();
  [[nodiscard]] std::optional<CK_USER_TYPE> user() const noexcept { return user_; }
  [[nodiscard]] bool isUserIn() const noexcept { return user_ == CK_USER_TYPE{CKU_USER}; }

  CK_RV setUserPIN(Octets pin);                  // C_InitPIN, by the security officer who is logged in
  CK_RV changePIN(Octets former, Octets fresh);  // C_SetPIN: of the officer while he is logged in, else of the user

  // The public objects or, with the user logged in, the private ones.
  CK_RV objects(bool privateOnes, std::vector<StoredObject>& out) const;
  CK_RV store(const PKCS11Storage& object, std::uint64_t& number);
  // C_SetAttributeValue, on the object as it is in the file by now; out is then what it has become.
  CK_RV change(std::uint64_t number, std::span<const CK_ATTRIBUTE> given, std::shared_ptr<PKCS11Storage>& out);
  CK_RV remove(std::uint64_t number);

 private:
  using Image = std::optional<TokenImage>;
  CK_RV readSame(Image& out) const;
  CK_RV changeSame(const std::function<CK_RV(TokenImage&)>& work);
  CK_RV lock(TokenImage& image, CK_USER_TYPE user, Octets pin, const TokenKey& key);
  CK_RV put(const TokenImage& image, const PKCS11Storage& object, TokenRecord& record);

  TokenFile file_;
  std::optional<std::array<unsigned char, 16>> id_;  // while open
  std::optional<CK_USER_TYPE> user_;
  std::optional<TokenKey> key_;  // while somebody is logged in
  SystemRandomGenerator random_;
};

}  // namespace keystrand
