#include "net/HTTPAnswer.h"

#include <algorithm>
#include <limits>

#include "net/HTTPResult.h"

namespace keystrand {

namespace {

constexpr auto kNone = std::string_view::npos;
constexpr std::string_view kStatus = "http/1";
constexpr std::string_view kType = "content-type:";
constexpr std::string_view kLength = "content-length:";
constexpr std::string_view kLocation = "location:";
constexpr std::string_view kTransferEncoding = "transfer-encoding:";
constexpr std::string_view kPage = "text/html";
constexpr std::string_view kScheme = "http:";

bool holds(std::string_view text, std::string_view part) {
  return text.find(part) != kNone;
}

std::string_view withoutBlanks(std::string_view text) {
  return text.substr(std::min(text.find_first_not_of(' '), text.size()));
}

// Any row with the protocol's name counts, a Via among them; one with a single word leaves the status alone.
void readStatus(std::string_view row, AnswerHead& head) {
  if (!holds(row, kStatus)) return;
  const std::string_view first = withoutBlanks(row);
  const std::string_view second = withoutBlanks(first.substr(std::min(first.find(' '), first.size())));
  if (second.empty()) return;
  const std::int64_t number = leadingDecimal(second);
  head.status = static_cast<int>(
      std::clamp<std::int64_t>(number, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

// A value that names its scheme twice, as a gateway puts its own before it, is taken from the last one on; the first
// character, a blank as a rule, never begins one.
void readLocation(std::string_view row, AnswerHead& head) {
  const auto text = textBehind(row, kLocation);
  if (!text) return;
  const std::size_t last = text->rfind(kScheme);
  head.location = last == kNone || last == 0 ? *text : text->substr(last);
}

void readLength(std::string_view row, AnswerHead& head) {
  if (const auto value = valueBehind(row, kLength))
    head.length = static_cast<std::uint64_t>(std::max<std::int64_t>(leadingDecimal(*value), 0));
}

// False where nothing behind this row counts any more.
bool readType(std::string_view row, AnswerHead& head) {
  const auto value = valueBehind(row, kType);
  if (!value) return true;
  if (holds(*value, kPage)) {
    head.html = true;
    if (head.length != 0) return false;
  }
  if (holds(*value, "xml")) {
    head.xml = true;
    if (head.length != 0) return false;
  }
  return true;
}

}  // namespace

AnswerHead answerToGet(const HeaderRows& rows) {
  AnswerHead head;
  for (const std::string_view row : rows.texts()) {
    readStatus(row, head);
    if (!readType(row, head)) break;
    readLength(row, head);
    if (holds(row, kLength) && head.html) break;
    readLocation(row, head);
    if (const auto coding = valueBehind(row, kTransferEncoding))
      head.chunked = head.chunked || holds(*coding, "chunked");
  }
  return head;
}

AnswerHead answerToSending(const HeaderRows& rows) {
  AnswerHead head;
  for (const std::string_view row : rows.texts()) {
    readStatus(row, head);
    readLocation(row, head);
  }
  return head;
}

int statusOfFirstRow(const HeaderRows& rows) {
  AnswerHead head;
  const auto texts = rows.texts();
  if (!texts.empty()) readStatus(texts.front(), head);
  return head.status;
}

AnswerHead pageOf(const HeaderRows& rows) {
  AnswerHead head;
  for (const std::string_view row : rows.texts()) {
    if (const auto type = valueBehind(row, kType)) head.html = head.html || holds(*type, kPage);
    readLength(row, head);
    if (head.html && head.length != 0) break;
  }
  return head;
}

std::string modificationTime(const HeaderRows& rows) {
  for (const std::string_view row : rows.texts())
    if (const auto time = textBehind(row, "last-modified:")) return std::string(withoutBlanks(*time));
  return std::string(kNoModificationTime);
}

std::optional<std::string> followPage(std::string_view url, std::string_view page) {
  constexpr std::string_view kQuotes = "\"'";
  page = page.substr(0, page.find('\0'));
  const std::size_t link = page.find("href=");
  const std::size_t open = link == kNone ? kNone : page.find_first_of(kQuotes, link);
  const std::size_t close = open == kNone ? kNone : page.find_first_of(kQuotes, open + 1);
  if (close == kNone) return std::nullopt;
  const std::string target(page.substr(open + 1, close - open - 1));
  if (target.starts_with("mailto:")) return std::nullopt;
  if (target.starts_with(kScheme)) return target;
  if (target.starts_with('/')) return std::string(url.substr(0, url.find('/'))) + target;
  return std::string(url) + "/" + target;
}

}  // namespace keystrand
