#include "messages.h"

#include "folder_table.h"
#include "message_table.h"
#include "property_table.h"
#include "spooled_content.h"
#include "stored_content.h"

namespace fendrel::store {

namespace {

[[noreturn]] void failNoMessage() { fail(Status::NotFound, "The message does not exist, or no longer exists."); }

void deleteRow(Connection& connection, std::int64_t row) {
  Query(connection.statement("DELETE FROM message WHERE id = ?"), row).run();
}

// 0 if there is none, or if it is not in that folder.
std::int64_t findRow(Connection& connection, const Id& message, const Id& in) {
  Query query(connection.statement("SELECT m.id, f.guid FROM message m JOIN folder f ON f.id = m.folder "
                                   "WHERE m.guid = ?"),
              message);
  return query.step() && (in.empty() || in == query->guid(1)) ? query->integer(0) : 0;
}

std::int64_t messageRowIn(Connection& connection, const Id& message, const Id& in) {
  const std::int64_t row = findRow(connection, message, in);
  if (row == 0) failNoMessage();
  return row;
}

std::vector<Property> readPartOf(Connection& connection, const Id& message, std::optional<std::uint32_t> attachment,
                                 std::span<const PropertyTag> tags, std::uint64_t valueLimit) {
  Transaction transaction(connection, Transaction::Read);
  const std::int64_t row = messageRow(connection, message);
  if (attachment) checkAttachmentExists(connection, row, *attachment);
  return readParts(connection, row, attachment ? partOf(*attachment) : messagePart, tags, valueLimit);
}

}  // namespace

MessageInfo messageAt(const Statement& row) {
  MessageInfo info;
  info.id = row.guid(0);
  info.folder = row.guid(1);
  info.kind = row.integer(2) != 0 ? MessageKind::Associated : MessageKind::Ordinary;
  info.isRead = row.integer(3) != 0;
  info.hasAttachments = row.integer(4) > 0;
  info.size = static_cast<std::uint64_t>(row.integer(5));
  info.created = {static_cast<std::uint64_t>(row.integer(6))};
  info.modified = {static_cast<std::uint64_t>(row.integer(7))};
  info.searchKey = row.guid(8);
  info.revision = static_cast<std::uint64_t>(row.integer(9));
  info.status = static_cast<std::uint32_t>(row.integer(messageRowColumn + 1));
  return info;
}

std::int64_t messageRow(Connection& connection, const Id& message) {
  Query query(connection.statement("SELECT id FROM message WHERE guid = ?"), message);
  if (!query.step()) failNoMessage();
  return query->integer(0);
}

MessageInfo messageInfo(Connection& connection, std::int64_t row) {
  Query query(connection.statement("SELECT " FENDREL_MESSAGE_COLUMNS
                                   " FROM message m JOIN folder f ON f.id = m.folder WHERE m.id = ?"),
              row);
  if (!query.step()) failNoMessage();
  return messageAt(*query);
}

void compareChecksum(Connection& connection, std::int64_t message) {
  if (!connection.messageChecksum().matches(message)) {
    fail(Status::Corrupt, "The store is damaged: a message does not match its checksum.");
  }
}

void checkAttachmentExists(Connection& connection, std::int64_t message, std::uint32_t number) {
  Query query(connection.statement("SELECT 1 FROM attachment WHERE message = ? AND number = ?"), message, number);
  if (!query.step()) fail(Status::NotFound, "The message has no attachment number " + std::to_string(number) + ".");
}

std::shared_ptr<ContentWriter> createContent(Database& database) {
  Connection& connection = database.connection();
  return std::make_shared<SpooledContent>(
      connection.contents(), [&connection](EngineError&& error) { connection.setLastError(std::move(error)); });
}

Status findMessage(Database& database, const Id& message, MessageInfo& found) {
  return guarded(database, [&](Connection& connection) {
    Transaction transaction(connection, Transaction::Read);
    const std::int64_t row = messageRow(connection, message);
    compareChecksum(connection, row);
    found = messageInfo(connection, row);
  });
}

Status readMessageProperties(Database& database, const Id& message, std::span<const PropertyTag> tags,
                             std::vector<Property>& properties, std::uint64_t valueLimit) {
  return guarded(database, [&](Connection& connection) {
    properties = readPartOf(connection, message, std::nullopt, tags, valueLimit);
  });
}

Status readAttachmentProperties(Database& database, const Id& message, std::uint32_t number,
                                std::span<const PropertyTag> tags, std::vector<Property>& properties,
                                std::uint64_t valueLimit) {
  return guarded(database, [&](Connection& connection) {
    properties = readPartOf(connection, message, number, tags, valueLimit);
  });
}

Status openContent(Database& database, const Id& message, std::optional<std::uint32_t> attachment, PropertyTag tag,
                   std::shared_ptr<ContentReader>& reader) {
  reader.reset();
  return guarded(database, [&](Connection& connection) {
    Transaction transaction(connection, Transaction::Read);
    const std::int64_t row = messageRow(connection, message);
    if (attachment) checkAttachmentExists(connection, row, *attachment);
    Query query(connection.statement("SELECT type, size, value, content FROM message_property "
                                     "WHERE message = ? AND part = ? AND id = ?"),
                row, attachment ? partOf(*attachment) : messagePart, propertyId(tag));
    const bool found = query.step();
    const auto type = found ? static_cast<std::uint16_t>(query->integer(0)) : PropertyType::unspecified;
    if (!found || !answers(makeTag(propertyId(tag), type), tag)) {
      fail(Status::NotFound, "There is no such property.");
    }
    if (type != PropertyType::binary && type != PropertyType::text) {
      fail(Status::Invalid, "Only binary and text properties can be opened.");
    }
    std::unique_ptr<ContentSource> source;
    if (query->isNull(3)) {
      const PropertyValue value = readValue(*query, 2, type);
      const auto bytes = contentOfValue(value);
      source = std::make_unique<ContentSource>(Bytes(bytes.begin(), bytes.end()));
    } else {
      source = openContentRow(connection, query->integer(3));
    }
    reader = std::make_shared<StoredContent>(std::move(source));
  });
}

Status setRead(Database& database, const Id& message, bool isRead, const Id& in) {
  return guarded(database, [&](Connection& connection) {
    Transaction transaction(connection, Transaction::Write);
    Query(connection.statement("UPDATE message SET is_read = ?2 WHERE id = ?1 AND is_read <> ?2"),
          messageRowIn(connection, message, in), int{isRead})
        .run();
    transaction.commit();
  });
}

Status setStatus(Database& database, const Id& message, std::uint32_t status, std::uint32_t mask, std::uint32_t& before,
                 const Id& in) {
  return guarded(database, [&](Connection& connection) {
    Transaction transaction(connection, Transaction::Write);
    const std::int64_t row = messageRowIn(connection, message, in);
    before = messageInfo(connection, row).status;
    Query(connection.statement("UPDATE message SET status = ? WHERE id = ?"), (before & ~mask) | (status & mask), row)
        .run();
    transaction.commit();
  });
}

Status deleteMessage(Database& database, const Id& message) {
  return guarded(database, [&](Connection& connection) {
    Transaction transaction(connection, Transaction::Write);
    deleteRow(connection, messageRow(connection, message));
    transaction.commit();
  });
}

Status deleteMessages(Database& database, std::span<const Id> messages, const Id& in, std::size_t* deleted) {
  return guarded(database, [&](Connection& connection) {
    std::size_t count = 0;
    Transaction transaction(connection, Transaction::Write);
    for (const Id& message : messages) {
      const std::int64_t row = findRow(connection, message, in);
      if (row == 0) continue;
      deleteRow(connection, row);
      ++count;
    }
    transaction.commit();
    if (deleted) *deleted = count;
  });
}

Status moveMessage(Database& database, const Id& message, const Id& newFolder, const Id& in) {
  return guarded(database, [&](Connection& connection) {
    Transaction transaction(connection, Transaction::Write);
    const std::int64_t row = messageRowIn(connection, message, in);
    Query(connection.statement("UPDATE message SET folder = ? WHERE id = ?"), folderRow(connection, newFolder), row)
        .run();
    transaction.commit();
  });
}

Status copyMessage(Database& database, const Id& message, const Id& newFolder, MessageInfo& copy, const Id& in) {
  // Contents are streamed into writers outside of any transaction, then saved as a new message.
  MessageInfo original;
  Status status = findMessage(database, message, original);
  if (status == Status::Ok && !in.empty() && original.folder != in) status = Status::NotFound;
  MessageDraft draft;
  draft.folder = newFolder;
  draft.kind = original.kind;
  draft.isRead = original.isRead;
  draft.searchKey = original.searchKey;
  draft.created = original.created;

  const auto take = [&](std::optional<std::uint32_t> number, std::vector<Property>& set,
                        std::vector<ContentChange>& contents) {
    std::vector<Property> properties;
    Status result = number ? readAttachmentProperties(database, message, *number, {}, properties)
                           : readMessageProperties(database, message, {}, properties);
    for (Property& property : properties) {
      if (!std::holds_alternative<UnloadedValue>(property.value)) {
        set.push_back(std::move(property));
        continue;
      }
      std::shared_ptr<ContentReader> reader;
      auto writer = createContent(database);
      if (result == Status::Ok) result = openContent(database, message, number, property.tag, reader);
      if (result == Status::Ok) result = writer->copyFrom(*reader);
      contents.push_back({property.tag, std::move(writer)});
    }
    return result;
  };

  std::vector<AttachmentRow> attachments;
  if (status == Status::Ok) status = take(std::nullopt, draft.set, draft.contents);
  if (status == Status::Ok) status = readAttachmentRows(database, message, {}, attachments);
  for (const AttachmentRow& row : attachments) {
    if (status != Status::Ok) break;
    auto& change = draft.attachments.emplace_back();
    change.number = row.number;
    status = take(row.number, change.set, change.contents);
  }
  return status == Status::Ok ? saveMessage(database, draft, copy) : status;
}

}  // namespace fendrel::store
