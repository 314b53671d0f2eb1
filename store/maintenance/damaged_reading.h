// Ways to read around damage. For store/maintenance only.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "reading_connection.h"

namespace fendrel::store {

// Calls use(row) for each row of a query until it ends or fails. False: it failed, `why` says how.
template <class Use>
bool readRows(ReadingConnection& connection, const std::string& sql, std::string& why, Use use) {
  try {
    connection.keepMoment();
    Statement rows = connection.statement(sql.c_str());
    while (rows.step()) use(rows);
    return true;
  } catch (const EngineError& error) {
    if (!isDamage(error)) throw;
    why = error.text;
    return false;
  }
}

// The same in both directions: what stands before the first damaged page and what stands behind the last one. `order`
// is the key in which the rows lie, for example "id" or "folder, associated, id". `use` may see a row twice.
template <class Use>
bool readFromBothEnds(ReadingConnection& connection, const std::string& sql, const std::vector<std::string>& order,
                      std::string& why, Use use) {
  const auto ordered = [&](const char* direction) {
    std::string text = sql + " ORDER BY ";
    for (std::size_t i = 0; i < order.size(); ++i) text += (i == 0 ? "" : ", ") + order[i] + direction;
    return text;
  };
  if (readRows(connection, ordered(""), why, use)) return true;
  std::string again;
  readRows(connection, ordered(" DESC"), again, use);
  return false;
}

// All numbers in a column that rows of a table are ordered by first: from both ends, and between damaged pages by
// trying further and further behind them. False: some may be missing.
bool readNumbers(ReadingConnection& connection, const std::string& table, const std::string& column,
                 std::set<std::int64_t>& numbers, std::string& why);

}  // namespace fendrel::store
