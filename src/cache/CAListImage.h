// The image of the CA list file "caCertsList-3.5", BER without any header:
//
//   rows      SET OF SEQUENCE { subjectText OCTET STRING, entries SEQUENCE OF Entry }     when there are rows
//   tslInfos  SEQUENCE OF SEQUENCE { countryCode OCTET STRING (SIZE (2)), sequenceNumber INTEGER,
//                                    location OCTET STRING }                              when there are records
//   Entry     SEQUENCE { certificate, issuer Name, serial INTEGER, source INTEGER, metadata Metadata OPTIONAL }
//   Metadata  SEQUENCE { serviceType, serviceName, countryCode, serviceStatus, statusStartingTime OCTET STRING,
//                        next Metadata OPTIONAL }
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
