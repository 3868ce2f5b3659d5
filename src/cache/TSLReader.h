// The services of a trusted list (ETSI TS 119 612), one after the other, by the cursor of its document. Elements are
// known by their local names, whatever their namespace, and wherever a search from their container finds them first: no
// version of the list's standard and no schema is asked for.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "keystrand/cache/TSLMetadata.h"
#include "keystrand/xml/XMLFile.h"

namespace keystrand {

class TSLReader {
 public:
  // What becomes of a service, and by which rule.
  enum class Choice {
    kTaken,
    kOtherType,
    kRefusedStatus,
    kOtherUse,  // additional information, and neither electronic seals nor signatures among it
    kBroken,    // an element is missing that every service has
  };

  explicit TSLReader(XMLFile& list) : list_(list) {}

  // The number of the issue (5.3.2) and the territory (5.3.10) of the list; false when one is missing.
  bool readScheme();
  [[nodiscard]] std::int32_t sequenceNumber() const noexcept { return sequenceNumber_; }
  [[nodiscard]] const std::string& territory() const noexcept { return territory_; }

  bool toFirstProvider();
  bool nextProvider();
  bool toFirstService();  // of the provider
  bool nextService();

  // Whether the service is one to take; its type counts unless all are wanted.
  Choice choose(bool allServices);
  // What the list says of a service just taken, its history behind. To be read before the certificates.
  std::unique_ptr<TSLMetadata> metadata();
  // The Base64 texts of its certificates (5.5.3); nothing when it has no digital identity at all.
  std::optional<std::vector<std::string>> certificates();

 private:
  bool isForOtherUse();
  std::unique_ptr<TSLMetadata> history();
  // Back to an enclosing element that was marked, which is marked again.
  void backTo(const char* name);

  XMLFile& list_;
  std::string territory_;
  std::int32_t sequenceNumber_ = 0;
  std::string type_;    // of the service just chosen
  std::string status_;  // likewise
};

// The value of a TSLSequenceNumber: the digits that it begins with.
std::int32_t sequenceNumberOf(const std::string& text);

// Appends the certificates of the digital identity that is the current element, in Base64; false when it has no
// DigitalId.
bool appendCertificates(XMLFile& list, std::vector<std::string>& texts);

}  // namespace keystrand
