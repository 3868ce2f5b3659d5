#include "cache/CATable.h"

#include <algorithm>
#include <utility>

#include "support/Text.h"

namespace keystrand {
namespace {

// Subjects that differ only in the case of ASCII letters share a row, whatever the locale.
std::string lowerCase(std::string_view text) {
  std::string lower(text);
  std::ranges::transform(lower, lower.begin(), foldCase);
  return lower;
}

// The walk goes on by one place even where it has removed an entry, so it jumps over the entry that closed the gap.
std::vector<CACertEntryRef> withoutSource(const std::vector<CACertEntryRef>& entries, std::int32_t source) {
  std::vector<CACertEntryRef> kept;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    if (entries[i]->source() == source && ++i == entries.size()) break;
    kept.push_back(entries[i]);
  }
  return kept;
}

}  // namespace

const CARow* CATable::row(int index) const noexcept {
  return index >= 0 && index < count() ? &rows_[static_cast<std::size_t>(index)] : nullptr;
}

CACertEntryRef CATable::entry(int row, int index) const {
  const CARow* found = this->row(row);
  if (found == nullptr || index < 0 || static_cast<std::size_t>(index) >= found->entries.size()) return nullptr;
  return found->entries[static_cast<std::size_t>(index)];
}

int CATable::find(std::string_view subjectText) const {
  const auto found = rowBySubject_.find(lowerCase(subjectText));
  return found != rowBySubject_.end() ? found->second : -1;
}

// Issuer and serial number identify a certificate within its row.
int CATable::findEntry(int row, const Name& issuer, const BigInteger& serial) const {
  const CARow* found = this->row(row);
  if (found == nullptr) return -1;
  const auto isSame = [&](const CACertEntryRef& e) { return e->serial() == serial && e->issuer().equals(issuer); };
  const auto entry = std::ranges::find_if(found->entries, isSame);
  return entry != found->entries.end() ? static_cast<int>(entry - found->entries.begin()) : -1;
}

// Room is made first, so that a row and its key come in together or not at all.
void CATable::addRow(std::string subjectText, CACertEntryRef first) {
  std::string key = lowerCase(subjectText);
  CARow row{std::move(subjectText), {std::move(first)}};
  rows_.reserve(kRows);
  rowBySubject_.emplace(std::move(key), count());
  rows_.push_back(std::move(row));
}

void CATable::addEntry(int row, CACertEntryRef entry) {
  at(row).entries.push_back(std::move(entry));
}

void CATable::replaceEntry(int row, int index, CACertEntryRef entry) {
  auto& entries = at(row).entries;
  entries[static_cast<std::size_t>(index)] = std::move(entry);
  std::rotate(entries.begin() + index, entries.begin() + index + 1, entries.end());
}

void CATable::removeEntry(int row, int index) {
  auto& entries = at(row).entries;
  entries.erase(entries.begin() + index);
  if (!entries.empty()) return;
  rows_.erase(rows_.begin() + row);
  rebuildIndex();
}

void CATable::removeSource(std::int32_t source) {
  for (CARow& row : rows_) row.entries = withoutSource(row.entries, source);
  removeRows([](const CARow& row) { return row.entries.empty(); });
}

// Clients know a country's rows by their first entry: a certificate of another origin behind it goes along, and a row
// that begins with one stays.
void CATable::removeCountry(const char* country) {
  removeRows([&](const CARow& row) { return !row.entries.empty() && row.entries.front()->hasCountry(country); });
}

void CATable::assign(std::vector<CARow> rows) {
  rows_ = std::move(rows);
  rebuildIndex();
}

template <class Predicate>
void CATable::removeRows(Predicate isGone) {
  if (std::erase_if(rows_, isGone) != 0) rebuildIndex();
}

void CATable::rebuildIndex() {
  rowBySubject_.clear();
  for (int i = 0; i < count(); ++i) {
    if (at(i).subjectText) rowBySubject_.emplace(lowerCase(*at(i).subjectText), i);
  }
}

}  // namespace keystrand
