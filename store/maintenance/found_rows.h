// Rows that were found page by page, read by SQL under the name of their table. For store/maintenance only.
#pragma once

#include <map>
#include <string_view>
#include <vector>

#include "page_scan.h"
#include "reading_connection.h"

namespace fendrel::store {

// The rows themselves stay where they are: in memory, or in a temporary file, there is only their key and place, and
// their values are read out of their pages when a statement asks for them. So nobody's messages are copied to a place
// that others may read, and a store of any size needs little room.
class FoundRows {
public:
  // Both must outlive the statements that read the rows.
  FoundRows(ReadingConnection& connection, PageSource& source);
  ~FoundRows();
  FoundRows(const FoundRows&) = delete;
  FoundRows& operator=(const FoundRows&) = delete;

  // From now on the table's name means the rows that were found of it; main.NAME is still the table itself. An index is
  // then read by the name rows_of_INDEX.
  void stand(const TreeShape& shape);

  // For what stands; other rows are ignored. Of two rows with one key the one stays that a tree led to, or either where
  // they are equal; otherwise none: it reads as a damaged one.
  void add(const FoundRow& row);

  // After the last row.
  void finish();

  // How many keys of a table had rows that differ, with no tree to tell which is right.
  std::uint64_t disputed(const TreeShape& table) const { return tables_.at(table.name).disputed; }

  // How many rows were not added because a page that they go on in is damaged. Only in tables that are read as a whole,
  // where one such row would end the reading; a message's rows tell of the damage when that message is read.
  std::uint64_t cut(const TreeShape& table) const { return tables_.at(table.name).cut; }

private:
  struct Table {
    Statement insert, find, dispute;
    bool isReadAsAWhole;
    std::uint64_t disputed = 0, cut = 0;
  };

  void settle(Table& table, const FoundRow& row);
  bool haveEqualRows(std::uint64_t place, std::uint64_t other);
  static void readValue(sqlite3_context* context, int count, sqlite3_value** values) noexcept;
  int answer(sqlite3_context* context, std::uint64_t place, std::size_t column);

  ReadingConnection& connection_;
  PageSource& source_;
  std::map<std::string_view, Table> tables_;
  std::uint64_t place_ = 0;  // of the row that was read last
  Bytes row_;
};

}  // namespace fendrel::store
