// CRLs: what is read is written with the size announced and reads back as itself, every serial number that is listed is
// found where it stands first, and the short road through the entries ends where the general one does.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "der/BorrowedBuffer.h"
#include "keystrand/pkix/CertificateList.h"
#include "pkix/RevokedBlockReader.h"

namespace {

using namespace keystrand;
using Octets = std::vector<unsigned char>;

void require(bool condition) {
  if (!condition) std::abort();
}

Octets written(const CertificateList& crl) {
  Buffer out;
  crl.put(out);
  require(crl.size(out) == out.size());
  const auto bytes = out.range(0, out.size());
  return {bytes.begin(), bytes.end()};
}

void listedSerialsAreFound(const RevokedCertificateList& list) {
  constexpr int kAsked = 64;
  std::map<std::string, int> first;
  for (int i = 0; i < std::min(list.count(), kAsked); ++i) {
    RevokedCertificate entry;
    require(list.decode(i, entry));
    const std::string serial = entry.serialView().text(16);
    require(list.find(serial) == first.emplace(serial, i).first->second);
  }
}

void crlComesBack(std::span<const unsigned char> der) {
  BorrowedBuffer in(der);
  CertificateList crl;
  if (!crl.get(in)) return;
  const Octets once = written(crl);
  BorrowedBuffer again(once);
  CertificateList reread;
  require(reread.get(again));
  require(written(reread) == once);
  const std::unique_ptr<CertificateList> copy(crl.clone());
  require(written(*copy) == once);
  const RevokedCertificateList* list = std::as_const(crl).revokedCertificates();
  if (list != nullptr) listedSerialsAreFound(*list);
}

void roadsAgree(std::span<const unsigned char> der) {
  BorrowedBuffer first(der);
  BorrowedBuffer second(der);
  const RevokedBlockResult fast = readRevokedBlock(first, Road::kShort);
  const RevokedBlockResult general = readRevokedBlock(second, Road::kGeneral);
  require(fast.good == general.good && first.readPosition() == second.readPosition());
  require((fast.block == nullptr) == (general.block == nullptr));
  if (!fast.block) return;
  const int count = fast.block->count();
  require(count == general.block->count());
  require(std::ranges::equal(fast.block->bytes(0, count), general.block->bytes(0, count)));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::span<const unsigned char> der(data, size);
  crlComesBack(der);
  roadsAgree(der);
  return 0;
}
