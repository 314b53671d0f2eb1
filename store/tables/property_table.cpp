#include "property_table.h"

#include <algorithm>

namespace fendrel::store {

namespace {

struct OwnerSql {
  const char* read;
  const char* set;
  const char* remove;
};

constexpr OwnerSql folderSql = {"SELECT id, type, value FROM folder_property WHERE owner = ? ORDER BY id",
                                "INSERT OR REPLACE INTO folder_property (owner, id, type, value) VALUES (?, ?, ?, ?)",
                                "DELETE FROM folder_property WHERE owner = ? AND id = ?"};
constexpr OwnerSql storeSql = {"SELECT id, type, value FROM store_property WHERE owner = ? ORDER BY id",
                               "INSERT OR REPLACE INTO store_property (owner, id, type, value) VALUES (?, ?, ?, ?)",
                               "DELETE FROM store_property WHERE owner = ? AND id = ?"};

const OwnerSql& sqlOf(OwnerTable table) { return table == OwnerTable::Folder ? folderSql : storeSql; }

bool isWanted(std::span<const PropertyTag> tags, PropertyTag stored) {
  return tags.empty() || std::ranges::any_of(tags, [&](PropertyTag asked) { return answers(stored, asked); });
}

PropertyTag tagAt(const Statement& statement, int idColumn) {
  return makeTag(static_cast<std::uint16_t>(statement.integer(idColumn)),
                 static_cast<std::uint16_t>(statement.integer(idColumn + 1)));
}

Bytes readWhole(ContentSource& source) {
  Bytes bytes(static_cast<std::size_t>(source.size()));
  source.read(0, bytes);
  return bytes;
}

}  // namespace

std::vector<Property> readOwnerProperties(Connection& connection, OwnerTable table, std::int64_t owner,
                                          std::span<const PropertyTag> tags) {
  std::vector<Property> properties;
  Query query(connection.statement(sqlOf(table).read), owner);
  while (query.step()) {
    const PropertyTag tag = tagAt(*query, 0);
    if (isWanted(tags, tag)) properties.push_back({tag, readValue(*query, 2, propertyType(tag))});
  }
  return properties;
}

void changeOwnerProperties(Connection& connection, OwnerTable table, std::int64_t owner, std::span<const Property> set,
                           std::span<const PropertyTag> remove) {
  for (const PropertyTag tag : remove) {
    Query(connection.statement(sqlOf(table).remove), owner, propertyId(tag)).run();
  }
  Bytes scratch;
  for (const Property& property : set) {
    Query query(connection.statement(sqlOf(table).set), owner, propertyId(property.tag), propertyType(property.tag));
    bindValue(*query, 4, property.value, scratch);
    query.run();
  }
}

PropertyValue loadValue(Connection& connection, const Statement& statement, int first, std::uint64_t valueLimit) {
  const auto type = static_cast<std::uint16_t>(statement.integer(first));
  const auto size = static_cast<std::uint64_t>(statement.integer(first + 1));
  const bool canBeOpened = type == PropertyType::text || type == PropertyType::binary;
  if (canBeOpened && size > valueLimit) return UnloadedValue{size};
  if (statement.isNull(first + 3)) return readValue(statement, first + 2, type);
  return valueOfContent(type, readWhole(*openContentRow(connection, statement.integer(first + 3))));
}

std::vector<Property> readParts(Connection& connection, std::int64_t message, std::int64_t part,
                                std::span<const PropertyTag> tags, std::uint64_t valueLimit) {
  std::vector<Property> properties;
  Query query(connection.statement("SELECT id, type, size, value, content FROM message_property "
                                   "WHERE message = ? AND part = ? ORDER BY id"),
              message, part);
  while (query.step()) {
    const PropertyTag tag = tagAt(*query, 0);
    if (isWanted(tags, tag)) properties.push_back({tag, loadValue(connection, *query, 1, valueLimit)});
  }
  return properties;
}

// Not by INSERT OR REPLACE: a trigger deletes the old value's content, and REPLACE does not fire it.
void removeProperty(Connection& connection, std::int64_t message, std::int64_t part, std::uint16_t id) {
  Query(connection.statement("DELETE FROM message_property WHERE message = ? AND part = ? AND id = ?"), message, part,
        id)
      .run();
}

void insertProperty(Connection& connection, std::int64_t message, std::int64_t part, const Property& property) {
  Query query(connection.statement("INSERT INTO message_property (message, part, id, type, size, value) "
                                   "VALUES (?, ?, ?, ?, ?, ?)"),
              message, part, propertyId(property.tag), propertyType(property.tag), valueSize(property.value));
  Bytes scratch;
  bindValue(*query, 6, property.value, scratch);
  query.run();
}

void insertProperty(Connection& connection, std::int64_t message, std::int64_t part, PropertyTag tag,
                    ContentSpool& content) {
  const std::int64_t row = insertContent(connection, content);
  Query(connection.statement("INSERT INTO message_property (message, part, id, type, size, content) "
                             "VALUES (?, ?, ?, ?, ?, ?)"),
        message, part, propertyId(tag), propertyType(tag), content.size(), row)
      .run();
}

bool isInline(const Property& property) {
  const auto type = propertyType(property.tag);
  return (type != PropertyType::text && type != PropertyType::binary) || valueSize(property.value) <= inlineLimit;
}

std::string idList(std::span<const PropertyTag> tags) {
  std::string list = "[";
  for (const PropertyTag tag : tags) {
    if (list.size() > 1) list += ',';
    list += std::to_string(propertyId(tag));
  }
  return list + ']';
}

void placeInColumns(std::span<const PropertyTag> columns, std::vector<Property>& values, const Property& property) {
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (answers(property.tag, columns[i])) values[i] = property;
  }
}

}  // namespace fendrel::store
