// The table of CRLs: one row per distribution-point URI, at most 2048, never removed one by one.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "keystrand/der/X500Time.h"
#include "keystrand/pkix/CertificateList.h"
#include "keystrand/support/Semaphore.h"

namespace keystrand {

// What a row holds. Immutable once published: readers work on a snapshot.
struct CRLCacheEntry {
  std::optional<std::string> issuer;  // text form of the CRL issuer, as it keys the CA rows; none in a placeholder
  std::int32_t caIndex = 0;
  std::int32_t certIndex = 0;
  std::shared_ptr<const CertificateList> crl;  // null in a placeholder row
  X500Time thisUpdate;
  std::optional<X500Time> nextUpdate;  // none: already due
  X500Time timestamp;                  // the server's modification time at the download
  X500Time expiredCertsOnCRL;          // time 0: the CRL has no such extension
};

using CRLSnapshot = std::shared_ptr<const CRLCacheEntry>;

// What rows without a CRL hold, all the same one.
const CRLSnapshot& nothingHeld();

class CRLRow {
 public:
  // Never null.
  [[nodiscard]] CRLSnapshot snapshot() const;
  void publish(CRLSnapshot payload);

  std::optional<std::string> uri;  // after URL decoding; changed only under crlMutex with the row held
  Semaphore semaphore{0, 1};       // serialises the fetches of one URI

 private:
  mutable std::mutex leaf_;
  CRLSnapshot payload_ = nothingHeld();
};

// A row whose semaphore is held for the life of this pointer.
struct PostRow {
  void operator()(CRLRow* row) const noexcept { row->semaphore.post(); }
};
using HeldRow = std::unique_ptr<CRLRow, PostRow>;

class CRLTable {
 public:
  static constexpr int kRows = 2048;

  // Changed under crlMutex, read by any thread: an update holds the mutex for as long as its network takes.
  [[nodiscard]] int count() const noexcept { return count_; }
  [[nodiscard]] CRLRow& row(int index) { return rows_[static_cast<std::size_t>(index)]; }
  // Row of a URI, ASCII case ignored; count() when there is none.
  [[nodiscard]] int find(std::string_view uri) const;
  // A new row for a URI, an empty placeholder; null when the table is full. Its key stands before anybody else can see
  // the row.
  [[nodiscard]] HeldRow addHeld(const std::string& uri);
  // Puts key and payload into a row in one step.
  void replace(int index, std::optional<std::string> uri, CRLSnapshot payload);
  // Makes the table `count` rows long; the rows cut off are emptied, rows that are new hold what replace() put there.
  void resize(int count);
  void clear() { resize(0); }

 private:
  std::array<CRLRow, kRows> rows_;
  std::atomic<int> count_{0};
};

}  // namespace keystrand
