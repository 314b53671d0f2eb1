#include "folder_table.h"
#include "message_table.h"
#include "property_table.h"

namespace fendrel::store {

namespace {

// One row per requested property, at least one per message; the properties of a message are consecutive.
constexpr const char* rowsWithProperties =
    "SELECT " FENDREL_MESSAGE_COLUMNS
    ", p.id, p.type, p.size, p.value, p.content "
    "FROM message m JOIN folder f ON f.id = m.folder "
    "LEFT JOIN message_property p ON p.message = m.id AND p.part = 0 AND p.id IN (SELECT value FROM json_each(?3)) "
    "WHERE m.folder = ?1 AND m.associated = ?2 ORDER BY m.id";
constexpr const char* rowsAlone = "SELECT " FENDREL_MESSAGE_COLUMNS
                                  " FROM message m JOIN folder f ON f.id = m.folder "
                                  "WHERE m.folder = ?1 AND m.associated = ?2 ORDER BY m.id";

// The same for chosen messages: ?2 is "[\"0123...\",...]", their identifiers in hexadecimal. CROSS JOIN makes the list
// the outer loop, so that rows come in its order.
constexpr const char* chosenRowsWithProperties =
    "SELECT " FENDREL_MESSAGE_COLUMNS
    ", p.id, p.type, p.size, p.value, p.content "
    "FROM json_each(?2) k CROSS JOIN message m ON m.guid = unhex(k.value) JOIN folder f ON f.id = m.folder "
    "LEFT JOIN message_property p ON p.message = m.id AND p.part = 0 AND p.id IN (SELECT value FROM json_each(?3)) "
    "WHERE m.folder = ?1";
constexpr const char* chosenRowsAlone =
    "SELECT " FENDREL_MESSAGE_COLUMNS
    " FROM json_each(?2) k CROSS JOIN message m ON m.guid = unhex(k.value) JOIN folder f ON f.id = m.folder "
    "WHERE m.folder = ?1";

std::string guidList(std::span<const Id> messages) {
  static constexpr char digits[] = "0123456789abcdef";
  std::string list = "[";
  for (const Id& message : messages) {
    list += list.size() > 1 ? ",\"" : "\"";
    for (const std::byte value : message.bytes()) {
      list += digits[std::to_integer<unsigned>(value) >> 4];
      list += digits[std::to_integer<unsigned>(value) & 0xF];
    }
    list += '"';
  }
  return list += ']';
}

void readRows(Connection& connection, Query& query, std::span<const PropertyTag> columns, const MessageRowSink& sink) {
  bool more = query.step();
  while (more) {
    const std::int64_t id = query->integer(messageRowColumn);
    MessageRow row{messageAt(*query), std::vector<Property>(columns.size())};
    do {
      if (!columns.empty() && !query->isNull(messageColumnCount)) {
        const PropertyTag tag = makeTag(static_cast<std::uint16_t>(query->integer(messageColumnCount)),
                                        static_cast<std::uint16_t>(query->integer(messageColumnCount + 1)));
        placeInColumns(columns, row.values,
                       {tag, loadValue(connection, *query, messageColumnCount + 1, defaultValueLimit)});
      }
      more = query.step();
    } while (more && query->integer(messageRowColumn) == id);
    if (!sink(std::move(row))) return;
  }
}

}  // namespace

Status readMessageRows(Database& database, const Id& folder, MessageKind kind, std::span<const PropertyTag> columns,
                       const MessageRowSink& sink) {
  return guarded(database, [&](Connection& connection) {
    Transaction transaction(connection, Transaction::Read);
    const std::string ids = idList(columns);
    Query query(connection.statement(columns.empty() ? rowsAlone : rowsWithProperties), folderRow(connection, folder),
                static_cast<int>(kind));
    if (!columns.empty()) query->bind(3, std::string_view(ids));
    readRows(connection, query, columns, sink);
  });
}

Status readMessageRowsOf(Database& database, const Id& folder, std::span<const Id> messages,
                         std::span<const PropertyTag> columns, const MessageRowSink& sink) {
  return guarded(database, [&](Connection& connection) {
    Transaction transaction(connection, Transaction::Read);
    const std::int64_t row = folderRow(connection, folder);
    const std::string ids = idList(columns), guids = guidList(messages);
    Query query(connection.statement(columns.empty() ? chosenRowsAlone : chosenRowsWithProperties), row,
                std::string_view(guids));
    if (!columns.empty()) query->bind(3, std::string_view(ids));
    readRows(connection, query, columns, sink);
  });
}

Status readAttachmentRows(Database& database, const Id& message, std::span<const PropertyTag> columns,
                          std::vector<AttachmentRow>& rows) {
  return guarded(database, [&](Connection& connection) {
    Transaction transaction(connection, Transaction::Read);
    const std::int64_t row = messageRow(connection, message);
    std::vector<AttachmentRow> found;
    Query query(connection.statement("SELECT number, size FROM attachment WHERE message = ? ORDER BY number"), row);
    while (query.step()) {
      AttachmentRow attachment;
      attachment.number = static_cast<std::uint32_t>(query->integer(0));
      attachment.size = static_cast<std::uint64_t>(query->integer(1));
      attachment.values.resize(columns.size());
      if (!columns.empty()) {
        const auto part = partOf(attachment.number);
        for (const Property& property : readParts(connection, row, part, columns, defaultValueLimit)) {
          placeInColumns(columns, attachment.values, property);
        }
      }
      found.push_back(std::move(attachment));
    }
    rows = std::move(found);
  });
}

}  // namespace fendrel::store
