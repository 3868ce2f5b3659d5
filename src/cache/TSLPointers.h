// The pointers of the European list to the lists of the countries (ETSI TS 119 612 section 5.3.13), by the cursor of
// its document. Each country has several, one for each form of its list; the one for people, in PDF, is never taken.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "keystrand/xml/XMLFile.h"

namespace keystrand {

class TSLPointers {
 public:
  explicit TSLPointers(XMLFile& list) : list_(list) {}

  // The territories in the order of the pointers, as often as they come; nothing when the list has no pointer at all.
  // Left out are the European Union itself and Estonia.
  std::optional<std::vector<std::string>> territories();
  // Goes to the pointer of a country, of which two bytes count. A pointer tells territory and form, or is passed over.
  bool find(std::string_view country);
  // Of the pointer found: where the list lies, and the Base64 texts of the certificates that may sign it. The latter is
  // nothing when there is no identity, or one without any form.
  std::optional<std::string> location();
  std::optional<std::vector<std::string>> signingCertificates();

 private:
  enum class Fact { kTerritory, kMimeType };

  bool toFirst();
  bool next();
  template <class Use>
  void forEachFact(Use use);
  bool leadsTo(std::string_view country);

  XMLFile& list_;
};

}  // namespace keystrand
