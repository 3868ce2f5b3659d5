// The table of trusted CAs: one row per certificate subject, in the order of first insertion. A removal moves the later
// rows down, so a row number is good until the next change only.
//
// It has no lock of its own: caMutex guards the library's table.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "cache/CACertEntry.h"

namespace keystrand {

struct CARow {
  // The subject as Name::text() gives it. None in a row that a foreign file made: it matches no name.
  std::optional<std::string> subjectText;
  std::vector<CACertEntryRef> entries;
};

class CATable {
 public:
  // A limit of the design: a new subject beyond it is refused.
  static constexpr int kRows = 2048;

  [[nodiscard]] int count() const noexcept { return static_cast<int>(rows_.size()); }
  [[nodiscard]] bool isFull() const noexcept { return count() >= kRows; }
  [[nodiscard]] const std::vector<CARow>& rows() const noexcept { return rows_; }
  [[nodiscard]] const CARow* row(int index) const noexcept;      // nullptr out of range
  [[nodiscard]] CACertEntryRef entry(int row, int index) const;  // empty out of range
  [[nodiscard]] int find(std::string_view subjectText) const;    // ASCII case ignored; -1 when there is none
  [[nodiscard]] int findEntry(int row, const Name& issuer, const BigInteger& serial) const;  // -1 when there is none

  // The caller has made sure that the table is not full, that no row has this subject, that row and index exist.
  void addRow(std::string subjectText, CACertEntryRef first);
  void addEntry(int row, CACertEntryRef entry);
  void replaceEntry(int row, int index, CACertEntryRef entry);  // the new one goes to the end of its row
  void removeEntry(int row, int index);                         // the row goes with its last entry

  // Removes entries of this source. One that stands directly behind a removed entry stays, whatever its source.
  void removeSource(std::int32_t source);
  // Removes whole rows, those whose first entry has this country in its metadata.
  void removeCountry(const char* country);
  void clear() { assign({}); }
  // Takes over rows as a file lists them, at most kRows. Of several with one subject the first is found.
  void assign(std::vector<CARow> rows);

 private:
  [[nodiscard]] CARow& at(int row) { return rows_[static_cast<std::size_t>(row)]; }
  template <class Predicate>
  void removeRows(Predicate isGone);
  void rebuildIndex();

  std::vector<CARow> rows_;
  std::unordered_map<std::string, int> rowBySubject_;  // by the subject's text in lower case
};

}  // namespace keystrand
