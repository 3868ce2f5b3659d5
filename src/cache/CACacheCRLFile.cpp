// The CRL table's file: a SET with one SEQUENCE of nine elements for each row that holds a CRL.
#include <sys/stat.h>

#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "cache/CACache.h"
#include "cache/ContextLog.h"
#include "cache/Library.h"
#include "cache/RecordFields.h"
#include "der/Element.h"
#include "log/MessageCodes.h"

namespace keystrand {
namespace {

constexpr std::uint64_t kLargestImage = 0xFFFFFFFFu - 64;

struct StoredRow {
  std::string uri;
  CRLSnapshot payload;
};

// A row that waits for its place in the table while the file is read.
struct ParsedRow {
  std::optional<std::string> uri;
  CRLSnapshot payload;
};

// Placeholders are not written, so rows are renumbered by a save and a load. The caller holds crlMutex.
std::vector<StoredRow> filledRows() {
  std::vector<StoredRow> rows;
  CRLTable& table = library().crlTable;
  for (int i = 0; i < table.count(); ++i) {
    CRLSnapshot payload = table.row(i).snapshot();
    if (payload->crl) rows.push_back({table.row(i).uri.value_or(""), std::move(payload)});
  }
  return rows;
}

// A CRL without nextUpdate is stored with the time that also stands for an absent extension.
X500Time storedNextUpdate(const CRLCacheEntry& entry) {
  return entry.nextUpdate.value_or(X500Time());
}

std::uint32_t contentSize(const StoredRow& row, const Buffer& buffer) {
  const CRLCacheEntry& entry = *row.payload;
  return buffer.sizeOctetString(row.uri.c_str()) + buffer.sizeOctetString(entry.issuer.c_str()) +
         buffer.sizeInteger(entry.caIndex) + buffer.sizeInteger(entry.certIndex) + entry.crl->size(buffer) +
         entry.thisUpdate.size(buffer) + storedNextUpdate(entry).size(buffer) + entry.expiredCertsOnCRL.size(buffer) +
         entry.timestamp.size(buffer);
}

void putRow(const StoredRow& row, std::uint32_t content, Buffer& out) {
  const CRLCacheEntry& entry = *row.payload;
  out.putSequence(content);
  out.putOctetString(row.uri.c_str());
  out.putOctetString(entry.issuer.c_str());
  out.putInteger(entry.caIndex);
  out.putInteger(entry.certIndex);
  entry.crl->put(out);
  entry.thisUpdate.put(out);
  storedNextUpdate(entry).put(out);
  entry.expiredCertsOnCRL.put(out);  // before timestamp here, behind it in memory
  entry.timestamp.put(out);
}

// False when the image would be larger than a Buffer can hold. The caller holds crlMutex.
bool serializeCRLCache(Buffer& out) {
  const std::vector<StoredRow> rows = filledRows();
  std::vector<std::uint32_t> sizes;
  std::uint64_t total = 0;
  for (const StoredRow& row : rows) {
    sizes.push_back(contentSize(row, out));
    total += out.sizeSequence(sizes.back());
  }
  if (total > kLargestImage) return false;
  out.reserve(out.sizeSet(static_cast<std::uint32_t>(total)));
  out.putSet(static_cast<std::uint32_t>(total));
  for (std::size_t i = 0; i < rows.size(); ++i) putRow(rows[i], sizes[i], out);
  return true;
}

bool parseRow(SecureBuffer& in, Semaphore* device, ParsedRow& row) {
  Element sequence;
  std::optional<std::string> issuer;
  auto entry = std::make_shared<CRLCacheEntry>();
  auto crl = std::make_shared<CertificateList>();
  X500Time nextUpdate;
  if (!sequence.open(in, kSequence) || !getText(in, row.uri) || !getText(in, issuer) ||
      !in.getInteger(entry->caIndex) || !in.getInteger(entry->certIndex)) {
    return false;
  }
  {
    const SemaphoreLock held(device);
    if (!crl->get(in)) return false;
  }
  if (!entry->thisUpdate.get(in) || !nextUpdate.get(in) || !entry->expiredCertsOnCRL.get(in) ||
      !entry->timestamp.get(in)) {
    return false;
  }
  entry->issuer = issuer.value_or("");
  if (crl->nextUpdateView() != nullptr) entry->nextUpdate = nextUpdate;
  entry->crl = std::move(crl);
  row.payload = std::move(entry);
  return true;
}

// Rows beyond the last one that fits are dropped quietly. A damaged file leaves the table as long as it was, with the
// rows before the damage replaced. The caller holds crlMutex.
bool parseCRLCache(SecureBuffer& in, Semaphore* device) {
  CRLTable& table = library().crlTable;
  const int former = table.count();
  Element set;
  if (!set.open(in, kSet)) return false;
  int rows = 0;
  while (!set.atEnd(in) && rows < CRLTable::kRows) {
    ParsedRow row;
    if (!parseRow(in, device, row)) {
      for (int i = former; i < rows; ++i) table.replace(i, std::nullopt, std::make_shared<CRLCacheEntry>());
      return false;
    }
    table.replace(rows++, std::move(row.uri), std::move(row.payload));
  }
  table.resize(rows);
  return true;
}

}  // namespace

bool CACache::saveCRLCache(const std::string& path) {
  logMessage(Logger::kTrace, kCRLCacheSaving);
  workBuffer_.reset();
  bool saved = false;
  {
    const std::lock_guard table(library().crlMutex);
    if (serializeCRLCache(workBuffer_)) {
      const std::lock_guard file(library().crlFileMutex);
      saved = workBuffer_.saveFileLocked(path.c_str());
    }
  }
  if (!saved) {
    logMessage(Logger::kFailure, kCRLCacheNotSaved);
    return false;
  }
  chmod(path.c_str(), S_IRUSR | S_IWUSR);  // a file that was there keeps its mode otherwise
  logMessage(Logger::kTrace, kCRLCacheSaved);
  return true;
}

bool CACache::loadCRLCache(const std::string& path) {
  logMessage(Logger::kTrace, kCRLCacheLoading);
  if (!workBuffer_.loadFileLocked(path.c_str())) {
    logMessage(Logger::kFailure, kCRLCacheNotRead);
    return false;
  }
  {
    const std::lock_guard lock(library().crlMutex);
    parseCRLCache(workBuffer_, semaphore_);  // a damaged file is no failure: the table tells what was read
  }
  logMessage(Logger::kTrace, kCRLCacheLoaded);
  return true;
}

}  // namespace keystrand
