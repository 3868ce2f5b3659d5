#include "crypto/ParameterClasses.h"

#include "crypto/DSSParameters.h"
#include "crypto/IVParameters.h"
#include "crypto/MGF1Parameters.h"
#include "crypto/PBEParameter.h"
#include "crypto/PBMParameter.h"
#include "crypto/RSAParameter.h"
#include "crypto/RSASSA_PSSParameters.h"
#include "der/ConstantOID.h"
#include "keystrand/crypto/ECParameters.h"

namespace keystrand {

namespace {

template <class Parameter>
std::unique_ptr<AlgorithmParameter> make() {
  return std::make_unique<Parameter>();
}

struct Row {
  ConstantOID algorithm;
  std::unique_ptr<AlgorithmParameter> (*make)();
};

constexpr Row kRows[] = {
    {"1.2.840.113549.1.5.3"_oid, &make<PBEParameter>},     // pbeWithMD5AndDES-CBC, RFC 8018 A.3
    {"1.2.840.113549.1.12.1.1"_oid, &make<PBEParameter>},  // the six of PKCS #12, RFC 7292 appendix C
    {"1.2.840.113549.1.12.1.2"_oid, &make<PBEParameter>},
    {"1.2.840.113549.1.12.1.3"_oid, &make<PBEParameter>},
    {"1.2.840.113549.1.12.1.4"_oid, &make<PBEParameter>},
    {"1.2.840.113549.1.12.1.5"_oid, &make<PBEParameter>},
    {"1.2.840.113549.1.12.1.6"_oid, &make<PBEParameter>},
    {"1.3.14.3.2.7"_oid, &make<DESParameter>},                   // desCBC, RFC 8018 B.2.1
    {"1.2.840.113549.3.7"_oid, &make<DESParameter>},             // des-EDE3-CBC, RFC 8018 B.2.2
    {"2.16.840.1.101.3.4.1.2"_oid, &make<AESParameter>},         // aes128-CBC, RFC 8018 B.2.5
    {"2.16.840.1.101.3.4.1.22"_oid, &make<AESParameter>},        // aes192-CBC
    {"2.16.840.1.101.3.4.1.42"_oid, &make<AESParameter>},        // aes256-CBC
    {"2.5.8.1.1"_oid, &make<RSAParameter>},                      // rsa, X.509 annex on algorithm identifiers
    {"1.2.840.10040.4.1"_oid, &make<DSSParameters>},             // id-dsa, RFC 3279 2.3.2
    {"1.2.840.113549.1.1.10"_oid, &make<RSASSA_PSSParameters>},  // id-RSASSA-PSS, RFC 4055 3.1
    {"1.2.840.113549.1.1.8"_oid, &make<MGF1Parameters>},         // id-mgf1, RFC 4055 2.2
    {"1.2.840.10045.2.1"_oid, &make<ECParameters>},              // id-ecPublicKey, RFC 5480 2.1.1
    {"1.2.840.113533.7.66.13"_oid, &make<PBMParameter>},         // id-PasswordBasedMac, RFC 4211 4.4
};

}  // namespace

std::unique_ptr<AlgorithmParameter> makeParameter(const OID& algorithm) {
  for (const Row& row : kRows) {
    if (algorithm == row.algorithm) return row.make();
  }
  return nullptr;
}

}  // namespace keystrand
