#include "found_rows.h"

#include <new>

namespace fendrel::store {
namespace {

constexpr const char* functionName = "found_value";

bool belongsToAMessage(const TreeShape& table) {
  return table.name == "message" || table.name == "attachment" || table.name == "message_property" ||
         table.name == "content";
}

// An index has its columns and behind them the row's number.
std::vector<std::string> columnsOf(ReadingConnection& connection, const TreeShape& shape) {
  const int nameColumn = shape.isTable ? 1 : 2;
  std::vector<std::string> columns;
  const std::string ask = shape.isTable ? "PRAGMA main.table_info(" : "PRAGMA main.index_xinfo(";
  Statement rows = connection.statement((ask + std::string(shape.name) + ")").c_str());
  while (rows.step()) columns.emplace_back(rows.isNull(nameColumn) ? "id" : rows.text(nameColumn));
  if (columns.size() != shape.columns.size()) {
    fail(Status::Corrupt, "The table " + std::string(shape.name) + " is not as this program knows it.");
  }
  return columns;
}

// The first columns, with what stands after each and between them.
std::string list(const std::vector<std::string>& columns, std::size_t count, const char* after, const char* between) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) text += (i == 0 ? "" : between) + columns[i] + after;
  return text;
}

void bindKey(Statement& statement, const FoundRow& row) {
  statement.reset();
  for (std::size_t i = 0; i < row.shape->keys; ++i) statement.bind(static_cast<int>(i) + 1, row.key[i]);
}

void execute(ReadingConnection& connection, const std::string& sql) {
  checkSqlite(sqlite3_exec(connection.handle(), sql.c_str(), nullptr, nullptr, nullptr), connection.handle(),
              "Keeping the rows that were found");
}

}  // namespace

FoundRows::FoundRows(ReadingConnection& connection, PageSource& source) : connection_(connection), source_(source) {
  // It reads pages and changes nothing, wherever it is called.
  checkSqlite(sqlite3_create_function_v2(connection.handle(), functionName, 2, SQLITE_UTF8 | SQLITE_INNOCUOUS, this,
                                         readValue, nullptr, nullptr, nullptr),
              connection.handle(), "Preparing the store");
  connection.endMoment();
  execute(connection, "PRAGMA query_only = OFF; BEGIN");
}

FoundRows::~FoundRows() {
  tables_.clear();
  sqlite3_create_function_v2(connection_.handle(), functionName, 2, SQLITE_UTF8, nullptr, nullptr, nullptr, nullptr,
                             nullptr);
}

// Rows of an index are told apart by their places alone.
void FoundRows::stand(const TreeShape& shape) {
  const std::vector<std::string> columns = columnsOf(connection_, shape);
  const std::string name(shape.name), found = "temp.found_" + name;
  const std::string key = shape.keys > 0 ? list(columns, shape.keys, "", ", ") : "place";
  execute(connection_, "CREATE TABLE " + found + " (" + list(columns, shape.keys, " INTEGER, ", "") +
                           "place INTEGER NOT NULL, is_led_to INTEGER NOT NULL, PRIMARY KEY (" + key +
                           ")) WITHOUT ROWID");
  std::string values = list(columns, shape.keys, "", ", ");
  for (std::size_t i = shape.keys; i < columns.size(); ++i) {
    values += (i == 0 ? "" : ", ") + std::string(functionName) + "(place, " + std::to_string(i) + ") AS " + columns[i];
  }
  const std::string view = shape.isTable ? name : "rows_of_" + name;
  execute(connection_, "CREATE TEMP VIEW " + view + " AS SELECT " + values + " FROM found_" + name);

  const std::string isKey = shape.keys > 0 ? list(columns, shape.keys, " = ?", " AND ") : "place = ?";
  std::string parameters = "?, ?";
  for (std::size_t i = 0; i < shape.keys; ++i) parameters += ", ?";
  const auto prepared = [&](const std::string& sql) { return Statement(connection_.handle(), sql, true); };
  tables_.emplace(shape.name,
                  Table{.insert = prepared("INSERT OR IGNORE INTO " + found + " VALUES (" + parameters + ")"),
                        .find = prepared("SELECT place, is_led_to FROM " + found + " WHERE " + isKey),
                        .dispute = prepared("UPDATE " + found + " SET place = 0 WHERE " + isKey),
                        .isReadAsAWhole = !belongsToAMessage(shape)});
}

void FoundRows::add(const FoundRow& row) {
  const auto found = tables_.find(row.shape->name);
  if (found == tables_.end()) return;
  Table& table = found->second;
  if (table.isReadAsAWhole && !rowAt(source_, row.place, row_)) {
    ++table.cut;
    return;
  }
  bindKey(table.insert, row);
  table.insert.bind(static_cast<int>(row.shape->keys) + 1, static_cast<std::int64_t>(row.place));
  table.insert.bind(static_cast<int>(row.shape->keys) + 2, row.isLedTo ? 1 : 0);
  table.insert.step();
  table.insert.reset();
  if (row.shape->keys > 0 && sqlite3_changes(connection_.handle()) == 0) settle(table, row);
}

// Rows that a tree leads to come before the others.
void FoundRows::settle(Table& table, const FoundRow& row) {
  bindKey(table.find, row);
  table.find.step();
  const auto place = static_cast<std::uint64_t>(table.find.integer(0));
  const bool isLedTo = table.find.integer(1) != 0;
  table.find.reset();
  if (place == 0 || (isLedTo && !row.isLedTo) || haveEqualRows(place, row.place)) return;
  bindKey(table.dispute, row);
  table.dispute.step();
  table.dispute.reset();
  ++table.disputed;
}

bool FoundRows::haveEqualRows(std::uint64_t place, std::uint64_t other) {
  Bytes row;
  if (!rowAt(source_, place, row) || !rowAt(source_, other, row_)) return false;
  return row == row_;
}

void FoundRows::finish() {
  place_ = 0;
  execute(connection_, "COMMIT; PRAGMA query_only = ON");
}

void FoundRows::readValue(sqlite3_context* context, int, sqlite3_value** values) noexcept {
  auto& self = *static_cast<FoundRows*>(sqlite3_user_data(context));
  try {
    const int code = self.answer(context, static_cast<std::uint64_t>(sqlite3_value_int64(values[0])),
                                 static_cast<std::size_t>(sqlite3_value_int(values[1])));
    if (code != SQLITE_OK) sqlite3_result_error_code(context, code);
  } catch (const std::bad_alloc&) {
    sqlite3_result_error_nomem(context);
  } catch (...) {
    sqlite3_result_error_code(context, SQLITE_CORRUPT);
  }
}

// A statement asks for one value after another of a row.
int FoundRows::answer(sqlite3_context* context, std::uint64_t place, std::size_t column) {
  const int damaged = source_.isCompared() ? SQLITE_IOERR_DATA : SQLITE_CORRUPT;
  if (place == 0) return SQLITE_CORRUPT;  // disputed
  if (place != place_) {
    place_ = 0;
    if (!rowAt(source_, place, row_)) return damaged;
    place_ = place;
  }
  const auto record = Record::read(row_, row_.size());
  const auto value = record && column < record->columns() ? record->value(column, row_) : std::nullopt;
  if (!value) return damaged;
  switch (value->kind) {
    case RecordValue::null: sqlite3_result_null(context); break;
    case RecordValue::integer: sqlite3_result_int64(context, value->number); break;
    case RecordValue::real: sqlite3_result_double(context, value->fraction); break;
    case RecordValue::text:
      sqlite3_result_text64(context, reinterpret_cast<const char*>(value->bytes.data()), value->bytes.size(),
                            SQLITE_TRANSIENT, SQLITE_UTF8);
      break;
    case RecordValue::blob:
      sqlite3_result_blob64(context, value->bytes.data(), value->bytes.size(), SQLITE_TRANSIENT);
  }
  return SQLITE_OK;
}

}  // namespace fendrel::store
