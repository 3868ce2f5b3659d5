// An object of the token as octets: how it is kept in a file.
#pragma once

#include <memory>
#include <span>

#include "crypto/token/PKCS11Storage.h"
#include "support/SecretBytes.h"

namespace keystrand {

// Each attribute by its type and length, numbers in the order of the machine. Defaults are not written.
SecretBytes putObject(const PKCS11Storage& object);
// nullptr for octets that putObject did not write, or that make no object of the token.
std::shared_ptr<PKCS11Storage> getObject(std::span<const unsigned char> octets);

}  // namespace keystrand
