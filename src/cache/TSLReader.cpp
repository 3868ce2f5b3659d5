#include "cache/TSLReader.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace keystrand {
namespace {

// 5.5.1 and annex D.2
constexpr std::string_view kTypes[] = {
    "http://uri.etsi.org/TrstSvc/Svctype/CA/QC",
    "http://uri.etsi.org/TrstSvc/Svctype/TSA/QTST",
    "http://uri.etsi.org/TrstSvc/Svctype/CA/PKC",
    "http://uri.etsi.org/TrstSvc/Svctype/TSA",
    "http://uri.etsi.org/TrstSvc/Svctype/TSA/TSS-QC",
    "http://uri.etsi.org/TrstSvc/Svctype/TSA/TSS-AdESQCandQES",
    "http://uri.etsi.org/TrstSvc/Svctype/NationalRootCA-QC",
    "http://uri.etsi.org/TrstSvc/Svctype/ACA",
};

// 5.5.4 and annex D.5. Any other status is good, an unknown one too.
constexpr std::string_view kRefusedStatuses[] = {
    "http://uri.etsi.org/TrstSvc/TrustedList/Svcstatus/accreditationceased",
    "http://uri.etsi.org/TrstSvc/TrustedList/Svcstatus/accreditationrevoked",
    "http://uri.etsi.org/TrstSvc/TrustedList/Svcstatus/withdrawn",
    "http://uri.etsi.org/TrstSvc/TrustedList/Svcstatus/deprecatedatnationallevel",
};

// 5.5.9.4
constexpr std::string_view kWantedUses[] = {
    "http://uri.etsi.org/TrstSvc/TrustedList/SvcInfoExt/ForeSeals",
    "http://uri.etsi.org/TrstSvc/TrustedList/SvcInfoExt/ForeSignatures",
};

template <std::size_t N>
bool isAmong(const std::string_view (&uris)[N], std::string_view uri) {
  return std::ranges::find(uris, uri) != std::end(uris);
}

const char* orNull(const std::optional<std::string>& text) {
  return text ? text->c_str() : nullptr;
}

}  // namespace

std::int32_t sequenceNumberOf(const std::string& text) {
  constexpr int kDecimal = 10;
  return static_cast<std::int32_t>(std::strtol(text.c_str(), nullptr, kDecimal));
}

bool appendCertificates(XMLFile& list, std::vector<std::string>& texts) {
  if (!list.findBelow("DigitalId")) return false;
  do {
    list.pushBookmark();
    std::optional<std::string> text = list.valueOf("X509Certificate");
    if (text && !text->empty()) texts.push_back(std::move(*text));
    list.unwindTo("DigitalId");
  } while (list.findAfter("DigitalId"));
  return true;
}

void TSLReader::backTo(const char* name) {
  list_.unwindTo(name);
  list_.pushBookmark();
}

bool TSLReader::readScheme() {
  list_.clearBookmarks();
  if (!list_.toRoot() || !list_.find("TSLSequenceNumber")) return false;
  sequenceNumber_ = sequenceNumberOf(list_.value().value_or(""));
  if (!list_.toRoot() || !list_.find("SchemeTerritory")) return false;
  territory_ = list_.value().value_or("");
  return true;
}

bool TSLReader::toFirstProvider() {
  return list_.toRoot() && list_.find("TrustServiceProviderList") && list_.findBelow("TrustServiceProvider");
}

bool TSLReader::nextProvider() {
  return list_.unwindTo("TrustServiceProvider") && list_.findAfter("TrustServiceProvider");
}

bool TSLReader::toFirstService() {
  list_.pushBookmark();
  return list_.findBelow("TSPServices") && list_.findBelow("TSPService");
}

bool TSLReader::nextService() {
  return list_.unwindTo("TSPService") && list_.findAfter("TSPService");
}

TSLReader::Choice TSLReader::choose(bool allServices) {
  list_.pushBookmark();
  if (!list_.findBelow("ServiceInformation")) return Choice::kBroken;
  list_.pushBookmark();
  if (!list_.findBelow("ServiceTypeIdentifier")) return Choice::kBroken;
  type_ = list_.value().value_or("");
  if (!allServices && !isAmong(kTypes, type_)) return Choice::kOtherType;
  backTo("ServiceInformation");
  if (!list_.findBelow("ServiceStatus")) return Choice::kBroken;
  status_ = list_.value().value_or("");
  if (isAmong(kRefusedStatuses, status_)) return Choice::kRefusedStatus;
  backTo("ServiceInformation");
  return isForOtherUse() ? Choice::kOtherUse : Choice::kTaken;
}

// A service whose extensions tell nothing of its use is for any.
bool TSLReader::isForOtherUse() {
  if (!list_.findBelow("ServiceInformationExtensions") || !list_.findBelow("Extension")) return false;
  bool tellsUse = false;
  do {
    list_.pushBookmark();
    if (list_.findBelow("AdditionalServiceInformation")) {
      tellsUse = true;
      if (isAmong(kWantedUses, list_.valueOf("URI").value_or(""))) return false;
    }
    list_.unwindTo("Extension");
  } while (list_.findAfter("Extension"));
  return tellsUse;
}

std::unique_ptr<TSLMetadata> TSLReader::metadata() {
  backTo("ServiceInformation");
  auto record = std::make_unique<TSLMetadata>();
  record->setServiceStatus(status_.c_str());
  record->setCountryCode(territory_.c_str());
  record->setServiceType(type_.c_str());
  record->setServiceName(orNull(list_.valueOf("Name")));
  record->setStatusStartingTime(orNull(list_.valueOf("StatusStartingTime")));
  record->setNext(history().release());
  return record;
}

// 5.6, in the order of the list. These records know no country.
std::unique_ptr<TSLMetadata> TSLReader::history() {
  backTo("TSPService");
  if (!list_.findBelow("ServiceHistory") || !list_.findBelow("ServiceHistoryInstance")) return nullptr;
  std::vector<std::unique_ptr<TSLMetadata>> records;
  do {
    list_.pushBookmark();
    auto record = std::make_unique<TSLMetadata>();
    record->setServiceStatus(orNull(list_.valueOf("ServiceStatus")));
    record->setServiceType(orNull(list_.valueOf("ServiceTypeIdentifier")));
    record->setServiceName(orNull(list_.valueOf("Name")));
    record->setStatusStartingTime(orNull(list_.valueOf("StatusStartingTime")));
    records.push_back(std::move(record));
    list_.unwindTo("ServiceHistoryInstance");
  } while (list_.findAfter("ServiceHistoryInstance"));
  for (std::size_t i = records.size() - 1; i > 0; --i) records[i - 1]->setNext(records[i].release());
  return std::move(records.front());
}

std::optional<std::vector<std::string>> TSLReader::certificates() {
  backTo("TSPService");
  std::vector<std::string> texts;
  if (!list_.findBelow("ServiceInformation") || !list_.findBelow("ServiceDigitalIdentity") ||
      !appendCertificates(list_, texts)) {
    return std::nullopt;
  }
  return texts;
}

}  // namespace keystrand
