// A template that the device hands to the token: attributes with values of their own.
#pragma once

#include <p11-kit/pkcs11.h>

#include <list>
#include <span>
#include <string_view>
#include <vector>

#include "keystrand/crypto/CryptoKi.h"
#include "support/SecretBytes.h"

namespace keystrand {

class AttributeTemplate {
 public:
  void add(CK_ATTRIBUTE_TYPE type, std::span<const unsigned char> value) {
    SecretBytes& kept = values_.emplace_back(value.begin(), value.end());
    attributes_.push_back({type, kept.data(), kept.size()});
  }
  void addNumber(CK_ATTRIBUTE_TYPE type, CK_ULONG value) {
    add(type, {reinterpret_cast<const unsigned char*>(&value), sizeof value});
  }
  void addFlag(CK_ATTRIBUTE_TYPE type, bool value) {
    const CK_BBOOL octet = value ? CK_TRUE : CK_FALSE;
    add(type, {&octet, 1});
  }
  void addText(CK_ATTRIBUTE_TYPE type, std::string_view text) {
    add(type, {reinterpret_cast<const unsigned char*>(text.data()), text.size()});
  }
  [[nodiscard]] const std::vector<CK_ATTRIBUTE>& attributes() const noexcept { return attributes_; }

  CK_RV create(CryptoKi& ki, CK_SESSION_HANDLE session, CK_OBJECT_HANDLE& object) const {
    return ki.createObject(session, attributes_.data(), attributes_.size(), &object);
  }

 private:
  std::list<SecretBytes> values_;
  std::vector<CK_ATTRIBUTE> attributes_;
};

}  // namespace keystrand
