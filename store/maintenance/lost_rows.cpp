#include "lost_rows.h"

#include <string>
#include <string_view>
#include <vector>

#include "engine_error.h"
#include "open_database.h"
#include "sqlite_statement.h"

namespace fendrel::store {
namespace {

// The type of each value of a row: i an integer, t text, b a blob; upper case: or NULL; A anything; # the row number,
// which is stored separately.
struct Shape {
  const char* table;
  const char* columns;
  std::string_view kinds;
  const char* condition;  // further condition
};

constexpr Shape shapes[] = {
    {"store", "id, guid, kind, display_name", "#bit", "1"},
    {"profile",
     "id, guid, name, user_name, password_salt, password_iterations, password_hash, is_default, created, mailbox, "
     "server_url, server_user, server_secret, server_public_account, server_tls_ca_file",
     "#bttBIBiiiTTBTT", "1"},
    // Versions before 5.
    {"profile",
     "id, guid, name, user_name, password_salt, password_iterations, password_hash, is_default, created, mailbox",
     "#bttBIBiii", "1"},
    {"folder", "id, guid, store, parent, name, role, created, modified, message_count, unread_count, associated_count",
     "#biItTiiiii", "1"},
    {"message",
     "id, guid, folder, associated, is_read, size, attachment_count, created, modified, search_key, revision, "
     "checksum, "
     "status",
     "#biiiiiiibiII", "1"},
    // Version 3.
    {"message",
     "id, guid, folder, associated, is_read, size, attachment_count, created, modified, search_key, revision, checksum",
     "#biiiiiiibiI", "1"},
    // Versions before 3.
    {"message",
     "id, guid, folder, associated, is_read, size, attachment_count, created, modified, search_key, revision",
     "#biiiiiiibi", "1"},
    {"named_property", "id, guid, kind, name", "#biA", "c2 IN (0, 1) AND id >= 32768 AND length(c1) = 16"},
    {"content", "id, size, checksums, data, file", "#ibBT", "1"},
    {"message_property", "message, part, id, type, size, value, content", "iiiiiAI", "1"},
    {"folder_property", "owner, id, type, value", "iiiA", "EXISTS (SELECT 1 FROM folder f WHERE f.id = c0)"},
    {"store_property", "owner, id, type, value", "iiiA",
     "NOT EXISTS (SELECT 1 FROM folder f WHERE f.id = c0) AND EXISTS (SELECT 1 FROM store s WHERE s.id = c0)"},
};

// Rows of this table follow from the attachments' properties; among lost rows they look like entries of the index of
// messages by folder. The message's row has their number.
constexpr const char* remakeAttachments =
    "INSERT OR IGNORE INTO attachment (message, number, size) "
    "SELECT message, part - 1, sum(size) FROM message_property WHERE part > 0 GROUP BY message, part";

std::string conditionOf(char kind, const std::string& column) {
  const std::string type = "typeof(" + column + ")";
  switch (kind) {
    case 'i': return type + " = 'integer'";
    case 't': return type + " = 'text'";
    case 'b': return type + " = 'blob'";
    case 'I': return type + " IN ('integer', 'null')";
    case 'T': return type + " IN ('text', 'null')";
    case 'B': return type + " IN ('blob', 'null')";
    case '#': return column + " IS NOT NULL";
    default: return "1";
  }
}

void sortInto(sqlite3* database, const Shape& shape) {
  std::string values, condition = "nfield = " + std::to_string(shape.kinds.size());
  for (std::size_t i = 0; i < shape.kinds.size(); ++i) {
    const bool isRowNumber = shape.kinds[i] == '#';
    std::string column = isRowNumber ? "id" : "c";
    if (!isRowNumber) column += std::to_string(i);
    if (i > 0) values += ", ";
    values += column;
    condition += " AND " + conditionOf(shape.kinds[i], column);
  }
  if (shape.kinds[0] != '#') condition += " AND id IS NULL";
  execute(database, std::string("INSERT OR IGNORE INTO ") + shape.table + " (" + shape.columns + ") SELECT " + values +
                        " FROM lost_and_found WHERE " + condition + " AND (" + shape.condition + ")");
}

// The table's number of columns: that of its longest row.
std::size_t columnsOfLostRows(sqlite3* database) {
  Statement asked(database, "SELECT count(*) FROM pragma_table_info('lost_and_found') WHERE name GLOB 'c[0-9]*'",
                  false);
  asked.step();
  return static_cast<std::size_t>(asked.integer(0));
}

}  // namespace

void sortLostRows(sqlite3* database) {
  const std::size_t columns = columnsOfLostRows(database);
  for (const Shape& shape : shapes) {
    if (shape.kinds.size() <= columns) sortInto(database, shape);
  }
  execute(database, remakeAttachments);
}

}  // namespace fendrel::store
