#include "damaged_reading.h"

#include <limits>

namespace fendrel::store {
namespace {

constexpr std::int64_t smallest = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();

// From `start` upwards till the end or till a damaged page. The return is where it failed.
std::optional<std::int64_t> readUpwards(ReadingConnection& connection, const std::string& sql, std::int64_t start,
                                        std::set<std::int64_t>& numbers, std::string& why) {
  std::int64_t next = start;
  try {
    connection.keepMoment();
    Statement rows = connection.statement(sql.c_str());
    rows.bind(1, start);
    while (rows.step()) {
      const std::int64_t number = rows.integer(0);
      numbers.insert(number);
      if (number == largest) return std::nullopt;
      next = number + 1;
    }
    return std::nullopt;
  } catch (const EngineError& error) {
    if (!isDamage(error)) throw;
    why = error.text;
    return next;
  }
}

}  // namespace

bool readNumbers(ReadingConnection& connection, const std::string& table, const std::string& column,
                 std::set<std::int64_t>& numbers, std::string& why) {
  const std::string upwards =
      "SELECT " + column + " FROM " + table + " WHERE " + column + " >= ? ORDER BY " + column;
  auto failedAt = readUpwards(connection, upwards, smallest, numbers, why);
  if (!failedAt) return true;
  std::string ignored;
  readRows(connection, "SELECT " + column + " FROM " + table + " ORDER BY " + column + " DESC", ignored,
           [&](const Statement& row) { numbers.insert(row.integer(0)); });
  // Between the ends: a page holds neighbours, so that a little further another page answers.
  std::int64_t step = 1;
  std::int64_t at = std::max<std::int64_t>(*failedAt, 1);
  while (at < largest - step) {
    at += step;
    const auto failed = readUpwards(connection, upwards, at, numbers, ignored);
    if (!failed) break;
    step = *failed > at ? 1 : step * 2;
    at = *failed;
  }
  return false;
}

}  // namespace fendrel::store
