// An extension, a list of them, and every class of extension values. The first byte says which one reads the rest.
#include "RoundTrip.h"
#include "keystrand/pkix/AuthorityKeyIdentifier.h"
#include "keystrand/pkix/DistributionPoint.h"
#include "keystrand/pkix/Extension.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace keystrand;
  if (size == 0) return 0;
  const std::span<const unsigned char> rest(data + 1, size - 1);
  switch (data[0] % 9) {
    case 0:
      fuzz::roundTrip<Extension>(rest);
      break;
    case 1:
      fuzz::roundTrip<ExtensionList>(rest);
      break;
    case 2:
      fuzz::roundTrip<GeneralNameList>(rest);
      break;
    case 3:
      fuzz::roundTrip<OtherName>(rest, GeneralName::kOtherName);
      break;
    case 4:
      fuzz::roundTrip<EDIPartyName>(rest, GeneralName::kEdiPartyName);
      break;
    case 5:
      fuzz::roundTrip<AuthorityKeyIdentifier>(rest);
      break;
    case 6:
      fuzz::roundTrip<DistributionPointName>(rest);
      break;
    case 7:
      fuzz::roundTrip<DistributionPointList>(rest);
      break;
    default:
      fuzz::roundTrip<IssuingDistPointSyntax>(rest);
  }
  return 0;
}
