// The CA list file: what loads is written in the size announced, and loads again as the same list.
#include <cstdint>
#include <cstdlib>

#include "cache/CAListImage.h"
#include "der/BorrowedBuffer.h"

namespace {

using namespace keystrand;

void require(bool condition) {
  if (!condition) std::abort();
}

bool isWhole(const TSLMetadata& record) {
  return record.serviceTypeView() && record.serviceNameView() && record.serviceStatusView() &&
         record.statusStartingTimeView();
}

// A record with a missing text is written in a form that does not read back.
bool isWhole(const CAListImage& image) {
  for (const CARow& row : image.rows) {
    for (const CACertEntryRef& entry : row.entries) {
      for (const TSLMetadata* record = entry->metadata(); record != nullptr; record = record->nextView()) {
        if (!isWhole(*record)) return false;
      }
    }
  }
  for (int i = 0; i < image.tslInfos.count(); ++i) {
    if (!image.tslInfos.at(i)->location()) return false;
  }
  return true;
}

void requireSame(const TSLMetadata* a, const TSLMetadata* b) {
  for (; a != nullptr && b != nullptr; a = a->nextView(), b = b->nextView()) {
    require(a->serviceTypeView() == b->serviceTypeView() && a->serviceNameView() == b->serviceNameView());
    require(a->serviceStatusView() == b->serviceStatusView());
    require(a->statusStartingTimeView() == b->statusStartingTimeView());
  }
  require(a == nullptr && b == nullptr);
}

void requireSame(const CARow& a, const CARow& b) {
  require(a.subjectText == b.subjectText && a.entries.size() == b.entries.size());
  for (std::size_t i = 0; i < a.entries.size(); ++i) {
    require(a.entries[i]->serial() == b.entries[i]->serial() && a.entries[i]->source() == b.entries[i]->source());
    requireSame(a.entries[i]->metadata(), b.entries[i]->metadata());
  }
}

void requireSame(const CAListImage& a, const CAListImage& b) {
  require(a.rows.size() == b.rows.size());
  for (std::size_t i = 0; i < a.rows.size(); ++i) requireSame(a.rows[i], b.rows[i]);
  require(a.tslInfos.count() == b.tslInfos.count());
  for (int i = 0; i < a.tslInfos.count(); ++i) {
    const TSLInfo& x = *a.tslInfos.at(i);
    const TSLInfo& y = *b.tslInfos.at(i);
    require(x.countryCode() == y.countryCode() && x.sequenceNumber() == y.sequenceNumber());
    require(x.location() == y.location());
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  BorrowedBuffer in({data, size});
  const CAListImage first = readCAList(in);
  Buffer out;
  require(writeCAList(out, first.rows, first.tslInfos));
  if (first.rows.empty() || !isWhole(first)) return 0;  // records without rows read as nothing
  const CAListImage second = readCAList(out);
  require(out.readPosition() == out.size());
  requireSame(first, second);
  return 0;
}
