// The signature of a trusted list (ETSI TS 119 612 clause 5.7): enveloped, over the whole list. What is not on the
// short lists here is refused: algorithms, transforms, kinds of references, places where things stand.
#pragma once

#include <keystrand/crypto/CryptoDevice.h>
#include <keystrand/xml/XMLFile.h>

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace examples {

// Why a list is not to be trusted, in a line.
class Refusal : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

using DER = std::string;  // octets of a certificate

// The octets that a Base64 text stands for; a Refusal that calls it so where it is none.
std::string fromBase64(std::string_view text, const char* name);

class ListSignature {
 public:
  // With the list's cursor anywhere. The device is the client's own, or its semaphore is held.
  ListSignature(keystrand::XMLFile& list, keystrand::CryptoDevice& device) : list_(list), device_(device) {}

  // The certificate, one of these, whose key signed all that the list says: comments alone are not signed. Throws a
  // Refusal. The cursor ends at the root.
  DER verify(const std::vector<DER>& allowed);

 private:
  struct Reference;

  void refuseHiddenParts();
  void toOnlySignature();
  std::string readSignedInfo(const char*& signatureAlgorithm);
  void readTransforms(Reference& reference);
  Reference readReference();
  bool checkReference();
  std::string octetsOf(const Reference& reference, const std::string& uri);
  std::string digestOf(const std::string& octets, const char* algorithm);
  std::vector<DER> certificatesInKeyInfo();
  bool isSignedBy(const DER& certificate, const std::string& signedInfo, const char* algorithm,
                  const std::string& signature);

  keystrand::XMLFile& list_;
  keystrand::CryptoDevice& device_;
};

}  // namespace examples
