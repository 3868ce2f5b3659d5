// The public key of a CA, as the library reads it.
#pragma once

#include "keystrand/pkix/Certificate.h"
#include "support/Builders.h"
#include "support/Coding.h"

namespace keystrand::test {

class IssuerKey {
 public:
  explicit IssuerKey(const Authority& ca) { EXPECT_TRUE(decode(certificate_, ca.certificate)); }
  operator const KeyInfo&() const { return *certificate_.subjectPublicKeyInfoView(); }  // NOLINT(google-explicit-*)

 private:
  Certificate certificate_;
};

}  // namespace keystrand::test
