#include "support/TSLBuilders.h"

namespace keystrand::test {
namespace {

std::string digitalId(const std::string& base64) {
  return element("DigitalId", element("X509Certificate", base64));
}

std::string stateOf(const TSLStateSpec& state) {
  return element("ServiceTypeIdentifier", state.type) + element("ServiceName", element("Name", state.name)) +
         element("ServiceStatus", state.status) + element("StatusStartingTime", state.startingTime);
}

std::string serviceOf(const TSLServiceSpec& service) {
  std::string identities = element("DigitalId", element("X509SubjectName", "CN=A service"));
  for (const std::string& certificate : service.certificates) identities += digitalId(certificate);
  std::string extensions;
  for (const std::string& use : service.uses)
    extensions += element("Extension", element("AdditionalServiceInformation", element("URI", use)));
  std::string history;
  for (const TSLStateSpec& state : service.history) history += element("ServiceHistoryInstance", stateOf(state));
  return element("TSPService",
                 element("ServiceInformation", stateOf(service.state) + element("ServiceDigitalIdentity", identities) +
                                                   element("ServiceInformationExtensions", extensions)) +
                     element("ServiceHistory", history));
}

}  // namespace

std::string element(const std::string& name, const std::string& content) {
  return "<" + name + ">" + content + "</" + name + ">\n";
}

std::string makeTSL(const TSLSpec& wanted) {
  std::string providers;
  for (const std::vector<TSLServiceSpec>& services : wanted.providers) {
    std::string list;
    for (const TSLServiceSpec& service : services) list += serviceOf(service);
    providers += element("TrustServiceProvider",
                         element("TSPInformation", element("Name", "A provider")) + element("TSPServices", list));
  }
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" +
         element("TrustServiceStatusList",
                 element("SchemeInformation",
                         element("TSLSequenceNumber", wanted.number) + element("SchemeTerritory", wanted.territory)) +
                     (providers.empty() ? "" : element("TrustServiceProviderList", providers)));
}

std::string makeEuropeanList(const std::vector<TSLPointerSpec>& pointers) {
  std::string list;
  for (const TSLPointerSpec& pointer : pointers) {
    std::string identities;
    for (const std::string& signer : pointer.signers)
      identities += element("ServiceDigitalIdentity", digitalId(signer));
    std::string facts = element("OtherInformation", element("SchemeTerritory", pointer.territory));
    if (pointer.mimeType) facts += element("OtherInformation", element("MimeType", *pointer.mimeType));
    list += element("OtherTSLPointer", element("ServiceDigitalIdentities", identities) +
                                           element("TSLLocation", pointer.location) +
                                           element("AdditionalInformation", facts));
  }
  return element("TrustServiceStatusList",
                 element("SchemeInformation", element("TSLSequenceNumber", "1") + element("SchemeTerritory", "EU") +
                                                  element("PointersToOtherTSL", list)));
}

}  // namespace keystrand::test
