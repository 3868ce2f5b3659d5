#include "cache/CRLCacheImage.h"

#include <cstdint>
#include <memory>
#include <utility>

#include "cache/RecordFields.h"
#include "der/Element.h"

namespace keystrand {
namespace {

constexpr std::uint64_t kLargestImage = Buffer::kMaxSize - 64;

// A row without a text, which only another maker's file can bring, keeps it as NULL.
const char* textOrNull(const std::optional<std::string>& text) {
  return text ? text->c_str() : nullptr;
}

// A CRL without nextUpdate is stored with the time that also stands for an absent extension.
X500Time storedNextUpdate(const CRLCacheEntry& entry) {
  return entry.nextUpdate.value_or(X500Time());
}

std::uint32_t contentSize(const CRLCacheRow& row, const Buffer& buffer) {
  const CRLCacheEntry& entry = *row.payload;
  return buffer.sizeOctetString(textOrNull(row.uri)) + buffer.sizeOctetString(textOrNull(entry.issuer)) +
         buffer.sizeInteger(entry.caIndex) + buffer.sizeInteger(entry.certIndex) + entry.crl->size(buffer) +
         entry.thisUpdate.size(buffer) + storedNextUpdate(entry).size(buffer) + entry.expiredCertsOnCRL.size(buffer) +
         entry.timestamp.size(buffer);
}

void putRow(const CRLCacheRow& row, std::uint32_t content, Buffer& out) {
  const CRLCacheEntry& entry = *row.payload;
  out.putSequence(content);
  out.putOctetString(textOrNull(row.uri));
  out.putOctetString(textOrNull(entry.issuer));
  out.putInteger(entry.caIndex);
  out.putInteger(entry.certIndex);
  entry.crl->put(out);
  entry.thisUpdate.put(out);
  storedNextUpdate(entry).put(out);
  entry.expiredCertsOnCRL.put(out);  // before timestamp here, behind it in memory
  entry.timestamp.put(out);
}

// With its digest, so that a copy of the CRL can be verified later.
std::unique_ptr<CertificateList> getCRL(SecureBuffer& in, Semaphore* device) {
  auto crl = std::make_unique<CertificateList>();
  const SemaphoreLock held(device);
  return crl->get(in) ? std::move(crl) : nullptr;
}

bool getTimes(Buffer& in, CRLCacheEntry& entry) {
  X500Time nextUpdate;
  if (!entry.thisUpdate.get(in) || !nextUpdate.get(in)) return false;
  if (entry.crl->nextUpdateView() != nullptr) entry.nextUpdate = nextUpdate;
  return entry.expiredCertsOnCRL.get(in) && entry.timestamp.get(in);
}

// Nothing is verified: the signature was before the row was stored, and the indices are taken as they stand.
bool getRow(SecureBuffer& in, Semaphore* device, CRLCacheRow& row) {
  Element sequence;
  auto entry = std::make_shared<CRLCacheEntry>();
  if (!sequence.open(in, kSequence) || !getText(in, row.uri) || !getText(in, entry->issuer) ||
      !in.getInteger(entry->caIndex) || !in.getInteger(entry->certIndex)) {
    return false;
  }
  entry->crl = getCRL(in, device);
  if (!entry->crl || !getTimes(in, *entry)) return false;
  row.payload = std::move(entry);
  return true;
}

}  // namespace

CRLCacheImage readCRLCache(SecureBuffer& buffer, Semaphore* device) {
  CRLCacheImage image;
  Element set;
  if (!set.open(buffer, kSet)) return image;
  while (!set.atEnd(buffer) && image.rows.size() < CRLTable::kRows) {
    CRLCacheRow row;
    if (!getRow(buffer, device, row)) return image;
    image.rows.push_back(std::move(row));
  }
  image.whole = true;
  return image;
}

bool writeCRLCache(Buffer& buffer, const std::vector<CRLCacheRow>& rows) {
  std::vector<std::uint32_t> sizes;
  sizes.reserve(rows.size());
  std::uint64_t total = 0;
  for (const CRLCacheRow& row : rows) {
    sizes.push_back(contentSize(row, buffer));
    total += buffer.sizeSequence(sizes.back());
  }
  if (total > kLargestImage) return false;
  buffer.reserve(buffer.sizeSet(static_cast<std::uint32_t>(total)));
  buffer.putSet(static_cast<std::uint32_t>(total));
  for (std::size_t i = 0; i < rows.size(); ++i) putRow(rows[i], sizes[i], buffer);
  return true;
}

}  // namespace keystrand
