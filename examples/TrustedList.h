// A trusted list (ETSI TS 119 612) read with the library's document class: its number, and its services counted by what
// becomes of them when the list is added.
#pragma once

#include <keystrand/keystrand.h>
#include <keystrand/xml/XMLFile.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <string>
#include <string_view>

namespace examples {

using namespace keystrand;

// Why a service stays out, in the order in which the library looks; the last is known only after the list was added.
enum Fate { kTaken, kOtherType, kRefusedStatus, kOtherUse, kWithoutCertificate, kFates };

struct ServiceCounts {
  std::array<int, kFates> services{};

  [[nodiscard]] int all() const {
    int sum = 0;
    for (const int count : services) sum += count;
    return sum;
  }
  ServiceCounts& operator+=(const ServiceCounts& other) {
    std::ranges::transform(services, other.services, services.begin(), std::plus());
    return *this;
  }
};

inline constexpr std::string_view kTypes = "http://uri.etsi.org/TrstSvc/Svctype/";
inline constexpr std::string_view kWantedTypes[] = {
    "CA/QC", "TSA/QTST", "CA/PKC", "TSA", "TSA/TSS-QC", "TSA/TSS-AdESQCandQES", "NationalRootCA-QC", "ACA"};
inline constexpr std::string_view kStatuses = "http://uri.etsi.org/TrstSvc/TrustedList/Svcstatus/";
inline constexpr std::string_view kRefusedStatuses[] = {"accreditationceased", "accreditationrevoked", "withdrawn",
                                                        "deprecatedatnationallevel"};
inline constexpr std::string_view kUses = "http://uri.etsi.org/TrstSvc/TrustedList/SvcInfoExt/";
inline constexpr std::string_view kWantedUses[] = {"ForeSeals", "ForeSignatures"};

// What stands behind the base that URIs of one kind share, the whole URI where it begins otherwise.
inline std::string_view shortened(std::string_view uri, std::string_view base) {
  return uri.starts_with(base) ? uri.substr(base.size()) : uri;
}

template <class Names>
bool isOneOf(const Names& names, std::string_view base, std::string_view uri) {
  return uri.starts_with(base) && std::ranges::find(names, shortened(uri, base)) != std::end(names);
}

// Goes to an element below the current one and, when it goes out of scope, back.
class Visit {
 public:
  Visit(XMLFile& list, const char* name) : list_(list) {
    list_.pushBookmark();
    isThere_ = list_.findBelow(name);
  }
  ~Visit() { list_.popBookmark(); }
  Visit(const Visit&) = delete;
  Visit& operator=(const Visit&) = delete;
  explicit operator bool() const { return isThere_; }

 private:
  XMLFile& list_;
  bool isThere_ = false;
};

// Whether the service tells what it is for, and that is neither electronic seals nor signatures.
inline bool isForOtherUse(XMLFile& list) {
  const Visit information(list, "ServiceInformation");
  bool tellsUse = false;
  for (bool more = list.findBelow("ServiceInformationExtensions") && list.findBelow("Extension"); more;
       more = list.sibling("Extension")) {
    const Visit use(list, "AdditionalServiceInformation");
    if (!use) continue;
    tellsUse = true;
    if (isOneOf(kWantedUses, kUses, list.valueOf("URI").value_or(""))) return false;
  }
  return tellsUse;
}

// Whether the CA list has a certificate of the service.
inline bool hasCertificate(void* context, XMLFile& list) {
  constexpr int kFromTrustedList = 1;
  const Visit identity(list, "ServiceDigitalIdentity");
  for (bool more = list.child("DigitalId"); more; more = list.sibling("DigitalId")) {
    std::string base64 = list.valueOf("X509Certificate").value_or("");
    if (!base64.empty() && cache_getCACertSource(context, base64.data()) == kFromTrustedList) return true;
  }
  return false;
}

// Of the service that is the current element, in a list that has been added.
inline Fate fateOf(void* context, XMLFile& list, bool allServices) {
  if (!allServices && !isOneOf(kWantedTypes, kTypes, list.valueOf("ServiceTypeIdentifier").value_or("")))
    return kOtherType;
  if (isOneOf(kRefusedStatuses, kStatuses, list.valueOf("ServiceStatus").value_or(""))) return kRefusedStatus;
  if (isForOtherUse(list)) return kOtherUse;
  return hasCertificate(context, list) ? kTaken : kWithoutCertificate;
}

inline ServiceCounts countServices(void* context, XMLFile& list, bool allServices) {
  ServiceCounts counts;
  list.toRoot();
  for (bool more = list.find("TrustServiceProvider"); more; more = list.sibling("TrustServiceProvider")) {
    const Visit services(list, "TSPServices");
    for (bool another = services && list.child("TSPService"); another; another = list.sibling("TSPService"))
      ++counts.services[fateOf(context, list, allServices)];
  }
  return counts;
}

inline std::string sequenceNumberOf(XMLFile& list) {
  return list.toRoot() ? list.valueOf("TSLSequenceNumber").value_or("?") : "?";
}

}  // namespace examples
