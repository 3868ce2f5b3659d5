// CRLs: what is read is written with the size announced and reads back as itself, every serial number that is listed is
// found where it stands first, and the short road through the entries ends where the general one does.
#include <algorithm>
#include <cstdint>
#include <map>
#include <string>

#include "RoundTrip.h"
#include "der/BorrowedBuffer.h"
#include "keystrand/pkix/CertificateList.h"
#include "pkix/RevokedBlockReader.h"

namespace {

using namespace keystrand;
using fuzz::require;

void listedSerialsAreFound(const RevokedCertificateList& list) {
  constexpr int kAsked = 64;
  std::map<std::string, int> first;
  for (int i = 0; i < std::min(list.count(), kAsked); ++i) {
    RevokedCertificate entry;
    require(list.decode(i, entry), "an entry that is counted can be decoded");
    const std::string serial = entry.serialView().text(16);
    require(list.find(serial) == first.emplace(serial, i).first->second,
            "a serial number is found where it stands first");
  }
}

void listedSerialsAreFound(std::span<const unsigned char> der) {
  CertificateList crl;
  if (!fuzz::read(crl, der)) return;
  const RevokedCertificateList* list = std::as_const(crl).revokedCertificates();
  if (list != nullptr) listedSerialsAreFound(*list);
}

void roadsAgree(std::span<const unsigned char> der) {
  BorrowedBuffer first(der);
  BorrowedBuffer second(der);
  const RevokedBlockResult fast = readRevokedBlock(first, Road::kShort);
  const RevokedBlockResult general = readRevokedBlock(second, Road::kGeneral);
  require(fast.good == general.good && first.readPosition() == second.readPosition(), "both roads end in one place");
  require((fast.block == nullptr) == (general.block == nullptr), "both roads make a block");
  if (!fast.block) return;
  const int count = fast.block->count();
  require(count == general.block->count(), "both roads see as many entries");
  require(std::ranges::equal(fast.block->bytes(0, count), general.block->bytes(0, count)),
          "both roads keep the same bytes");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::span<const unsigned char> der(data, size);
  fuzz::roundTrip<CertificateList>(der);
  listedSerialsAreFound(der);
  roadsAgree(der);
  return 0;
}
