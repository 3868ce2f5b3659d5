// Every class of the OCSP messages. The first byte says which one reads the rest. What is DER comes back as it was.
#include "Der.h"
#include "RoundTrip.h"
#include "keystrand/ocsp/BasicOCSPResponse.h"
#include "keystrand/ocsp/OCSPResponse.h"
#include "ocsp/CrlID.h"
#include "ocsp/OCSPRequest.h"

namespace {

using namespace keystrand;
using Bytes = std::span<const unsigned char>;

// The parameters of an algorithm may be written in more ways than one even where tags and lengths are DER.
bool isPlain(const CertID& id) {
  return id.hashAlgorithmView()->parameterView() == nullptr;
}
bool isPlain(const SingleResponse& single) {
  return isPlain(*single.certIDView());
}
bool isPlain(const SingleResponseList& list) {
  for (int i = 0; i < list.count(); ++i) {
    if (!isPlain(*list.view(i))) return false;
  }
  return true;
}
template <class T>
bool isPlain(const T&) {
  return true;
}

// A time that came in pieces, or under the tag of a sequence, is written in one: only DER is read again.
template <class T, class... Tag>
void isWritten(Bytes bytes, Tag... tag) {
  if (fuzz::DerCheck::isElement(bytes)) return fuzz::roundTrip<T>(bytes, tag...);
  T object;
  if (fuzz::read(object, bytes, tag...)) static_cast<void>(fuzz::written(object, tag...));
}

template <class T, class... Tag>
void comesBack(Bytes bytes, Tag... tag) {
  isWritten<T>(bytes, tag...);
  T object;
  if (!fuzz::DerCheck::isElement(bytes) || !fuzz::read(object, bytes, tag...) || !isPlain(object)) return;
  const auto written = fuzz::written(object, tag...);
  fuzz::require(std::ranges::equal(written, bytes), "what is DER is written as it came");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const Bytes rest(data + 1, size - 1);
  switch (data[0] % 15) {
    case 0:
      comesBack<CertID>(rest);
      break;
    case 1:
      comesBack<RevokedInfo>(rest);
      break;
    case 2:
      comesBack<OCSPCertStatus>(rest);
      break;
    case 3:
      comesBack<SingleResponse>(rest);
      break;
    case 4:
      comesBack<SingleResponseList>(rest);
      break;
    case 7:
      comesBack<ResponseBytes>(rest);
      break;
    case 8:
      comesBack<OCSPResponse>(rest);
      break;
    case 9:
      comesBack<CrlID>(rest);
      break;
    // The next ones hold names, certificates and general names, which have targets and properties of their own.
    case 5:
      isWritten<ResponderID>(rest);
      break;
    case 6:
      isWritten<ResponseData>(rest);
      break;
    case 10:
      isWritten<OCSPSignature>(rest);
      break;
    case 11:
      isWritten<BasicOCSPResponse>(rest);
      break;
    case 12:
      isWritten<Request>(rest);
      break;
    case 13:
      isWritten<TBSRequest>(rest);
      break;
    default:
      isWritten<OCSPRequest>(rest);
  }
  return 0;
}
