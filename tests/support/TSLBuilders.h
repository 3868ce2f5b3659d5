// Trusted lists and European lists as texts. A description is valid as it stands; a test changes the one field that
// its case is about, or edits the text.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "support/Builders.h"
#include "support/Texts.h"

namespace keystrand::test {

const std::string kGranted = "http://uri.etsi.org/TrstSvc/TrustedList/Svcstatus/granted";
const std::string kQualifiedCA = "http://uri.etsi.org/TrstSvc/Svctype/CA/QC";
const std::string kForSignatures = "http://uri.etsi.org/TrstSvc/TrustedList/SvcInfoExt/ForeSignatures";
const std::string kForSeals = "http://uri.etsi.org/TrstSvc/TrustedList/SvcInfoExt/ForeSeals";
const std::string kForWebSites = "http://uri.etsi.org/TrstSvc/TrustedList/SvcInfoExt/ForWebSiteAuthentication";

struct TSLStateSpec {
  std::string type = kQualifiedCA;
  std::string status = kGranted;
  std::string name = "A service";
  std::string startingTime = "2020-01-01T00:00:00Z";
};

struct TSLServiceSpec {
  TSLStateSpec state = {};
  std::vector<std::string> uses = {};          // URIs of AdditionalServiceInformation, one extension each
  std::vector<std::string> certificates = {};  // Base64
  std::vector<TSLStateSpec> history = {};
};

struct TSLSpec {
  std::string number = "42";
  std::string territory = "IT";
  std::vector<std::vector<TSLServiceSpec>> providers = {};
};
std::string makeTSL(const TSLSpec& wanted);

struct TSLPointerSpec {
  std::string territory = "IT";
  std::optional<std::string> mimeType = "application/vnd.etsi.tsl+xml";
  std::string location = "http://127.0.0.1:1/none.xml";
  std::vector<std::string> signers = {};  // Base64
};
std::string makeEuropeanList(const std::vector<TSLPointerSpec>& pointers);

std::string element(const std::string& name, const std::string& content);

}  // namespace keystrand::test
