// A storage object (PKCS #11 v2.20 section 10.4): whether it outlives its session, who sees it, whether it may change.
#pragma once

#include "crypto/token/PKCS11Object.h"

namespace keystrand {

class PKCS11Storage : public PKCS11Object {
 public:
  // C_CreateObject: an object of the class and type that the template names. Nothing is made unless this is CKR_OK.
  // With kComputed the template comes out of the token's own file.
  static CK_RV make(std::span<const CK_ATTRIBUTE> given, std::shared_ptr<PKCS11Storage>& out,
                    Access access = Access::kFixed);
  [[nodiscard]] virtual std::shared_ptr<PKCS11Storage> clone() const = 0;

  [[nodiscard]] bool isOnToken() const { return flag(CKA_TOKEN); }
  [[nodiscard]] bool isPrivate() const { return flag(CKA_PRIVATE); }
  // A private or secret key: a token in a file has none that is not private.
  [[nodiscard]] bool isSecret() const;
  // A private or secret key that does not say so becomes private; CKR_TEMPLATE_INCONSISTENT for one that says it is
  // not.
  CK_RV keepSecret();
  [[nodiscard]] bool isModifiable() const { return flag(CKA_MODIFIABLE); }

 protected:
  static const AttributeTable kTable;
};

}  // namespace keystrand
