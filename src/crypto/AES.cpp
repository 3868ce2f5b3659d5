#define OPENSSL_SUPPRESS_DEPRECATED  // AES_...: no provider is fetched in an application's process
#include "crypto/AES.h"

#include <openssl/aes.h>

#include "support/SecretBytes.h"

namespace keystrand {

AES::AES() : key_(std::make_unique<AES_KEY>()) {}

AES::~AES() {
  wipe({reinterpret_cast<unsigned char*>(key_.get()), sizeof(AES_KEY)});
}

bool AES::setEncryptionKey(std::span<const unsigned char> key) {
  return AES_set_encrypt_key(key.data(), static_cast<int>(key.size() * 8), key_.get()) == 0;
}
bool AES::setDecryptionKey(std::span<const unsigned char> key) {
  return AES_set_decrypt_key(key.data(), static_cast<int>(key.size() * 8), key_.get()) == 0;
}
void AES::encryptBlock(const unsigned char* source, unsigned char* target) const {
  AES_encrypt(source, target, key_.get());
}
void AES::decryptBlock(const unsigned char* source, unsigned char* target) const {
  AES_decrypt(source, target, key_.get());
}

}  // namespace keystrand
