// The image of the CA list file "caCertsList-3.5", whose elements docs/files.md lists.
#pragma once

#include <vector>

#include "cache/CATable.h"
#include "cache/TSLInfo.h"
#include "keystrand/der/Buffer.h"

namespace keystrand {

struct CAListImage {
  std::vector<CARow> rows;  // none when the rows are damaged anywhere
  TSLInfoList tslInfos;
};

// False, with nothing written, when the image would be larger than a Buffer can hold.
bool writeCAList(Buffer& buffer, const std::vector<CARow>& rows, const TSLInfoList& tslInfos);
// Any bytes give a list: what cannot be read is not in it. Rows beyond the table's limit are dropped.
CAListImage readCAList(Buffer& buffer);

}  // namespace keystrand
