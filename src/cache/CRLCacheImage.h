// The CRL cache file as bytes: a SET with one SEQUENCE of nine elements for each row that holds a CRL.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cache/CRLTable.h"
#include "keystrand/der/SecureBuffer.h"
#include "keystrand/support/Semaphore.h"

namespace keystrand {

struct CRLCacheRow {
  std::optional<std::string> uri;
  CRLSnapshot payload;  // with a CRL
};

struct CRLCacheImage {
  std::vector<CRLCacheRow> rows;  // those before the damage, if any; at most CRLTable::kRows
  bool whole = false;             // every row of the file could be read, or as many as fit
};

// Takes the device's semaphore around the decoding of each CRL; without a device no row can be read.
CRLCacheImage readCRLCache(SecureBuffer& buffer, Semaphore* device);
// False, with nothing written, when the image would be larger than a Buffer can hold.
bool writeCRLCache(Buffer& buffer, const std::vector<CRLCacheRow>& rows);

}  // namespace keystrand
