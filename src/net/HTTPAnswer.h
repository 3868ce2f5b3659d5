// What the socket client takes from the header of an answer, and from a page that stands in the place of the object.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "net/HeaderRows.h"

namespace keystrand {

struct AnswerHead {
  int status = 200;
  bool html = false;
  bool xml = false;
  bool chunked = false;
  std::uint64_t length = 0;  // 0 also when none is told
  std::optional<std::string> location;
};

// The answer to a GET. The rows are gone through in their order and no further than to a Content-Type of html or xml
// together with a Content-Length: what stands behind the two, a Location among it, is not seen.
AnswerHead answerToGet(const HeaderRows& rows);
// The answer to a request with a body: status and location only.
AnswerHead answerToSending(const HeaderRows& rows);
// The status, 200 unless the first row tells another.
int statusOfFirstRow(const HeaderRows& rows);
// Of an answer to a request with a body: whether it is a page, and its length.
AnswerHead pageOf(const HeaderRows& rows);

// The modification time, lower-cased as all rows are.
std::string modificationTime(const HeaderRows& rows);

// The URL that the first link of a page leads to; nothing without a link, or for one to a mailbox. A link with a
// leading "/" takes the place of all behind the colon of the scheme, so that only one with two leads anywhere; any
// other that does not begin with http: is appended to the whole URL.
std::optional<std::string> followPage(std::string_view url, std::string_view page);

}  // namespace keystrand
