#include "cache/CAListImage.h"

#include <cstdint>
#include <memory>
#include <utility>

#include "cache/RecordFields.h"
#include "der/Reading.h"

namespace keystrand {
namespace {

// Contents, without the headers. Sums stay exact in 64 bits, so a list too large shows in the total.
struct RowSizes {
  std::uint64_t entries = 0;
  std::uint64_t row = 0;
};

std::uint64_t elementSize(const Buffer& buffer, std::uint64_t content) {
  return buffer.sizeHeader(kSequence, static_cast<std::uint32_t>(content)) + content;
}

// A row without a text, which only another maker's file can bring, keeps it as NULL.
const char* textOrNull(const CARow& row) {
  return row.subjectText ? row.subjectText->c_str() : nullptr;
}

RowSizes sizesOf(const Buffer& buffer, const CARow& row) {
  RowSizes sizes;
  for (const CACertEntryRef& entry : row.entries) sizes.entries += entry->size(buffer);
  sizes.row = buffer.sizeOctetString(textOrNull(row)) + elementSize(buffer, sizes.entries);
  return sizes;
}

void putRow(Buffer& buffer, const CARow& row, const RowSizes& sizes) {
  buffer.putSequence(static_cast<std::uint32_t>(sizes.row));
  buffer.putOctetString(textOrNull(row));
  buffer.putSequence(static_cast<std::uint32_t>(sizes.entries));
  for (const CACertEntryRef& entry : row.entries) entry->serialize(buffer);
}

bool getEntries(Buffer& buffer, std::vector<CACertEntryRef>& entries) {
  Element list;
  if (!openWhole(list, buffer, kSequence)) return false;
  while (!list.atEnd(buffer)) {
    auto entry = std::make_shared<CACertEntry>();
    if (!entry->parse(buffer)) return false;
    entries.push_back(std::move(entry));
  }
  return true;
}

bool getRow(Buffer& buffer, CARow& row) {
  std::uint32_t n = 0;
  return buffer.getSequence(n) && getText(buffer, row.subjectText) && getEntries(buffer, row.entries);
}

bool getRows(Buffer& buffer, std::vector<CARow>& rows) {
  Element set;
  if (!openWhole(set, buffer, kSet)) return false;
  while (!set.atEnd(buffer) && rows.size() < CATable::kRows) {
    if (!getRow(buffer, rows.emplace_back())) return false;
  }
  close(set, buffer);  // over rows that were dropped: the records of the trusted lists stand behind them
  return true;
}

}  // namespace

bool writeCAList(Buffer& buffer, const std::vector<CARow>& rows, const TSLInfoList& tslInfos) {
  std::vector<RowSizes> sizes;
  sizes.reserve(rows.size());
  std::uint64_t content = 0;
  for (const CARow& row : rows) {
    sizes.push_back(sizesOf(buffer, row));
    content += elementSize(buffer, sizes.back().row);
  }
  const std::uint64_t total = elementSize(buffer, content) + tslInfos.size(buffer);
  if (total > Buffer::kMaxSize) return false;
  buffer.reserve(static_cast<std::uint32_t>(total));
  if (!rows.empty()) buffer.putSet(static_cast<std::uint32_t>(content));
  for (std::size_t i = 0; i < rows.size(); ++i) putRow(buffer, rows[i], sizes[i]);
  tslInfos.serialize(buffer);
  return true;
}

// A wrong tag in the first place has its header consumed: a file that holds records only reads as nothing at all.
CAListImage readCAList(Buffer& buffer) {
  CAListImage image;
  if (!getRows(buffer, image.rows)) image.rows.clear();
  image.tslInfos.parse(buffer);
  return image;
}

}  // namespace keystrand
